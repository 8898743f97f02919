// SPDX-License-Identifier: MIT
#include "tesselctl/commands/changecommand.h"

#include <csignal>
#include <utility>

namespace TesselCtl {

namespace {

// A command that is slower than the changes does not make this program grow without end.
constexpr std::size_t mostWaiting = 1000;
constexpr int endTimeout = 2000; // milliseconds

/// The command gets signals as usual, which this program has blocked or ignores for itself.
void restoreSignals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
}

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
class Process : public QProcess
{
protected:
    void setupChildProcess() override { restoreSignals(); }
};
#else
class Process : public QProcess
{
public:
    Process() { setChildProcessModifier(restoreSignals); }
};
#endif

} // namespace

ChangeCommand::ChangeCommand(QString command, const QString& hidden, Console& console)
    : m_command(std::move(command))
    , m_environment(QProcessEnvironment::systemEnvironment())
    , m_console(console)
    , m_process(std::make_unique<Process>())
{
    if (!hidden.isEmpty()) {
        m_environment.remove(hidden);
    }
    m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    connect(m_process.get(), QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this] { onEnd(); });
    connect(m_process.get(), &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            onEnd();
        }
    });
}

ChangeCommand::~ChangeCommand()
{
    m_waiting.clear();
    if (m_isRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(endTimeout)) {
            m_process->kill();
            m_process->waitForFinished(endTimeout);
        }
    }
}

void ChangeCommand::run(const Change& change)
{
    if (m_waiting.size() >= mostWaiting) {
        m_console.error(QStringLiteral("--exec: the command is slower than the changes; one is left out"));
        return;
    }
    m_waiting.push_back(change);
    startNext();
}

void ChangeCommand::startNext()
{
    if (m_isRunning || m_waiting.empty()) {
        return;
    }
    const Change change = m_waiting.front();
    m_waiting.pop_front();
    QProcessEnvironment environment = m_environment;
    environment.insert(QStringLiteral("TESSEL_KIND"), change.kind);
    environment.insert(QStringLiteral("TESSEL_DEVICE"), change.device);
    environment.insert(QStringLiteral("TESSEL_SIGNAL"), change.signal);
    m_process->setProcessEnvironment(environment);
    m_isRunning = true;
    m_process->start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), m_command});
    m_process->write(change.payload + '\n');
    m_process->closeWriteChannel();
}

void ChangeCommand::onEnd()
{
    if (!std::exchange(m_isRunning, false)) {
        return;
    }
    if (m_process->error() == QProcess::FailedToStart) {
        m_console.error(QStringLiteral("--exec: ") + m_process->errorString());
    } else if (m_process->exitStatus() != QProcess::NormalExit || m_process->exitCode() != 0) {
        m_console.error(
            QStringLiteral("--exec: the command failed with exit code %1").arg(m_process->exitCode()));
    }
    startNext();
}

void ChangeCommand::finish()
{
    while (m_isRunning && m_process->waitForFinished(-1)) {
    }
}

} // namespace TesselCtl
