// SPDX-License-Identifier: MIT
#include "tesselctl/requests/secret.h"

#include "tesselctl/terminal/interruption.h"
#include "tesselctl/terminal/printable.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/stat.h>
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

Expected<QString> contentOf(QFile& file)
{
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{
            QStringLiteral("%1 cannot be read: %2").arg(printable(file.fileName()), file.errorString())};
    }
    const int limit = 64 * 1024;
    return firstLine(file.read(limit));
}

Expected<QString> fromFile(const QString& name)
{
    QFile file(name);
    return contentOf(file);
}

Expected<QString> fromPrivateFile(const QString& name)
{
    QFile file(name);
    Expected<QString> content = contentOf(file);
    // Of the file that is open, not of one that took its name meanwhile.
    struct stat status
    {};
    if (content && (::fstat(file.handle(), &status) != 0 || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)) {
        return Error{QStringLiteral("%1 is open to other users; allow only yourself: chmod 600 %1")
                         .arg(printable(name))};
    }
    return content;
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
// @p remedy: what else there is.
Expected<QString> fromTerminal(const QString& question, const QString& remedy)
{
    QFile terminal(QStringLiteral("/dev/tty"));
    termios shown{};
    if (!terminal.open(QIODevice::ReadWrite | QIODevice::Unbuffered) ||
        tcgetattr(terminal.handle(), &shown) != 0) {
        return Error{QStringLiteral("no terminal to ask for the password or token; ") + remedy};
    }
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    QByteArray line;
    int signal = 0;
    {
        // A signal that ended the process here would leave a terminal that shows nothing of what is typed.
        const Interruption interruption;
        tcsetattr(terminal.handle(), TCSAFLUSH, &hidden);
        terminal.write(question.toLocal8Bit());
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
    Expected<QString> secret = file.isEmpty()
                                   ? fromTerminal(QStringLiteral("Password or token: "),
                                                  QStringLiteral("use --secret-env or --secret-file"))
                                   : fromFile(file);
    if (secret && secret->isEmpty()) {
        return Error{QStringLiteral("the password or token is empty")};
    }
    return secret;
}

Expected<QString> readPrivateSecret(const QString& device, const QString& file)
{
    Expected<QString> secret =
        file.isEmpty()
            ? fromTerminal(
                  QStringLiteral("Password or token of %1: ").arg(printable(device)),
                  QStringLiteral("name a \"secret-file\" of %1 in the devices file").arg(printable(device)))
            : fromPrivateFile(file);
    if (secret && secret->isEmpty()) {
        return Error{QStringLiteral("the password or token of %1 is empty").arg(printable(device))};
    }
    return secret;
}

Expected<void> checkPrivateSecret(const QString& file)
{
    const Expected<QString> secret = fromPrivateFile(file);
    if (!secret) {
        return Error{secret.error()};
    }
    return secret->isEmpty()
               ? Error{QStringLiteral("%1 has no password or token in its first line").arg(printable(file))}
               : Expected<void>();
}

} // namespace TesselCtl
