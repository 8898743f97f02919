// SPDX-License-Identifier: MIT
#include "communicator/http/connectionpool.h"

#include "communicator/http/refusal.h"
#include "communicator/http/timelimit.h"
#include "communicator/runtime/descriptorbudget.h"

#include <algorithm>
#include <array>
#include <new>

namespace Krelm::Communicator::HttpDevice {

namespace {

using Clock = std::chrono::steady_clock;

// More threads at once open connections of their own and close them.
constexpr size_t maxIdlePerClass = 16;
// Exchanges leave soon after their abort, but an observer that one is in may not return.
constexpr std::chrono::seconds leaveTime{2};
// The maximum size of one read; larger replies are read in pieces of it. The buffer is on the stack, which
// may be small; a thread_local one would take its space in every thread of the process.
constexpr size_t bufferBytes = 32 << 10;

std::chrono::milliseconds timeLeft(Clock::time_point deadline)
{
    return std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
}

} // namespace

BlockingExchange::BlockingExchange(const TransferLimits& limits)
    : m_exchange(limits)
{}

void BlockingExchange::setConnection(std::unique_ptr<Connection> connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_connection.swap(connection); // the old one is destroyed after the lock is released
    m_isReused = false;
}

HttpReply BlockingExchange::perform(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                                    Clock::time_point started)
{
    try {
        return performUnlessShort(request, device, started);
    } catch (const std::bad_alloc&) {
        setConnection(nullptr);
        return m_exchange.finish(IHttpVersionTrigger::LimitExceeded, outOfMemoryError());
    }
}

HttpReply BlockingExchange::performUnlessShort(const HttpRequest& request,
                                               const std::shared_ptr<const Device>& device,
                                               Clock::time_point started)
{
    const auto prepared = m_exchange.prepare(request, device, started);
    if (prepared != IHttpVersionTrigger::Success) {
        return m_exchange.finish(prepared, {});
    }
    const Clock::time_point deadline = started + timeLimit(request);
    if (m_connection && !m_connection->isQuiet()) {
        setConnection(nullptr);
    }
    while (true) {
        if (m_aborted || device->isRemoved) { // whoever aborted has dropped the session
            return m_exchange.finish(IHttpVersionTrigger::Aborted,
                                     m_isCancelled ? cancelledError() : abortedError());
        }
        if (!m_connection) {
            ConnectResult opened = m_connector.connect(*device, timeLeft(deadline));
            if (!opened.connection) {
                return m_exchange.finish(opened.state, opened.state == IHttpVersionTrigger::TimedOut
                                                           ? timeOutError(request)
                                                           : opened.error);
            }
            setConnection(std::move(opened.connection));
            continue; // an abort() in the meantime has not seen the connection
        }
        Exchange::Step step = transfer(deadline);
        if (step == Exchange::Step::AwaitLogin) {
            step = awaitLogin(deadline);
        }
        if (m_aborted) {
            continue;
        }
        if (step == Exchange::Step::GoOn) {
            setConnection(nullptr);
            return m_exchange.finish(IHttpVersionTrigger::TimedOut, timeOutError(request));
        }
        m_isReused = true;
        if (step == Exchange::Step::AgainHere && !m_connection->isQuiet()) {
            step = Exchange::Step::AgainFresh; // it ended during the wait for a login
        }
        if (step == Exchange::Step::AgainFresh ||
            (step == Exchange::Step::Ended && !m_exchange.keepsConnection())) {
            setConnection(nullptr);
        }
        if (step == Exchange::Step::Ended) {
            return m_exchange.finish();
        }
    }
}

/// @return how the exchange continues; GoOn if the time has passed.
Exchange::Step BlockingExchange::transfer(Clock::time_point deadline)
{
    std::array<char, bufferBytes> buffer;
    auto left = timeLeft(deadline);
    while (left.count() > 0 && !m_aborted) {
        Exchange::Step step = m_exchange.send(*m_connection);
        if (step != Exchange::Step::GoOn) {
            return step;
        }
        // A device may reply, and close the connection, before it has received the whole request.
        const bool mayAnswer = m_exchange.mayReceive() || m_connection->wait(true, left);
        if (mayAnswer) {
            const bool waits = m_exchange.isSent() && !m_exchange.hasSendFailed();
            const Connection::Result result =
                waits ? m_connection->receiveWithin(left, buffer.data(), buffer.size())
                      : m_connection->receive(buffer.data(), buffer.size());
            step = m_exchange.received(result, buffer.data(), m_isReused);
            if (step != Exchange::Step::GoOn) {
                return step;
            }
        }
        left = timeLeft(deadline);
    }
    return Exchange::Step::GoOn;
}

/// @return how the exchange continues; Ended, with the refusal, if there is no other login in time.
Exchange::Step BlockingExchange::awaitLogin(Clock::time_point deadline)
{
    std::optional<bool> renewed; // guarded by m_mutex
    TokenLogin::Ticket ticket;   // ends the waiter before what it uses
    const Exchange::Step step = m_exchange.awaitLogin(ticket, [this, &renewed](bool isRenewed) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        renewed = isRenewed;
        m_woken.notify_all();
    });
    if (step != Exchange::Step::AwaitLogin) {
        return step;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_woken.wait_until(lock, deadline, [this, &renewed] { return renewed || m_aborted; });
    const bool goesOn = renewed.value_or(false) && !m_aborted;
    lock.unlock();
    return goesOn ? m_exchange.repeatWithNewLogin() : Exchange::Step::Ended;
}

void BlockingExchange::cancel()
{
    m_isCancelled = true;
    abort();
}

void BlockingExchange::abort()
{
    m_aborted = true;
    m_connector.abort();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_woken.notify_all();
    if (m_connection) {
        m_connection->shutDown();
    }
}

ConnectionPool::ConnectionPool(const TransferLimits& limits)
    : m_limits(limits)
    , m_maximumIdle(descriptorBudget(2))
{}

/// What one exchange has of the pool; ends with it, whichever way it ends.
struct ConnectionPool::Visit
{
    explicit Visit(ConnectionPool& itsPool)
        : pool(itsPool)
    {}
    ~Visit()
    {
        if (entry || pause) {
            pool.leave(entry, pause);
        }
    }
    /// @return how long to wait before the request is sent again; none if it is not.
    std::optional<std::chrono::milliseconds> perform(const HttpRequest& request,
                                                     const std::shared_ptr<const Device>& device,
                                                     Clock::time_point started, HttpReply& reply)
    {
        entry = pool.acquire(device, request, pause);
        pause.reset();
        reply = (*entry)->session.perform(request, device, started);
        const auto wait = (*entry)->session.repeatAfter();
        try {
            pause = pool.release(*std::exchange(entry, std::nullopt), wait.has_value());
        } catch (const std::bad_alloc&) { // the session is gone, but the reply is there
        }
        return pause ? wait : std::nullopt;
    }

