// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"

#include "tesselctl/terminal/printable.h"

#include <algorithm>
#include <cstddef>
#include <tessel/allurlresource.h>

namespace TesselCtl {

namespace {

constexpr CoefficientKind kinds[] = {
    {Tessel::CoefficientKind::Plain, false, &Correctionop::uploadCoefficientAsync,
     &Correctionop::uploadCoefficient, &Correctionop::loadCoefficient, &Correctionop::saveCabinetsCoeffcient,
     &Correctionop::clearCabinetsUserCoefficient},
    {Tessel::CoefficientKind::Multilayer, true, &Correctionop::uploadMultilayerCoefficientAsync,
     &Correctionop::uploadMultilayerCoefficient, &Correctionop::loadMultilayerCoefficient,
     &Correctionop::saveCabinetsMultilayerCoeffcient, &Correctionop::clearCabinetsMultilayerCoefficient},
    {Tessel::CoefficientKind::Adaptive, true, &Correctionop::uploadAdaptiveCoefficientAsync, nullptr,
     &Correctionop::loadAdaptiveCoefficient, &Correctionop::saveCabinetsAdapCoeffcient, nullptr},
    {Tessel::CoefficientKind::Dynamic, false, &Correctionop::uploadDynamicCoefficientAsync, nullptr, nullptr,
     nullptr, nullptr},
    {Tessel::CoefficientKind::LowGray, false, &Correctionop::uploadLowGrayCoefficientAsync, nullptr, nullptr,
     &Correctionop::saveCabinetsLowgrayCoeffcient, &Correctionop::clearCabinetsLowgrayCoefficient},
};

constexpr bool kindsFollowTheTable()
{
    std::size_t index = 0;
    for (const CoefficientKind& kind : kinds) {
        if (static_cast<std::size_t>(kind.kind) != index++) {
            return false;
        }
    }
    return index == Tessel::coefficientKindCount;
}
static_assert(kindsFollowTheTable(),
              "each kind of tessel/coefficientkinds.h has its row here, in that order");

} // namespace

QStringList coefficientKindNames()
{
    QStringList names;
    for (const auto& row : Tessel::coefficientKinds) {
        names << QLatin1String(row.name);
    }
    return names;
}

const CoefficientKind& coefficientKind(const QString& name)
{
    const auto kind = Tessel::coefficientKindNamed(name.toStdString());
    Q_ASSERT(kind);
    return kinds[static_cast<std::size_t>(kind.value_or(Tessel::CoefficientKind::Plain))];
}

QString cabinetText(const QString& cabinet)
{
    return cabinet.isEmpty() ? QStringLiteral("all cabinets")
                             : QStringLiteral("cabinet ") + printable(cabinet);
}

} // namespace TesselCtl
