// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/rvcarddisplayeffect.h>

namespace Tessel::Operations {

Operations rvCardDisplayEffectOperations()
{
    using C = RvCardDisplayEffect;
    return {
        operation("getDisplayGainData", &C::getDisplayGainData, {"deviceKey", "id", "result"}),
    };
}

} // namespace Tessel::Operations
