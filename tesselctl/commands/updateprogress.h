// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_UPDATEPROGRESS_H
#define TESSELCTL_COMMANDS_UPDATEPROGRESS_H

#include <QString>
#include <QVariant>

namespace TesselCtl {

/// What a device says of a running update.
struct UpdateProgress
{
    double share = -1;   ///< between 0 and 1; below 0 when the device reports none
    QString state;       ///< its word for it, printable; may be empty
    bool failed = false; ///< its word says that the update failed
};

/// Reads the reply of a progress route: a member "progress" or "percent" from 0 to 100, a word "state" or
/// "status".
UpdateProgress updateProgressOf(const QVariantMap& reply);

} // namespace TesselCtl

#endif
