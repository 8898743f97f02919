// SPDX-License-Identifier: MIT
#ifndef TESTS_TESSELCTL_PROGRAM_H
#define TESTS_TESSELCTL_PROGRAM_H

#include <closedport.h>

#include <QJsonDocument>
#include <QProcess>

#include <csignal>

/// The result of running the program.
struct Run
{
    int code = -1; ///< -1: it did not end by itself
    QByteArray out;
    QByteArray err;

    /// What was printed; null unless it is one JSON text.
    QJsonDocument json() const
    {
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(out, &error);
        return error.error == QJsonParseError::NoError ? document : QJsonDocument();
    }
};

/// A running tesselctl; killed when it outlives its test.
class Program
{
public:
    /// @p environment holds NAME=VALUE beyond what the test itself has.
    explicit Program(const QStringList& arguments, const QStringList& environment = {})
    {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        // The devices of whoever runs the tests are not theirs.
        variables.insert("XDG_CONFIG_HOME", "/dev/null");
        variables.remove("TESSELCTL_DEVICES");
        for (const QString& entry : environment) {
            variables.insert(entry.section('=', 0, 0), entry.section('=', 1));
        }
        process.setProcessEnvironment(variables);
        process.start(TESSELCTL_PROGRAM, arguments);
    }
    ~Program()
    {
        process.kill();
        process.waitForFinished();
    }

    void send(int signal) const { ::kill(static_cast<pid_t>(process.processId()), signal); }

    Run finish()
    {
        Run run;
        const int timeout = 60000;
        if (process.waitForFinished(timeout) && process.exitStatus() == QProcess::NormalExit) {
            run.code = process.exitCode();
        }
        run.out = process.readAllStandardOutput();
        run.err = process.readAllStandardError();
        return run;
    }

    /// Everything on standard output so far.
    QByteArray out()
    {
        m_out += process.readAllStandardOutput();
        return m_out;
    }
    /// Whether a line with @p text came, as a whole.
    bool printed(const QByteArray& text)
    {
        const int at = out().indexOf(text);
        return at >= 0 && m_out.indexOf('\n', at) >= 0;
    }

    QProcess process;

private:
    QByteArray m_out;
    Q_DISABLE_COPY_MOVE(Program)
};

inline Run run(const QStringList& arguments, const QByteArray& input = {},
               const QStringList& environment = {})
{
    Program program(arguments, environment);
    program.process.write(input);
    program.process.closeWriteChannel();
    return program.finish();
}

/// An address on which nothing listens.
inline QString closedAddress()
{
    static const ClosedPort closed;
    return closed.address();
}

#endif
