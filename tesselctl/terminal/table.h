// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_TABLE_H
#define TESSELCTL_TERMINAL_TABLE_H

#include "tesselctl/terminal/expected.h"

#include <QString>
#include <QStringList>
#include <QVariant>

namespace TesselCtl {

/// Which columns of a table are shown, and in which order its rows are.
struct TableChoice
{
    QStringList columns; ///< the names of members; empty for all or the usual ones
    QString sort; ///< the name of a member, with ":desc" for the largest first; empty to keep the order

    bool isMade() const { return !columns.isEmpty() || !sort.isEmpty(); }
};

/// Whether @p value is a list of maps, hence a table.
bool isListOfMaps(const QVariant& value);

/// The rows of @p table, a list of maps, sorted and with the chosen members only; or the column that no row
/// has. Numbers are sorted as numbers, and parts of texts that are numbers as well: cabinet 10 follows 9.
Expected<QVariantList> arranged(const QVariantList& table, const TableChoice& choice);

/// @p table, a list of maps, as text: a line with the names of @p columns, then a line for each row. What a
/// row lacks is a dash. Cut to @p width columns of the terminal; 0: as wide as it is.
QString tableText(const QVariantList& table, const QStringList& columns, int width);

/// The members of all rows: those of @p first that there are, in that order, then the others by name.
QStringList columnsOf(const QVariantList& table, const QStringList& first = {});

} // namespace TesselCtl

#endif
