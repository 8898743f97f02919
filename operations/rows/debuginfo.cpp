// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/debuginfo.h>

namespace Tessel::Operations {

Operations debugInfoOperations()
{
    using C = DebugInfo;
    return {
        operation("getParameters", &C::getParameters, {"deviceKey", "body", "result"}),
        operation("sendParameters", &C::sendParameters, {"deviceKey", "body", "reply"}),
        operation("clearKeyParameters", &C::clearKeyParameters, {"deviceKey", "reply"}),
    };
}

} // namespace Tessel::Operations
