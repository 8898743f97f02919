// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/outputinfooperator.h>

namespace Tessel::Operations {

Operations outputInfoOperatorOperations()
{
    using C = OutputInfoOperator;
    return {
        operation("getAllOutputsInfo", qOverload<const QString&, bool>(&C::getAllOutputsInfo),
                  {"deviceKey", "force"}),
        operation("getAllOutputsInfo",
                  qOverload<const QString&, QList<QVariant>&, bool>(&C::getAllOutputsInfo),
                  {"deviceKey", "result", "force"}),
        operation("getOutputInfo", &C::getOutputInfo, {"deviceKey", "id", "result"}),
        operation("setAllOutputsInfo", &C::setAllOutputsInfo, {"deviceKey", "body", "reply"}),
        operation("setAllOutputsPipeMapping", &C::setAllOutputsPipeMapping,
                  {"deviceKey", in("body"), "reply"}),
        operation("setOutputInfo", &C::setOutputInfo, {"deviceKey", "id", in("body"), "reply"}),
        operation("setOutputEnable", &C::setOutputEnable, {"deviceKey", "id", in("body"), "reply"}),
        operation("setOutputResolution", &C::setOutputResolution, {"deviceKey", "id", in("body"), "reply"}),
        operation("setOutputOffset", &C::setOutputOffset, {"deviceKey", "id", in("body"), "reply"}),
        operation("setOutputPipeMapping", &C::setOutputPipeMapping, {"deviceKey", "id", in("body"), "reply"}),
    };
}

} // namespace Tessel::Operations
