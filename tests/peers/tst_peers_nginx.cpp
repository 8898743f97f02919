// SPDX-License-Identifier: MIT
#include "proxytests.h"

class TestPeersNginx : public QObject
{
    Q_OBJECT

    const QString m_program = PeerProcess::find(QStringLiteral("nginx"));

private Q_SLOTS:
    void initTestCase()
    {
        REQUIRE_PEER(m_program, "nginx");
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
        options.buffersReplies = false;
        QTest::newRow("nothing collected") << options;
        options.http10Upstream = true;
        QTest::newRow("HTTP/1.0 to the device") << options;
    }
    void writesAroundTheIdleLimitAreCarriedOutOnce()
    {
        QFETCH(ProxyOptions, options);
        Nginx nginx(m_program);
        checkIdleLimit(nginx, options);
    }

    void writesDuringRestartsAreCarriedOutOnce_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        QTest::newRow("plain") << options;
        options.http10Upstream = true;
        QTest::newRow("HTTP/1.0 to the device") << options;
        options.tls = true;
        QTest::newRow("TLS") << options;
    }
    void writesDuringRestartsAreCarriedOutOnce()
    {
        QFETCH(ProxyOptions, options);
        Nginx nginx(m_program);
        checkRestarts(nginx, options);
    }

    void eventsArriveInOrderThroughRestarts_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        QTest::newRow("collected") << options;
        options.buffersReplies = false;
        QTest::newRow("handed on at once") << options;
        options.tls = true;
        options.http10Upstream = true;
        QTest::newRow("handed on at once, TLS, HTTP/1.0 to the device") << options;
    }
    void eventsArriveInOrderThroughRestarts()
    {
        QFETCH(ProxyOptions, options);
        Nginx nginx(m_program);
        checkEvents(nginx, options);
    }

    void whatTheProxyAnswersItselfIsAnError_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        QTest::addColumn<Behind>("behind");
        QTest::addColumn<int>("status");
        ProxyOptions options;
        QTest::newRow("no device") << options << Behind::Nothing << 502;
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
        Nginx nginx(m_program);
        checkErrorOf(nginx, options, behind, status);
    }

    void aPlainCallToItsTlsPortIsAnError()
    {
        const ClosedPort closed;
        Nginx nginx(m_program);
        ProxyOptions options;
        options.tls = true;
        QVERIFY2(nginx.start(closed.port(), options), nginx.output().constData());
        DeviceEndpoint endpoint;
        endpoint.address = QStringLiteral("127.0.0.1:%1").arg(nginx.ports()[0]);
        checkError(endpoint, 400);
    }

    void aWriteThatTheProxyFindsTooLargeIsAnError_data()
    {
        QTest::addColumn<bool>("tls");
        QTest::addColumn<int>("bodySize");
        QTest::addColumn<int>("querySize");
        QTest::addColumn<int>("status");
        QTest::newRow("a body of 2 MiB") << false << (2 << 20) << 1 << 413;
        QTest::newRow("a body of 2 MiB, TLS") << true << (2 << 20) << 1 << 413;
        QTest::newRow("a query of 16 KiB") << false << 1 << (16 << 10) << 414;
    }
    void aWriteThatTheProxyFindsTooLargeIsAnError()
    {
        QFETCH(bool, tls);
        QFETCH(int, bodySize);
        QFETCH(int, querySize);
        QFETCH(int, status);
        ProxyOptions options;
        options.tls = tls;
        Nginx nginx(m_program);
        checkRefusal(nginx, options, bodySize, querySize, status);
    }
};

QTEST_GUILESS_MAIN(TestPeersNginx)
#include "tst_peers_nginx.moc"
