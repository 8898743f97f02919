// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
A line for each output port: its id and name, whether it is enabled and linked, and the part of the picture it sends.

Examples:
  tesselctl --device 192.168.0.10 outputs
  tesselctl --device @stage outputs --columns device,id,name)";

} // namespace

void addOutputs(CommandParser& parser)
{
    CommandParser outputs = parser.addCommand("outputs", QStringLiteral("list the outputs"));
    outputs.setFooter(QString::fromUtf8(footer));
    outputs.setRun([](const Settings& settings, Console& console) {
        const QStringList columns{QStringLiteral("id"),
                                  QStringLiteral("name"),
                                  QStringLiteral("enable"),
                                  QStringLiteral("linked"),
                                  QStringLiteral("pipelineId"),
                                  QStringLiteral("offset.x"),
                                  QStringLiteral("offset.y"),
                                  QStringLiteral("resolution.width"),
                                  QStringLiteral("resolution.height")};
        return runTable(settings, console, columns, [](Wall& wall) { return wall.outputs(); });
    });
}

} // namespace TesselCtl
