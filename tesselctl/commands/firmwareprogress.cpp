// SPDX-License-Identifier: MIT
#include "tesselctl/commands/firmware.h"

#include "tesselctl/commands/devicerun.h"
#include "tesselctl/commands/updatewatch.h"
#include "tesselctl/terminal/output.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
Without --follow, prints the device's reply. With --follow, shows the progress until the update ends; the exit code is
0 when it is done, 1 when it failed or when the device reports no progress, and 4 when there was no
progress for two minutes.

Examples:
  tesselctl --device 192.168.0.10 firmware progress --controller
  tesselctl --device 192.168.0.10 firmware progress --follow)";

struct Options
{
    bool controller = false; ///< of the controller itself, not of its receiving cards
    bool follow = false;     ///< until the update ended
};

/// Prints how far the update of every device is.
ExitCode runProgress(const Settings& settings, bool controller, Console& console)
{
    DeviceRun run(settings, console);
    DeviceRun::Kind kind;
    kind.isRead = true;
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            QMap<QString, QVariant> reply;
            const Outcome outcome = readUpdateProgress(device, controller, reply);
            return {outcome, reply, QStringLiteral(":\n") + humanText(reply)};
        },
        kind);
}

/// Shows how far the update of every device is until it ended, one device after the other. @return how the
/// first that failed did.
ExitCode runFollow(const Settings& settings, bool controller, Console& console)
{
    DeviceRun run(settings, console);
    return run.forEach(
        [&](const QString& device) {
            ProgressBar bar(device, console);
            return UpdateWatch(device, controller, run, bar)
                .waitUntilDone({Failed, QStringLiteral("the device reports no progress")});
        },
        true);
}

} // namespace

void addFirmwareProgress(CommandParser& firmware)
{
    const auto options = std::make_shared<Options>();
    CommandParser progress =
        firmware.addCommand("progress", QStringLiteral("print the progress of an update"));
    progress.addFlag("--controller", options->controller,
                     QStringLiteral("of the controller instead of its receiving cards"));
    progress.addFlag("--follow", options->follow, QStringLiteral("show it until the update ends"));
    progress.setFooter(QString::fromUtf8(footer));
    progress.setRun([options](const Settings& settings, Console& console) {
        return options->follow ? runFollow(settings, options->controller, console)
                               : runProgress(settings, options->controller, console);
    });
}

} // namespace TesselCtl
