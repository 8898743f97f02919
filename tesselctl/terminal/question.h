// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_QUESTION_H
#define TESSELCTL_TERMINAL_QUESTION_H

#include <QString>

namespace TesselCtl {

/// Whether somebody can be asked: standard input and standard error are a terminal.
bool canAsk();

/// Asks @p question on standard error, with " [y/N] ", and reads a line from standard input. Ask before there
/// are other threads: a signal ends the process. @return whether the answer is y or yes.
bool isAnsweredYes(const QString& question);

} // namespace TesselCtl

#endif
