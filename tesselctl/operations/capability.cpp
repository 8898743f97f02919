// SPDX-License-Identifier: MIT
#include "tesselctl/invoker.h"
#include "tesselctl/operationlist.h"

#include <tessel/capability.h>

namespace TesselCtl {

Operations capabilityOperations()
{
    using C = Capability;
    return {
        operation("getAllChipType", &C::getAllChipType, {"deviceKey", "result"}),
        operation("getRowDecodeType", &C::getRowDecodeType, {"deviceKey", "result"}),
    };
}

} // namespace TesselCtl
