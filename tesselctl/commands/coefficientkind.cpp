// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"

#include "tesselctl/terminal/printable.h"

#include <algorithm>

namespace TesselCtl {

namespace {

const CoefficientKind kinds[] = {
    {"plain", &Correctionop::uploadCoefficientAsync, &Correctionop::uploadCoefficient,
     &Correctionop::loadCoefficient, false, &Correctionop::saveCabinetsCoeffcient,
     &Correctionop::clearCabinetsUserCoefficient},
    {"multilayer", &Correctionop::uploadMultilayerCoefficientAsync,
     &Correctionop::uploadMultilayerCoefficient, &Correctionop::loadMultilayerCoefficient, true,
     &Correctionop::saveCabinetsMultilayerCoeffcient, &Correctionop::clearCabinetsMultilayerCoefficient},
    {"adaptive", &Correctionop::uploadAdaptiveCoefficientAsync, nullptr,
     &Correctionop::loadAdaptiveCoefficient, true, &Correctionop::saveCabinetsAdapCoeffcient, nullptr},
    {"dynamic", &Correctionop::uploadDynamicCoefficientAsync, nullptr, nullptr, false, nullptr, nullptr},
    {"lowgray", &Correctionop::uploadLowGrayCoefficientAsync, nullptr, nullptr, false,
     &Correctionop::saveCabinetsLowgrayCoeffcient, &Correctionop::clearCabinetsLowgrayCoefficient},
};

} // namespace

const CoefficientKind& coefficientKind(const QString& name)
{
    return *std::find_if(std::begin(kinds), std::end(kinds),
                         [&](const CoefficientKind& kind) { return name == QLatin1String(kind.name); });
}

QString cabinetText(const QString& cabinet)
{
    return cabinet.isEmpty() ? QStringLiteral("all cabinets")
                             : QStringLiteral("cabinet ") + printable(cabinet);
}

} // namespace TesselCtl
