// SPDX-License-Identifier: MIT
#include "tesselctl/commands/cabinetmap.h"

#include "tesselctl/terminal/printable.h"

#include <QMap>

#include <algorithm>

namespace TesselCtl {

namespace {

/// The rows of one screen by their place: the cells of each by theirs.
using Rows = QMap<double, QMap<double, QString>>;

QString cellOf(const QVariantMap& cabinet)
{
    const bool isOffline =
        cabinet.contains(QStringLiteral("online")) && !cabinet.value(QStringLiteral("online")).toBool();
    return (isOffline ? QStringLiteral("!") : QString()) +
           printable(cabinet.value(QStringLiteral("id")).toString());
}

QString textOf(const Rows& rows)
{
    QMap<double, int> widths;
    for (const auto& row : rows) {
        for (auto cell = row.begin(); cell != row.end(); ++cell) {
            widths[cell.key()] = std::max(widths.value(cell.key(), 1), displayWidth(cell.value()));
        }
    }
    QString text;
    for (const auto& row : rows) {
        for (auto width = widths.begin(); width != widths.end(); ++width) {
            const QString cell = row.value(width.key(), QStringLiteral("."));
            text += QString(2 + width.value() - displayWidth(cell), QLatin1Char(' ')) + cell;
        }
        text += QLatin1Char('\n');
    }
    return text;
}

} // namespace

QString cabinetMap(const QVariantList& cabinets)
{
    QMap<QString, Rows> screens;
    for (const QVariant& one : cabinets) {
        const QVariantMap cabinet = one.toMap();
        Rows& rows = screens[cabinet.value(QStringLiteral("screen")).toString()];
        QString& cell = rows[cabinet.value(QStringLiteral("y")).toDouble()]
                            [cabinet.value(QStringLiteral("x")).toDouble()];
        cell = cell.isEmpty() ? cellOf(cabinet) : cell.section(QLatin1Char('+'), 0, 0) + QLatin1Char('+');
    }
    QString text;
    for (auto screen = screens.begin(); screen != screens.end(); ++screen) {
        text += QStringLiteral("screen %1\n").arg(printable(screen.key())) + textOf(screen.value());
    }
    return text.isEmpty() ? QStringLiteral("no cabinets\n") : text;
}

} // namespace TesselCtl
