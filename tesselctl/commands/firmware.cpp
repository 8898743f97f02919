// SPDX-License-Identifier: MIT
#include "tesselctl/commands/firmware.h"

#include "tesselctl/commands/commands.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
Examples:
  tesselctl --device 192.168.0.10 firmware update card.bin
  tesselctl --device 192.168.0.10 firmware update controller.bin --controller
  tesselctl --device 192.168.0.10 firmware progress
  tesselctl --device 192.168.0.10 firmware download card.bin --id 3 --type 1)";

} // namespace

void addFirmware(CommandParser& parser)
{
    CommandParser firmware = parser.addCommand(
        "firmware", QStringLiteral("update or download the firmware of receiving cards and controllers"));
    firmware.setFooter(QString::fromUtf8(footer));
    addFirmwareUpdate(firmware);
    addFirmwareProgress(firmware);
    addFirmwareDownload(firmware);
}

} // namespace TesselCtl
