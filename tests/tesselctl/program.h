// SPDX-License-Identifier: MIT
#ifndef TESTS_TESSELCTL_PROGRAM_H
#define TESTS_TESSELCTL_PROGRAM_H

#include <simulator/simulator.h>

#include <QJsonDocument>
#include <QProcess>

/// What a run of the program left behind.
struct Run
{
    int code = -1;
    QByteArray out;
    QByteArray err;

    QJsonDocument json() const { return QJsonDocument::fromJson(out); }
};

/// A running tesselctl; killed when it outlives its test.
class Program
{
public:
    explicit Program(const QStringList& arguments) { process.start(TESSELCTL_PROGRAM, arguments); }
    ~Program()
    {
        process.kill();
        process.waitForFinished();
    }

    Run finish()
    {
        Run run;
        const int patience = 60000;
        if (process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit)
            run.code = process.exitCode();
        run.out = process.readAllStandardOutput();
        run.err = process.readAllStandardError();
        return run;
    }

    QProcess process;

private:
    Q_DISABLE_COPY_MOVE(Program)
};

inline Run run(const QStringList& arguments)
{
    Program program(arguments);
    program.process.closeWriteChannel();
    return program.finish();
}

/// An address where nobody listens.
inline QString closedAddress()
{
    Tessel::Simulator::Simulator gone;
    gone.start();
    return gone.address();
}

#endif
