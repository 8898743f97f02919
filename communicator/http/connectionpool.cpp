// SPDX-License-Identifier: MIT
#include "communicator/http/connectionpool.h"

#include "communicator/http/refusal.h"
#include "communicator/http/timelimit.h"
#include "communicator/runtime/descriptorbudget.h"

#include <algorithm>
#include <array>

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
    const auto prepared = m_exchange.prepare(request, device, started);
    if (prepared != IHttpVersionTrigger::Success) {
        return m_exchange.finish(prepared, {});
    }
    const Clock::time_point deadline = started + timeLimit(request);
    if (m_connection && !m_connection->isQuiet()) {
        setConnection(nullptr);
    }
    while (true) {
        if (m_aborted || device->isRemoved) {
            setConnection(nullptr);
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
        const Exchange::Step step = transfer(deadline);
        if (m_aborted) {
            continue;
        }
        if (step == Exchange::Step::GoOn) {
            setConnection(nullptr);
            return m_exchange.finish(IHttpVersionTrigger::TimedOut, timeOutError(request));
        }
        m_isReused = true;
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
            const Connection::Result result =
                m_exchange.mayReceive() ? m_connection->receiveWithin(left, buffer.data(), buffer.size())
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
    if (m_connection) {
        m_connection->shutDown();
    }
}

ConnectionPool::ConnectionPool(const TransferLimits& limits)
    : m_limits(limits)
    , m_maximumIdle(descriptorBudget(2))
{}

HttpReply ConnectionPool::exchange(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                                   std::chrono::steady_clock::time_point started)
{
    const Sessions::iterator entry = acquire(device, request);
    HttpReply reply = entry->session.perform(request, device, started);
    release(entry);
    return reply;
}

ConnectionPool::Sessions::iterator ConnectionPool::acquire(const std::shared_ptr<const Device>& device,
                                                           const HttpRequest& request)
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
    if (!m_closed && m_cancelled.contains(request.id)) {
        entry.front().session.cancel();
    }
    m_active.splice(m_active.end(), entry);
    return std::prev(m_active.end());
}

void ConnectionPool::release(Sessions::iterator entry)
{
    Sessions dropped; // destroyed after the lock is released, because closing connections takes time
    const std::lock_guard<std::mutex> lock(m_mutex);
    dropped.splice(dropped.end(), m_active, entry);
    if (entry->session.isAborted() || entry->device->isRemoved) {
        m_left.notify_all();
        return;
    }
    const TrafficClass trafficClass = entry->trafficClass();
    if (!entry->session.isConnected() || m_idle.count(trafficClass) >= maxIdlePerClass) {
        return;
    }
    m_idle.add(trafficClass, std::exchange(dropped, {}));
    if (m_idle.size() > m_maximumIdle) {
        dropped = m_idle.takeOldest();
    }
}

void ConnectionPool::abort(const QString& deviceKey)
{
    std::vector<Sessions> dropped;
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Entry& entry : m_active) {
        if (entry.device->key == deviceKey) {
            entry.session.abort();
        }
    }
    dropped = m_idle.takeIf([&](const Sessions& idle) { return idle.front().device->key == deviceKey; });
}

void ConnectionPool::cancel(ExchangeId id)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_cancelled.add(id);
    for (Entry& entry : m_active) {
        if (entry.exchange == id) {
            entry.session.cancel();
        }
    }
}

void ConnectionPool::cancelAll(const QString& deviceKey)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Entry& entry : m_active) {
        if (entry.device->key == deviceKey) {
            entry.session.cancel();
        }
    }
}

void ConnectionPool::close()
{
    std::vector<Sessions> dropped;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_closed = true;
    dropped = m_idle.takeIf([](const Sessions& /*idle*/) { return true; });
    for (Entry& entry : m_active) {
        entry.session.abort();
    }
    // An observer that calls this is running inside an exchange.
    m_left.wait_for(lock, leaveTime, [this] {
        return std::all_of(m_active.cbegin(), m_active.cend(),
                           [](const Entry& entry) { return entry.user == std::this_thread::get_id(); });
    });
}

} // namespace Krelm::Communicator::HttpDevice
