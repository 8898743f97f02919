// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_CONSOLE_H
#define TESSELCTL_TERMINAL_CONSOLE_H

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdio>

namespace TesselCtl {

/// Data on standard output, everything else on standard error. May be used from any thread.
class Console
{
public:
    /// Writes @p text at once. Once a write failed, because the reader has gone or the disk is full, nothing
    /// more is written.
    void out(const QString& text);
    /// Writes "tesselctl: ", @p message and a line end on standard error.
    void error(const QString& message);
    /// Writes @p line and a line end on standard error, unless this is quiet.
    void info(const QString& line);
    /// The same, also when this is quiet.
    void trace(const QString& line);
    /// From now on only errors, and the lines of a trace, are written.
    void beQuiet() { m_quiet = true; }
    bool isQuiet() const { return m_quiet; }
    /// Says that lines may come at any time, from a trace: nothing can stay in its place among them.
    void expectTrace() { m_traced = true; }
    bool isTraced() const { return m_traced; }
    /// Whether data was lost. The error was shown, unless a reader simply closed a pipe.
    bool dataLost() const { return m_lost; }

    /// Whether @p stream shows colour: a terminal, unless the environment variable NO_COLOR is set
    /// (no-color.org) or TERM is "dumb".
    static bool hasColour(std::FILE* stream);

private:
    std::atomic<bool> m_lost{false};
    std::atomic<bool> m_traced{false};
    std::atomic<bool> m_quiet{false};
};

} // namespace TesselCtl

#endif
