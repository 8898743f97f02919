// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_TERMINAL_H
#define TESSELCTL_TERMINAL_TERMINAL_H

#include <QString>
#include <QStringList>

#include <cstdio>

namespace TesselCtl {

/// Whether @p stream is a terminal whose lines can be written again.
bool isTerminal(std::FILE* stream);

/// How many columns the terminal of @p stream has; 80 when it does not say.
int terminalColumns(std::FILE* stream);

/// How wide tables may be on standard output: its columns if it is a terminal, else 0, which is no limit.
int tableWidth();

/// @p line, cut so that it takes no more than @p columns.
QString cutToColumns(const QString& line, int columns);

/// What to write so that @p lines take the place of the last @p before lines, which are those above the
/// cursor. @p above stays there for good, over the lines. Nothing is wider than @p columns.
QString repainted(int before, const QStringList& above, const QStringList& lines, int columns);

} // namespace TesselCtl

#endif
