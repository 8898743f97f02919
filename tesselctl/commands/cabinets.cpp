// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/cabinetmap.h"
#include "tesselctl/commands/wall.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
A line for each cabinet: its id, screen and output, place and size in pixels, brightness, the highest temperature of its
receiving cards in degrees Celsius, version, and whether it is online.

With --map, the cabinets of each screen stand where they are in the wall, seen from the front. An exclamation mark
precedes one that is offline.

Examples:
  tesselctl --device 192.168.0.10 cabinets
  tesselctl --device 192.168.0.10 cabinets --map
  tesselctl --device @stage cabinets --columns device,id,temperature --sort temperature:desc)";

ExitCode runMap(const Settings& settings, Console& console)
{
    DeviceRun run(settings, console);
    DeviceRun::Kind kind;
    kind.isRead = true;
    return run.forEach(
        [&](const QString& device) {
            Wall wall(device, settings);
            const QVariantList cabinets = wall.cabinets();
            return wall.result(cabinets, QStringLiteral(":\n") + cabinetMap(cabinets));
        },
        kind);
}

} // namespace

void addCabinets(CommandParser& parser)
{
    const auto asMap = std::make_shared<bool>(false);
    CommandParser cabinets =
        parser.addCommand("cabinets", QStringLiteral("list the cabinets, or show a map of them"));
    cabinets.addFlag("--map", *asMap, QStringLiteral("show where they are in the wall"));
    cabinets.setFooter(QString::fromUtf8(footer));
    cabinets.setRun([asMap](const Settings& settings, Console& console) {
        if (*asMap && settings.format() == Format::Table) {
            return runMap(settings, console);
        }
        const QStringList columns{
            QStringLiteral("id"),      QStringLiteral("screen"),     QStringLiteral("output"),
            QStringLiteral("x"),       QStringLiteral("y"),          QStringLiteral("width"),
            QStringLiteral("height"),  QStringLiteral("brightness"), QStringLiteral("temperature"),
            QStringLiteral("version"), QStringLiteral("online")};
        return runTable(settings, console, columns, [](Wall& wall) { return wall.cabinets(); });
    });
}

} // namespace TesselCtl
