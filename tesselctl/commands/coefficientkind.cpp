// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"

#include "tesselctl/commands/commands.h"
#include "tesselctl/terminal/printable.h"

#include <tessel/allurlresource.h>

#include <cstddef>

namespace TesselCtl {

namespace {

constexpr CoefficientKind kinds[] = {
    {Tessel::CoefficientKind::Plain, &Correctionop::uploadCoefficientAsync, "Device_PutCabinetsCoefficient",
     &Correctionop::uploadCoefficient, "Device_PutCabinetCoefficients", &Correctionop::loadCoefficient,
     "Device_GetCabinetCoefficients", &Correctionop::saveCabinetsCoeffcient, "Device_SaveCabinetsCofficient",
     &Correctionop::clearCabinetsUserCoefficient, "Device_ClearCabinetsModuleCofficient"},
    {Tessel::CoefficientKind::Multilayer, &Correctionop::uploadMultilayerCoefficientAsync,
     "Device_PutCabinetsMultilayerCoefficients", &Correctionop::uploadMultilayerCoefficient,
     "Device_PutCabinetMultilayerCoefficients", &Correctionop::loadMultilayerCoefficient,
     "Device_GetCabinetMultilayerCoefficients", &Correctionop::saveCabinetsMultilayerCoeffcient,
     "Device_SaveCabinetsMultilayerCofficient", &Correctionop::clearCabinetsMultilayerCoefficient,
     "Device_ClearCabinetsMultilayerCofficient"},
    {Tessel::CoefficientKind::Adaptive, &Correctionop::uploadAdaptiveCoefficientAsync,
     "Device_PutCabinetsAdaptiveCoefficients", nullptr, nullptr, &Correctionop::loadAdaptiveCoefficient,
     "Device_GetCabinetMultilayerCoefficients", &Correctionop::saveCabinetsAdapCoeffcient,
     "Device_SaveCabinetsAdapCofficient", nullptr, nullptr},
    {Tessel::CoefficientKind::Dynamic, &Correctionop::uploadDynamicCoefficientAsync,
     "Device_PutCabinetsDynamicCoefficients", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     nullptr},
    {Tessel::CoefficientKind::LowGray, &Correctionop::uploadLowGrayCoefficientAsync,
     "Device_PutCabinetsLowgrayCoefficients", nullptr, nullptr, nullptr, nullptr,
     &Correctionop::saveCabinetsLowgrayCoeffcient, "Device_SaveCabinetsLowgrayCofficient",
     &Correctionop::clearCabinetsLowgrayCoefficient, "Device_ClearCabinetsLowgrayCofficient"},
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
