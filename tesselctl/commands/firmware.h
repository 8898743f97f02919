// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_FIRMWARE_H
#define TESSELCTL_COMMANDS_FIRMWARE_H

#include "tesselctl/commandparser.h"

namespace TesselCtl {

/// The commands within "firmware".
void addFirmwareUpdate(CommandParser& firmware);
void addFirmwareProgress(CommandParser& firmware);
void addFirmwareDownload(CommandParser& firmware);

} // namespace TesselCtl

#endif
