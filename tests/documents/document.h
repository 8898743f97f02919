// SPDX-License-Identifier: MIT
#ifndef TESTS_DOCUMENT_H
#define TESTS_DOCUMENT_H

#include <sourcetree.h>

#include <QRegularExpression>
#include <QString>
#include <QStringList>

/// What the first group of @p pattern matches in @p text, in order.
inline QStringList matchesIn(const QString& text, const QString& pattern)
{
    QStringList found;
    for (auto it = QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
         it.hasNext();) {
        found << it.next().captured(1);
    }
    return found;
}

/// The rows of the table in @p page whose first heading is @p heading, each as its cells; without heading.
inline QList<QStringList> tableRows(const QString& page, const QString& heading)
{
    QList<QStringList> rows;
    bool within = false;
    for (const QString& line : page.split('\n')) {
        if (line.startsWith("| " + heading + " |")) {
            within = true;
        } else if (within && !line.startsWith('|')) {
            break;
        } else if (within && !line.startsWith("|--")) {
            QStringList cells = line.split('|');
            for (QString& cell : cells) {
                cell = cell.trimmed();
            }
            rows << cells.mid(1, cells.size() - 2);
        }
    }
    return rows;
}

/// The names in backticks of a table's cell.
inline QStringList namesIn(const QString& cell)
{
    return matchesIn(cell, QStringLiteral("`([^`]+)`"));
}

#endif
