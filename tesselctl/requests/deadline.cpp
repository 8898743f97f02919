// SPDX-License-Identifier: MIT
#include "tesselctl/requests/deadline.h"

#include <utility>

namespace TesselCtl {

Deadline::Deadline(std::chrono::milliseconds time, std::function<void()> expired)
{
    if (time.count() <= 0) {
        return;
    }
    m_thread = std::thread([this, time, function = std::move(expired)] {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_ended.wait_for(lock, time, [this] { return m_over; })) {
                return;
            }
            m_passed = true;
        }
        function();
    });
}

Deadline::~Deadline()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_over = true;
    }
    m_ended.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool Deadline::hasPassed() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_passed;
}

} // namespace TesselCtl
