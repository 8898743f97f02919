// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_REQUESTQUEUE_H
#define COMMUNICATOR_REQUESTQUEUE_H

#include "communicator/curlmulti.h"
#include "communicator/curltransfer.h"
#include "communicator/ioloop.h"

#include <QHash>

#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The non-blocking exchanges of one lane. A bounded number of them has a connection, in all and per device;
/// the others wait their turn as mere values, devices taking turns, and their time limit runs from the start.
/// Used on the loop's thread only.
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
    /// Ends the exchanges with @p deviceKey with `Aborted`.
    void abort(const QString& deviceKey);

private:
    struct Exchange
    {
        HttpRequest request;
        std::shared_ptr<const Device> device;
        Done done;
        std::chrono::steady_clock::time_point started;
        std::chrono::steady_clock::time_point deadline;
        std::optional<IoLoop::TimerId> timer;   ///< while it waits
        std::unique_ptr<CurlTransfer> transfer; ///< while it is under way
    };
    using Exchanges = std::list<Exchange>;
    struct DeviceQueue
    {
        Exchanges waiting;
        Exchanges underWay;
        bool isListed = false; ///< in m_runnable
    };

    void list(const QString& deviceKey, DeviceQueue& queue);
    void startRunnable();
    void begin(const QString& deviceKey, DeviceQueue& queue);
    void finished(const QString& deviceKey, Exchanges::iterator exchange, CURLcode code);
    void expire(const QString& deviceKey, Exchanges::iterator exchange);
    void abortAll(Exchanges waiting, Exchanges underWay);
    void leave(const QString& deviceKey);
    std::unique_ptr<CurlTransfer> takeTransfer(const Device* device);
    void keepTransfer(std::unique_ptr<CurlTransfer> transfer);

    IoLoop& m_loop;
    const TransferLimits m_limits;
    const size_t m_maximumUnderWay;
    CurlMulti m_multi;
    QHash<QString, std::shared_ptr<DeviceQueue>> m_devices; ///< those with exchanges
    std::deque<QString> m_runnable; ///< devices that could begin another exchange, in turn
    size_t m_underWay = 0;
    std::vector<std::unique_ptr<CurlTransfer>> m_idle;
    Q_DISABLE_COPY_MOVE(RequestQueue)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
