// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/table.h"

#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <algorithm>

namespace TesselCtl {

namespace {

const char* const descending = ":desc";

bool isNumber(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

/// The number in @p text at @p at, behind which @p at is then; leading zeros do not count.
QStringView digitsAt(const QString& text, int& at)
{
    int begin = at;
    while (at < text.size() && text[at].isDigit()) {
        ++at;
    }
    while (begin + 1 < at && text[begin] == QLatin1Char('0')) {
        ++begin;
    }
    return QStringView(text).mid(begin, at - begin);
}

/// Whether @p left comes before @p right, numbers within them by their size.
bool comesBefore(const QString& left, const QString& right)
{
    int i = 0;
    int j = 0;
    while (i < left.size() && j < right.size()) {
        if (left[i].isDigit() && right[j].isDigit()) {
            const QStringView one = digitsAt(left, i);
            const QStringView other = digitsAt(right, j);
            if (one.size() != other.size()) {
                return one.size() < other.size();
            }
            if (const int order = one.compare(other); order != 0) {
                return order < 0;
            }
        } else if (left[i] != right[j]) {
            return left[i] < right[j];
        } else {
            ++i;
            ++j;
        }
    }
    return left.size() - i < right.size() - j;
}

bool comesBefore(const QVariant& left, const QVariant& right)
{
    return isNumber(left) && isNumber(right) ? left.toDouble() < right.toDouble()
                                             : comesBefore(formatInline(left), formatInline(right));
}

} // namespace

bool isListOfMaps(const QVariant& value)
{
    if (value.userType() != QMetaType::QVariantList) {
        return false;
    }
    const QVariantList list = value.toList();
    return !list.isEmpty() && std::all_of(list.begin(), list.end(), [](const QVariant& element) {
        return element.userType() == QMetaType::QVariantMap;
    });
}

Expected<QVariantList> arranged(const QVariantList& table, const TableChoice& choice)
{
    const bool falling = choice.sort.endsWith(QLatin1String(descending));
    const QString key = falling ? choice.sort.chopped(static_cast<int>(qstrlen(descending))) : choice.sort;
    const QStringList known = columnsOf(table);
    for (const QString& column : choice.columns + (key.isEmpty() ? QStringList() : QStringList(key))) {
        if (!table.isEmpty() && !known.contains(column)) {
            return Error{QStringLiteral("no column \"%1\"; there are %2")
                             .arg(printable(column), printable(known.join(QStringLiteral(", "))))};
        }
    }
    QVariantList rows = table;
    if (!key.isEmpty()) {
        std::stable_sort(rows.begin(), rows.end(), [&](const QVariant& left, const QVariant& right) {
            const QVariant one = left.toMap().value(key);
            const QVariant other = right.toMap().value(key);
            return falling ? comesBefore(other, one) : comesBefore(one, other);
        });
    }
    if (choice.columns.isEmpty()) {
        return rows;
    }
    for (QVariant& row : rows) {
        QVariantMap chosen;
        const QVariantMap map = row.toMap();
        for (const QString& column : choice.columns) {
            chosen.insert(column, map.value(column));
        }
        row = chosen;
    }
    return rows;
}

QString tableText(const QVariantList& table, const QStringList& columns, int width)
{
    QStringList head;
    for (const QString& column : columns) {
        head << printable(column);
    }
    QList<QStringList> rows{head};
    for (const QVariant& element : table) {
        const QVariantMap map = element.toMap();
        QStringList row;
        for (const QString& column : columns) {
            const QVariant value = map.value(column);
            const QString text = formatInline(value);
            row << (!value.isValid() || text.isEmpty() ? QStringLiteral("-") : text);
        }
        rows << row;
    }
    return aligned(rows, width);
}

QStringList columnsOf(const QVariantList& table, const QStringList& first)
{
    QMap<QString, bool> names;
    for (const QVariant& row : table) {
        const QVariantMap map = row.toMap();
        for (auto member = map.begin(); member != map.end(); ++member) {
            names.insert(member.key(), true);
        }
    }
    QStringList columns;
    for (const QString& name : first) {
        if (names.remove(name) > 0) {
            columns << name;
        }
    }
    return columns + names.keys();
}

} // namespace TesselCtl
