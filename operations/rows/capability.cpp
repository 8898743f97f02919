// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/capability.h>

namespace Tessel::Operations {

Operations capabilityOperations()
{
    using C = Capability;
    return {
        operation("getAllChipType", &C::getAllChipType, {"deviceKey", "result"}),
        operation("getRowDecodeType", &C::getRowDecodeType, {"deviceKey", "result"}),
    };
}

} // namespace Tessel::Operations
