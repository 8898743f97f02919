// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_DEVICERUN_H
#define TESSELCTL_DEVICERUN_H

#include "tesselctl/commands/commandrun.h"

#include <QVariant>

#include <functional>

namespace TesselCtl {

/// A command that goes from device to device, waiting for each, and reports the outcome of each. SIGINT and
/// SIGTERM give up what is under way.
class DeviceRun : public CommandRun
{
public:
    /// The outcome of one device.
    struct Result
    {
        Outcome outcome;
        QVariant value; ///< for JSON
        QString text;   ///< for people: what follows the device's name, with its line end
    };

    /// Makes the devices known to the transport.
    DeviceRun(const Settings& settings, Console& console);

    /// @p outcome, or "interrupted" in place of a failure after a signal.
    Outcome settled(const Outcome& outcome) const;

    /// Does @p work for one device after the other and prints each outcome, in JSON @p failure for a device
    /// that failed. @return the code of the first failure.
    ExitCode forEach(const std::function<Result(const QString& device)>& work, const QVariant& failure);
    /// The same for work that has no value.
    ExitCode forEach(const std::function<Outcome(const QString& device)>& work);
};

} // namespace TesselCtl

#endif
