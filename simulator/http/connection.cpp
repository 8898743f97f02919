// SPDX-License-Identifier: MIT
#include <simulator/http/connection.h>

#include <boost/asio/ip/address.hpp>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

// A body that comes more slowly than this in each time limit is held back on purpose.
constexpr std::uint64_t bodyBytesPerLimit = 4096;
// Peers are forgotten with their last connection; their records are swept out beyond this number.
constexpr std::size_t maxPeerRecords = 1024;

Connection::Clock::rep rightNow()
{
    return Connection::Clock::now().time_since_epoch().count();
}

Connection::Clock::time_point at(Connection::Clock::rep time)
{
    return Connection::Clock::time_point(Connection::Clock::duration(time));
}

// One subscriber has a whole network of 64 bits in IPv6.
std::string peerName(const net::ip::address& address)
{
    if (address.is_v4()) {
        return address.to_string();
    }
    auto bytes = address.to_v6();
    if (bytes.is_v4_mapped()) {
        return net::ip::make_address_v4(net::ip::v4_mapped, bytes).to_string();
    }
    if (bytes.is_loopback()) {
        return bytes.to_string();
    }
    auto network = bytes.to_bytes();
    std::fill(network.begin() + 8, network.end(), static_cast<unsigned char>(0));
    return net::ip::address_v6(network).to_string();
}

} // namespace

Connection::Connection(Kind kind, std::shared_ptr<ConnectionRegistry> registry, std::shared_ptr<Peer> peer)
    : m_kind(kind)
    , m_registry(std::move(registry))
    , m_peer(std::move(peer))
    , m_phaseStart(rightNow())
    , m_lastActivity(m_phaseStart.load())
{
    const std::lock_guard lock(m_registry->m_mutex);
    ++m_registry->m_alive;
}

Connection::~Connection()
{
    m_registry->remove(this);
}

void Connection::enter(Phase phase)
{
    const auto now = rightNow();
    m_phaseStart = now;
    m_lastActivity = now;
    m_phaseBytes = 0;
    m_phase = phase;
}

bool Connection::isHalfOpen() const
{
    const Phase phase = m_phase;
    return m_kind == Kind::Session &&
           (phase == Phase::Opening || phase == Phase::Head || phase == Phase::Body);
}

bool Connection::isOverdue(Clock::time_point now, const TimeLimits& limits) const
{
    const auto inPhase = now - at(m_phaseStart);
    const auto inactive = now - at(m_lastActivity);
    switch (m_phase) {
    case Phase::Opening:
    case Phase::Head:
        return inPhase > std::min(limits.head, limits.idle);
    case Phase::Body:
        return inactive > limits.body ||
               inPhase > limits.body * static_cast<std::int64_t>(1 + m_phaseBytes / bodyBytesPerLimit);
    case Phase::Serving:
        return false;
    case Phase::Writing:
        return inactive > limits.idle;
    case Phase::Idle:
        return m_kind == Kind::Session && inactive > limits.idle;
    }
    return false;
}

void Connection::closeIfOverdue(Clock::time_point now, const TimeLimits& limits)
{
    if (m_kind != Kind::Listener && isOverdue(now, limits)) {
        close();
    }
}

std::shared_ptr<Peer> ConnectionRegistry::peerAt(const net::ip::address& address)
{
    const std::string name = peerName(address);
    const std::lock_guard lock(m_mutex);
    auto peer = m_peers[name].lock();
    if (peer) {
        return peer;
    }
    if (m_peers.size() > maxPeerRecords) {
        for (auto it = m_peers.begin(); it != m_peers.end();) {
            it = it->second.expired() ? m_peers.erase(it) : std::next(it);
        }
    }
    peer = std::make_shared<Peer>();
    m_peers[name] = peer;
    return peer;
}

void ConnectionRegistry::insert(const std::shared_ptr<Connection>& connection)
{
    m_connections.emplace(connection.get(), connection);
    if (connection->m_peer) {
        ++connection->m_peer->connections;
        ++m_clients;
    }
}

void ConnectionRegistry::erase(Entries::iterator entry)
{
    if (entry->first->m_peer) {
        --entry->first->m_peer->connections;
        --m_clients;
    }
    m_connections.erase(entry);
}

