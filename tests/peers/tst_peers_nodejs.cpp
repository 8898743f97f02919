// SPDX-License-Identifier: MIT
#include "proxytests.h"
#include "scriptserver.h"

class TestPeersNodejs : public QObject
{
    Q_OBJECT

    const QString m_program = PeerProcess::find(QStringLiteral("node"));

private Q_SLOTS:
    void initTestCase()
    {
        REQUIRE_PEER(m_program, "nodejs");
        muteLog();
    }

    void writesAroundTheIdleLimitAreCarriedOutOnce_data()
    {
        QTest::addColumn<bool>("tls");
        QTest::addColumn<int>("idleLimit");
        QTest::newRow("plain") << false << 500;
        QTest::newRow("plain, short limit") << false << 250;
        QTest::newRow("TLS") << true << 500;
    }
    void writesAroundTheIdleLimitAreCarriedOutOnce()
    {
        QFETCH(bool, tls);
        QFETCH(int, idleLimit);
        ScriptServer server;
        QVERIFY2(server.startNode(m_program, idleCallers, tls, idleLimit), server.output().constData());
        checkIdleVerdict(writeAroundTheIdleLimit(endpointsOf(server), idleLimit, {Verb::Put, Verb::Post},
                                                 [&server] { return server.executed(); }));
    }
};

QTEST_GUILESS_MAIN(TestPeersNodejs)
#include "tst_peers_nodejs.moc"
