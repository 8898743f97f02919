// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_HTTPSERVER_H
#define SIMULATOR_HTTP_HTTPSERVER_H

#include <simulator/device/device.h>
#include <simulator/http/certificate.h>
#include <simulator/http/connection.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace Tessel::Simulator {

/// Shared by all connections of one server. Outlives them.
struct ServerContext
{
    ServerContext(Device& served, std::shared_ptr<const Certificate> shown)
        : device(served)
        , registry(std::make_shared<ConnectionRegistry>())
        , certificate(std::move(shown))
    {}

    Device& device;
    std::shared_ptr<ConnectionRegistry> registry;
    std::shared_ptr<const Certificate> certificate; ///< null: no TLS
    std::atomic<std::uint64_t> bodyBytes{0};        ///< of all request bodies currently held in memory
};

/// Accepts connections for a device on one address. Start and stop it from one thread at a time.
class HttpServer : public Connections
{
public:
    /// Binds and listens; throws boost::system::system_error on failure.
    /// Serves TLS if @p certificate is not null.
    HttpServer(net::io_context& io, Device& device, std::shared_ptr<const Certificate> certificate);
    /// Closes all connections and waits for their end. Must not be called on a thread of @p io.
    ~HttpServer() override;

    std::uint16_t port() const { return m_port; }

    void closeStreams() override;
    void closeAll() override;

private:
    const std::shared_ptr<ServerContext> m_context;
    std::uint16_t m_port = 0;
};

} // namespace Tessel::Simulator

#endif
