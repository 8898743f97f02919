// SPDX-License-Identifier: MIT
#include "communicator/runtime/ioloop.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <future>
#include <limits>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

// A function of its own, so that a thread-sanitizer suppression can match this call alone: the descriptor may
// have been closed and reused by another thread by now.
[[gnu::noinline]] bool stopPolling(int epoll, int descriptor)
{
    return epoll_ctl(epoll, EPOLL_CTL_DEL, descriptor, nullptr) == 0;
}

} // namespace

IoLoop::IoLoop()
    : m_epoll(epoll_create1(EPOLL_CLOEXEC))
    , m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    epoll_event wakeUp{};
    wakeUp.events = EPOLLIN;
    wakeUp.data.fd = m_wakeUp;
    epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_wakeUp, &wakeUp);
}

void IoLoop::startThread()
{
    // The application's signals are handled on its own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_thread = std::thread([this] { loop(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    m_threadId = m_thread.get_id();
    m_started = true;
}

IoLoop::~IoLoop()
{
    stop();
    close(m_wakeUp);
    close(m_epoll);
}

void IoLoop::wake()
{
    const std::uint64_t one = 1;
    // Can fail only if the counter is full, in which case the loop wakes up anyway.
    [[maybe_unused]] const ssize_t written = write(m_wakeUp, &one, sizeof one);
}

void IoLoop::post(std::function<void()> task)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopping) {
        return;
    }
    if (!m_started) {
        startThread();
    }
    m_tasks.push_back(std::move(task));
    if (m_tasks.size() == 1) {
        wake();
    }
}

bool IoLoop::isHere()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_threadId == std::this_thread::get_id();
}

void IoLoop::run(const std::function<void()>& task)
{
    if (isHere()) {
        task();
        return;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool running = !m_stopping;
    lock.unlock();
    // A loop that stops meanwhile destroys the task, which ends the wait as well.
    const auto done = std::make_shared<std::atomic<bool>>(false);
    if (running) {
        auto left = std::make_shared<std::promise<void>>();
        const std::future<void> finished = left->get_future();
        post([&task, done, left = std::move(left)] {
            task();
            *done = true;
        });
        finished.wait();
    }
    if (!*done) {
        stop();
        task();
    }
}

void IoLoop::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    wake();
    const std::lock_guard<std::mutex> lock(m_joinMutex);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void IoLoop::watch(int descriptor, std::uint32_t events, Watcher watcher)
{
    epoll_event event{};
    event.events = events;
    event.data.fd = descriptor;
    const bool known = m_watchers.find(descriptor) != m_watchers.end();
    if (!known || epoll_ctl(m_epoll, EPOLL_CTL_MOD, descriptor, &event) != 0) {
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event);
    }
    m_watchers[descriptor] = std::move(watcher);
}

bool IoLoop::unwatch(int descriptor)
{
    return m_watchers.erase(descriptor) > 0 && stopPolling(m_epoll, descriptor);
}

IoLoop::TimerId IoLoop::startTimer(Clock::time_point when, std::function<void()> task)
{
    const TimerId timer(when, ++m_lastTimer);
    m_timers.emplace(timer, std::move(task));
    return timer;
}

void IoLoop::stopTimer(const TimerId& timer)
{
    m_timers.erase(timer);
}

int IoLoop::millisecondsToNextTimer() const
{
    if (m_timers.empty()) {
        return -1;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(m_timers.begin()->first.first - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

void IoLoop::runTimers()
{
    const Clock::time_point now = Clock::now();
    while (!m_timers.empty() && m_timers.begin()->first.first <= now) {
        const auto task = m_timers.extract(m_timers.begin());
        task.mapped()();
    }
}

// Returns false if the loop should end.
bool IoLoop::runTasks()
{
    std::vector<std::function<void()>> tasks;
    bool stopping = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        tasks.swap(m_tasks);
        stopping = m_stopping;
    }
    for (std::function<void()>& task : tasks) {
        task();
        task = nullptr;
    }
    return !stopping;
}

void IoLoop::loop()
{
    pthread_setname_np(pthread_self(), "tessel-io");
    std::array<epoll_event, 128> events{};
    bool going = true;
    while (going) {
        const int count =
            epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), millisecondsToNextTimer());
        for (int i = 0; i < count; ++i) {
            const epoll_event& event = events[static_cast<size_t>(i)];
            if (event.data.fd == m_wakeUp) {
                std::uint64_t ignored{};
                [[maybe_unused]] const ssize_t got = read(m_wakeUp, &ignored, sizeof ignored);
                continue;
            }
            // An earlier watcher of this round may have removed or replaced this one, so look it up and copy
            // it.
            const auto watcher = m_watchers.find(event.data.fd);
            if (watcher != m_watchers.end()) {
                const Watcher call = watcher->second;
                call(event.events);
            }
        }
        runTimers();
        going = runTasks();
    }
}

} // namespace Krelm::Communicator::HttpDevice
