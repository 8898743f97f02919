// SPDX-License-Identifier: MIT
#include "operations/operators.h"

#include <tessel/algorithm.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/capability.h>
#include <tessel/correctionop.h>
#include <tessel/debuginfo.h>
#include <tessel/factoryop.h>
#include <tessel/hwinfo.h>
#include <tessel/hwscreeninfo.h>
#include <tessel/inputinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/rvcarddisplayeffect.h>
#include <tessel/screeninfo.h>

namespace Tessel::Operations {

const std::vector<QObject*>& allOperators()
{
    static const std::vector<QObject*> operators{
        Algorithm::getInstance(),
        CabinetInfoOperator::getInstance(),
        Capability::getInstance(),
        Correctionop::getInstance(),
        DebugInfo::getInstance(),
        FactoryOp::getInstance(),
        HWInfo::getInstance(),
        HwScreenInfo::getInstance(),
        InputInfo::getInstance(),
        UrlResource::MonitorInfo::getInstance(),
        OutputInfoOperator::getInstance(),
        PipeInfo::getInstance(),
        RvCardDisplayEffect::getInstance(),
        ScreenInfo::getInstance(),
    };
    return operators;
}

} // namespace Tessel::Operations
