// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/algorithm.h>

namespace Tessel::Operations {

Operations algorithmOperations()
{
    using C = Algorithm;
    return {
        operation("getRGBLight", &C::getRGBLight, {"deviceKey", "params", "reply"}),
        operation("getWhiteLightCoord", &C::getWhiteLightCoord, {"deviceKey", "params", "reply"}),
        operation("getColorTemperature", &C::getColorTemperature, {"deviceKey", "params", "reply"}),
    };
}

} // namespace Tessel::Operations
