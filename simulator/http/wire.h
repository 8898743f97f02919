// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_WIRE_H
#define SIMULATOR_HTTP_WIRE_H

#include <simulator/http/connection.h>

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <memory>
#include <utility>

namespace Tessel::Simulator {

/// The socket of one connection, which passes from the session to the event stream that it becomes. Each
/// piece that is read or written counts as progress of the connection. Used on the connection's strand.
class Wire
{
public:
    using executor_type = Strand;

    /// With TLS if @p tls is not null.
    Wire(Socket socket, net::ssl::context* tls)
        : m_socket(std::move(socket))
        , m_tls(tls ? std::make_unique<net::ssl::stream<Socket&>>(m_socket, *tls) : nullptr)
    {}
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /// Where progress is noted from now on.
    void setActivity(std::atomic<Connection::Clock::rep>& activity) { m_activity = &activity; }

    // NOLINTBEGIN(readability-identifier-naming): the names by which Asio and Beast know a stream
    executor_type get_executor() { return m_socket.get_executor(); }
    template <typename Buffers, typename Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler)
    {
        touch();
        if (m_tls) {
            m_tls->async_read_some(buffers, std::forward<Handler>(handler));
        } else {
            m_socket.async_read_some(buffers, std::forward<Handler>(handler));
        }
    }

    template <typename Buffers, typename Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler)
    {
        touch();
        if (m_tls) {
            m_tls->async_write_some(buffers, std::forward<Handler>(handler));
        } else {
            m_socket.async_write_some(buffers, std::forward<Handler>(handler));
        }
    }

    // NOLINTEND(readability-identifier-naming)

    bool isEncrypted() const { return m_tls != nullptr; }
    /// Agrees with the client on a key; only for one with TLS.
    template <typename Handler>
    void shakeHands(Handler&& handler)
    {
        m_tls->async_handshake(net::ssl::stream_base::server, std::forward<Handler>(handler));
    }

    bool isOpen() const { return m_socket.is_open(); }

    void close()
    {
        boost::system::error_code ignored;
        m_socket.close(ignored);
    }

    /// Closes it so that the client sees a broken connection.
    void reset()
    {
        boost::system::error_code ignored;
        m_socket.set_option(net::socket_base::linger(true, 0), ignored);
        m_socket.close(ignored);
    }

    /// Tells the client that nothing more comes, and then calls @p next. Nothing may be being written, and
    /// with TLS nothing can be read afterwards.
    template <typename Next>
    void endWriting(Next next)
    {
        if (m_tls) {
            m_tls->async_shutdown([next](boost::system::error_code) { next(); });
            return;
        }
        boost::system::error_code ignored;
        m_socket.shutdown(tcp::socket::shutdown_send, ignored);
        next();
    }

private:
    void touch() { *m_activity = Connection::Clock::now().time_since_epoch().count(); }

    Socket m_socket;
    const std::unique_ptr<net::ssl::stream<Socket&>> m_tls; ///< null: none
    std::atomic<Connection::Clock::rep>* m_activity = nullptr;
};

} // namespace Tessel::Simulator

#endif
