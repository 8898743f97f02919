// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_SOCKETENGINE_H
#define COMMUNICATOR_HTTP_SOCKETENGINE_H

#include "communicator/http/connectionpool.h"
#include "communicator/httpengine.h"

#include <atomic>
#include <memory>

namespace Krelm::Communicator::HttpDevice {

class IoLoop;
class RequestQueue;

/// The built-in engine. Blocking exchanges run on their caller's thread, the others on the loop's.
/// May be used from any thread.
class SocketEngine : public HttpEngine
{
public:
    SocketEngine(std::shared_ptr<const DeviceRegistry> registry, std::shared_ptr<IoLoop> loop,
                 const TransferLimits& limits = {});
    ~SocketEngine() override;

    HttpReply exchange(const HttpRequest& request) override;
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override;

    void cancel(ExchangeId id) override;
    void cancelAll(const QString& deviceKey) override;

    /// Ends the exchanges with @p deviceKey with `Aborted` and drops its connections.
    void abort(const QString& deviceKey);
    /// Ends all exchanges with `Aborted`; later ones end so at once. An observer may call it: the exchange
    /// that it is told of, and on the loop's thread all that do not block, then end after it has returned.
    void stop();

private:
    struct Queues;
    ConnectionPool m_pool;
    const std::shared_ptr<const DeviceRegistry> m_registry;
    const std::shared_ptr<IoLoop> m_loop;
    const std::shared_ptr<Queues> m_queues; ///< touched on the loop's thread only
    std::atomic<bool> m_stopped{false};
};

} // namespace Krelm::Communicator::HttpDevice

#endif
