// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDRUN_H
#define TESSELCTL_COMMANDRUN_H

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/settings.h"
#include "tesselctl/terminal/interruption.h"

#include <vector>

namespace TesselCtl {

/// The devices of a command and, while it runs, its reaction to SIGINT and SIGTERM and its trace. One at a
/// time; used on one thread.
class CommandRun
{
public:
    /// Reads the devices, asking for secrets where necessary. Signals call @p onSignal from then on.
    CommandRun(const Settings& settings, Console& console, Interruption::Handler onSignal);

    /// The devices; none if the settings are wrong, which the console has shown.
    const std::vector<Device>& devices() const { return m_devices; }
    const Interruption& interruption() const { return m_interruption; }

    /// Makes the devices known to the transport; after an error, which the console shows, there are none.
    /// @return whether there are devices.
    bool addDevices();

protected:
    const Settings& settings() const { return m_settings; }
    Console& console() const { return m_console; }

private:
    const Settings& m_settings;
    Console& m_console;
    std::vector<Device> m_devices;
    // After the devices: a signal at the question for the secret ends the process.
    const Interruption m_interruption;
    const Krelm::Communicator::HttpDevice::ObserverHandle m_trace;
};

} // namespace TesselCtl

#endif
