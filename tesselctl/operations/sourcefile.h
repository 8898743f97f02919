// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATIONS_SOURCEFILE_H
#define TESSELCTL_OPERATIONS_SOURCEFILE_H

#include "tesselctl/terminal/expected.h"

#include <QString>

namespace TesselCtl {

/// Whether the file @p path can be sent as it is. Only regular files have a size to announce; others, such as
/// pipes, are not opened, since that may wait for ever.
Expected<void> checkSourceFile(const QString& path);

} // namespace TesselCtl

#endif
