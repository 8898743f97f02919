// SPDX-License-Identifier: MIT
#include <tessel/frames/request.h>

#include <tessel/allurlresource.h>

#include <QDebug>

namespace Tessel {

namespace {

void logSystemError(const CallSite& site, const char* message)
{
    qDebug() << "System Error: LogInfo:[FILE:" << site.file << ", LINE" << site.line << ", FUNC"
             << site.function << "]"
             << "->" << message;
}

} // namespace

QString routePath(const char* routeKey)
{
    return routePath(QString(QLatin1String(routeKey)));
}

QString routePath(const QString& routeKey)
{
    return AllUrlResource::getUrl(routeKey);
}

bool copyElement(const QList<QVariant>& list, const QString& id, QMap<QString, QVariant>& out)
{
    return copyElementWhere(
        list, [wanted = QVariant(id)](const QVariant& found) { return wanted == found; }, out);
}

bool instancesReady(const CallSite& site, const char* tableMessage)
{
    return instancesReady(site, tableMessage, AllUrlResource::getInstance(), HttpProxy::getInstance());
}

bool instancesReady(const CallSite& site, const char* tableMessage, const void* routeTable, const void* proxy)
{
    if (!routeTable) {
        logSystemError(site, tableMessage);
        return false;
    }
    if (!proxy) {
        logSystemError(site, "pHttpInstance is nullptr! error occurred");
        return false;
    }
    return true;
}

} // namespace Tessel
