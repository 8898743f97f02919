// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_H
#define TESSELCTL_COMMANDS_H

#include "tesselctl/exitcode.h"
#include "tesselctl/requests/devices.h"
#include "tesselctl/terminal/console.h"

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

/// Shows what the devices measure, every @p interval milliseconds, and what they warn of, until a signal
/// comes or, with a @p count above 0, every device was read so often.
ExitCode runMonitor(const Settings& settings, int interval, int count, Console& console);

/// What --kind takes.
QStringList coefficientKindNames();

/// Coefficients on their way to a device.
struct CoefficientUpload
{
    QString path;         ///< file or directory
    QString kind;         ///< one of coefficientKindNames()
    QStringList cabinets; ///< those to upload; empty: all that are there
    int parallel = 4;     ///< requests under way at once
};

/// Uploads coefficients to every device and tells which cabinets failed and how to go on with those.
ExitCode runCoefficientUpload(const Settings& settings, const CoefficientUpload& upload, Console& console);

/// Reads coefficients of @p kind from one device into the file @p path, or into one file per cabinet where it
/// is a directory. What a failure would cut short stays as it was.
ExitCode runCoefficientDownload(const Settings& settings, const QString& path, const QString& kind,
                                const QStringList& cabinets, Console& console);

/// Has every device save the coefficients of @p kind that @p cabinets show.
ExitCode runCoefficientSave(const Settings& settings, const QString& kind, const QStringList& cabinets,
                            Console& console);

/// Has every device clear the coefficients of @p kind of @p cabinets.
ExitCode runCoefficientClear(const Settings& settings, const QString& kind, const QStringList& cabinets,
                             Console& console);

/// Firmware on its way to a device.
struct FirmwareUpdate
{
    QString file;
    bool controller = false;               ///< for the controller itself, not for its receiving cards
    QString part = QStringLiteral("file"); ///< name of the file's part in the form that receiving cards take
    QStringList fields;                    ///< NAME=VALUE: further parts of that form
    bool uploadOnly = false;               ///< the cards get the file and do not load it yet
};

/// Updates the firmware of every device, one after the other, and waits until the device says that it is
/// done.
ExitCode runFirmwareUpdate(const Settings& settings, const FirmwareUpdate& update, Console& console);

/// Prints how far the update of every device is.
ExitCode runFirmwareProgress(const Settings& settings, bool controller, Console& console);

/// Shows how far the update of every device is until it ended, one device after the other. @return how the
/// first that failed did.
ExitCode runFirmwareFollow(const Settings& settings, bool controller, Console& console);

/// Reads the firmware @p type of the receiving card @p id of one device into the file @p path, which stays as
/// it was when that fails.
ExitCode runFirmwareDownload(const Settings& settings, const QString& path, const QString& id, int type,
                             Console& console);

/// Shows the library at work on two simulated controllers.
ExitCode runDemo(Console& console);

} // namespace TesselCtl

#endif
