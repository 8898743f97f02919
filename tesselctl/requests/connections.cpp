// SPDX-License-Identifier: MIT
#include "tesselctl/requests/connections.h"

#include "tesselctl/terminal/printable.h"

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::ConnectionState;
using Krelm::Communicator::HttpDevice::connectionStateName;

namespace {

QString localTime(const QDateTime& time, const QString& format)
{
    return time.isValid() ? time.toLocalTime().toString(format) : QStringLiteral("-");
}

QVariant jsonTime(const QDateTime& time)
{
    return time.isValid() ? QVariant(time.toUTC().toString(Qt::ISODateWithMs)) : QVariant();
}

} // namespace

bool isSettled(const DeviceConnection& connection)
{
    return connection.state != ConnectionState::Connecting;
}

ExitCode exitCodeOf(const DeviceConnection& connection)
{
    switch (connection.state) {
    case ConnectionState::Live:
        return Done;
    case ConnectionState::Refused:
    case ConnectionState::Stopped:
        return Refused;
    case ConnectionState::Connecting:
    case ConnectionState::Waiting:
    case ConnectionState::Gone:
        break;
    }
    return Unreachable;
}

QString connectionText(const DeviceConnection& connection)
{
    QString text = connectionStateName(connection.state);
    if (!connection.reason.isEmpty()) {
        text += QStringLiteral(": ") + printable(connection.reason);
    }
    if (connection.nextAttempt.isValid()) {
        text += QStringLiteral("; next attempt at ") +
                localTime(connection.nextAttempt, QStringLiteral("HH:mm:ss"));
    }
    return text;
}

QStringList connectionColumns()
{
    return {QStringLiteral("device"), QStringLiteral("state"), QStringLiteral("since"),
            QStringLiteral("next attempt"), QStringLiteral("reason")};
}

QStringList connectionCells(const DeviceConnection& connection)
{
    return {printable(connection.deviceKey), connectionStateName(connection.state),
            localTime(connection.since, QStringLiteral("yyyy-MM-dd HH:mm:ss")),
            localTime(connection.nextAttempt, QStringLiteral("HH:mm:ss")),
            connection.reason.isEmpty() ? QStringLiteral("-") : printable(connection.reason)};
}

QVariantMap connectionJson(const DeviceConnection& connection)
{
    return {
        {QStringLiteral("state"), connectionStateName(connection.state)},
        {QStringLiteral("reason"), connection.reason.isEmpty() ? QVariant() : QVariant(connection.reason)},
        {QStringLiteral("since"), jsonTime(connection.since)},
        {QStringLiteral("nextAttempt"), jsonTime(connection.nextAttempt)}};
}

} // namespace TesselCtl
