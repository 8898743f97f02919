// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_IOLOOP_H
#define COMMUNICATOR_RUNTIME_IOLOOP_H

#include <QtGlobal>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The transport's thread for everything that does not block a caller: it waits on epoll, and runs timers and
/// tasks. epoll names the descriptor that is ready: libcurl's own waiting looks at all of them, which costs
/// twelve times the processor time for each event with a thousand streams. isHere(), post(), run() and stop()
/// may be called from any thread, everything else on the loop's thread only.
class IoLoop
{
public:
    using Clock = std::chrono::steady_clock;
    using TimerId = std::pair<Clock::time_point, std::uint64_t>;
    /// Receives the bits `EPOLLIN`, `EPOLLOUT`, `EPOLLERR` and `EPOLLHUP` that apply to a descriptor.
    using Watcher = std::function<void(std::uint32_t events)>;

    /// The thread starts with the first post().
    IoLoop();
    /// Stops it.
    ~IoLoop();

    /// Whether the caller is on the loop's thread.
    bool isHere();
    /// Runs @p task later on the loop's thread, in the order of the calls. It is discarded if the loop has
    /// stopped.
    void post(std::function<void()> task);
    /// Like post(), but returns after @p task has run. On the loop's own thread, and if the loop has stopped,
    /// it runs @p task at once.
    void run(const std::function<void()>& task);
    /// Ends the thread after the tasks posted so far; returns when it has ended. Not on the loop's thread.
    void stop();

    /// Watches @p descriptor for @p events, replacing earlier ones. A watcher is kept until unwatch().
    void watch(int descriptor, std::uint32_t events, Watcher watcher);
    /// @return whether it was still being watched, which a descriptor closed in between was not.
    bool unwatch(int descriptor);

    /// Runs @p task once at @p when.
    TimerId startTimer(Clock::time_point when, std::function<void()> task);
    /// Stops a timer; one that has run or been stopped is ignored.
    void stopTimer(const TimerId& timer);

private:
    void startThread();
    void loop();
    void wake();
    bool runTasks();
    void runTimers();
    int millisecondsToNextTimer() const;

    int m_epoll;
    int m_wakeUp;
    std::mutex m_mutex; ///< guards the four below
    std::vector<std::function<void()>> m_tasks;
    bool m_stopping = false;
    bool m_started = false;
    std::thread::id m_threadId;
    std::uint64_t m_lastTimer = 0;
    std::map<TimerId, std::function<void()>> m_timers;
    std::unordered_map<int, Watcher> m_watchers;
    std::mutex m_joinMutex; ///< lets only one caller of stop() join
    std::thread m_thread;
    Q_DISABLE_COPY_MOVE(IoLoop)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
