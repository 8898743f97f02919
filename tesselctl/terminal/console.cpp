// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/console.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace TesselCtl {

void Console::out(const QString& text)
{
    if (m_lost || m_quiet) {
        return;
    }
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0) {
        return;
    }
    const int reason = errno;
    m_lost = true;
    if (reason != EPIPE) {
        error(QStringLiteral("standard output: ") + QString::fromLocal8Bit(std::strerror(reason)));
    }
}

void Console::error(const QString& message)
{
    trace(QStringLiteral("tesselctl: ") + message);
}

void Console::info(const QString& line)
{
    if (!m_quiet) {
        trace(line);
    }
}

void Console::trace(const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
}

bool Console::hasColour(std::FILE* stream)
{
    return isatty(fileno(stream)) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR") &&
           qgetenv("TERM") != "dumb";
}

} // namespace TesselCtl
