// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_INTERRUPTION_H
#define TESSELCTL_REQUESTS_INTERRUPTION_H

#include "tesselctl/terminal/blockedsignals.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace TesselCtl {

/// Gives up what is under way when SIGINT or SIGTERM comes, for commands that wait for devices without an
/// event loop: the requests end at once, and the command goes its usual way to its end.
///
/// To be created before other threads are, see BlockedSignals. May be asked from any thread.
class Interruption
{
public:
    Interruption();
    ~Interruption();

    bool happened() const;
    /// Waits for @p time, or until a signal comes. @return whether none came.
    bool pause(std::chrono::milliseconds time) const;

private:
    void listen();

    const BlockedSignals m_signals;
    const int m_leave; // readable when listening is to end
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_came;
    bool m_happened = false; // guarded by m_mutex
    std::thread m_listener;
    Q_DISABLE_COPY_MOVE(Interruption)
};

} // namespace TesselCtl

#endif
