// SPDX-License-Identifier: MIT
#include "communicator/events/connectionboard.h"

namespace Krelm::Communicator::HttpDevice {

ConnectionBoard& ConnectionBoard::ofProcess()
{
    static ConnectionBoard* const board = new ConnectionBoard; // used until the very end of the process
    return *board;
}

std::optional<DeviceConnection> ConnectionBoard::put(DeviceConnection connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    DeviceConnection& known = m_connections[connection.deviceKey];
    const bool sameState = known.since.isValid() && known.state == connection.state;
    if (sameState && known.reason == connection.reason && known.nextAttempt == connection.nextAttempt) {
        return std::nullopt;
    }
    connection.since = sameState ? known.since : QDateTime::currentDateTimeUtc();
    known = std::move(connection);
    return known;
}

std::optional<DeviceConnection> ConnectionBoard::remove(const QString& deviceKey, const QString& reason)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_connections.remove(deviceKey) == 0) {
        return std::nullopt;
    }
    return DeviceConnection{deviceKey, ConnectionState::Stopped, reason, QDateTime::currentDateTimeUtc(),
                            QDateTime()};
}

DeviceConnection ConnectionBoard::connection(const QString& deviceKey) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto known = m_connections.constFind(deviceKey);
    if (known != m_connections.constEnd()) {
        return *known;
    }
    DeviceConnection none;
    none.deviceKey = deviceKey;
    return none;
}

QList<DeviceConnection> ConnectionBoard::connections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.values();
}

void ConnectionBoard::setChangeEvents(const QList<QByteArray>& events)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_changeEvents = events;
}

QList<QByteArray> ConnectionBoard::changeEvents() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_changeEvents;
}

} // namespace Krelm::Communicator::HttpDevice
