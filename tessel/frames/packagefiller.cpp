// SPDX-License-Identifier: MIT
#include <tessel/frames/packagefiller.h>

#include <tessel/allurlresource.h>

namespace Tessel {

QString routePath(const char* routeKey)
{
    return routePath(QString(QLatin1String(routeKey)));
}

QString routePath(const QString& routeKey)
{
    return AllUrlResource::getUrl(routeKey);
}

} // namespace Tessel
