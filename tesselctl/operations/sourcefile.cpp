// SPDX-License-Identifier: MIT
#include "tesselctl/operations/sourcefile.h"

#include <QFile>
#include <QFileInfo>

namespace TesselCtl {

QString sourceFileError(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir()) {
        return QStringLiteral("is a directory");
    }
    if (info.exists() && !info.isFile()) {
        return QStringLiteral("is no regular file");
    }
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString() : file.errorString();
}

} // namespace TesselCtl
