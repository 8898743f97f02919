// SPDX-License-Identifier: MIT
#include "tesselctl/commands/devicerun.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"

namespace TesselCtl {

DeviceRun::DeviceRun(const Settings& settings, Console& console)
    : CommandRun(settings, console, forgetDevices)
{
    addDevices();
}

Outcome DeviceRun::settled(const Outcome& outcome) const
{
    return outcome.code != Done && interruption().happened() ? Outcome{Failed, QStringLiteral("interrupted")}
                                                             : outcome;
}

ExitCode DeviceRun::forEach(const std::function<Result(const QString& device)>& work, const QVariant& failure)
{
    if (devices().empty()) {
        return Usage;
    }
    QVariantMap values;
    ExitCode code = Done;
    for (const Device& device : devices()) {
        Result result{{Failed, {}}, {}, {}};
        if (!interruption().happened()) {
            result = work(device.name);
        }
        const Outcome outcome = settled(result.outcome);
        values.insert(device.name, outcome.code == Done ? result.value : failure);
        if (outcome.code != Done) {
            console().error(QStringLiteral("%1: %2").arg(printable(device.name), outcome.error));
        } else if (!settings().json) {
            console().out(printable(device.name) + result.text);
        }
        if (code == Done) {
            code = outcome.code;
        }
    }
    if (settings().json) {
        console().out(QString::fromUtf8(toJson(values, true)) + QLatin1Char('\n'));
    }
    return code;
}

ExitCode DeviceRun::forEach(const std::function<Outcome(const QString& device)>& work)
{
    return forEach(
        [&work](const QString& device) -> Result {
            return {work(device), true, QStringLiteral(": ok\n")};
        },
        false);
}

} // namespace TesselCtl
