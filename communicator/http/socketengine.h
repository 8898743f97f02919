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

/// The built-in engine. Blocking exchanges run on their caller's thread, the others on the loop's thread. May
/// be used from any thread.
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
    /// Drops the idle connections with @p deviceKey from before its endpoint was replaced.
    void dropReplaced(const QString& deviceKey);
    /// Ends all exchanges with `Aborted`; later ones are aborted at once. An observer may call it; the
    /// exchange reported to it, and on the loop's thread all non-blocking ones, then end after it has
    /// returned.
    void stop();

private:
    struct Queues;
    ConnectionPool m_pool;
    const std::shared_ptr<const DeviceRegistry> m_registry;
    const std::shared_ptr<IoLoop> m_loop;
    const std::shared_ptr<Queues> m_queues; ///< used on the loop's thread only
    std::atomic<bool> m_stopped{false};
};

} // namespace Krelm::Communicator::HttpDevice

#endif
