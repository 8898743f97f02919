// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include <childprogram.h>

#include <QtTest>

using Mode = MisbehavingServer::Mode;

class TestExit : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aProcessEndsCleanlyWithRequestsInFlight_data();
    void aProcessEndsCleanlyWithRequestsInFlight();
};

void TestExit::aProcessEndsCleanlyWithRequestsInFlight_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("the application returns") << QStringLiteral("return") << QByteArray();
    QTest::newRow("a handler calls exit") << QStringLiteral("exit") << QByteArray();
    QTest::newRow("an observer of a request that blocks calls exit")
        << QStringLiteral("blocking observer") << QByteArray();
    QTest::newRow("an observer of another request calls exit") << QStringLiteral("observer") << QByteArray();
    QTest::newRow("there never was an application")
        << QStringLiteral("without an application") << QByteArray("state 0\n");
    QTest::newRow("threads are blocked") << QStringLiteral("blocked threads") << QByteArray("aborted 8\n");
    QByteArray called;
    for (int i = 0; i < 100; ++i) {
        called += "called\n";
    }
    QTest::newRow("another application follows")
        << QStringLiteral("a second application") << QByteArray("between 10\nstate 0\n" + called);
}

void TestExit::aProcessEndsCleanlyWithRequestsInFlight()
{
    QFETCH(QString, way);
    QFETCH(QByteArray, output);
    MisbehavingServer stalled(Mode::Stall);
    MisbehavingServer well;
    QProcess process;
    startProgram(process, QStringLiteral(EXITINFLIGHT), {way, stalled.address(), well.address()});
    if (!QTest::currentTestFailed()) {
        expectEnd(process, output);
    }
}

QTEST_GUILESS_MAIN(TestExit)
#include "tst_exit.moc"
