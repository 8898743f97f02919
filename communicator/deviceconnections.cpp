// SPDX-License-Identifier: MIT
#include <communicator/deviceconnections.h>

#include "communicator/events/connectionboard.h"

#include <communicator/httpproxy.h>

namespace Krelm::Communicator::HttpDevice {

QString connectionStateName(ConnectionState state)
{
    switch (state) {
    case ConnectionState::Stopped:
        return QStringLiteral("stopped");
    case ConnectionState::Connecting:
        return QStringLiteral("connecting");
    case ConnectionState::Live:
        return QStringLiteral("live");
    case ConnectionState::Waiting:
        return QStringLiteral("waiting");
    case ConnectionState::Refused:
        return QStringLiteral("refused");
    case ConnectionState::Gone:
        return QStringLiteral("gone");
    }
    return {};
}

DeviceConnections::DeviceConnections()
{
    qRegisterMetaType<DeviceConnection>();
    moveToThread(HttpProxy::getInstance()->thread());
}

DeviceConnections::~DeviceConnections() = default;

DeviceConnections* DeviceConnections::getInstance()
{
    static auto* const instance = new DeviceConnections;
    return instance;
}

DeviceConnection DeviceConnections::connection(const QString& deviceKey) const
{
    return ConnectionBoard::ofProcess().connection(deviceKey);
}

QList<DeviceConnection> DeviceConnections::connections() const
{
    return ConnectionBoard::ofProcess().connections();
}

void DeviceConnections::setChangeEvents(const QList<QByteArray>& events)
{
    ConnectionBoard::ofProcess().setChangeEvents(events);
}

QList<QByteArray> DeviceConnections::changeEvents() const
{
    return ConnectionBoard::ofProcess().changeEvents();
}

} // namespace Krelm::Communicator::HttpDevice
