// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
A line for each video input: its id, name and type, whether a source is connected, and the picture that comes.

Examples:
  tesselctl --device 192.168.0.10 inputs
  tesselctl --device @stage inputs --columns device,id,name)";

} // namespace

void addInputs(CommandParser& parser)
{
    CommandParser inputs = parser.addCommand("inputs", QStringLiteral("list the inputs"));
    inputs.setFooter(QString::fromUtf8(footer));
    inputs.setRun([](const Settings& settings, Console& console) {
        const QStringList columns{QStringLiteral("id"),
                                  QStringLiteral("name"),
                                  QStringLiteral("type"),
                                  QStringLiteral("connected"),
                                  QStringLiteral("resolution.width"),
                                  QStringLiteral("resolution.height"),
                                  QStringLiteral("frameRate")};
        return runTable(settings, console, columns, [](Wall& wall) { return wall.inputs(); });
    });
}

} // namespace TesselCtl
