// SPDX-License-Identifier: MIT
#include "tesselctl/commands/firmware.h"

#include "tesselctl/commands/devicerun.h"
#include "tesselctl/commands/updatewatch.h"
#include "tesselctl/terminal/output.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
Without --follow the device's reply is printed. With it the progress is shown until the update ended: exit code 0
when it is done, 1 when it failed, the device tells no progress or a signal came, 4 when it got no further for two
minutes.

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
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            QMap<QString, QVariant> reply;
            const Outcome outcome = readUpdateProgress(device, controller, reply);
            return {outcome, reply, QStringLiteral(":\n") + humanText(reply)};
        },
        QVariant());
}

/// Shows how far the update of every device is until it ended, one device after the other. @return how the
/// first that failed did.
ExitCode runFollow(const Settings& settings, bool controller, Console& console)
{
    DeviceRun run(settings, console);
    return run.forEach([&](const QString& device) {
        ProgressBar bar(device, console);
        return UpdateWatch(device, controller, run, bar)
            .waitUntilDone({Failed, QStringLiteral("the device tells no progress")});
    });
}

} // namespace

void addFirmwareProgress(CommandParser& firmware)
{
    const auto options = std::make_shared<Options>();
    CommandParser progress = firmware.addCommand("progress", QStringLiteral("print how far an update is"));
    progress.addFlag("--controller", options->controller,
                     QStringLiteral("of the controller, not of its receiving cards"));
    progress.addFlag("--follow", options->follow, QStringLiteral("show it until the update ended"));
    progress.setFooter(QString::fromUtf8(footer));
    progress.setRun([options](const Settings& settings, Console& console) {
        return options->follow ? runFollow(settings, options->controller, console)
                               : runProgress(settings, options->controller, console);
    });
}

} // namespace TesselCtl
