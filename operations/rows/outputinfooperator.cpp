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
        operation("setAllOutputsInfo", &C::setAllOutputsInfo, {"deviceKey", "list", "result"}),
        operation("setAllOutputsPipeMapping", &C::setAllOutputsPipeMapping,
                  {"deviceKey", "in params", "result"}),
        operation("setOutputInfo", &C::setOutputInfo, {"deviceKey", "id", "in params", "result"}),
        operation("setOutputEnable", &C::setOutputEnable, {"deviceKey", "id", "in params", "result"}),
        operation("setOutputResolution", &C::setOutputResolution, {"deviceKey", "id", "in params", "result"}),
        operation("setOutputOffset", &C::setOutputOffset, {"deviceKey", "id", "in params", "result"}),
        operation("setOutputPipeMapping", &C::setOutputPipeMapping,
                  {"deviceKey", "id", "in params", "result"}),
    };
}

} // namespace Tessel::Operations
