// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"

#include <tessel/allurlresource.h>

namespace TesselCtl {

ExitCode runRoutes(const Settings& settings, const QString& filter, Console& console)
{
    const QMap<QString, QString> routes = AllUrlResource::getInstance()->getMapAllUrl();
    QVariantList list;
    QList<QStringList> rows;
    for (auto route = routes.begin(); route != routes.end(); ++route) {
        if (!route.key().contains(filter, Qt::CaseInsensitive) &&
            !route.value().contains(filter, Qt::CaseInsensitive)) {
            continue;
        }
        rows << QStringList{route.key(), route.value()};
        list.append(
            QVariantMap{{QStringLiteral("key"), route.key()}, {QStringLiteral("path"), route.value()}});
    }
    console.out(settings.json ? QString::fromUtf8(toJson(list, true)) + QLatin1Char('\n') : aligned(rows));
    if (list.isEmpty()) {
        console.error(QStringLiteral("no route matches"));
    }
    return Done;
}

} // namespace TesselCtl
