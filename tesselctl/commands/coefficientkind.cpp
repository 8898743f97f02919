// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"

#include "tesselctl/commands/commands.h"
#include "tesselctl/terminal/printable.h"

#include <algorithm>
#include <cstddef>
#include <tessel/allurlresource.h>

namespace TesselCtl {

namespace {

constexpr CoefficientKind kinds[] = {
    {Tessel::CoefficientKind::Plain, &Correctionop::uploadCoefficientAsync, &Correctionop::uploadCoefficient,
     &Correctionop::loadCoefficient, false, &Correctionop::saveCabinetsCoeffcient,
     &Correctionop::clearCabinetsUserCoefficient},
    {Tessel::CoefficientKind::Multilayer, &Correctionop::uploadMultilayerCoefficientAsync,
     &Correctionop::uploadMultilayerCoefficient, &Correctionop::loadMultilayerCoefficient, true,
     &Correctionop::saveCabinetsMultilayerCoeffcient, &Correctionop::clearCabinetsMultilayerCoefficient},
    {Tessel::CoefficientKind::Adaptive, &Correctionop::uploadAdaptiveCoefficientAsync, nullptr,
     &Correctionop::loadAdaptiveCoefficient, true, &Correctionop::saveCabinetsAdapCoeffcient, nullptr},
    {Tessel::CoefficientKind::Dynamic, &Correctionop::uploadDynamicCoefficientAsync, nullptr, nullptr, false,
     nullptr, nullptr},
    {Tessel::CoefficientKind::LowGray, &Correctionop::uploadLowGrayCoefficientAsync, nullptr, nullptr, false,
     &Correctionop::saveCabinetsLowgrayCoeffcient, &Correctionop::clearCabinetsLowgrayCoefficient},
};

constexpr bool kindsFollowTheTable()
{
    std::size_t index = 0;
    for (const CoefficientKind& kind : kinds) {
        if (static_cast<std::size_t>(kind.kind) != index++)
            return false;
    }
    return index == Tessel::coefficientKindCount;
}
static_assert(kindsFollowTheTable(),
              "each kind of tessel/coefficientkinds.h has its row here, in that order");

} // namespace

QStringList coefficientKindNames()
{
    QStringList names;
    for (const auto& row : Tessel::coefficientKinds)
        names << QLatin1String(row.name);
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
