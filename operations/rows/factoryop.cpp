// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/factoryop.h>

namespace Tessel::Operations {

Operations factoryOpOperations()
{
    using C = FactoryOp;
    return {
        operation("getCreateCabinetInfo", &C::getCreateCabinetInfo, {"deviceKey", "id", "out"}),
        operation("setCreateSingleCabinetInfo", &C::setCreateSingleCabinetInfo,
                  {"deviceKey", "id", "body", "out"}),
        operation("setCreateMutiCabinetInfo", &C::setCreateMutiCabinetInfo, {"deviceKey", "body", "out"}),
        operation("getFlashTopoInfo", &C::getFlashTopoInfo, {"deviceKey", "id", "out"}),
        operation("setSingleFlashTopoInfo", &C::setSingleFlashTopoInfo, {"deviceKey", "id", "body", "out"}),
        operation("setMutiFlashTopoInfo", &C::setMutiFlashTopoInfo, {"deviceKey", "body", "out"}),
        operation("getModuleInfo", &C::getModuleInfo, {"deviceKey", "id", "out"}),
        operation("setSingleModuleInfo", &C::setSingleModuleInfo, {"deviceKey", "id", "body", "out"}),
        operation("setMutiModuleInfo", &C::setMutiModuleInfo, {"deviceKey", "body", "out"}),
        operation("getCapability", &C::getCapability, {"deviceKey", "id", "out"}),
        operation("setSingleCapability", &C::setSingleCapability, {"deviceKey", "id", "body", "out"}),
        operation("setMutiCapability", &C::setMutiCapability, {"deviceKey", "body", "out"}),
        operation("getDecodeChipParam", &C::getDecodeChipParam, {"deviceKey", "id", "out"}),
        operation("setSingleDecodeChipParam", &C::setSingleDecodeChipParam,
                  {"deviceKey", "id", "body", "out"}),
        operation("setMutiDecodeChipParam", &C::setMutiDecodeChipParam, {"deviceKey", "body", "out"}),
        operation("getChipRegister", &C::getChipRegister, {"deviceKey", "id", "out"}),
        operation("setSingleChipRegister", &C::setSingleChipRegister, {"deviceKey", "id", "body", "out"}),
        operation("setMutiChipRegister", &C::setMutiChipRegister, {"deviceKey", "body", "out"}),
        operation("getRvExtendParams", &C::getRvExtendParams, {"deviceKey", "id", "out"}),
        operation("setSingleRvExtendParams", &C::setSingleRvExtendParams, {"deviceKey", "id", "body", "out"}),
        operation("setMutiRvExtendParams", &C::setMutiRvExtendParams, {"deviceKey", "body", "out"}),
        operation("setsingleRemoveBrokenLight", &C::setsingleRemoveBrokenLight,
                  {"deviceKey", "id", "body", "out"}),
        operation("setMutiRemoveBrokenLight", &C::setMutiRemoveBrokenLight, {"deviceKey", "body", "out"}),
        operation("setSingleSecClockExtend", &C::setSingleSecClockExtend, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSecClockExtend", &C::setMutiSecClockExtend, {"deviceKey", "body", "out"}),
        operation("setSignalPolarity", &C::setSignalPolarity, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSignalPolarity", &C::setMutiSignalPolarity, {"deviceKey", "body", "out"}),
        operation("setSingleRvcardLight", &C::setSingleRvcardLight, {"deviceKey", "id", "body", "out"}),
        operation("setMutiRvcardLight", &C::setMutiRvcardLight, {"deviceKey", "body", "out"}),
        operation("setSingleSlowlyBrightness", &C::setSingleSlowlyBrightness,
                  {"deviceKey", "id", "body", "out"}),
        operation("setMutiSlowlyBrightness", &C::setMutiSlowlyBrightness, {"deviceKey", "body", "out"}),
        operation("setSingleSignalDelay", &C::setSingleSignalDelay, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSignalDelay", &C::setMutiSignalDelay, {"deviceKey", "body", "out"}),
        operation("setSingleSmartBackStep", &C::setSingleSmartBackStep, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartBackStep", &C::setMutiSmartBackStep, {"deviceKey", "body", "out"}),
        operation("setSingleSmartBaseInfo", &C::setSingleSmartBaseInfo, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartBaseInfo", &C::setMutiSmartBaseInfo, {"deviceKey", "body", "out"}),
        operation("setSingleSmartOEType", &C::setSingleSmartOEType, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartOEType", &C::setMutiSmartOEType, {"deviceKey", "body", "out"}),
        operation("setSingleSmartRgbOrder", &C::setSingleSmartRgbOrder, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartRgbOrder", &C::setMutiSmartRgbOrder, {"deviceKey", "body", "out"}),
        operation("setSingleSmartDataGroup", &C::setSingleSmartDataGroup, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartDataGroup", &C::setMutiSmartDataGroup, {"deviceKey", "body", "out"}),
        operation("setSingleSmartScannInfo", &C::setSingleSmartScannInfo, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartScannInfo", &C::setMutiSmartScannInfo, {"deviceKey", "body", "out"}),
        operation("setSingleSmartPointFlow", &C::setSingleSmartPointFlow, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartPointFlow", &C::setMutiSmartPointFlow, {"deviceKey", "body", "out"}),
        operation("setSingleSmartRgbIndex", &C::setSingleSmartRgbIndex, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartRgbIndex", &C::setMutiSmartRgbIndex, {"deviceKey", "body", "out"}),
        operation("setSingleSmartCommand", &C::setSingleSmartCommand, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartCommand", &C::setMutiSmartCommand, {"deviceKey", "body", "out"}),
        operation("setSingleSmartDrivelight", &C::setSingleSmartDrivelight,
                  {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartDrivelight", &C::setMutiSmartDrivelight, {"deviceKey", "body", "out"}),
        operation("setSingleSmartPointIndex", &C::setSingleSmartPointIndex,
                  {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartPointIndex", &C::setMutiSmartPointIndex, {"deviceKey", "body", "out"}),
        operation("setSingleSmartScanIndex", &C::setSingleSmartScanIndex, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartScanIndex", &C::setMutiSmartScanIndex, {"deviceKey", "body", "out"}),
        operation("setSingleSmartGroup", &C::setSingleSmartGroup, {"deviceKey", "id", "body", "out"}),
        operation("setMutiSmartGroup", &C::setMutiSmartGroup, {"deviceKey", "body", "out"}),
        operation("getCabinetMaxPixel", &C::getCabinetMaxPixel, {"deviceKey", "id", "out"}),
    };
}

} // namespace Tessel::Operations
