// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"

#include "tesselctl/terminal/printable.h"

#include <tessel/allurlresource.h>

#include <algorithm>

namespace TesselCtl {

namespace {

const CoefficientKind kinds[] = {
    {"plain", &Correctionop::uploadCoefficientAsync, "Device_PutCabinetsCoefficient",
     &Correctionop::uploadCoefficient, "Device_PutCabinetCoefficients", &Correctionop::loadCoefficient,
     "Device_GetCabinetCoefficients", &Correctionop::saveCabinetsCoeffcient, "Device_SaveCabinetsCofficient",
     &Correctionop::clearCabinetsUserCoefficient, "Device_ClearCabinetsModuleCofficient"},
    {"multilayer", &Correctionop::uploadMultilayerCoefficientAsync,
     "Device_PutCabinetsMultilayerCoefficients", &Correctionop::uploadMultilayerCoefficient,
     "Device_PutCabinetMultilayerCoefficients", &Correctionop::loadMultilayerCoefficient,
     "Device_GetCabinetMultilayerCoefficients", &Correctionop::saveCabinetsMultilayerCoeffcient,
     "Device_SaveCabinetsMultilayerCofficient", &Correctionop::clearCabinetsMultilayerCoefficient,
     "Device_ClearCabinetsMultilayerCofficient"},
    {"adaptive", &Correctionop::uploadAdaptiveCoefficientAsync, "Device_PutCabinetsAdaptiveCoefficients",
     nullptr, nullptr, &Correctionop::loadAdaptiveCoefficient, "Device_GetCabinetMultilayerCoefficients",
     &Correctionop::saveCabinetsAdapCoeffcient, "Device_SaveCabinetsAdapCofficient", nullptr, nullptr},
    {"dynamic", &Correctionop::uploadDynamicCoefficientAsync, "Device_PutCabinetsDynamicCoefficients",
     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr},
    {"lowgray", &Correctionop::uploadLowGrayCoefficientAsync, "Device_PutCabinetsLowgrayCoefficients",
     nullptr, nullptr, nullptr, nullptr, &Correctionop::saveCabinetsLowgrayCoeffcient,
     "Device_SaveCabinetsLowgrayCofficient", &Correctionop::clearCabinetsLowgrayCoefficient,
     "Device_ClearCabinetsLowgrayCofficient"},
};

} // namespace

const CoefficientKind& coefficientKind(const QString& name)
{
    return *std::find_if(std::begin(kinds), std::end(kinds),
                         [&](const CoefficientKind& kind) { return name == QLatin1String(kind.name); });
}

QString coefficientPath(const char* routeKey, const QString& cabinet)
{
    return AllUrlResource::getUrl(QLatin1String(routeKey)).replace(QStringLiteral("{cid}"), cabinet);
}

QString cabinetText(const QString& cabinet)
{
    return cabinet.isEmpty() ? QStringLiteral("all cabinets")
                             : QStringLiteral("cabinet ") + printable(cabinet);
}

} // namespace TesselCtl
