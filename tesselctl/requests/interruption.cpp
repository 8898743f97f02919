// SPDX-License-Identifier: MIT
#include "tesselctl/requests/interruption.h"

#include "tesselctl/requests/devices.h"

#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace TesselCtl {

Interruption::Interruption()
    : m_leave(eventfd(0, EFD_CLOEXEC))
    , m_listener([this] { listen(); })
{}

Interruption::~Interruption()
{
    const std::uint64_t one = 1;
    while (::write(m_leave, &one, sizeof one) < 0) {
    }
    m_listener.join();
    ::close(m_leave);
}

void Interruption::listen()
{
    pollfd awaited[] = {{m_leave, POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}};
    while (awaited[0].revents == 0) {
        ::poll(awaited, 2, -1);
        if (m_signals.take() == 0) {
            continue;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_happened = true;
        }
        m_came.notify_all();
        forgetDevices();
    }
}

bool Interruption::happened() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_happened;
}

bool Interruption::pause(std::chrono::milliseconds time) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_came.wait_for(lock, time, [this] { return m_happened; });
}

} // namespace TesselCtl
