// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_DEVICEENTRIES_H
#define TESSELCTL_COMMANDS_DEVICEENTRIES_H

#include "tesselctl/commandparser.h"

namespace TesselCtl {

/// Add the commands of "devices" that work on the devices file.
void addDeviceAdd(CommandParser& devices);
void addDeviceRemove(CommandParser& devices);
void addDeviceCheck(CommandParser& devices);
void addDeviceNames(CommandParser& devices);

} // namespace TesselCtl

#endif
