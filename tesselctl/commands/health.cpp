// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/deviceresults.h"
#include "tesselctl/commands/wall.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
One verdict for each device: ok; wrong, with what is wrong; or unreachable, if it does not answer. Wrong is a cabinet
that is offline, hotter than --max-temperature or that received bits in error, an output that is enabled and not linked,
no input with a source, and any warning of the device itself. The exit code is that of the first device that is not ok:
1 if it is wrong, 3 or 4 if it is unreachable.

Examples:
  tesselctl --device 192.168.0.10 health
  tesselctl --device @stage health --max-temperature 55)";

const QString ok = QStringLiteral("ok");

/// "cabinet 7" or "cabinets 7, 8, 9 and 12 others"
QString named(const QString& thing, const QStringList& ids)
{
    constexpr int shown = 3;
    const int others = ids.size() - shown;
    return thing + (ids.size() > 1 ? QStringLiteral("s ") : QStringLiteral(" ")) +
           ids.mid(0, shown).join(QStringLiteral(", ")) +
           (others > 0 ? QStringLiteral(" and %1 others").arg(others) : QString());
}

/// The ids of @p things for which @p isWrong holds.
template <class Predicate>
QStringList idsOf(const QVariantList& things, Predicate isWrong)
{
    QStringList ids;
    for (const QVariant& one : things) {
        const QVariantMap thing = one.toMap();
        if (isWrong(thing)) {
            ids << thing.value(QStringLiteral("id")).toString();
        }
    }
    return ids;
}

QStringList wrongOf(Wall& wall, double maxTemperature)
{
    QStringList wrong;
    const auto note = [&wrong](const QString& thing, const QStringList& ids, const QString& text) {
        if (!ids.isEmpty()) {
            wrong << named(thing, ids) + QLatin1Char(' ') + text;
        }
    };
    const QVariantList cabinets = wall.cabinets();
    const QString cabinet = QStringLiteral("cabinet");
    note(cabinet,
         idsOf(cabinets,
               [](const QVariantMap& one) { return !one.value(QStringLiteral("online"), true).toBool(); }),
         QStringLiteral("offline"));
    note(cabinet,
         idsOf(cabinets,
               [maxTemperature](const QVariantMap& one) {
                   return one.value(QStringLiteral("temperature")).toDouble() > maxTemperature;
               }),
         QStringLiteral("hotter than %1 degrees").arg(maxTemperature));
    note(cabinet,
         idsOf(cabinets,
               [](const QVariantMap& one) { return one.value(QStringLiteral("bitErrors")).toDouble() > 0; }),
         QStringLiteral("with bits in error"));
    note(QStringLiteral("output"),
         idsOf(wall.outputs(),
               [](const QVariantMap& one) {
                   return one.value(QStringLiteral("enable")).toBool() &&
                          !one.value(QStringLiteral("linked"), true).toBool();
               }),
         QStringLiteral("not linked"));
    const QVariantList inputs = wall.inputs();
    if (!inputs.isEmpty() && idsOf(inputs, [](const QVariantMap& one) {
                                 return one.value(QStringLiteral("connected"), true).toBool();
                             }).isEmpty()) {
        wrong << QStringLiteral("no input has a source");
    }
    if (const int warnings = wall.monitorState().value(QStringLiteral("warnings")).toInt(); warnings > 0) {
        wrong << QStringLiteral("the device has %1 warnings").arg(warnings);
    }
    return wrong;
}

QVariantMap verdictOn(Wall& wall, double maxTemperature)
{
    const QStringList wrong = wrongOf(wall, maxTemperature);
    const Outcome& outcome = wall.outcome();
    const QStringList told = outcome.code == Done ? wrong : QStringList(outcome.error);
    QString verdict = outcome.code == Unreachable || outcome.code == TimedOut ? QStringLiteral("unreachable")
                      : told.isEmpty()                                        ? ok
                                                                              : QStringLiteral("wrong");
    return {{QStringLiteral("verdict"), verdict},
            {QStringLiteral("problems"), told.join(QStringLiteral("; "))}};
}

ExitCode runHealth(const Settings& settings, double maxTemperature, Console& console)
{
    DeviceRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    DeviceRun::Kind kind;
    kind.isRead = true;
    kind.isTable = true;
    kind.columns = QStringList{QStringLiteral("verdict"), QStringLiteral("problems")};
    DeviceResults results(settings, kind, run.devices().size() > 1, console);
    ExitCode verdictCode = Done;
    run.collect(
        [&](const QString& device) -> DeviceRun::Result {
            Wall wall(device, settings);
            const QVariantMap verdict = verdictOn(wall, maxTemperature);
            // So that it may be tried again.
            return {wall.outcome(), QVariantList{verdict}, {}};
        },
        kind,
        [&](const QString& device, DeviceRun::Result result) {
            const ExitCode code = result.outcome.code;
            if (code != Interrupted && code != Terminated && !result.isSkipped) {
                if (!result.value) {
                    result.value =
                        QVariantList{QVariantMap{{QStringLiteral("verdict"), QStringLiteral("unreachable")},
                                                 {QStringLiteral("problems"), result.outcome.error}}};
                }
                result.outcome = {};
            }
            const QVariantMap verdict = result.value.value_or(QVariant()).toList().value(0).toMap();
            if (verdictCode == Done && verdict.value(QStringLiteral("verdict")) != ok) {
                verdictCode = code == Done ? Failed : code;
            }
            results.take(device, result);
        });
    const ExitCode code = results.finish();
    return code == Done ? verdictCode : code;
}

} // namespace

void addHealth(CommandParser& parser)
{
    const auto maxTemperature = std::make_shared<double>(60);
    CommandParser health =
        parser.addCommand("health", QStringLiteral("say whether all is well, or what is wrong"));
    health
        .add("--max-temperature", *maxTemperature, QStringLiteral("degrees Celsius that a cabinet may have"))
        .between(-50.0, 200.0)
        .placeholder("DEGREES")
        .showDefault();
    health.setFooter(QString::fromUtf8(footer));
    health.setRun([maxTemperature](const Settings& settings, Console& console) {
        return runHealth(settings, *maxTemperature, console);
    });
}

} // namespace TesselCtl
