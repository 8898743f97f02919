// SPDX-License-Identifier: MIT
#include "peerprocess.h"

#include <QFile>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A process that has just begun to serve may not listen to signals yet: they are repeated.
constexpr int signalTimeout = 3000;

// Runs a command in a session of its own, tells its process id before the command tells anything, and ends
// the whole session when the command has ended or nobody holds the other end of standard input any more.
const char keeper[] = "exec 3<&0\n"
                      "setsid /bin/sh -c 'echo \"keeps $$.\"; exec \"$@\"' peer \"$@\" 3<&- </dev/null &\n"
                      "peer=$!\n"
                      "{ read -r nothing; kill -KILL -$peer; } <&3 2>/dev/null &\n"
                      "guard=$!\n"
                      "exec 3<&-\n"
                      "wait $peer\n"
                      "code=$?\n"
                      "kill $guard\n"
                      "kill -KILL -$peer 2>/dev/null\n"
                      "exit $code\n";

bool isFree(quint16 port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const bool free = ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(socket);
    return free;
}

} // namespace

QString PeerProcess::find(const QString& program)
{
    const QString installed =
        QStandardPaths::findExecutable(program, {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin"),
                                                 QStringLiteral("/sbin"), QStringLiteral("/bin")});
    return installed.isEmpty() ? QStandardPaths::findExecutable(program) : installed;
}

PeerProcess::~PeerProcess()
{
    crash();
}

bool PeerProcess::write(const QString& name, const QByteArray& text) const
{
    QFile file(m_directory.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

bool PeerProcess::start(const QString& program, const QStringList& arguments, const QByteArray& ready)
{
    crash();
    m_output.clear();
    m_seen = 0;
    m_keeper.setProcessChannelMode(QProcess::MergedChannels);
    m_keeper.setWorkingDirectory(m_directory.path());
    m_keeper.start(QStringLiteral("/bin/sh"), QStringList{QStringLiteral("-c"), QString::fromLatin1(keeper),
                                                          QStringLiteral("keeper"), program} +
                                                  arguments);
    static const QByteArray tells = QByteArrayLiteral("keeps ");
    if (!waitForOutput(".\n")) {
        return false;
    }
    const int at = m_output.indexOf(tells) + tells.size();
    m_peer = m_output.mid(at, m_output.indexOf('.', at) - at).toLongLong();
    m_seen = 0;
    return m_peer > 0 && waitForOutput(ready);
}

bool PeerProcess::readMore()
{
    const QByteArray more = m_keeper.readAll();
    m_output += more;
    return !more.isEmpty();
}

bool PeerProcess::waitForOutput(const QByteArray& text, const QDeadlineTimer& deadline)
{
    while (true) {
        readMore();
        const int at = m_output.indexOf(text, m_seen);
        if (at >= 0) {
            m_seen = at + text.size();
            return true;
        }
        if (!m_keeper.waitForReadyRead(static_cast<int>(deadline.remainingTime())) && !readMore()) {
            return false;
        }
    }
}

void PeerProcess::send(int signal) const
{
    if (m_peer > 0 && m_keeper.state() == QProcess::Running) {
        ::kill(static_cast<pid_t>(m_peer), signal);
    }
}

bool PeerProcess::signalUntilOutput(int signal, const QByteArray& text)
{
    const QDeadlineTimer deadline(timeout);
    do {
        send(signal);
        if (waitForOutput(text, QDeadlineTimer(signalTimeout))) {
            return true;
        }
    } while (m_keeper.state() == QProcess::Running && !deadline.hasExpired());
    return false;
}

bool PeerProcess::signalUntilEnd(int signal)
{
    const QDeadlineTimer deadline(timeout);
    do {
        send(signal);
        if (waitForEnd(signalTimeout)) {
            return true;
        }
    } while (!deadline.hasExpired());
    return false;
}

bool PeerProcess::waitForEnd(int milliseconds)
{
    const bool ended = m_keeper.state() == QProcess::NotRunning || m_keeper.waitForFinished(milliseconds);
    readMore();
    if (ended) {
        m_peer = 0;
    }
    return ended;
}

bool PeerProcess::crash()
{
    if (m_keeper.state() == QProcess::NotRunning) {
        return true;
    }
    m_keeper.closeWriteChannel(); // the keeper then ends all
    if (m_peer > 0) {
        ::kill(static_cast<pid_t>(-m_peer), SIGKILL);
    }
    return waitForEnd(timeout);
}

QList<quint16> freePorts(int count)
{
    // Those below the range from which the system takes ports by itself.
    constexpr quint16 first = 15000;
    constexpr quint16 last = 32767;
    QList<quint16> ports;
    while (ports.size() < count) {
        const auto port = static_cast<quint16>(QRandomGenerator::global()->bounded(first, last + 1));
        if (!ports.contains(port) && isFree(port)) {
            ports << port;
        }
    }
    return ports;
}

bool arePeersRequired()
{
    return qEnvironmentVariableIntValue("TESSEL_REQUIRE_PEERS") > 0;
}
