// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CONNECTIONPOOL_H
#define COMMUNICATOR_HTTP_CONNECTIONPOOL_H

#include "communicator/http/cancelledids.h"
#include "communicator/http/connector.h"
#include "communicator/http/exchange.h"
#include "communicator/http/keptlist.h"

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace Krelm::Communicator::HttpDevice {

/// Performs exchanges on the caller's thread, and keeps the connection for the next one. Used by one thread
/// at a time, while any other thread may abort.
class BlockingExchange
{
public:
    explicit BlockingExchange(const TransferLimits& limits);

    /// Performs the exchange and returns when it has finished. Without memory it ends with `LimitExceeded`,
    /// or throws std::bad_alloc if there is not even memory to say so.
    HttpReply perform(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                      std::chrono::steady_clock::time_point started);
    /// Ends the running exchange and makes the session unusable. From any thread.
    void abort();
    /// The same, on behalf of the application.
    void cancel();
    bool isAborted() const { return m_aborted; }
    bool isCancelled() const { return m_isCancelled; }
    bool isConnected() const { return m_connection != nullptr; }
    /// After the exchange: how long to wait before the request is sent again; none if it is not.
    std::optional<std::chrono::milliseconds> repeatAfter() const { return m_exchange.repeatAfter(); }

private:
    HttpReply performUnlessShort(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                                 std::chrono::steady_clock::time_point started);
    Exchange::Step transfer(std::chrono::steady_clock::time_point deadline);
    Exchange::Step awaitLogin(std::chrono::steady_clock::time_point deadline);
    void setConnection(std::unique_ptr<Connection> connection);

    Exchange m_exchange;
    BlockingConnector m_connector;
    std::mutex m_mutex; ///< guards the end of m_connection against abort(), and a wait against its end
    std::condition_variable m_woken;
    std::unique_ptr<Connection> m_connection; ///< changed by the performing thread only
    bool m_isReused = false;                  ///< m_connection has served an exchange
    std::atomic<bool> m_aborted{false};
    std::atomic<bool> m_isCancelled{false};
    Q_DISABLE_COPY_MOVE(BlockingExchange)
};

/// The sessions of blocking exchanges: those in use, and idle ones, which keep a connection for the next
/// exchange with the same device and traffic class. May be used from any thread.
class ConnectionPool
{
public:
    explicit ConnectionPool(const TransferLimits& limits);

    /// Performs the exchange on the calling thread, on an idle connection if there is one.
    HttpReply exchange(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                       std::chrono::steady_clock::time_point started);
    /// Aborts the exchanges with @p deviceKey and drops its connections.
    void abort(const QString& deviceKey);
    /// Drops the idle connections with @p deviceKey from before its endpoint was replaced.
    void dropReplaced(const QString& deviceKey);
    /// Ends the exchange @p id, if it is under way or about to begin.
    void cancel(ExchangeId id);
    /// Ends the exchanges with @p deviceKey.
    void cancelAll(const QString& deviceKey);
    /// Aborts all exchanges and waits at most two seconds until those of other threads have returned. Later
    /// exchanges are refused.
    void close();

private:
    /// The device of a connection and its class of traffic.
    struct TrafficClass
    {
        const Device* device;
        bool daemon;
        bool operator==(const TrafficClass& other) const
        {
            return device == other.device && daemon == other.daemon;
        }
    };
    struct TrafficClassHash
    {
        size_t operator()(const TrafficClass& trafficClass) const
        {
            return std::hash<const Device*>()(trafficClass.device) ^ static_cast<size_t>(trafficClass.daemon);
        }
    };
    struct Entry
    {
        Entry(const TransferLimits& limits, std::shared_ptr<const Device> entryDevice, bool entryDaemon)
            : session(limits)
            , device(std::move(entryDevice))
            , daemon(entryDaemon)
        {}
        TrafficClass trafficClass() const { return {device.get(), daemon}; }
        BlockingExchange session;
        const std::shared_ptr<const Device> device;
        const bool daemon;
        std::thread::id user;    ///< while active
        ExchangeId exchange = 0; ///< while active
    };
    using Sessions = std::list<Entry>; ///< entries move between lists without being copied

    /// A read that waits until it is sent again, without a connection.
    struct Pause
    {
        ExchangeId exchange;
        std::shared_ptr<const Device> device;
        std::thread::id user;
        bool isAborted = false;
        bool isCancelled = false; ///< and aborted
    };
    using Pauses = std::list<Pause>;
    using OfPauses = std::optional<Pauses::iterator>;

    /// Ends @p pause at the same moment, if there is one.
    Sessions::iterator acquire(const std::shared_ptr<const Device>& device, const HttpRequest& request,
                               const OfPauses& pause);
    /// Begins a pause at the same moment, if @p pauses.
    OfPauses release(Sessions::iterator entry, bool pauses);
    struct Visit;
    bool waitUntil(std::chrono::steady_clock::time_point when, Pauses::iterator pause);
    void leave(const std::optional<Sessions::iterator>& entry, const OfPauses& pause);
    HttpReply endPause(Pauses::iterator pause, const HttpRequest& request,
                       std::chrono::steady_clock::time_point started);
    /// Aborts the exchanges and pauses that @p concerns, with m_mutex held.
    template <class Concerns>
    void abortActive(Concerns concerns, bool cancels);

    const TransferLimits m_limits;
    const size_t m_maximumIdle;
    CancelledIds m_cancelled;
    std::mutex m_mutex; ///< guards all below
    std::condition_variable m_left;
    std::condition_variable m_resumed; ///< a pause has ended early
    bool m_closed = false;
    Sessions m_active;
    Pauses m_pauses;
    KeptList<TrafficClass, Sessions, TrafficClassHash> m_idle; ///< each a list of one
};

} // namespace Krelm::Communicator::HttpDevice

#endif
