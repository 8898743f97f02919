// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_PRINTABLE_H
#define TESSELCTL_TERMINAL_PRINTABLE_H

#include <QString>

namespace TesselCtl {

/// @p text with everything that could steer a terminal or hide from its reader (control and format
/// characters, line separators) written as JSON writes it: `\n`, `\u001b`. So whatever a device sends stays
/// one harmless line.
QString printable(const QString& text);

/// The same, but line feeds stay.
QString printableLines(const QString& text);

/// How many columns @p text takes on a terminal.
int displayWidth(const QString& text);

} // namespace TesselCtl

#endif