    ConnectionPool& pool;
    std::optional<Sessions::iterator> entry;
    OfPauses pause;
    Q_DISABLE_COPY_MOVE(Visit)
};

HttpReply ConnectionPool::exchange(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                                   Clock::time_point started)
{
    Visit visit(*this);
    HttpReply reply;
    auto wait = visit.perform(request, device, started, reply);
    if (!wait) {
        return reply;
    }
    HttpRequest again = request;
    while (wait) {
        ++again.repeats;
        if (!waitUntil(Clock::now() + *wait, *visit.pause)) {
            return endPause(*visit.pause, request, started);
        }
        wait = visit.perform(again, device, started, reply);
    }
    return reply;
}

void ConnectionPool::leave(const std::optional<Sessions::iterator>& entry, const OfPauses& pause)
{
    Sessions dropped; // destroyed after the lock is released
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (entry) {
        dropped.splice(dropped.end(), m_active, *entry);
    }
    if (pause) {
        m_pauses.erase(*pause);
    }
    m_left.notify_all();
}

ConnectionPool::Sessions::iterator ConnectionPool::acquire(const std::shared_ptr<const Device>& device,
                                                           const HttpRequest& request, const OfPauses& pause)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    Sessions entry = m_idle.takeNewest({device.get(), request.daemon});
    if (entry.empty()) {
        lock.unlock();
        entry.emplace_back(m_limits, device, request.daemon);
        lock.lock();
        if (m_closed) {
            entry.front().session.abort();
        }
    }
    entry.front().user = std::this_thread::get_id();
    entry.front().exchange = request.id;
    if (pause) {
        if ((*pause)->isCancelled) {
            entry.front().session.cancel();
        } else if ((*pause)->isAborted) {
            entry.front().session.abort();
        }
        m_pauses.erase(*pause);
    }
    if (!m_closed && m_cancelled.contains(request.id)) {
        entry.front().session.cancel();
    }
    m_active.splice(m_active.end(), entry);
    return std::prev(m_active.end());
}

