// SPDX-License-Identifier: MIT
#include "proxytests.h"
#include "scriptserver.h"

class TestPeersPython : public QObject
{
    Q_OBJECT

    const QString m_program = PeerProcess::find(QStringLiteral("python3"));

private Q_SLOTS:
    void initTestCase()
    {
        REQUIRE_PEER(m_program, "python3");
        muteLog();
    }

    void writesAroundTheIdleLimitAreCarriedOutOnce_data()
    {
        QTest::addColumn<QByteArray>("protocol");
        QTest::addColumn<int>("idleLimit");
        QTest::newRow("HTTP/1.1") << QByteArray("HTTP/1.1") << 500;
        QTest::newRow("HTTP/1.1, short limit") << QByteArray("HTTP/1.1") << 250;
        QTest::newRow("HTTP/1.0") << QByteArray("HTTP/1.0") << 250;
    }
    void writesAroundTheIdleLimitAreCarriedOutOnce()
    {
        QFETCH(QByteArray, protocol);
        QFETCH(int, idleLimit);
        ScriptServer server;
        QVERIFY2(server.startPython(m_program, idleCallers, protocol, idleLimit),
                 server.output().constData());
        checkIdleVerdict(writeAroundTheIdleLimit(endpointsOf(server), idleLimit, {Verb::Put, Verb::Post},
                                                 [&server] { return server.executed(); }),
                         protocol == "HTTP/1.1");
    }
};

QTEST_GUILESS_MAIN(TestPeersPython)
#include "tst_peers_python.moc"
