// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_SECRET_H
#define TESSELCTL_REQUESTS_SECRET_H

#include "tesselctl/terminal/expected.h"

#include <QString>

namespace TesselCtl {

/// A password or token: from the environment variable @p variable, else from the first line of the file @p
/// file, else typed on the terminal without being shown. @return why there is none, an empty one included.
Expected<QString> readSecret(const QString& variable, const QString& file);

/// The password or token of the device @p device: from the first line of the file @p file, which nobody but
/// its owner may read or change; without a file, typed on the terminal.
Expected<QString> readPrivateSecret(const QString& device, const QString& file);

/// Whether readPrivateSecret() reads @p file, or why not.
Expected<void> checkPrivateSecret(const QString& file);

} // namespace TesselCtl

#endif
