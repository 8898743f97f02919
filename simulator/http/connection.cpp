// SPDX-License-Identifier: MIT
#include <simulator/http/connection.h>

#include <vector>

namespace Tessel::Simulator {

Connection::Connection(Kind kind, std::shared_ptr<ConnectionRegistry> registry)
    : m_kind(kind)
    , m_registry(std::move(registry))
    , m_lastActivity(std::chrono::steady_clock::now().time_since_epoch().count())
{
    const std::lock_guard lock(m_registry->m_mutex);
    ++m_registry->m_alive;
}

Connection::~Connection()
{
    m_registry->remove(this);
}

void Connection::closeIfIdle(std::chrono::steady_clock::time_point now, std::chrono::milliseconds limit)
{
    const std::chrono::steady_clock::time_point last{std::chrono::steady_clock::duration(m_lastActivity)};
    if (now - last > limit) {
        close();
    }
}

bool ConnectionRegistry::add(const std::shared_ptr<Connection>& connection)
{
    const std::lock_guard lock(m_mutex);
    if (m_closed) {
        return false;
    }
    m_connections.emplace(connection.get(), connection);
    return true;
}

void ConnectionRegistry::remove(Connection* connection)
{
    const std::lock_guard lock(m_mutex);
    m_connections.erase(connection);
    --m_alive;
    m_emptied.notify_all();
}

std::size_t ConnectionRegistry::size() const
{
    const std::lock_guard lock(m_mutex);
    return m_connections.size();
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
