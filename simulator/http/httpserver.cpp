// SPDX-License-Identifier: MIT
#include <simulator/http/httpserver.h>

#include <simulator/http/httpsession.h>

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using boost::system::error_code;
using Acceptor = net::basic_socket_acceptor<tcp, Strand>;

// Accepts connections, sends heartbeats and closes idle connections.
class Listener : public Connection
{
public:
    Listener(net::io_context& io, std::shared_ptr<ServerContext> context)
        : Connection(Kind::Listener, context->registry)
        , m_io(io)
        , m_context(std::move(context))
        , m_acceptor(net::make_strand(io))
        , m_heartbeat(m_acceptor.get_executor())
        , m_sweep(m_acceptor.get_executor())
        , m_retry(m_acceptor.get_executor())
    {
        const Options& options = m_context->device.options();
        const tcp::endpoint endpoint(net::ip::make_address(options.bindAddress.toStdString()), options.port);
        m_acceptor.open(endpoint.protocol());
        m_acceptor.set_option(net::socket_base::reuse_address(true));
        m_acceptor.bind(endpoint);
        m_acceptor.listen(net::socket_base::max_listen_connections);
    }

    std::uint16_t port() const { return m_acceptor.local_endpoint().port(); }

    void start()
    {
        net::dispatch(m_acceptor.get_executor(), [self = shared()] {
            self->accept();
            self->beat();
            self->sweep();
        });
    }

    void close() override
    {
        net::post(m_acceptor.get_executor(), [self = shared()] {
            error_code ignored;
            self->m_closed = true;
            self->m_acceptor.close(ignored);
            self->m_heartbeat.cancel();
            self->m_sweep.cancel();
            self->m_retry.cancel();
        });
    }

private:
    std::shared_ptr<Listener> shared() { return std::static_pointer_cast<Listener>(shared_from_this()); }

    void accept()
    {
        if (m_closed) {
            return;
        }
        m_acceptor.async_accept(net::make_strand(m_io), [self = shared()](error_code error, Socket socket) {
            if (self->m_closed) {
                return;
            }
            if (error == net::error::no_descriptors || error == net::error::no_buffer_space ||
                error == net::error::no_memory) {
                // Whoever holds half a request open must not keep out those that bring a whole one.
                self->acceptLater(self->m_context->registry->makeRoom() ? 1 : 100);
                return;
            }
            if (!error) {
                self->take(std::move(socket));
            }
            self->accept();
        });
    }

    void acceptLater(int milliseconds)
    {
        m_retry.expires_after(std::chrono::milliseconds(milliseconds));
        m_retry.async_wait([self = shared()](error_code) { self->accept(); });
    }

    void take(Socket socket)
    {
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        startHttpSession(std::move(socket), m_context);
    }

    void beat()
    {
        if (m_closed) {
            return;
        }
        const auto interval = std::max(10, m_context->device.options().heartbeatInterval);
        m_heartbeat.expires_after(std::chrono::milliseconds(interval));
        m_heartbeat.async_wait([self = shared()](error_code error) {
            if (error) {
                return;
            }
            self->m_context->device.events().heartbeat();
            self->beat();
        });
    }

    void sweep()
    {
        if (m_closed) {
            return;
        }
        const Options& options = m_context->device.options();
        const auto limit = [](int milliseconds) {
            return std::chrono::milliseconds(std::max(100, milliseconds));
        };
        const TimeLimits limits{limit(options.idleTimeout), limit(options.headTimeout),
                                limit(options.bodyTimeout)};
        m_sweep.expires_after(std::min({limits.idle, limits.head, limits.body}) / 4);
        m_sweep.async_wait([self = shared(), limits](error_code error) {
            if (error) {
                return;
            }
            const auto now = Clock::now();
            self->m_context->registry->forEach(
                [&](Connection& connection) { connection.closeIfOverdue(now, limits); });
            self->sweep();
        });
    }

    net::io_context& m_io;
    const std::shared_ptr<ServerContext> m_context;
    Acceptor m_acceptor;
    Timer m_heartbeat;
    Timer m_sweep;
    Timer m_retry;
    bool m_closed = false;
};

} // namespace

HttpServer::HttpServer(net::io_context& io, Device& device, std::shared_ptr<const Certificate> certificate)
    : m_context(std::make_shared<ServerContext>(device, std::move(certificate)))
{
    const auto listener = std::make_shared<Listener>(io, m_context);
    m_port = listener->port();
    m_context->registry->add(listener);
    device.setConnections(this);
    listener->start();
}

HttpServer::~HttpServer()
{
    m_context->device.setConnections(nullptr);
    m_context->registry->closeAndWait();
}

void HttpServer::closeStreams()
{
    m_context->registry->forEach([](Connection& connection) {
        if (connection.kind() == Connection::Kind::Stream) {
            connection.close();
        }
    });
}

void HttpServer::closeAll()
{
    m_context->registry->forEach([](Connection& connection) {
        if (connection.kind() != Connection::Kind::Listener) {
            connection.closeForLogout();
        }
    });
}

} // namespace Tessel::Simulator
