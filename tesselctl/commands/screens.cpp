// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
A line for each screen: its id, name, size in pixels, brightness, refresh rate in hertz, and whether it is enabled.

Examples:
  tesselctl --device 192.168.0.10 screens
  tesselctl --device @stage screens --sort brightness:desc)";

} // namespace

void addScreens(CommandParser& parser)
{
    CommandParser screens = parser.addCommand("screens", QStringLiteral("list the screens"));
    screens.setFooter(QString::fromUtf8(footer));
    screens.setRun([](const Settings& settings, Console& console) {
        const QStringList columns{QStringLiteral("screen"),     QStringLiteral("name"),
                                  QStringLiteral("width"),      QStringLiteral("height"),
                                  QStringLiteral("brightness"), QStringLiteral("refreshRate"),
                                  QStringLiteral("enable")};
        return runTable(settings, console, columns, [](Wall& wall) { return wall.screens(); });
    });
}

} // namespace TesselCtl
