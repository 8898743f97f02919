// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_ASYNCEXCHANGE_H
#define COMMUNICATOR_HTTP_ASYNCEXCHANGE_H

#include "communicator/http/connector.h"
#include "communicator/http/exchange.h"
#include "communicator/runtime/ioloop.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// An exchange driven by the I/O loop. Used on the loop's thread only.
class AsyncExchange
{
public:
    using Finished = std::function<void(const HttpReply&)>;

    AsyncExchange(IoLoop& loop, Connector& connector, const TransferLimits& limits);
    /// No exchange may be running.
    ~AsyncExchange();

    /// Starts the exchange, on the idle connection @p kept if it is still usable. It ends at @p deadline at
    /// the latest. @p request must outlive it. @p finished is called once, possibly from inside, and may
    /// destroy this object.
    void start(const HttpRequest& request, const std::shared_ptr<const Device>& device,
               std::unique_ptr<Connection> kept, std::chrono::steady_clock::time_point started,
               std::chrono::steady_clock::time_point deadline, Finished finished);
    /// Ends a running exchange; `finished` is not called.
    HttpReply breakOff(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error);
    /// After the end: how long to wait before the request is sent again; none if it is not.
    std::optional<std::chrono::milliseconds> repeatAfter() const { return m_exchange.repeatAfter(); }
    /// After the end: the connection if it can be reused, else null.
    std::unique_ptr<Connection> takeConnection() { return std::move(m_connection); }

private:
    void connect();
    void use(std::unique_ptr<Connection> connection, bool isReused);
    void ready(std::uint32_t events);
    void go(Exchange::Step step);
    void watch();
    void awaitLogin();
    void end(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error);

    IoLoop& m_loop;
    Connector& m_connector;
    Exchange m_exchange;
    std::chrono::steady_clock::time_point m_deadline;
    Finished m_finished;
    Connector::Attempt m_attempt = nullptr; ///< while connecting
    std::unique_ptr<Connection> m_connection;
    bool m_isReused = false;
    std::shared_ptr<TokenLogin::Ticket> m_login; ///< while it waits for a new token
    Q_DISABLE_COPY_MOVE(AsyncExchange)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
