// SPDX-License-Identifier: MIT
#include "tesselctl/operations/sourcefile.h"

#include "tesselctl/terminal/printable.h"

#include <QFile>
#include <QFileInfo>

namespace TesselCtl {

Expected<void> checkSourceFile(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir()) {
        return Error{QStringLiteral("%1: is a directory").arg(printable(path))};
    }
    if (info.exists() && !info.isFile()) {
        return Error{QStringLiteral("%1: not a regular file").arg(printable(path))};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{QStringLiteral("%1: %2").arg(printable(path), file.errorString())};
    }
    return {};
}

} // namespace TesselCtl
