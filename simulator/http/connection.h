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
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tessel::Simulator {

namespace net = boost::asio;
using tcp = net::ip::tcp;
using Strand = net::strand<net::io_context::executor_type>;
using Socket = net::basic_stream_socket<tcp, Strand>;
using Timer =
    net::basic_waitable_timer<std::chrono::steady_clock, net::wait_traits<std::chrono::steady_clock>, Strand>;

class ConnectionRegistry;

/// Whoever connects from one address. Lives as long as one of its connections.
struct Peer
{
    std::atomic<std::uint64_t> bodyBytes{0}; ///< of its request bodies currently held in memory
    std::size_t connections = 0;             ///< guarded by the registry
};

/// How long a connection may take in each of its phases.
struct TimeLimits
{
    std::chrono::milliseconds idle; ///< between requests, and without progress while it is written to
    std::chrono::milliseconds head; ///< for a whole head, and for a new connection up to its first head
    std::chrono::milliseconds body; ///< between two pieces of a body, and on average for each 4 KiB of it
};

/// How many connections there may be.
struct ConnectionLimits
{
    std::size_t total;
    std::size_t perPeer;
    std::size_t halfOpen; ///< of those whose request has not come whole, and that are not idle
    std::size_t halfOpenPerPeer;
};

/// An open connection of a simulator. It lives as long as one of its operations is pending; its work runs on
/// its strand.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    enum class Kind { Listener, Session, Stream };
    using Clock = std::chrono::steady_clock;

    /// @p peer is null for a listener.
    Connection(Kind kind, std::shared_ptr<ConnectionRegistry> registry, std::shared_ptr<Peer> peer = nullptr);
    virtual ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Kind kind() const { return m_kind; }
    /// Closes it soon. From any thread.
    virtual void close() = 0;
    /// Closes it soon because the device has logged out. From any thread.
    virtual void closeForLogout() { close(); }
    /// Closes it if it has taken longer than allowed. From any thread.
    void closeIfOverdue(Clock::time_point now, const TimeLimits& limits);

protected:
    /// What it is waiting for.
    enum class Phase {
        Opening, ///< its first head
        Head,    ///< the rest of a head
        Body,    ///< the rest of a body
        Serving, ///< the device
        Writing, ///< that its client reads
        Idle     ///< another request
    };
    void enter(Phase phase);
    Phase phase() const { return m_phase; }
    /// Takes note of body bytes that have come.
    void countBody(std::size_t bytes) { m_phaseBytes += bytes; }
    /// The time of its latest progress.
    std::atomic<Clock::rep>& activity() { return m_lastActivity; }
    const std::shared_ptr<Peer>& peer() const { return m_peer; }

private:
    bool isHalfOpen() const;
    bool isOverdue(Clock::time_point now, const TimeLimits& limits) const;

    const Kind m_kind;
    const std::shared_ptr<ConnectionRegistry> m_registry;
    const std::shared_ptr<Peer> m_peer;
    std::atomic<Phase> m_phase{Phase::Opening};
    std::atomic<Clock::rep> m_phaseStart;
    std::atomic<std::uint64_t> m_phaseBytes{0};
    std::atomic<Clock::rep> m_lastActivity;

    friend class ConnectionRegistry;
};

/// The open connections, so that they can be closed and waited for. May be used from any thread.
class ConnectionRegistry
{
public:
    /// Who connects from @p address.
    std::shared_ptr<Peer> peerAt(const net::ip::address& address);
    /// Adds a connection, whatever the limits.
    /// @return `false`, without adding it, if the registry is closed.
    bool add(const std::shared_ptr<Connection>& connection);
    /// Adds a connection within @p limits. Half-open connections make room for it: the oldest of its peer, or
    /// of the peer that has the most.
    /// @return `false`, without adding it, if there is no room or the registry is closed.
    bool admit(const std::shared_ptr<Connection>& connection, const ConnectionLimits& limits);
    /// Closes the oldest half-open connection of the peer that has the most. @return whether there was one.
    bool makeRoom();
    void remove(Connection* connection);
    /// Runs @p action on all open connections, without holding the lock.
    void forEach(const std::function<void(Connection&)>& action) const;
    /// Closes all connections, accepts no more, and waits until all are gone.
    void closeAndWait();

private:
    using Entries = std::unordered_map<Connection*, std::weak_ptr<Connection>>;
    struct HalfOpen
    {
        std::size_t count = 0;
        Connection* oldest = nullptr;
    };
    using HalfOpenByPeer = std::unordered_map<const Peer*, HalfOpen>;

    void insert(const std::shared_ptr<Connection>& connection);
    void erase(Entries::iterator entry);
    HalfOpenByPeer halfOpenByPeer() const;
    static Connection* oldestOfTheMost(const HalfOpenByPeer& byPeer);
    std::shared_ptr<Connection> takeOut(Connection* connection);

    mutable std::mutex m_mutex; ///< guards all members below
    std::condition_variable m_emptied;
    Entries m_connections;
    std::unordered_map<std::string, std::weak_ptr<Peer>> m_peers;
    std::size_t m_clients = 0; ///< connections with a peer
    std::size_t m_alive = 0;
    bool m_closed = false;

    friend class Connection;
};

} // namespace Tessel::Simulator

#endif
