// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_OUTPUT_H
#define TESSELCTL_TERMINAL_OUTPUT_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace TesselCtl {

/// Lines of columns under each other, the last column as long as it is.
QString aligned(const QList<QStringList>& rows);

/// @p value for people, every line ended: a map as aligned lines of key and value, a list of flat maps with
/// the same keys as a table, a list of plain values as lines, anything else as JSON.
QString humanText(const QVariant& value);

/// One line for a value inside something else: plain values as they are, maps and lists as JSON.
QString formatInline(const QVariant& value);

/// Bytes for people: `0 B`, `1.4 kB`, `3.0 MB`.
QString humanSize(qint64 bytes);

} // namespace TesselCtl

#endif
