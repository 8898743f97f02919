// SPDX-License-Identifier: MIT
#include "tesselctl/commands/devicerun.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"

namespace TesselCtl {

namespace {

std::vector<Device> devicesOf(const Settings& settings, Console& console)
{
    Expected<std::vector<Device>> devices = readDevices(settings.devices);
    if (!devices) {
        console.error(devices.error());
        return {};
    }
    return *std::move(devices);
}

} // namespace

DeviceRun::DeviceRun(const Settings& settings, Console& console)
    : m_settings(settings)
    , m_console(console)
    , m_devices(devicesOf(settings, console))
    , m_trace(traceExchanges(settings.trace, console))
{
    if (const Expected<void> added = addDevices(m_devices); !added) {
        console.error(added.error());
        m_devices.clear();
    }
}

Outcome DeviceRun::settled(const Outcome& outcome) const
{
    return outcome.code != Done && m_interruption.happened() ? Outcome{Failed, QStringLiteral("interrupted")}
                                                             : outcome;
}

ExitCode DeviceRun::forEach(const std::function<Result(const QString& device)>& work, const QVariant& failure)
{
    if (m_devices.empty()) {
        return Usage;
    }
    QVariantMap values;
    ExitCode code = Done;
    for (const Device& device : m_devices) {
        Result result{{Failed, {}}, {}, {}};
        if (!m_interruption.happened()) {
            result = work(device.name);
        }
        const Outcome outcome = settled(result.outcome);
        values.insert(device.name, outcome.code == Done ? result.value : failure);
        if (outcome.code != Done) {
            m_console.error(QStringLiteral("%1: %2").arg(printable(device.name), outcome.error));
        } else if (!m_settings.json) {
            m_console.out(printable(device.name) + result.text);
        }
        if (code == Done) {
            code = outcome.code;
        }
    }
    if (m_settings.json) {
        m_console.out(QString::fromUtf8(toJson(values, true)) + QLatin1Char('\n'));
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
