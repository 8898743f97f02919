// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_RESUMECOMMAND_H
#define TESSELCTL_COMMANDS_RESUMECOMMAND_H

#include "tesselctl/settings.h"

#include <QString>
#include <QStringList>

namespace TesselCtl {

/// @p word as a shell takes it for one word; control characters are spelled out, as bash reads them.
QString shellWord(const QString& word);

/// The command that does @p command on the device @p device with everything else as @p settings say. It holds
/// no secret, only where to find it.
QString resumeCommand(const Settings& settings, const QString& device, const QStringList& command);

} // namespace TesselCtl

#endif
