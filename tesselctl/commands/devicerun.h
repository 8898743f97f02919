// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_DEVICERUN_H
#define TESSELCTL_DEVICERUN_H

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/settings.h"
#include "tesselctl/terminal/interruption.h"

#include <QVariant>

#include <functional>
#include <vector>

namespace TesselCtl {

/// What a command that goes from device to device, waiting for each, works with; and how it reports what came
/// of it. SIGINT and SIGTERM give up what is under way. One at a time; used on one thread.
class DeviceRun
{
public:
    /// What came of one device.
    struct Result
    {
        Outcome outcome;
        QVariant value; ///< for JSON
        QString text;   ///< for people: what follows the device's name, with its line end
    };

    /// Makes the devices known to the transport.
    DeviceRun(const Settings& settings, Console& console);

    /// The devices; none when the settings are wrong, which the console has shown.
    const std::vector<Device>& devices() const { return m_devices; }
    const Interruption& interruption() const { return m_interruption; }

    /// @p outcome, unless a failure that comes from a signal: that is called interrupted.
    Outcome settled(const Outcome& outcome) const;

    /// Does @p work for one device after the other and prints each outcome, in JSON @p failure for a device
    /// that failed. @return the code of the first that failed.
    ExitCode forEach(const std::function<Result(const QString& device)>& work, const QVariant& failure);
    /// The same for work that either is done or not.
    ExitCode forEach(const std::function<Outcome(const QString& device)>& work);

private:
    const Settings& m_settings;
    Console& m_console;
    std::vector<Device> m_devices;
    // After the devices: a signal at the question for the secret ends the process.
    const Interruption m_interruption{forgetDevices};
    const Krelm::Communicator::HttpDevice::ObserverHandle m_trace;
};

} // namespace TesselCtl

#endif
