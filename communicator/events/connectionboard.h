// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_CONNECTIONBOARD_H
#define COMMUNICATOR_EVENTS_CONNECTIONBOARD_H

#include <communicator/deviceconnections.h>

#include <QMap>

#include <mutex>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// What is known of every push channel now, and what is reported of a device whose events may have been
/// missed. May be used from any thread.
class ConnectionBoard
{
public:
    /// The one that DeviceConnections shows.
    static ConnectionBoard& ofProcess();

    /// Notes where the channel is now; `since` is set when the state changed.
    /// @return the channel as it is now, or none when nothing about it changed.
    std::optional<DeviceConnection> put(DeviceConnection connection);
    /// Forgets a device. @return its channel, `Stopped` for @p reason; none when the device had no channel.
    std::optional<DeviceConnection> remove(const QString& deviceKey, const QString& reason);
    DeviceConnection connection(const QString& deviceKey) const;
    QList<DeviceConnection> connections() const;

    void setChangeEvents(const QList<QByteArray>& events);
    QList<QByteArray> changeEvents() const;

private:
    mutable std::mutex m_mutex; ///< guards all below
    QMap<QString, DeviceConnection> m_connections;
    QList<QByteArray> m_changeEvents;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
