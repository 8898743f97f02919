// SPDX-License-Identifier: MIT
#include "proxytests.h"
#include "scriptserver.h"

class TestPeersHaProxy : public ProxyTests
{
    Q_OBJECT
public:
    TestPeersHaProxy()
        : ProxyTests("haproxy")
    {}

private:
    std::unique_ptr<FrontProxy> makeProxy() const override { return std::make_unique<HaProxy>(program()); }
    int statusWithoutDevice() const override { return 503; }
    void addTooLargeRows() const override
    {
        QTest::newRow("a query of 32 KiB") << false << 1 << (32 << 10) << 400;
        QTest::newRow("a query of 32 KiB, TLS") << true << 1 << (32 << 10) << 400;
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
    }
    void writesDuringRestartsAreCarriedOutOnce_data() override
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        QTest::newRow("plain") << options;
        options.tls = true;
        QTest::newRow("TLS") << options;
    }
    void eventsArriveInOrderThroughRestarts_data() override
    {
        QTest::addColumn<ProxyOptions>("options");
        ProxyOptions options;
        options.buffersReplies = false; // it never does
        QTest::newRow("plain") << options;
        options.tls = true;
        QTest::newRow("TLS") << options;
    }

private Q_SLOTS:
    void writesToADeviceOfHttp10AreCarriedOutOnce()
    {
        const QString python = PeerProcess::find(QStringLiteral("python3"));
        REQUIRE_PEER(python, "python3");
        ScriptServer device;
        QVERIFY2(device.startPython(python, 1, "HTTP/1.0", 10000), device.output().constData());
        ProxyOptions options;
        options.idleLimit = 250;
        options.ports = idleCallers;
        HaProxy haproxy(program());
        QVERIFY2(haproxy.start(device.ports()[0], options), haproxy.output().constData());
        checkIdleVerdict(writeAroundTheIdleLimit(endpointsOf(haproxy), options.idleLimit,
                                                 {Verb::Put, Verb::Post},
                                                 [&device] { return device.executed(); }));
    }
};

QTEST_GUILESS_MAIN(TestPeersHaProxy)
#include "moc_proxytests.cpp" // NOLINT(bugprone-suspicious-include): of the base that both share
#include "tst_peers_haproxy.moc"
