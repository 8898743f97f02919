// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_DEVICERESULTS_H
#define TESSELCTL_COMMANDS_DEVICERESULTS_H

#include "tesselctl/commands/devicerun.h"

namespace TesselCtl {

/// Prints what came of each device, in the format that the settings name. Used on one thread.
class DeviceResults
{
public:
    /// @p several: whether there is more than one device.
    DeviceResults(const Settings& settings, const DeviceRun::Kind& kind, bool several, Console& console);

    /// Prints the result of @p device, as the columns were chosen, or keeps it for the end; a failure is
    /// shown at once.
    void take(const QString& device, const DeviceRun::Result& unarranged);
    /// Prints what was kept, and how many failed. @return the code of the first failure.
    ExitCode finish();

private:
    DeviceRun::Result arrangedResult(DeviceRun::Result result) const;
    void takeText(const QString& device, const DeviceRun::Result& result);
    void takeObject(const QString& device, const DeviceRun::Result& result);
    void printTable();

    const Settings& m_settings;
    const DeviceRun::Kind& m_kind;
    const bool m_several;
    Console& m_console;
    QVariantMap m_byName;   ///< for --json
    QVariantList m_objects; ///< for JSON
    QVariantList m_rows;    ///< of the table
    bool m_isAnswered = false;
    int m_taken = 0;
    QStringList m_failed;
    int m_interrupted = 0;
    ExitCode m_code = Done;
};

} // namespace TesselCtl

#endif
