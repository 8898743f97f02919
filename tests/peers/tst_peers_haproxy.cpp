// SPDX-License-Identifier: MIT
#include "proxytests.h"
#include "scriptserver.h"

class TestPeersHaProxy : public QObject
{
    Q_OBJECT

    const QString m_program = PeerProcess::find(QStringLiteral("haproxy"));

private Q_SLOTS:
    void initTestCase()
    {
        REQUIRE_PEER(m_program, "haproxy");
        muteLog();
    }

    void writesAroundTheIdleLimitAreCarriedOutOnce_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        options.tls = true;
        QTest::newRow("TLS") << options;
        options.idleLimit = 250;
        QTest::newRow("TLS, short limit") << options;
        options.tls = false;
        QTest::newRow("plain") << options;
    }
    void writesAroundTheIdleLimitAreCarriedOutOnce()
    {
        QFETCH(ProxyOptions, options);
        HaProxy haproxy(m_program);
        checkIdleLimit(haproxy, options);
    }

    void writesToADeviceOfHttp10AreCarriedOutOnce()
    {
        const QString python = PeerProcess::find(QStringLiteral("python3"));
        REQUIRE_PEER(python, "python3");
        ScriptServer device;
        QVERIFY2(device.startPython(python, 1, "HTTP/1.0", 10000), device.output().constData());
        ProxyOptions options;
        options.idleLimit = 250;
        options.ports = idleCallers;
        HaProxy haproxy(m_program);
        QVERIFY2(haproxy.start(device.ports()[0], options), haproxy.output().constData());
        checkIdleVerdict(writeAroundTheIdleLimit(endpointsOf(haproxy), options.idleLimit,
                                                 {Verb::Put, Verb::Post},
                                                 [&device] { return device.executed(); }));
    }

    void writesDuringRestartsAreCarriedOutOnce_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        QTest::newRow("plain") << options;
        options.tls = true;
        QTest::newRow("TLS") << options;
    }
    void writesDuringRestartsAreCarriedOutOnce()
    {
        QFETCH(ProxyOptions, options);
        HaProxy haproxy(m_program);
        checkRestarts(haproxy, options);
    }

    void eventsArriveInOrderThroughRestarts_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        options.buffersReplies = false; // it never does
        QTest::newRow("plain") << options;
        options.tls = true;
        QTest::newRow("TLS") << options;
    }
    void eventsArriveInOrderThroughRestarts()
    {
        QFETCH(ProxyOptions, options);
        HaProxy haproxy(m_program);
        checkEvents(haproxy, options);
    }

    void whatTheProxyAnswersItselfIsAnError_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        QTest::addColumn<Behind>("behind");
        QTest::addColumn<int>("status");
        ProxyOptions options;
        QTest::newRow("no device") << options << Behind::Nothing << 503;
        QTest::newRow("a device that ends the connection") << options << Behind::Ends << 502;
        options.replyLimit = 200;
        QTest::newRow("a silent device") << options << Behind::Silent << 504;
        options.tls = true;
        QTest::newRow("a silent device, TLS") << options << Behind::Silent << 504;
        options = {};
        options.turnsEveryCallAway = true;
        QTest::newRow("turned away") << options << Behind::Well << 503;
    }
    void whatTheProxyAnswersItselfIsAnError()
    {
        QFETCH(ProxyOptions, options);
        QFETCH(Behind, behind);
        QFETCH(int, status);
        HaProxy haproxy(m_program);
        checkErrorOf(haproxy, options, behind, status);
    }

    void aWriteThatTheProxyFindsTooLargeIsAnError_data()
    {
        QTest::addColumn<bool>("tls");
        QTest::addColumn<int>("bodySize");
        QTest::addColumn<int>("querySize");
        QTest::addColumn<int>("status");
        QTest::newRow("a query of 32 KiB") << false << 1 << (32 << 10) << 400;
        QTest::newRow("a query of 32 KiB, TLS") << true << 1 << (32 << 10) << 400;
    }
    void aWriteThatTheProxyFindsTooLargeIsAnError()
    {
        QFETCH(bool, tls);
        QFETCH(int, bodySize);
        QFETCH(int, querySize);
        QFETCH(int, status);
        ProxyOptions options;
        options.tls = tls;
        HaProxy haproxy(m_program);
        checkRefusal(haproxy, options, bodySize, querySize, status);
    }
};

QTEST_GUILESS_MAIN(TestPeersHaProxy)
#include "tst_peers_haproxy.moc"
