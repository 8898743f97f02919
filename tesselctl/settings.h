// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_SETTINGS_H
#define TESSELCTL_SETTINGS_H

#include "tesselctl/requests/devices.h"
#include "tesselctl/terminal/format.h"
#include "tesselctl/terminal/table.h"

namespace TesselCtl {

/// The global options.
struct Settings
{
    DeviceSettings devices;
    bool json = false;
    QString output = formatNames().first(); ///< one of formatNames()
    TableChoice table;
    bool quiet = false;
    bool trace = false;

    int parallel = 16;     ///< devices at once
    double timeout = 0;    ///< seconds for each device; 0: the limits of what is done
    int retry = 0;         ///< how often a read that found no device is done again
    bool dryRun = false;   ///< writes are shown, not sent
    bool yes = false;      ///< what cannot be undone is done without a question
    bool failFast = false; ///< after the first failure, nothing more is done

    /// How lists and lines are written; --json is JSON for them.
    Format format() const { return json ? Format::Json : formatNamed(output); }
};

} // namespace TesselCtl

#endif
