// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_WIRE_H
#define SIMULATOR_HTTP_WIRE_H

#include <simulator/http/connection.h>

#include <utility>

namespace Tessel::Simulator {

/// The socket of one connection, which passes from the session to the event stream that it becomes. Each
/// piece that is read or written counts as progress of the connection. Used on the connection's strand.
class Wire
{
public:
    using executor_type = Strand;

    explicit Wire(Socket socket)
        : m_socket(std::move(socket))
    {}

    executor_type get_executor() { return m_socket.get_executor(); }
    /// Where progress is noted from now on.
    void setActivity(std::atomic<Connection::Clock::rep>& activity) { m_activity = &activity; }

    template <typename Buffers, typename Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler)
    {
        touch();
        m_socket.async_read_some(buffers, std::forward<Handler>(handler));
    }

    template <typename Buffers, typename Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler)
    {
        touch();
        m_socket.async_write_some(buffers, std::forward<Handler>(handler));
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

    /// Tells the client that nothing more comes.
    void endWriting()
    {
        boost::system::error_code ignored;
        m_socket.shutdown(tcp::socket::shutdown_send, ignored);
    }

private:
    void touch() { *m_activity = Connection::Clock::now().time_since_epoch().count(); }

    Socket m_socket;
    std::atomic<Connection::Clock::rep>* m_activity = nullptr;
};

} // namespace Tessel::Simulator

#endif
