// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_CONNECTIONBOARD_H
#define COMMUNICATOR_EVENTS_CONNECTIONBOARD_H

#include <communicator/deviceconnections.h>

#include <QMap>

#include <mutex>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// The current state of every event stream, and the events to report for a device whose events may have been
/// missed. May be used from any thread.
class ConnectionBoard
{
public:
    /// The board that DeviceConnections shows.
    static ConnectionBoard& ofProcess();

    /// Stores the state of a stream; `since` is set if the state has changed.
    /// @return the stored state, or none if nothing has changed.
    std::optional<DeviceConnection> put(DeviceConnection connection);
    /// Removes a device.
    /// @return its state, `Stopped` for @p reason, or none if the device had no stream.
    std::optional<DeviceConnection> remove(const QString& deviceKey, const QString& reason);
    DeviceConnection connection(const QString& deviceKey) const;
    QList<DeviceConnection> connections() const;

    void setChangeEvents(const QList<QByteArray>& events);
    QList<QByteArray> changeEvents() const;

private:
    mutable std::mutex m_mutex; ///< guards all members below
    QMap<QString, DeviceConnection> m_connections;
    QList<QByteArray> m_changeEvents;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
