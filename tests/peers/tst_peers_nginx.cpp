// SPDX-License-Identifier: MIT
#include "proxytests.h"

class TestPeersNginx : public ProxyTests
{
    Q_OBJECT
public:
    TestPeersNginx()
        : ProxyTests("nginx")
    {}

private:
    std::unique_ptr<FrontProxy> makeProxy() const override { return std::make_unique<Nginx>(program()); }
    int statusWithoutDevice() const override { return 502; }
    void addTooLargeRows() const override
    {
        QTest::newRow("a body of 2 MiB") << false << (2 << 20) << 1 << 413;
        QTest::newRow("a body of 2 MiB, TLS") << true << (2 << 20) << 1 << 413;
        QTest::newRow("a query of 16 KiB") << false << 1 << (16 << 10) << 414;
    }

    void writesAroundTheIdleLimitAreCarriedOutOnce_data() override
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
        QTest::newRow("unbuffered") << options;
        options.http10Upstream = true;
        QTest::newRow("HTTP/1.0 to the device") << options;
    }
    void writesDuringRestartsAreCarriedOutOnce_data() override
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        QTest::newRow("plain") << options;
        options.http10Upstream = true;
        QTest::newRow("HTTP/1.0 to the device") << options;
        options.tls = true;
        QTest::newRow("TLS") << options;
    }
    void eventsArriveInOrderThroughRestarts_data() override
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        QTest::newRow("buffered") << options;
        options.buffersReplies = false;
        QTest::newRow("unbuffered") << options;
        options.tls = true;
        options.http10Upstream = true;
        QTest::newRow("unbuffered, TLS, HTTP/1.0 to the device") << options;
    }

private Q_SLOTS:
    void aPlainCallToItsTlsPortIsAnError()
    {
        const ClosedPort closed;
        Nginx nginx(program());
        ProxyOptions options;
        options.tls = true;
        QVERIFY2(nginx.start(closed.port(), options), nginx.output().constData());
        DeviceEndpoint endpoint;
        endpoint.address = QStringLiteral("127.0.0.1:%1").arg(nginx.ports()[0]);
        checkError(endpoint, 400);
    }
};

QTEST_GUILESS_MAIN(TestPeersNginx)
#include "moc_proxytests.cpp" // NOLINT(bugprone-suspicious-include): of the base that both share
#include "tst_peers_nginx.moc"
