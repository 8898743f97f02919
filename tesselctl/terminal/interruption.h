// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_INTERRUPTION_H
#define TESSELCTL_TERMINAL_INTERRUPTION_H

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

class QObject;

namespace TesselCtl {

/// SIGINT and SIGTERM while it exists: they do not end the process, but are remembered, and a handler gives
/// up what is under way, so that the command goes its usual way to its end. Without one of these, a signal
/// ends the process.
///
/// Create it before other threads: they inherit that the two signals are blocked. May be asked from any
/// thread.
class Interruption
{
public:
    using Handler = std::function<void()>;

    /// @p handler is called with each signal, on a thread of its own, after happened() has become true.
    explicit Interruption(Handler handler = {});
    /// The handler is not called any more.
    ~Interruption();

    bool happened() const { return signal() != 0; }
    /// The first signal; 0 when none came.
    int signal() const;
    /// Waits for @p time, or until a signal comes. @return whether none came.
    bool pause(std::chrono::milliseconds time) const;
    /// Readable from the first signal on, for poll().
    int descriptor() const { return m_happened; }

    /// A handler that has the event loop of @p context, which outlives the interruption and belongs to the
    /// calling thread, call @p function.
    static Handler inEventLoopOf(QObject* context, std::function<void()> function);

private:
    void listen();

    const Handler m_handler;
    sigset_t m_before{};
    const int m_signals;  // readable when a signal comes
    const int m_happened; // readable once one came
    const int m_leave;    // readable when listening is to end
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_came;
    int m_signal = 0; // guarded by m_mutex
    std::thread m_listener;
    Q_DISABLE_COPY_MOVE(Interruption)
};

} // namespace TesselCtl

#endif
