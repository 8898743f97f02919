// SPDX-License-Identifier: MIT
#include "tesselctl/commands/monitortext.h"

#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <QMap>
#include <QRegularExpression>

#include <algorithm>

namespace TesselCtl {

namespace {

// What a measurement's name holds, in the order of the columns.
QStringList measurements()
{
    return {QStringLiteral("fan"), QStringLiteral("temp"), QStringLiteral("volt")};
}

bool isMeasurement(const QString& key)
{
    const QStringList names = measurements();
    return std::any_of(names.begin(), names.end(),
                       [&](const QString& name) { return key.contains(name, Qt::CaseInsensitive); });
}

struct Range
{
    double least = 0;
    double most = 0;
};

bool isMap(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap;
}

bool isList(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantList;
}

bool isListOfMaps(const QVariant& value)
{
    const QVariantList list = value.toList();
    return isList(value) && !list.isEmpty() && std::all_of(list.begin(), list.end(), isMap);
}

// A quantity: a number, several, or several that have names.
QString quantity(const QVariant& value)
{
    QStringList words;
    if (isMap(value)) {
        const QVariantMap map = value.toMap();
        for (auto member = map.begin(); member != map.end(); ++member) {
            words << printable(member.key()) + QLatin1Char(' ') + formatInline(member.value());
        }
    } else if (isList(value)) {
        const QVariantList list = value.toList();
        for (const QVariant& element : list) {
            words << formatInline(element);
        }
    } else {
        words << formatInline(value);
    }
    return words.join(QStringLiteral(", "));
}

QString quantities(const QVariantMap& data, const QString& name)
{
    QStringList words;
    for (auto member = data.begin(); member != data.end(); ++member) {
        if (member.key().contains(name, Qt::CaseInsensitive) && !isListOfMaps(member.value())) {
            words << quantity(member.value());
        }
    }
    return words.join(QStringLiteral(", "));
}

// The ranges of what the elements measure.
QString ranges(const QVariantList& elements)
{
    QMap<QString, Range> found;
    for (const QVariant& element : elements) {
        const QVariantMap map = element.toMap();
        for (auto member = map.begin(); member != map.end(); ++member) {
            bool isNumber = false;
            const double value = member.value().toDouble(&isNumber);
            if (!isNumber || !isMeasurement(member.key())) {
                continue;
            }
            if (!found.contains(member.key())) {
                found.insert(member.key(), {value, value});
            }
            Range& range = found[member.key()];
            range = {std::min(range.least, value), std::max(range.most, value)};
        }
    }
    QString text = QString::number(elements.size());
    for (auto range = found.begin(); range != found.end(); ++range) {
        const QString least = QString::number(range->least);
        const QString most = QString::number(range->most);
        text += QStringLiteral(", %1 %2").arg(printable(range.key()), least);
        if (least != most) {
            text += QStringLiteral("..") + most;
        }
    }
    return text;
}

QString listsOfMaps(const QVariantMap& data)
{
    QStringList words;
    for (auto member = data.begin(); member != data.end(); ++member) {
        if (isListOfMaps(member.value())) {
            words << printable(member.key()) + QLatin1Char(' ') + ranges(member.value().toList());
        }
    }
    return words.join(QStringLiteral("; "));
}

} // namespace

QStringList monitorColumns()
{
    return {QStringLiteral("fans"), QStringLiteral("temperature"), QStringLiteral("voltage"),
            QStringLiteral("parts")};
}

QStringList monitorCells(const QVariantMap& data)
{
    QStringList cells;
    for (const QString& name : measurements()) {
        cells << quantities(data, name);
    }
    cells << listsOfMaps(data);
    cells.replaceInStrings(QRegularExpression(QStringLiteral("^$")), QStringLiteral("-"));
    return cells;
}

} // namespace TesselCtl
