// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_CHANGECOMMAND_H
#define TESSELCTL_COMMANDS_CHANGECOMMAND_H

#include "tesselctl/terminal/console.h"

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <deque>
#include <memory>

namespace TesselCtl {

/// What a change of a device tells a command.
struct Change
{
    QString kind;   ///< event, signal, connection, logout or devices
    QString device; ///< empty if it names none
    QString signal; ///< empty for what is no signal
    QByteArray payload;
};

/// Runs a command of the user for each change, one after the other, by the shell: the payload is on its
/// standard input, the rest in the variables TESSEL_KIND, TESSEL_DEVICE and TESSEL_SIGNAL. Used on the
/// application's thread, whose event loop starts the next one.
class ChangeCommand : public QObject
{
public:
    /// @p command is a line for the shell; @p hidden a variable of the environment that it does not get, if
    /// not empty.
    ChangeCommand(QString command, const QString& hidden, Console& console);
    /// Ends what still runs.
    ~ChangeCommand() override;

    /// Runs the command for @p change when those before it have ended.
    void run(const Change& change);
    /// Waits until all have ended.
    void finish();

private:
    void startNext();
    void onEnd();

    const QString m_command;
    QProcessEnvironment m_environment;
    Console& m_console;
    std::deque<Change> m_waiting;
    std::unique_ptr<QProcess> m_process;
    bool m_isRunning = false;
    Q_DISABLE_COPY_MOVE(ChangeCommand)
};

} // namespace TesselCtl

#endif
