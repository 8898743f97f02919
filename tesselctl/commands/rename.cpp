// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"
#include "tesselctl/terminal/printable.h"

#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Gives the device a name of its own, or one of its screens with --screen. Several devices would get the same name, so
give one --device.

Examples:
  tesselctl --device 192.168.0.10 rename North
  tesselctl --device 192.168.0.10 rename Stage --screen 1
  tesselctl --device 192.168.0.10 rename North --dry-run)";

struct Options
{
    QString name;
    QString screen; ///< empty: the device itself
};

DeviceRun::Result renameDevice(Wall& wall, const QString& device, const Options& options)
{
    const QVariantMap body = options.screen.isEmpty()
                                 ? QVariantMap{{QStringLiteral("name"), options.name}}
                                 : QVariantMap{{QStringLiteral("screenID"), options.screen},
                                               {QStringLiteral("name"), options.name}};
    wall.write([&] {
        QMap<QString, QVariant> reply;
        return options.screen.isEmpty() ? HWInfo::getInstance()->putHWInfoRename(device, body, reply)
                                        : ScreenInfo::getInstance()->putScreenName(device, body, reply);
    });
    const QString what =
        options.screen.isEmpty() ? QString() : QStringLiteral("screen %1 ").arg(printable(options.screen));
    return wall.result(body, QStringLiteral(": %1is called %2\n").arg(what, printable(options.name)));
}

ExitCode runRename(const Settings& settings, const Options& options, Console& console)
{
    DeviceRun run(settings, console);
    if (run.devices().size() > 1) {
        console.error(QStringLiteral("several devices would get the same name; give one --device"));
        return Usage;
    }
    return run.forEach(
        [&](const QString& device) {
            Wall wall(device, settings);
            return renameDevice(wall, device, options);
        },
        DeviceRun::Kind());
}

} // namespace

void addRename(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser rename = parser.addCommand("rename", QStringLiteral("name a device or a screen"));
    rename.add("NAME", options->name, QStringLiteral("its new name")).required().placeholder("");
    rename.add("--screen", options->screen, QStringLiteral("the screen to name, instead of the device"))
        .placeholder("ID");
    rename.setFooter(QString::fromUtf8(footer));
    rename.setRun([options](const Settings& settings, Console& console) {
        return runRename(settings, *options, console);
    });
}

} // namespace TesselCtl
