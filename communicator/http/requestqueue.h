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
#include <optional>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The non-blocking exchanges of one class of traffic, normal or daemon. The number of exchanges that have a
/// connection is limited, in total and per device; the others wait their turn as plain values, while their
/// time limit runs. Connections are shared so that devices which never answer do not block others: a device
/// may always run one exchange, and more only while at least as many connections are free as it uses. At
/// most once a minute, a warning is logged while requests wait for the limit.
///
/// Writes to one expanded path of a device keep their order and run one at a time, so that a later value is
/// not overtaken by an earlier one on another connection. Reads, and writes to other paths, run beside them.
/// What the function sends that renews a token begins at once, without regard to limits and order: all others
/// may be waiting for it.
///
/// A read that is repeated because its device was busy waits as a plain value, too, and takes no part in the
/// limits meanwhile.
/// Used on the loop's thread only.
class RequestQueue
{
public:
    using Done = std::function<void(const HttpReply&)>;

    /// @p maxConnections returns the limit of both the connections in use and the idle ones.
    RequestQueue(IoLoop& loop, const TransferLimits& limits, std::function<size_t()> maxConnections);
    /// Ends all exchanges with `Aborted`.
    ~RequestQueue();

    /// Adds an exchange that began at @p started; @p done is called once, possibly from inside.
    void add(HttpRequest request, std::shared_ptr<const Device> device, Done done,
             std::chrono::steady_clock::time_point started);
    /// Ends the exchanges with @p deviceKey with `Aborted` and drops its connections.
    void abort(const QString& deviceKey);
    /// Drops the idle connections with @p deviceKey from before its endpoint was replaced.
    void dropReplaced(const QString& deviceKey);
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
        quint64 number = 0; ///< in the order in which they came
        std::chrono::steady_clock::time_point started;
        std::chrono::steady_clock::time_point deadline;
        IoLoop::TimerId timer;
        QByteArray writtenPath;                  ///< expanded; empty for a read
        bool isHeldBack = false;                 ///< an earlier write to its path has not ended
        bool isPaused = false;                   ///< a read that is sent again when its pause is over
        IoLoop::TimerId pause;                   ///< while it is paused
        std::unique_ptr<AsyncExchange> exchange; ///< while it is running
    };
    using Jobs = std::list<Job>;
    struct DeviceQueue
    {
        Jobs waiting;
        Jobs underWay;
        Jobs paused;
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
    enum class Room { Free, DeviceIsBusy, AllAreBusy };
    Room roomFor(const DeviceQueue& queue, size_t connections) const;
    void tellLimit(size_t connections);
    void startRunnable();
    void begin(const QString& deviceKey, DeviceQueue& queue);
    void finished(const QString& deviceKey, Jobs::iterator job, const HttpReply& reply);
    void pause(const QString& deviceKey, DeviceQueue& queue, Jobs::iterator job,
               std::chrono::milliseconds wait);
    void endEarly(const QString& deviceKey, Jobs::iterator job, IHttpVersionTrigger::HttpSimpleState outcome,
                  const QString& error);
    Jobs takeWaiting(DeviceQueue& queue);
    void endAll(DeviceQueue& queue, const QString& error);
    void endAllOf(const QString& deviceKey, const QString& error);
    void writeEnded(DeviceQueue& queue, const QByteArray& path);
    void forgetIfIdle(const QString& deviceKey);
    void keep(const std::shared_ptr<const Device>& device, std::unique_ptr<AsyncExchange> exchange);

    IoLoop& m_loop;
    const TransferLimits m_limits;
    const std::function<size_t()> m_maxConnections;
    Connector m_connector;
    CancelledIds m_cancelled;
    QHash<QString, std::shared_ptr<DeviceQueue>> m_devices; ///< those with exchanges
    std::deque<QString> m_runnable;                         ///< devices with waiting exchanges, in turn
    quint64 m_added = 0;
    bool m_isStarting = false;
    size_t m_underWay = 0;
    std::optional<std::chrono::steady_clock::time_point> m_limitTold;
    KeptList<const Device*, Kept> m_kept;
    std::vector<std::unique_ptr<AsyncExchange>> m_idle;
    Q_DISABLE_COPY_MOVE(RequestQueue)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
