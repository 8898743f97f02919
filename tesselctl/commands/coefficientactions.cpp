// SPDX-License-Identifier: MIT
#include "coefficientkind.h"
#include "commands.h"
#include "devicerun.h"

namespace TesselCtl {

namespace {

ExitCode act(const Settings& settings, CoefficientKind::Action action, const char* routeKey,
             const QStringList& cabinets, Console& console)
{
    DeviceRun run(settings, console);
    return run.forEach([&](const QString& device) {
        CoefficientKind::Map result;
        (Correctionop::getInstance()->*action)(device, {{QStringLiteral("cids"), cabinets}}, result);
        return run.ledger().takeOutcome(device, coefficientPath(routeKey));
    });
}

} // namespace

ExitCode runCoefficientSave(const Settings& settings, const QString& kindName, const QStringList& cabinets,
                            Console& console)
{
    const CoefficientKind& kind = coefficientKind(kindName);
    if (kind.save)
        return act(settings, kind.save, kind.saveRoute, cabinets, console);
    console.complain(QStringLiteral("devices do not save %1 coefficients").arg(kindName));
    return Usage;
}

ExitCode runCoefficientClear(const Settings& settings, const QString& kindName, const QStringList& cabinets,
                             Console& console)
{
    const CoefficientKind& kind = coefficientKind(kindName);
    if (kind.clear)
        return act(settings, kind.clear, kind.clearRoute, cabinets, console);
    console.complain(QStringLiteral("devices do not clear %1 coefficients").arg(kindName));
    return Usage;
}

} // namespace TesselCtl
