// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"
#include "tesselctl/commands/commands.h"
#include "tesselctl/commands/devicerun.h"

namespace TesselCtl {

namespace {

/// Has the devices do what @p verb names; @p action is null where they do not for this kind.
ExitCode act(const Settings& settings, const char* verb, const QString& kind, CoefficientKind::Action action,
             const QStringList& cabinets, Console& console)
{
    if (!action) {
        console.error(QStringLiteral("devices do not %1 %2 coefficients").arg(QLatin1String(verb), kind));
        return Usage;
    }
    DeviceRun run(settings, console);
    return run.forEach([&](const QString& device) {
        CoefficientKind::Map result;
        CallObserver exchanges;
        const CallObserver::Scope scope = exchanges.collect();
        (Correctionop::getInstance()->*action)(device, {{QStringLiteral("cids"), cabinets}}, result);
        return exchanges.outcome();
    });
}

} // namespace

ExitCode runCoefficientSave(const Settings& settings, const QString& kindName, const QStringList& cabinets,
                            Console& console)
{
    const CoefficientKind& kind = coefficientKind(kindName);
    return act(settings, "save", kindName, kind.save, cabinets, console);
}

ExitCode runCoefficientClear(const Settings& settings, const QString& kindName, const QStringList& cabinets,
                             Console& console)
{
    const CoefficientKind& kind = coefficientKind(kindName);
    return act(settings, "clear", kindName, kind.clear, cabinets, console);
}

} // namespace TesselCtl
