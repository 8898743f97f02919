// SPDX-License-Identifier: MIT
#include "commands.h"

#include "tesselctl/jsontext.h"
#include "tesselctl/operationlist.h"

namespace TesselCtl {

ExitCode runOperations(const Settings& settings, const QString& filter, Console& console)
{
    QVariantList list;
    QString lines;
    for (const Operation& operation : allOperations()) {
        if (!operation.usage().contains(filter, Qt::CaseInsensitive))
            continue;
        lines += operation.usage() + QLatin1Char('\n');
        list.append(QVariantMap{{QStringLiteral("operation"), operation.qualifiedName()},
                                {QStringLiteral("usage"), operation.usage()}});
    }
    console.data(settings.json ? QString::fromUtf8(toJson(list, true)) + QLatin1Char('\n') : lines);
    if (list.isEmpty())
        console.complain(QStringLiteral("no operation matches"));
    return Done;
}

} // namespace TesselCtl
