// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"
#include "tesselctl/commands/coefficients.h"
#include "tesselctl/commands/devicerun.h"

namespace TesselCtl {

namespace {

const char* const saveFooter = R"(
Examples:
  tesselctl --device 192.168.0.10 coefficients save --cabinets 3,7)";

const char* const clearFooter = R"(
Examples:
  tesselctl --device 192.168.0.10 coefficients clear --cabinets 3,7)";

/// Has the devices do what @p verb names; @p action is null where they do not for this kind.
ExitCode act(const Settings& settings, const char* verb, const CoefficientSelection& selection,
             CoefficientKind::Action action, Console& console)
{
    if (!action) {
        console.error(QStringLiteral("devices cannot %1 %2 coefficients; choose another --kind")
                          .arg(QLatin1String(verb), selection.kind));
        return Usage;
    }
    DeviceRun run(settings, console);
    if (!run.devices().empty() &&
        !run.mayDo(QString(QLatin1String(verb) == QLatin1String("save") ? QStringLiteral("Save")
                                                                        : QStringLiteral("Clear")) +
                   QStringLiteral(" the %1 coefficients").arg(selection.kind))) {
        return Failed;
    }
    return run.forEach([&](const QString& device) {
        CoefficientKind::Map result;
        CallObserver exchanges;
        const CallObserver::Scope scope = exchanges.collect();
        (Correctionop::getInstance()->*action)(device, {{QStringLiteral("cids"), selection.cabinetNames()}},
                                               result);
        return exchanges.outcome();
    });
}

} // namespace

void addCoefficientSave(CommandParser& coefficients)
{
    const auto selection = std::make_shared<CoefficientSelection>();
    CommandParser save = coefficients.addCommand(
        "save", QStringLiteral("have cabinets store the tables in use; takes minutes"));
    selection->addKind(save);
    selection->addCabinets(save, QStringLiteral("the cabinets")).required();
    save.setFooter(QString::fromUtf8(saveFooter));
    save.setRun([selection](const Settings& settings, Console& console) {
        return act(settings, "save", *selection, coefficientKind(selection->kind).save, console);
    });
}

void addCoefficientClear(CommandParser& coefficients)
{
    const auto selection = std::make_shared<CoefficientSelection>();
    CommandParser clear =
        coefficients.addCommand("clear", QStringLiteral("have cabinets delete their tables"));
    selection->addKind(clear);
    selection->addCabinets(clear, QStringLiteral("the cabinets")).required();
    clear.setFooter(QString::fromUtf8(clearFooter));
    clear.setRun([selection](const Settings& settings, Console& console) {
        return act(settings, "clear", *selection, coefficientKind(selection->kind).clear, console);
    });
}

} // namespace TesselCtl
