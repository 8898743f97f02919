// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_H
#define TESSELCTL_COMMANDS_H

#include "tesselctl/console.h"
#include "tesselctl/devices.h"
#include "tesselctl/exitcode.h"

#include <QString>
#include <QStringList>

namespace TesselCtl {

/// What the global options say.
struct Settings
{
    DeviceSettings devices;
    bool json = false;
    bool trace = false;
};

/// Calls an operation on every device, one after the other.
ExitCode runCall(const Settings& settings, const QString& operation, const QStringList& arguments,
                 Console& console);

/// Lists the operations, with what they take and what they send, whose lines hold @p filter, upper and lower
/// case being the same.
ExitCode runOps(const Settings& settings, const QString& filter, Console& console);

/// Lists the routes whose key or path holds @p filter, upper and lower case being the same.
ExitCode runRoutes(const Settings& settings, const QString& filter, Console& console);

/// Prints what the devices push and every signal that an operator raises, until SIGINT or SIGTERM comes, @p
/// count events came or @p seconds passed; 0 is no limit.
ExitCode runWatch(const Settings& settings, int count, int seconds, Console& console);

/// Shows the library at work on two simulated controllers.
ExitCode runDemo(Console& console);

} // namespace TesselCtl

#endif
