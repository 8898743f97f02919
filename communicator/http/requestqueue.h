// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REQUESTQUEUE_H
#define COMMUNICATOR_HTTP_REQUESTQUEUE_H

#include "communicator/http/asyncexchange.h"
#include "communicator/http/cancelledids.h"
#include "communicator/http/connector.h"
#include "communicator/http/keptlist.h"
#include "communicator/runtime/ioloop.h"

#include <QHash>

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The non-blocking exchanges of normal or of daemon traffic. A bounded number of them has a connection, in
/// all and per device; the others wait their turn as mere values, and their time limit runs from the start.
/// The bound is shared so that devices which never answer keep no other one waiting: each may have one
/// exchange under way in any case, and more only while as many connections again are free.
///
/// Writes to one expanded path of a device keep their order, one under way at a time: a value that follows
/// another cannot be overtaken by it on another connection. Reads, and writes to other paths, go on beside
/// them. Used on the loop's thread only.
class RequestQueue
{
public:
    using Done = std::function<void(const HttpReply&)>;

    /// @p connections bounds those in use and those kept for later exchanges.
    RequestQueue(IoLoop& loop, const TransferLimits& limits, size_t connections);
    /// Ends all exchanges with `Aborted`.
    ~RequestQueue();

    /// Takes on an exchange that began at @p started; @p done is called once, possibly from inside.
    void add(HttpRequest request, std::shared_ptr<const Device> device, Done done,
             std::chrono::steady_clock::time_point started);
    /// Ends the exchanges with @p deviceKey with `Aborted` and drops its connections.
    void abort(const QString& deviceKey);
    /// Ends the exchange @p id with `Aborted`, if it is here or comes later.
    void cancel(ExchangeId id);
    /// Ends the exchanges with @p deviceKey with `Aborted`.
    void cancelAll(const QString& deviceKey);

private:
    struct Job
    {
        HttpRequest request;
        std::shared_ptr<const Device> device;
        Done done;
        std::chrono::steady_clock::time_point started;
        std::chrono::steady_clock::time_point deadline;
        IoLoop::TimerId timer;
        QByteArray writtenPath;                  ///< expanded; empty for a read
        bool isHeldBack = false;                 ///< an earlier write to its path has not ended
        std::unique_ptr<AsyncExchange> exchange; ///< while it is under way
    };
    using Jobs = std::list<Job>;
    struct DeviceQueue
    {
        Jobs waiting;
        Jobs underWay;
        std::map<QByteArray, Jobs>
            heldBack;            ///< by path, for each path with a write that waits or is under way
        bool isRunnable = false; ///< in m_runnable
    };
    struct Kept
    {
        std::shared_ptr<const Device> device;
        std::unique_ptr<Connection> connection;
    };

    void markRunnable(const QString& deviceKey, DeviceQueue& queue);
    bool mayBegin(const DeviceQueue& queue) const;
    void startRunnable();
    void begin(const QString& deviceKey, DeviceQueue& queue);
    void finished(const QString& deviceKey, Jobs::iterator job, const HttpReply& reply);
    void endEarly(const QString& deviceKey, Jobs::iterator job, IHttpVersionTrigger::HttpSimpleState outcome,
                  const QString& reason);
    static Jobs takeWaiting(DeviceQueue& queue);
    void endAll(DeviceQueue& queue, const QString& reason);
    void endAllOf(const QString& deviceKey, const QString& reason);
    void writeEnded(DeviceQueue& queue, const QByteArray& path);
    void forgetIfIdle(const QString& deviceKey);
    void keep(const std::shared_ptr<const Device>& device, std::unique_ptr<AsyncExchange> exchange);

    IoLoop& m_loop;
    const TransferLimits m_limits;
    const size_t m_connections;
    Connector m_connector;
    CancelledIds m_cancelled;
    QHash<QString, std::shared_ptr<DeviceQueue>> m_devices; ///< those with exchanges
    std::deque<QString> m_runnable;                         ///< devices for which something waits, in turn
    bool m_isStarting = false;
    size_t m_underWay = 0;
    KeptList<const Device*, Kept> m_kept;
    std::vector<std::unique_ptr<AsyncExchange>> m_idle;
    Q_DISABLE_COPY_MOVE(RequestQueue)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
