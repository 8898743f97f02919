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

/// Lists the operations whose usage line holds @p filter, upper and lower case being the same.
ExitCode runOperations(const Settings& settings, const QString& filter, Console& console);

/// Lists the routes whose key or path holds @p filter, upper and lower case being the same.
ExitCode runRoutes(const Settings& settings, const QString& filter, Console& console);

/// Prints what the devices push until a signal comes, @p count events came or @p seconds passed; 0 is no
/// limit.
ExitCode runWatch(const Settings& settings, int count, int seconds, Console& console);

/// Shows what the devices measure, every @p interval milliseconds, and what they warn of, until a signal
/// comes or, with a @p count above 0, every device was read so often.
ExitCode runMonitor(const Settings& settings, int interval, int count, Console& console);

/// Shows the library at work on two simulated controllers.
ExitCode runDemo(Console& console);

} // namespace TesselCtl

#endif