bool ConnectionRegistry::add(const std::shared_ptr<Connection>& connection)
{
    const std::lock_guard lock(m_mutex);
    if (m_closed) {
        return false;
    }
    insert(connection);
    return true;
}

ConnectionRegistry::HalfOpenByPeer ConnectionRegistry::halfOpenByPeer() const
{
    HalfOpenByPeer byPeer;
    for (const auto& entry : m_connections) {
        if (entry.first->isHalfOpen()) {
            HalfOpen& ofPeer = byPeer[entry.first->m_peer.get()];
            ++ofPeer.count;
            if (!ofPeer.oldest || entry.first->m_phaseStart < ofPeer.oldest->m_phaseStart) {
                ofPeer.oldest = entry.first;
            }
        }
    }
    return byPeer;
}

Connection* ConnectionRegistry::oldestOfTheMost(const HalfOpenByPeer& byPeer)
{
    const auto most = std::max_element(byPeer.begin(), byPeer.end(), [](const auto& a, const auto& b) {
        return a.second.count < b.second.count;
    });
    return most == byPeer.end() ? nullptr : most->second.oldest;
}

// Null if it is null or has just ended by itself.
std::shared_ptr<Connection> ConnectionRegistry::takeOut(Connection* connection)
{
    const auto entry = m_connections.find(connection);
    if (entry == m_connections.end()) {
        return nullptr;
    }
    auto taken = entry->second.lock();
    erase(entry);
    return taken;
}

bool ConnectionRegistry::admit(const std::shared_ptr<Connection>& connection, const ConnectionLimits& limits)
{
    std::shared_ptr<Connection> leaves; // released without the lock, which its destructor takes
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed) {
            return false;
        }
        const Peer& peer = *connection->m_peer;
        const bool isFull = m_clients >= limits.total;
        const bool peerIsFull = peer.connections >= limits.perPeer;
        // Only then are there enough connections for a look at each of them.
        if (isFull || peerIsFull || m_clients >= limits.halfOpen ||
            peer.connections >= limits.halfOpenPerPeer) {
            const auto byPeer = halfOpenByPeer();
            std::size_t halfOpen = 0;
            for (const auto& entry : byPeer) {
                halfOpen += entry.second.count;
            }
            const auto own = byPeer.find(&peer);
            Connection* chosen = nullptr;
            if (peerIsFull || (own != byPeer.end() && own->second.count >= limits.halfOpenPerPeer)) {
                chosen = own == byPeer.end() ? nullptr : own->second.oldest;
            } else if (isFull || halfOpen >= limits.halfOpen) {
                chosen = oldestOfTheMost(byPeer);
            }
            if (!chosen && (isFull || peerIsFull)) {
                return false;
            }
            leaves = takeOut(chosen);
        }
        insert(connection);
    }
    if (leaves) {
        leaves->close();
    }
    return true;
}

bool ConnectionRegistry::makeRoom()
{
    std::shared_ptr<Connection> leaves;
    {
        const std::lock_guard lock(m_mutex);
        leaves = takeOut(oldestOfTheMost(halfOpenByPeer()));
    }
    if (leaves) {
        leaves->close();
    }
    return leaves != nullptr;
}

void ConnectionRegistry::remove(Connection* connection)
{
    const std::lock_guard lock(m_mutex);
    const auto entry = m_connections.find(connection);
    if (entry != m_connections.end()) {
        erase(entry);
    }
    --m_alive;
    m_emptied.notify_all();
}

void ConnectionRegistry::forEach(const std::function<void(Connection&)>& action) const
{
    std::vector<std::shared_ptr<Connection>> open;
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& entry : m_connections) {
            if (auto connection = entry.second.lock()) {
                open.push_back(std::move(connection));
            }
        }
    }
    for (const auto& connection : open) {
        action(*connection);
    }
}

void ConnectionRegistry::closeAndWait()
{
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
    }
    forEach([](Connection& connection) { connection.close(); });
    std::unique_lock lock(m_mutex);
    m_emptied.wait(lock, [this] { return m_alive == 0; });
}

} // namespace Tessel::Simulator
