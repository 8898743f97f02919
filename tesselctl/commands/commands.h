// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_COMMANDS_H
#define TESSELCTL_COMMANDS_COMMANDS_H

#include "tesselctl/commandparser.h"

#include <QVariant>

namespace TesselCtl {

class Wall;

/// What a device is: a map with name, model, version, sn, protocol, screens and cabinets.
QVariantMap deviceInfo(Wall& wall);

/// One function for each command, in commands/<command>.cpp: adds its options, its help and what runs it.
void addApply(CommandParser& parser);
void addBench(CommandParser& parser);
void addBrightness(CommandParser& parser);
void addCabinets(CommandParser& parser);
void addCall(CommandParser& parser);
void addCoefficients(CommandParser& parser);
void addDemo(CommandParser& parser);
void addDevices(CommandParser& parser);
void addDiff(CommandParser& parser);
void addDiscover(CommandParser& parser);
void addExport(CommandParser& parser);
void addFirmware(CommandParser& parser);
void addHealth(CommandParser& parser);
void addIdentify(CommandParser& parser);
void addInfo(CommandParser& parser);
void addInputs(CommandParser& parser);
void addMonitor(CommandParser& parser);
void addOps(CommandParser& parser);
void addOutputs(CommandParser& parser);
void addRename(CommandParser& parser);
void addRoutes(CommandParser& parser);
void addScreens(CommandParser& parser);
void addTestPattern(CommandParser& parser);
void addVersion(CommandParser& parser);
void addWatch(CommandParser& parser);

/// Adds them all, in the order in which the help lists them.
void addCommands(CommandParser& parser);

} // namespace TesselCtl

#endif
