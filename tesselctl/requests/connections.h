// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_CONNECTIONS_H
#define TESSELCTL_REQUESTS_CONNECTIONS_H

#include "tesselctl/exitcode.h"

#include <communicator/deviceconnections.h>

#include <QString>
#include <QStringList>
#include <QVariant>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::DeviceConnection;
using Krelm::Communicator::HttpDevice::DeviceConnections;

/// Whether an attempt to open the device's event stream has ended, well or not.
bool isSettled(const DeviceConnection& connection);

/// 0 for a stream that is open.
ExitCode exitCodeOf(const DeviceConnection& connection);

/// State, reason and next attempt as one text, such as
/// `waiting: the stream ended; next attempt at 09:30:05`; the time is local.
QString connectionText(const DeviceConnection& connection);

/// The columns of a table of connections, and the cells of one: device, state, since, next attempt, reason.
QStringList connectionColumns();
QStringList connectionCells(const DeviceConnection& connection);

/// `state`, `reason`, `since` and `nextAttempt`, with times in UTC; null for what does not apply.
QVariantMap connectionJson(const DeviceConnection& connection);

} // namespace TesselCtl

#endif
