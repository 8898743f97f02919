// SPDX-License-Identifier: MIT
#include "tesselctl/invoker.h"
#include "tesselctl/operationlist.h"

#include <tessel/debuginfo.h>

namespace TesselCtl {

Operations debugInfoOperations()
{
    using C = DebugInfo;
    return {
        operation("getParameters", &C::getParameters, {"deviceKey", "body", "result"}),
        operation("sendParameters", &C::sendParameters, {"deviceKey", "body", "result"}),
        operation("clearKeyParameters", &C::clearKeyParameters, {"deviceKey", "result"}),
    };
}

} // namespace TesselCtl
