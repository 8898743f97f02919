// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/hwscreeninfo.h>

namespace Tessel::Operations {

Operations hwScreenInfoOperations()
{
    using C = HwScreenInfo;
    return {
        operation("setEdgeSwitch", &C::setEdgeSwitch, {"deviceKey", "body", "reply"}),
        operation("setEdgeChangeBK", &C::setEdgeChangeBK, {"deviceKey", "body", "reply"}),
        operation("setEdgeDrawLine", &C::setEdgeDrawLine, {"deviceKey", "body", "reply"}),
        operation("setEdgeDrawSectionLine", &C::setEdgeDrawSectionLine, {"deviceKey", "body", "reply"}),
        operation("setEdgeDrawRect", &C::setEdgeDrawRect, {"deviceKey", "body", "reply"}),
        operation("setEdgeDrawMouse", &C::setEdgeDrawMouse, {"deviceKey", "body", "reply"}),
        operation("setEdgeClearImage", &C::setEdgeClearImage, {"deviceKey", "reply"}),
        operation("setUpdateScreen", &C::setUpdateScreen, {"deviceKey", "reply"}),
        operation("setCorrectSwitch", &C::setCorrectSwitch, {"deviceKey", "body", "reply"}),
        operation("setCorrectChangeBK", &C::setCorrectChangeBK, {"deviceKey", "body", "reply"}),
        operation("setCorrectDrawRegion", &C::setCorrectDrawRegion, {"deviceKey", "body", "reply"}),
        operation("setCorrectDrawId", &C::setCorrectDrawId, {"deviceKey", "body", "reply"}),
        operation("setCorrectClearImage", &C::setCorrectClearImage, {"deviceKey", "reply"}),
        operation("setDisplayVedioSource", &C::setDisplayVedioSource, {"deviceKey", "body", "reply"}),
    };
}

} // namespace Tessel::Operations
