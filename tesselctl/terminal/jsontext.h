// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_JSONTEXT_H
#define TESSELCTL_TERMINAL_JSONTEXT_H

#include "tesselctl/terminal/expected.h"

#include <QByteArray>
#include <QVariant>

namespace TesselCtl {

/// Reads a JSON text (RFC 8259); integers stay exact. @return its value, or what is wrong with it.
Expected<QVariant> parseJson(const QByteArray& text);

/// @p value as JSON in UTF-8: integers exact, members in the order of their names, control characters escaped
/// so that a terminal may show it. Without a newline at the end.
QByteArray toJson(const QVariant& value, bool indented);

} // namespace TesselCtl

#endif
