// SPDX-License-Identifier: MIT
#ifndef TESTS_TESSELCTL_WALLTEST_H
#define TESTS_TESSELCTL_WALLTEST_H

#include "program.h"

#include <simulator/simulator.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

/// Has @p path answer with @p status and @p body, so often; negative: until cleared.
inline Tessel::Simulator::Fault answer(const QString& path, int status, const QByteArray& body = {},
                                       int times = -1)
{
    Tessel::Simulator::Fault fault;
    fault.path = path;
    fault.status = status;
    fault.body = body;
    fault.times = times;
    return fault;
}

/// The writes that @p simulator has received: verb, path and body.
inline QStringList writesOf(const Tessel::Simulator::Simulator& simulator)
{
    QStringList writes;
    for (const Tessel::Simulator::RequestRecord& record : simulator.requests()) {
        if (record.method != "GET") {
            writes << QString("%1 %2 %3").arg(record.method, record.path, record.body);
        }
    }
    return writes;
}

/// A test of commands that move files from and to a wall: a controller in software and a directory, both
/// new for each test function that calls startWall().
class WallTest : public QObject
{
protected:
    void startWall()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        Tessel::Simulator::Options options;
        options.strict = true; // the commands send what the description of the device API says
        m_simulator = std::make_unique<Tessel::Simulator::Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    /// The options that name the wall "wall".
    QStringList device() const { return {"--device", "wall=" + m_simulator->address()}; }

    QString path(const QString& name) const { return m_directory->filePath(name); }
    void write(const QString& name, const QByteArray& content) const
    {
        QVERIFY(QDir().mkpath(QFileInfo(path(name)).path()));
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), qint64(content.size()));
    }
    QByteArray read(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Runs until standard error holds what @p pattern matches, or until the program ends or a minute passed.
    static bool tells(Program& program, const QString& pattern)
    {
        const QRegularExpression expected(pattern);
        const QDeadlineTimer deadline(60000);
        QByteArray told;
        program.process.setReadChannel(QProcess::StandardError);
        do {
            told += program.process.readAllStandardError();
            if (expected.match(QString::fromUtf8(told)).hasMatch()) {
                return true;
            }
        } while (program.process.waitForReadyRead(static_cast<int>(deadline.remainingTime())));
        return false;
    }

    /// All files in the directory, hidden ones too.
    QStringList files() const
    {
        return QDir(m_directory->path()).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    /// Runs the program where no file may grow beyond @p kibibytes, as on a disk that fills up.
    Run runOnFullDisk(const QStringList& arguments, int kibibytes) const
    {
        QProcess shell;
        shell.start(
            "bash",
            QStringList{"-c", QStringLiteral("trap '' XFSZ; ulimit -f %1; exec \"$0\" \"$@\"").arg(kibibytes),
                        TESSELCTL_PROGRAM} +
                arguments);
        shell.waitForFinished(60000);
        return {shell.exitStatus() == QProcess::NormalExit ? shell.exitCode() : -1,
                shell.readAllStandardOutput(), shell.readAllStandardError()};
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Tessel::Simulator::Simulator> m_simulator;
};

#endif
