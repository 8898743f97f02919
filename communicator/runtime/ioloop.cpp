// SPDX-License-Identifier: MIT
#include "communicator/runtime/ioloop.h"

#include "communicator/runtime/uvlibrary.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <pthread.h>
#include <unistd.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

// How many watchers may be called in one round before timers and tasks have their turn: libuv itself would
// call some fifty thousand.
constexpr int eventsPerRound = 128;

// How long to wait for free descriptors before looking again.
constexpr std::chrono::milliseconds retryInterval{100};

// libuv takes two for the process with the first loop, and ends the process if these cannot be had; a loop
// takes four. The others are for threads that open some between the look and the opening.
constexpr std::size_t descriptorsWanted = 16;

bool hasFreeDescriptors()
{
    std::array<int, descriptorsWanted> taken{};
    taken.fill(-1);
    taken.front() = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    for (std::size_t i = 1; i < taken.size() && taken[i - 1] >= 0; ++i) {
        taken[i] = ::fcntl(taken.front(), F_DUPFD_CLOEXEC, 0);
    }
    const bool hasAll = taken.back() >= 0;
    for (const int descriptor : taken) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    return hasAll;
}

// libuv's own bits do not get out of this file.
std::uint32_t readinessOf(int uvEvents)
{
    return ((uvEvents & UV_READABLE) != 0 ? IoLoop::Readable : 0U) |
           ((uvEvents & UV_WRITABLE) != 0 ? IoLoop::Writable : 0U);
}

int uvEventsOf(std::uint32_t readiness)
{
    return ((readiness & IoLoop::Readable) != 0 ? UV_READABLE : 0) |
           ((readiness & IoLoop::Writable) != 0 ? UV_WRITABLE : 0);
}

} // namespace

struct IoLoop::Backend
{
    uv_loop_t loop{};
    uv_async_t wakeUp{};
    uv_timer_t alarm{};
};

struct IoLoop::Watch
{
    Watch(IoLoop& itsLoop, int number)
        : loop(itsLoop)
        , descriptor(number)
    {}

    IoLoop& loop;
    const int descriptor;
    uv_poll_t handle{};
    bool hasHandle = false;
    std::uint32_t events = 0; ///< 0 if nobody watches
    Watcher watcher = nullptr;
};

IoLoop::IoLoop() = default;

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
    close();
}

// With m_mutex held.
void IoLoop::wake()
{
    if (m_backend) {
        uv().asyncSend(&m_backend->wakeUp);
    } else {
        m_wakeUp.notify_one();
    }
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
        wake();
    }
    const std::lock_guard<std::mutex> lock(m_joinMutex);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void IoLoop::watch(int descriptor, std::uint32_t events, Watcher watcher)
{
    std::unique_ptr<Watch>& watch = m_watches[descriptor];
    if (!watch) {
        watch = std::make_unique<Watch>(*this, descriptor);
    }
    watch->events = events;
    watch->watcher = std::move(watcher);
    start(*watch);
}

// Tells the system of the descriptor in the next turn, even if it was watched before: its number may have
// come back for another file.
void IoLoop::start(Watch& watch)
{
    if (!m_backend) {
        return; // open() does it
    }
    if (!watch.hasHandle) {
        watch.hasHandle = uv().pollInit(&m_backend->loop, &watch.handle, watch.descriptor) == 0;
        watch.handle.data = &watch;
    }
    if (watch.hasHandle) {
        uv().pollStart(&watch.handle, uvEventsOf(watch.events),
                       [](uv_poll_t* handle, int status, int events) {
                           onReady(*static_cast<Watch*>(handle->data), status < 0, readinessOf(events));
                       });
    }
}

void IoLoop::unwatch(int descriptor)
{
    const auto found = m_watches.find(descriptor);
    if (found == m_watches.end() || found->second->events == 0) {
        return;
    }
    Watch& watch = *found->second;
    watch.events = 0;
    watch.watcher = nullptr;
    if (watch.hasHandle) {
        uv().pollStop(&watch.handle);
    }
}

