// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_CONNECTION_H
#define SIMULATOR_HTTP_CONNECTION_H

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/strand.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace Tessel::Simulator {

namespace net = boost::asio;
using tcp = net::ip::tcp;
using Strand = net::strand<net::io_context::executor_type>;
using Socket = net::basic_stream_socket<tcp, Strand>;
using Timer =
    net::basic_waitable_timer<std::chrono::steady_clock, net::wait_traits<std::chrono::steady_clock>, Strand>;

class ConnectionRegistry;

/// An open connection of a simulator. It lives as long as one of its operations is pending; its work runs on
/// its strand.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    enum class Kind { Listener, Session, Stream };

    Connection(Kind kind, std::shared_ptr<ConnectionRegistry> registry);
    virtual ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Kind kind() const { return m_kind; }
    /// Closes it soon. From any thread.
    virtual void close() = 0;
    /// Closes it soon because the device has logged out. From any thread.
    virtual void closeForLogout() { close(); }
    /// Closes it if it was idle for longer than @p limit. From any thread.
    void closeIfIdle(std::chrono::steady_clock::time_point now, std::chrono::milliseconds limit);

protected:
    void touch() { m_lastActivity = std::chrono::steady_clock::now().time_since_epoch().count(); }

private:
    const Kind m_kind;
    const std::shared_ptr<ConnectionRegistry> m_registry;
    std::atomic<std::chrono::steady_clock::rep> m_lastActivity;
};

/// The open connections, so that they can be closed and waited for. May be used from any thread.
class ConnectionRegistry
{
public:
    /// Adds a connection.
    /// @return `false`, without adding it, if the registry is closed.
    bool add(const std::shared_ptr<Connection>& connection);
    void remove(Connection* connection);
    std::size_t size() const;
    /// Runs @p action on all open connections, without holding the lock.
    void forEach(const std::function<void(Connection&)>& action) const;
    /// Closes all connections, accepts no more, and waits until all are gone.
    void closeAndWait();

private:
    mutable std::mutex m_mutex; ///< guards all members below
    std::condition_variable m_emptied;
    std::unordered_map<Connection*, std::weak_ptr<Connection>> m_connections;
    std::size_t m_alive = 0;
    bool m_closed = false;

    friend class Connection;
};

} // namespace Tessel::Simulator

#endif
