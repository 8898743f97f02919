// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <tessel/allurlresource.h>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Examples:
  tesselctl routes chips
  tesselctl routes /device/cabinet)";

/// Lists the routes whose key or path holds @p filter, upper and lower case being the same.
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
    console.out(settings.format() == Format::Table ? aligned(rows) : formatted(list, settings.format()));
    if (list.isEmpty()) {
        console.error(QStringLiteral("no route matches \"%1\"").arg(printable(filter)));
    }
    return Done;
}

} // namespace

void addRoutes(CommandParser& parser)
{
    const auto filter = std::make_shared<QString>();
    CommandParser routes =
        parser.addCommand("routes", QStringLiteral("list the routes of the device API with key and path"));
    routes.add("FILTER", *filter, QStringLiteral("list only what contains this text"));
    routes.setFooter(QString::fromUtf8(footer));
    routes.setRun([filter](const Settings& settings, Console& console) {
        return runRoutes(settings, *filter, console);
    });
}

} // namespace TesselCtl
