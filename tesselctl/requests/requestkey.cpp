// SPDX-License-Identifier: MIT
#include "tesselctl/requests/requestkey.h"

#include <QUrl>

namespace TesselCtl {

// The transport masks what stands before an @ in a device's key, and its control characters.
RequestKey requestKey(const QString& device, const QString& path)
{
    QString name = device.mid(device.lastIndexOf(QLatin1Char('@')) + 1);
    for (QChar& character : name) {
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char('?');
    }
    return {name, path};
}

RequestKey requestKey(const QString& device, const QByteArray& encodedPath)
{
    return requestKey(device, QUrl::fromPercentEncoding(encodedPath));
}

} // namespace TesselCtl
