// SPDX-License-Identifier: MIT
#include "tesselctl/invoker.h"
#include "tesselctl/operationlist.h"

#include <tessel/algorithm.h>

namespace TesselCtl {

Operations algorithmOperations()
{
    using C = Algorithm;
    return {
        operation("getRGBLight", &C::getRGBLight, {"deviceKey", "params", "reply"}),
        operation("getWhiteLightCoord", &C::getWhiteLightCoord, {"deviceKey", "params", "reply"}),
        operation("getColorTemperature", &C::getColorTemperature, {"deviceKey", "params", "reply"}),
    };
}

} // namespace TesselCtl
