// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_UPDATEWATCH_H
#define TESSELCTL_COMMANDS_UPDATEWATCH_H

#include "tesselctl/commands/devicerun.h"
#include "tesselctl/commands/updateprogress.h"
#include "tesselctl/terminal/progressbar.h"

#include <QMap>
#include <QString>
#include <QVariant>

#include <chrono>

namespace TesselCtl {

constexpr auto updatePollInterval = std::chrono::milliseconds(500);

/// Reads how far the update of a device is, of its controller or its receiving cards. @return how the reading
/// ended.
Outcome readUpdateProgress(const QString& device, bool controller, QMap<QString, QVariant>& reply);

/// Follows the update of one device and shows how far it is.
class UpdateWatch
{
public:
    UpdateWatch(const QString& device, bool controller, DeviceRun& run, ProgressBar& bar)
        : m_device(device)
        , m_controller(controller)
        , m_run(run)
        , m_bar(bar)
    {}

    /// Reads how far it is and shows what came. @return how the reading ended.
    Outcome look();

    /// Waits until the update ended; @p silence is how it ends when the device reports no progress.
    Outcome waitUntilDone(const Outcome& silence);

private:
    const QString m_device;
    const bool m_controller;
    DeviceRun& m_run;
    ProgressBar& m_bar;
    UpdateProgress m_latest;
};

} // namespace TesselCtl

#endif
