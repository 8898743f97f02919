// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commandrun.h"

#include "tesselctl/requests/devicesfile.h"
#include "tesselctl/terminal/console.h"

#include <utility>

namespace TesselCtl {

namespace {

std::vector<Device> devicesOf(const Settings& settings, Console& console)
{
    Expected<std::vector<Device>> devices = readDevices(settings.devices, knownDevices(settings.devices));
    if (!devices) {
        console.error(devices.error());
        return {};
    }
    return *std::move(devices);
}

} // namespace

CommandRun::CommandRun(const Settings& settings, Console& console)
    : m_settings(settings)
    , m_console(console)
    , m_devices(devicesOf(settings, console))
{}

CommandRun::CommandRun(const Settings& settings, Console& console, std::vector<Device> devices)
    : m_settings(settings)
    , m_console(console)
    , m_devices(std::move(devices))
{}

void CommandRun::begin(Interruption::Handler onSignal)
{
    m_interruption.emplace(std::move(onSignal));
    m_trace = traceExchanges(m_settings.trace, m_console);
}

bool CommandRun::addDevices()
{
    if (const Expected<void> added = TesselCtl::addDevices(m_devices); !added) {
        m_console.error(added.error());
        m_devices.clear();
    }
    return !m_devices.empty();
}

} // namespace TesselCtl
