// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_DEADLINE_H
#define TESSELCTL_REQUESTS_DEADLINE_H

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace TesselCtl {

/// Calls a function when a time is over, unless it is destroyed before. May be asked from any thread.
class Deadline
{
public:
    /// @p expired is called on a thread of its own after @p time; never if that is 0.
    Deadline(std::chrono::milliseconds time, std::function<void()> expired);
    /// The function is not called any more.
    ~Deadline();

    bool hasPassed() const;

private:
    mutable std::mutex m_mutex; // guards the two flags
    std::condition_variable m_ended;
    bool m_over = false;
    bool m_passed = false;
    std::thread m_thread;
    Q_DISABLE_COPY_MOVE(Deadline)
};

} // namespace TesselCtl

#endif
