// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_FORMAT_H
#define TESSELCTL_TERMINAL_FORMAT_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace TesselCtl {

/// How results are written: for people, or for programs.
enum class Format { Table, Json, JsonLines, Yaml };

/// What --output takes, in the order of Format.
QStringList formatNames();
/// The format called @p name, which is one of formatNames().
Format formatNamed(const QString& name);

/// @p value in @p format, every line ended: JSON indented, in lines each element of a list on its own, YAML
/// as one node. For people it is JSON, too.
QString formatted(const QVariant& value, Format format);

/// @p value as YAML 1.2 in block style, every line ended: texts in quotation marks, so that none is taken for
/// anything else; members in the order of their names; control characters escaped.
QByteArray toYaml(const QVariant& value);

} // namespace TesselCtl

#endif