ConnectionPool::OfPauses ConnectionPool::release(Sessions::iterator entry, bool pauses)
{
    Sessions dropped; // destroyed after the lock is released, because closing connections takes time
    const std::lock_guard<std::mutex> lock(m_mutex);
    dropped.splice(dropped.end(), m_active, entry);
    OfPauses pause;
    if (pauses) {
        m_pauses.push_back({entry->exchange, entry->device, std::this_thread::get_id(),
                            entry->session.isAborted() || m_closed, entry->session.isCancelled()});
        pause = std::prev(m_pauses.end());
    }
    if (entry->session.isAborted() || entry->device->isRemoved) {
        m_left.notify_all();
        return pause;
    }
    const TrafficClass trafficClass = entry->trafficClass();
    if (!entry->session.isConnected() || entry->device->isReplaced ||
        m_idle.count(trafficClass) >= maxIdlePerClass) {
        return pause;
    }
    m_idle.add(trafficClass, std::exchange(dropped, {}));
    if (m_idle.size() > m_maximumIdle) {
        dropped = m_idle.takeOldest();
    }
    return pause;
}

/// @return whether that moment came, and nothing ended the pause before.
bool ConnectionPool::waitUntil(Clock::time_point when, Pauses::iterator pause)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_resumed.wait_until(lock, when,
                                 [pause] { return pause->isAborted || pause->device->isRemoved; });
}

HttpReply ConnectionPool::endPause(Pauses::iterator pause, const HttpRequest& request,
                                   Clock::time_point started)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool isCancelled = pause->isCancelled;
    lock.unlock(); // observers are told
    return failWithoutSending(request, IHttpVersionTrigger::Aborted,
                              isCancelled ? cancelledError() : abortedError(), started);
}

template <class Concerns>
void ConnectionPool::abortActive(Concerns concerns, bool cancels)
{
    for (Entry& entry : m_active) {
        if (concerns(entry)) {
            cancels ? entry.session.cancel() : entry.session.abort();
        }
    }
    for (Pause& pause : m_pauses) {
        if (concerns(pause)) {
            pause.isAborted = true;
            pause.isCancelled = pause.isCancelled || cancels;
        }
    }
    m_resumed.notify_all();
}

void ConnectionPool::abort(const QString& deviceKey)
{
    std::vector<Sessions> dropped;
    const std::lock_guard<std::mutex> lock(m_mutex);
    abortActive([&](const auto& one) { return one.device->key == deviceKey; }, false);
    dropped = m_idle.takeIf([&](const Sessions& idle) { return idle.front().device->key == deviceKey; });
}

void ConnectionPool::dropReplaced(const QString& deviceKey)
{
    std::vector<Sessions> dropped; // destroyed after the lock is released
    const std::lock_guard<std::mutex> lock(m_mutex);
    dropped = m_idle.takeIf([&](const Sessions& idle) {
        const Device& device = *idle.front().device;
        return device.key == deviceKey && device.isReplaced;
    });
}

void ConnectionPool::cancel(ExchangeId id)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_cancelled.add(id);
    abortActive([id](const auto& one) { return one.exchange == id; }, true);
}

void ConnectionPool::cancelAll(const QString& deviceKey)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    abortActive([&](const auto& one) { return one.device->key == deviceKey; }, true);
}

void ConnectionPool::close()
{
    std::vector<Sessions> dropped;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_closed = true;
    dropped = m_idle.takeIf([](const Sessions& /*idle*/) { return true; });
    abortActive([](const auto& /*one*/) { return true; }, false);
    // An observer that calls this is running inside an exchange.
    const auto isOwn = [](const auto& one) { return one.user == std::this_thread::get_id(); };
    m_left.wait_for(lock, leaveTime, [this, isOwn] {
        return std::all_of(m_active.cbegin(), m_active.cend(), isOwn) &&
               std::all_of(m_pauses.cbegin(), m_pauses.cend(), isOwn);
    });
}

} // namespace Krelm::Communicator::HttpDevice
