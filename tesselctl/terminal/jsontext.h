// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_JSONTEXT_H
#define TESSELCTL_TERMINAL_JSONTEXT_H

#include <QByteArray>
#include <QString>
#include <QVariant>

namespace TesselCtl {

/// Reads a JSON text (RFC 8259); integers stay exact. @return whether it is one; otherwise @p problem says
/// what is wrong with it.
bool parseJson(const QByteArray& text, QVariant& value, QString& problem);

/// @p value as JSON in UTF-8: integers exact, members in the order of their names, control characters escaped
/// so that a terminal may show it. Without a newline at the end.
QByteArray toJson(const QVariant& value, bool indented);

} // namespace TesselCtl

#endif
