// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

namespace TesselCtl {

void addCommands(CommandParser& parser)
{
    for (void (*const add)(CommandParser&) :
         {addDiscover,     addInfo,     addScreens,  addCabinets, addInputs,  addOutputs, addBrightness,
          addTestPattern,  addRename,   addIdentify, addHealth,   addExport,  addDiff,    addApply,
          addBench,        addCall,     addOps,      addRoutes,   addDevices, addWatch,   addMonitor,
          addCoefficients, addFirmware, addDemo,     addVersion}) {
        add(parser);
    }
}

} // namespace TesselCtl
