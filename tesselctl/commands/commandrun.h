// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_COMMANDRUN_H
#define TESSELCTL_COMMANDS_COMMANDRUN_H

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/settings.h"
#include "tesselctl/terminal/interruption.h"

#include <optional>
#include <vector>

namespace TesselCtl {

/// The devices of a command and, while it runs, its reaction to SIGINT and SIGTERM and its trace. One at a
/// time; used on one thread.
class CommandRun
{
public:
    /// Reads the devices, asking for secrets where necessary.
    CommandRun(const Settings& settings, Console& console);
    /// For devices that another run has read.
    CommandRun(const Settings& settings, Console& console, std::vector<Device> devices);

    /// The devices; none if the settings are wrong, which the console has shown.
    const std::vector<Device>& devices() const { return m_devices; }
    /// The signals since begin().
    const Interruption& interruption() const { return *m_interruption; }

    /// Signals call @p onSignal from now on, and exchanges are traced. Before it, a signal ends the process;
    /// so call it once all questions for secrets are answered, and before there are other threads.
    void begin(Interruption::Handler onSignal);

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
    std::optional<Interruption> m_interruption;
    Krelm::Communicator::HttpDevice::ObserverHandle m_trace;
};

} // namespace TesselCtl

#endif
