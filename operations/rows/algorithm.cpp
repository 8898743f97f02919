// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/algorithm.h>

namespace Tessel::Operations {

Operations algorithmOperations()
{
    using C = Algorithm;
    return {
        operation("getRGBLight", &C::getRGBLight, {"deviceKey", "query", "result"}),
        operation("getWhiteLightCoord", &C::getWhiteLightCoord, {"deviceKey", "query", "result"}),
        operation("getColorTemperature", &C::getColorTemperature, {"deviceKey", "query", "result"}),
    };
}

} // namespace Tessel::Operations
