// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATIONS_SOURCEFILE_H
#define TESSELCTL_OPERATIONS_SOURCEFILE_H

#include <QString>

namespace TesselCtl {

/// Why the file @p path cannot be sent as it is; empty when it can. Only regular files have a size to
/// announce; others, such as pipes, are not opened, since that may wait for ever.
QString sourceFileError(const QString& path);

} // namespace TesselCtl

#endif
