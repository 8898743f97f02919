// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"
#include "tlsserver.h"

#include <childprogram.h>

#include <QtTest>

using Mode = MisbehavingServer::Mode;

class TestExit : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aProcessEndsCleanlyWithRequestsInFlight_data();
    void aProcessEndsCleanlyWithRequestsInFlight();
    void aProcessEndsCleanlyWithRequestsThatWait_data();
    void aProcessEndsCleanlyWithRequestsThatWait();
    void aProcessEndsCleanlyWithAConnectionOverTls();

private:
    static void endsWith(const QStringList& arguments, const QByteArray& output);
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
    QTest::newRow("calls come late") << QStringLiteral("late calls")
                                     << QByteArray("state 0\nlate 1, state 10\n");
    QTest::newRow("threads are blocked") << QStringLiteral("blocked threads") << QByteArray("aborted 8\n");
    QByteArray called;
    for (int i = 0; i < 100; ++i) {
        called += "called\n";
    }
    QTest::newRow("another application follows")
        << QStringLiteral("a second application") << QByteArray("between 10\nno thread\nstate 0\n" + called);
}

void TestExit::aProcessEndsCleanlyWithRequestsInFlight()
{
    QFETCH(QString, way);
    QFETCH(QByteArray, output);
    const MisbehavingServer stalled(Mode::Stall);
    const MisbehavingServer well;
    endsWith({way, stalled.address(), well.address()}, output);
}

void TestExit::aProcessEndsCleanlyWithRequestsThatWait_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("for a login") << QByteArray("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n");
    QTest::newRow("for a busy device")
        << QByteArray("HTTP/1.1 503 No\r\nRetry-After: 600\r\nContent-Length: 0\r\n\r\n");
}

void TestExit::aProcessEndsCleanlyWithRequestsThatWait()
{
    QFETCH(QByteArray, reply);
    MisbehavingServer server(Mode::RawKeepAlive);
    server.setRaw(reply);
    endsWith({QStringLiteral("waiting requests"), QString(), server.address()},
             "aborted 4\nGET /x on wall: the transport was stopped or the device was removed\n");
}

void TestExit::aProcessEndsCleanlyWithAConnectionOverTls()
{
    TlsServer server;
    if (!server.isAvailable()) {
        QSKIP("the openssl program is not installed");
    }
    QVERIFY(server.start());
    QVERIFY(server.serve(QStringLiteral("/x"), "{\"code\":0}"));
    endsWith({QStringLiteral("a connection over TLS"), QString(), server.address()}, "state 0\nstate 0\n");
}

void TestExit::endsWith(const QStringList& arguments, const QByteArray& output)
{
    QProcess process;
    startProgram(process, QStringLiteral(EXITINFLIGHT), arguments);
    if (!QTest::currentTestFailed()) {
        expectEnd(process, output);
    }
}

QTEST_GUILESS_MAIN(TestExit)
#include "tst_exit.moc"