void IoLoop::onReady(Watch& watch, bool failed, std::uint32_t events)
{
    IoLoop& self = watch.loop;
    if (failed) {
        // libuv watches it no longer, but whether to go on is the watcher's decision.
        events = watch.events;
        self.start(watch);
    }
    const Watcher call = watch.watcher; // may replace or remove itself
    call(events);
    if (--self.m_eventsLeft == 0) {
        self.m_eventsLeft = eventsPerRound;
        self.runTimers();
        self.runTasks();
    }
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

void IoLoop::runTimers()
{
    const Clock::time_point now = Clock::now();
    while (!m_timers.empty() && m_timers.begin()->first.first <= now) {
        const auto task = m_timers.extract(m_timers.begin());
        task.mapped()();
    }
}

void IoLoop::runTasks()
{
    std::vector<std::function<void()>> tasks;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        tasks.swap(m_tasks);
        m_going = !m_stopping;
    }
    for (std::function<void()>& task : tasks) {
        task();
        task = nullptr;
    }
}

// Returns whether there is a backend.
bool IoLoop::open()
{
    if (m_backend) {
        return true;
    }
    if (!hasFreeDescriptors()) {
        return false;
    }
    auto backend = std::make_unique<Backend>();
    if (uv().loopInit(&backend->loop) != 0) {
        return false;
    }
    // Neither can fail: the loop has a descriptor for its wake-ups already.
    uv().asyncInit(&backend->loop, &backend->wakeUp, [](uv_async_t*) {});
    uv().timerInit(&backend->loop, &backend->alarm);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_backend = std::move(backend);
        wake(); // for what was posted before it could be woken up
    }
    for (const auto& entry : m_watches) {
        if (entry.second->events != 0) {
            start(*entry.second);
        }
    }
    return true;
}

// After the thread's end.
void IoLoop::close()
{
    if (!m_backend) {
        return;
    }
    for (const auto& entry : m_watches) {
        if (entry.second->hasHandle) {
            uv().close(reinterpret_cast<uv_handle_t*>(&entry.second->handle), nullptr);
        }
    }
    uv().close(reinterpret_cast<uv_handle_t*>(&m_backend->alarm), nullptr);
    uv().close(reinterpret_cast<uv_handle_t*>(&m_backend->wakeUp), nullptr);
    uv().run(&m_backend->loop, UV_RUN_DEFAULT);
    uv().loopClose(&m_backend->loop);
}

void IoLoop::waitForEvents()
{
    if (m_timers.empty()) {
        uv().timerStop(&m_backend->alarm);
    } else {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(m_timers.begin()->first.first - Clock::now());
        uv().updateTime(&m_backend->loop);
        // An alarm that is due goes off before libuv waits, which must then be kept from it.
        uv().timerStart(
            &m_backend->alarm, [](uv_timer_t* alarm) { uv().stop(alarm->loop); },
            static_cast<std::uint64_t>(std::max<std::int64_t>(left.count(), 0)), 0);
    }
    m_eventsLeft = eventsPerRound;
    uv().run(&m_backend->loop, UV_RUN_ONCE);
}

void IoLoop::waitWithoutDescriptors()
{
    auto until = Clock::now() + retryInterval;
    if (!m_timers.empty()) {
        until = std::min(until, m_timers.begin()->first.first);
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_wakeUp.wait_until(lock, until, [this] { return m_stopping || !m_tasks.empty(); });
}

void IoLoop::loop()
{
    pthread_setname_np(pthread_self(), "tessel-io");
    while (m_going) {
        if (open()) {
            waitForEvents();
        } else {
            waitWithoutDescriptors();
        }
        runTimers();
        runTasks();
    }
}

} // namespace Krelm::Communicator::HttpDevice
