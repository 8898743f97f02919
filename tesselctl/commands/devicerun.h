// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_DEVICERUN_H
#define TESSELCTL_COMMANDS_DEVICERUN_H

#include "tesselctl/commands/commandrun.h"

#include <QVariant>

#include <functional>
#include <optional>

namespace TesselCtl {

/// A command that does something for each device and reports the outcome of each, in the order of the
/// devices. Several devices have a process each, as many at once as the settings say. SIGINT and SIGTERM give
/// up what is under way.
class DeviceRun : public CommandRun
{
public:
    /// The outcome of one device.
    struct Result
    {
        Outcome outcome;
        std::optional<QVariant> value; ///< for programs; none where there is no answer
        QString text;                  ///< for people: what follows the device's name, with its line end
        bool isSkipped = false;        ///< nothing was done, since another device failed
    };
    using Work = std::function<Result(const QString& device)>;

    /// What results are, and how they are shown.
    struct Kind
    {
        bool isApart = false;     ///< a single device has a process of its own, too
        bool isRead = false;      ///< so that it may be done again
        bool isBareAlone = false; ///< a single device is not named
        bool isTable = false;     ///< the values are lists of maps, which together are one table
        QStringList columns = {}; ///< the columns of that table that come first
        QVariant failure = {};    ///< stands with --json in the place of a value
    };

    /// Makes the devices known to the transport.
    DeviceRun(const Settings& settings, Console& console);

    /// @p outcome, or "interrupted" in place of a failure after a signal.
    Outcome settled(const Outcome& outcome) const;

    /// Does @p work for each device and prints each outcome. @return the code of the first failure.
    ExitCode forEach(const Work& work, const Kind& kind);
    /// Does @p work for each device and hands each result to @p take, in the order of the devices; without
    /// any, which the console has shown, it does nothing.
    void collect(const Work& work, const Kind& kind,
                 const std::function<void(const QString& device, const Result& result)>& take);
    /// The same as the first for work that has no value. With --dry-run, what it would send is shown instead,
    /// unless it is a read.
    ExitCode forEach(const std::function<Outcome(const QString& device)>& work, bool isRead = false);

    /// Asks on a terminal whether to do what cannot be undone, such as "clear the tables"; without a
    /// terminal, or with --yes or --dry-run, nobody is asked. @return whether to do it.
    bool mayDo(const QString& what) const;

    /// Signals and traces of a command that does its work itself, for one device. @return whether there is
    /// one; otherwise the console has shown why not, with @p what: what can be done with one device only.
    bool beginAlone(const QString& what);

private:
    Result doFor(const QString& device, const Work& work, const Kind& kind);
    Result doOnce(const QString& device, const Work& work) const;
};

} // namespace TesselCtl

#endif
