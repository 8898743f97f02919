// SPDX-License-Identifier: MIT
#include "tesselctl/requests/secret.h"

#include "tesselctl/terminal/interruption.h"
#include "tesselctl/terminal/printable.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace TesselCtl {

namespace {

QString firstLine(const QByteArray& text)
{
    QByteArray line = text.left(text.indexOf('\n'));
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

Expected<QString> fromFile(const QString& name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{QStringLiteral("%1 cannot be read: %2").arg(printable(name), file.errorString())};
    }
    const int limit = 64 * 1024;
    return firstLine(file.read(limit));
}

/// Waits until @p terminal can be read. @return 0, or the signal that came instead.
int signalWhileWaiting(const QFile& terminal, const Interruption& interruption)
{
    pollfd awaited[] = {{terminal.handle(), POLLIN, 0}, {interruption.descriptor(), POLLIN, 0}};
    while (::poll(awaited, 2, -1) < 0 && errno == EINTR) {
    }
    return interruption.signal();
}

// readpassphrase() does not end when the signal comes between its question and its read.
Expected<QString> fromTerminal()
{
    QFile terminal(QStringLiteral("/dev/tty"));
    termios shown{};
    if (!terminal.open(QIODevice::ReadWrite | QIODevice::Unbuffered) ||
        tcgetattr(terminal.handle(), &shown) != 0) {
        return Error{QStringLiteral(
            "no terminal to ask for the password or token; use --secret-env or --secret-file")};
    }
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    QByteArray line;
    int signal = 0;
    {
        // A signal that ended the process here would leave a terminal that shows nothing of what is typed.
        const Interruption interruption;
        tcsetattr(terminal.handle(), TCSAFLUSH, &hidden);
        terminal.write("Password or token: ");
        signal = signalWhileWaiting(terminal, interruption);
        if (signal == 0) {
            line = terminal.readLine();
        }
        tcsetattr(terminal.handle(), TCSAFLUSH, &shown);
        terminal.write("\n");
    }
    if (signal != 0) {
        ::raise(signal);
        return Error{QStringLiteral("interrupted")};
    }
    return firstLine(line);
}

} // namespace

Expected<QString> readSecret(const QString& variable, const QString& file)
{
    if (!variable.isEmpty()) {
        const QString secret = qEnvironmentVariable(variable.toLocal8Bit().constData());
        if (secret.isEmpty()) {
            return Error{QStringLiteral("the environment variable %1 is not set or is empty")
                             .arg(printable(variable))};
        }
        return secret;
    }
    Expected<QString> secret = file.isEmpty() ? fromTerminal() : fromFile(file);
    if (secret && secret->isEmpty()) {
        return Error{QStringLiteral("the password or token is empty")};
    }
    return secret;
}

} // namespace TesselCtl
