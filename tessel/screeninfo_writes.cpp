// SPDX-License-Identifier: MIT
//
// ScreenInfo: writes of display and colour parameters.
#include <tessel/request.h>
#include <tessel/screeninfo.h>
#include <tessel/screenproperty.h>

using Tessel::PendingRequest;
using Tessel::ScreenProperty;

// What the cache takes is what was asked for, once the device accepted it.
bool ScreenInfo::writeThrough(const char* routeKey, const ScreenProperty& property, const QString& deviceKey,
                              const QString& screenId, const QMap<QString, QVariant>& body)
{
    return PendingRequest(routeKey)
        .placeHolder("id", screenId)
        .body(body)
        .writeThrough(deviceKey, this, [this, property, deviceKey, screenId, body] {
            const QMutexLocker lock(&m_propertyMutex);
            m_screenProperties[deviceKey][screenId][QLatin1String(property.cacheKey)] =
                property.read(body.value(QLatin1String(property.name)));
        });
}
