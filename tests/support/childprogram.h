// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_CHILDPROGRAM_H
#define TESTS_SUPPORT_CHILDPROGRAM_H

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QtTest>

/// Starts @p program with its output and errors merged. The test fails if it does not start.
inline void startProgram(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    QVERIFY(process.waitForStarted());
}

/// Waits for a program to end.
/// The test fails unless it ends on its own, successfully, and has
/// written exactly @p output.
inline void expectEnd(QProcess& process, const QByteArray& output)
{
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        QFAIL("the process hangs");
    }
    const QByteArray text = process.readAll();
    QVERIFY2(process.exitStatus() == QProcess::NormalExit, text.constData());
    QVERIFY2(process.exitCode() == 0, text.constData());
    QCOMPARE(text, output);
}

#endif
