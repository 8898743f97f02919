// SPDX-License-Identifier: MIT
#include "tesselctl/invoker.h"
#include "tesselctl/operationlist.h"

#include <tessel/rvcarddisplayeffect.h>

namespace TesselCtl {

Operations rvCardDisplayEffectOperations()
{
    using C = RvCardDisplayEffect;
    return {
        operation("getDisplayGainData", &C::getDisplayGainData, {"deviceKey", "id", "result"}),
    };
}

} // namespace TesselCtl
