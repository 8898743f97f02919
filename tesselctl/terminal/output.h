// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_OUTPUT_H
#define TESSELCTL_TERMINAL_OUTPUT_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace TesselCtl {

/// Lines of columns under each other, the last column as long as it is. With a @p width, the widest columns
/// are cut until each line takes no more.
QString aligned(const QList<QStringList>& rows, int width = 0);

/// @p value for people, every line ended: a map as aligned lines of key and value, a list of flat maps with
/// the same keys as a table, a list of plain values as lines, anything else as JSON. Tables are cut to @p
/// width columns of the terminal; 0: as wide as they are.
QString humanText(const QVariant& value, int width = 0);

/// One line for a value inside something else: plain values as they are, maps and lists as JSON.
QString formatInline(const QVariant& value);

/// Bytes for people: `0 B`, `1.4 kB`, `3.0 MB`.
QString humanSize(qint64 bytes);

} // namespace TesselCtl

#endif
