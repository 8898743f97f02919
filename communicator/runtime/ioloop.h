// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_IOLOOP_H
#define COMMUNICATOR_RUNTIME_IOLOOP_H

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The transport's thread for everything that does not block a caller: it waits for descriptors with libuv,
/// and runs timers and tasks. libuv names the descriptor that is ready: libcurl's own waiting looks at all of
/// them, which costs twelve times the processor time for each event with a thousand streams. isHere(),
/// post(), run() and stop() may be called from any thread, everything else on the loop's thread only.
///
/// libuv needs six descriptors. While the process has none left, tasks and timers run all the same, and
/// descriptors are watched as soon as it has.
class IoLoop
{
public:
    using Clock = std::chrono::steady_clock;
    using TimerId = std::pair<Clock::time_point, std::uint64_t>;
    enum Readiness : std::uint32_t {
        Readable = 1U << 0U, ///< there is something to read, or the end, or a failure
        Writable = 1U << 1U
    };
    /// Receives the bits of Readiness that apply to a descriptor; after a failure, all that it is watched
    /// for.
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

    /// Watches @p descriptor for @p events, some bits of Readiness, replacing earlier ones, and may make it
    /// non-blocking. A watcher is kept until unwatch().
    void watch(int descriptor, std::uint32_t events, Watcher watcher);
    /// Call it before the descriptor is closed, or right afterwards if it has no duplicate: libuv ends the
    /// process if it is left to find out. A descriptor that is not watched is ignored.
    void unwatch(int descriptor);

    /// Runs @p task once at @p when.
    TimerId startTimer(Clock::time_point when, std::function<void()> task);
    /// Stops a timer; one that has run or been stopped is ignored.
    void stopTimer(const TimerId& timer);

private:
    struct Backend;
    struct Watch;

    void startThread();
    void loop();
    bool open();
    void close();
    void waitForEvents();
    void waitWithoutDescriptors();
    void start(Watch& watch);
    static void onReady(Watch& watch, bool failed, std::uint32_t events);
    void wake();
    void runTasks();
    void runTimers();

    std::mutex m_mutex; ///< guards the six below; the loop's thread alone sets the backend
    std::vector<std::function<void()>> m_tasks;
    bool m_stopping = false;
    bool m_started = false;
    std::thread::id m_threadId;
    std::unique_ptr<Backend> m_backend; ///< null while there are no descriptors for it
    std::condition_variable m_wakeUp;   ///< until there is one
    bool m_going = true;
    int m_eventsLeft = 0; ///< before timers and tasks have their turn
    std::uint64_t m_lastTimer = 0;
    std::map<TimerId, std::function<void()>> m_timers;
    /// One for each number that was ever watched: libuv frees a handle only in its next turn, when the number
    /// may be in use again.
    std::unordered_map<int, std::unique_ptr<Watch>> m_watches;
    std::mutex m_joinMutex; ///< lets only one caller of stop() join
    std::thread m_thread;
    Q_DISABLE_COPY_MOVE(IoLoop)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
