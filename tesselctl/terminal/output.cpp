// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/output.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

#include <QVector>

#include <algorithm>
#include <numeric>

namespace TesselCtl {

namespace {

bool isMap(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap;
}

bool isText(const QVariant& value)
{
    return value.userType() == QMetaType::QString || value.userType() == QMetaType::QByteArray;
}

bool isNested(const QVariant& value)
{
    return isMap(value) || value.userType() == QMetaType::QVariantList;
}

bool isFlat(const QVariantMap& map)
{
    return std::none_of(map.begin(), map.end(), isNested);
}

bool isTable(const QVariantList& list)
{
    const QStringList keys = list.first().toMap().keys();
    return std::all_of(list.begin(), list.end(), [&keys](const QVariant& element) {
        return isMap(element) && isFlat(element.toMap()) && element.toMap().keys() == keys;
    });
}

QString table(const QVariantList& list, int width)
{
    const QStringList keys = list.first().toMap().keys();
    QStringList head;
    for (const QString& key : keys) {
        head << printable(key);
    }
    QList<QStringList> rows{head};
    for (const QVariant& element : list) {
        QStringList row;
        const QVariantMap map = element.toMap();
        for (const QVariant& value : map) {
            row << formatInline(value);
        }
        rows << row;
    }
    return aligned(rows, width);
}

// Narrower columns tell nothing any more; lines that are still too long stay so.
constexpr int leastWidth = 4;

/// Narrows the widest columns until a line takes no more than @p width.
void fit(QVector<int>& widths, int width)
{
    const auto lineWidth = [&widths] {
        return std::accumulate(widths.begin(), widths.end(), 2 * (int(widths.size()) - 1));
    };
    while (!widths.isEmpty() && lineWidth() > width) {
        int& widest = *std::max_element(widths.begin(), widths.end());
        if (widest <= leastWidth) {
            return;
        }
        --widest;
    }
}

QString abridged(const QString& cell, int width)
{
    return displayWidth(cell) <= width ? cell : cutToColumns(cell, width - 1) + QChar(0x2026);
}

QString keysAndValues(const QVariantMap& map)
{
    QList<QStringList> rows;
    for (auto member = map.begin(); member != map.end(); ++member) {
        rows << QStringList{printable(member.key()), formatInline(member.value())};
    }
    return aligned(rows);
}

QString lines(const QVariantList& list)
{
    QString text;
    for (const QVariant& element : list) {
        text += formatInline(element) + QLatin1Char('\n');
    }
    return text;
}

} // namespace

QString aligned(const QList<QStringList>& rows, int width)
{
    QVector<int> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (int i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    if (width > 0) {
        fit(widths, width);
    }
    QString text;
    for (const QStringList& row : rows) {
        QString line;
        for (int i = 0; i < row.size(); ++i) {
            const bool last = i + 1 == row.size();
            const QString cell = abridged(row[i], widths[i]);
            line += cell + QString(last ? 0 : widths[i] - displayWidth(cell) + 2, QLatin1Char(' '));
        }
        text += line + QLatin1Char('\n');
    }
    return text;
}

QString humanText(const QVariant& value, int width)
{
    const QVariantMap map = value.toMap();
    const QVariantList list = isText(value) ? QVariantList() : value.toList(); // of characters, with Qt 6
    if (isMap(value) && !map.isEmpty()) {
        return keysAndValues(map);
    }
    if (!list.isEmpty() && std::none_of(list.begin(), list.end(), isNested)) {
        return lines(list);
    }
    if (!list.isEmpty() && !list.first().toMap().isEmpty() && isTable(list)) {
        return table(list, width);
    }
    if (isNested(value)) {
        return QString::fromUtf8(toJson(value, true)) + QLatin1Char('\n');
    }
    return formatInline(value) + QLatin1Char('\n');
}

QString formatInline(const QVariant& value)
{
    if (isText(value)) {
        return printable(value.toString());
    }
    return QString::fromUtf8(toJson(value, false));
}

// QLocale::formattedDataSize() makes "1000.0 kB" of 999,999 bytes and "34 bytes" of 34.
QString humanSize(qint64 bytes)
{
    if (bytes < 1000) {
        return QStringLiteral("%1 B").arg(bytes);
    }
    double size = static_cast<double>(bytes) / 1000;
    for (const char* unit : {"kB", "MB"}) {
        if (size < 999.95) {
            return QStringLiteral("%1 %2").arg(size, 0, 'f', 1).arg(QLatin1String(unit));
        }
        size /= 1000;
    }
    return QStringLiteral("%1 GB").arg(size, 0, 'f', 1);
}

} // namespace TesselCtl
