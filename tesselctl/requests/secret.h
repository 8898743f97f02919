// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_SECRET_H
#define TESSELCTL_REQUESTS_SECRET_H

#include "tesselctl/terminal/expected.h"

#include <QString>

namespace TesselCtl {

/// A password or token: from the environment variable @p variable, else from the first line of the file @p
/// file, else typed on the terminal without being shown. @return why there is none, an empty one included.
Expected<QString> readSecret(const QString& variable, const QString& file);

} // namespace TesselCtl

#endif
