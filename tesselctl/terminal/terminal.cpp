// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/terminal.h"

#include "tesselctl/terminal/printable.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace TesselCtl {

bool isTerminal(std::FILE* stream)
{
    return isatty(fileno(stream)) == 1 && qgetenv("TERM") != "dumb";
}

int terminalColumns(std::FILE* stream)
{
    winsize size{};
    const bool known = ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

int tableWidth()
{
    return isatty(fileno(stdout)) == 1 ? terminalColumns(stdout) : 0;
}

QString cutToColumns(const QString& line, int columns)
{
    if (displayWidth(line) <= columns) {
        return line;
    }
    QString cut = line.left(columns);
    while (!cut.isEmpty() && displayWidth(cut) > columns) {
        cut.chop(1);
    }
    if (!cut.isEmpty() && cut.at(cut.size() - 1).isHighSurrogate()) {
        cut.chop(1);
    }
    return cut;
}

QString repainted(int before, const QStringList& above, const QStringList& lines, int columns)
{
    QString text;
    if (before > 0) {
        text = QStringLiteral("\x1b[%1A\r\x1b[J").arg(before);
    }
    for (const QString& line : above) {
        text += line + QLatin1Char('\n');
    }
    for (const QString& line : lines) {
        text += cutToColumns(line, columns) + QLatin1Char('\n');
    }
    return text;
}

} // namespace TesselCtl
