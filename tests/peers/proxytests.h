// SPDX-License-Identifier: MIT
#ifndef TESTS_PEERS_PROXYTESTS_H
#define TESTS_PEERS_PROXYTESTS_H

#include "eventlog.h"
#include "load.h"
#include "proxies.h"

#include <closedport.h>

#include <QLoggingCategory>
#include <QScopeGuard>
#include <QtTest>

#include <memory>

constexpr int idleCallers = 100;
constexpr int restartCallers = 16;

/// Failures are what these tests bring about.
inline void muteLog()
{
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
}

template <class Server>
QList<DeviceEndpoint> endpointsOf(const Server& server)
{
    QList<DeviceEndpoint> endpoints;
    for (int number = 0; number < server.ports().size(); ++number) {
        endpoints << server.endpoint(number);
    }
    return endpoints;
}

inline void print(const Verdict& verdict)
{
    qInfo("%s: %s", QTest::currentDataTag(), verdict.text().constData());
}

/// Checks that none of 1,000 writes around the idle limit was lost or executed twice. @p keeps says whether
/// the peer keeps connections open.
inline void checkIdleVerdict(const Verdict& verdict, bool keeps = true)
{
    print(verdict);
    QVERIFY2(verdict.faults.isEmpty(), qPrintable(verdict.faults.join(QLatin1Char('\n'))));
    QCOMPARE(verdict.lost, 0);
    QCOMPARE(verdict.doubled, 0);
    QCOMPARE(verdict.writes, 1000);
    // A peer that closes an idle connection has not read a request from it.
    QCOMPARE(verdict.undecidableExecuted, 0);
    // Pauses that were all shorter or all longer than the limit would prove nothing.
    QCOMPARE(verdict.onOpen > 0, keeps);
    QCOMPARE(verdict.onEnded > 0, keeps);
}

inline void checkIdleLimit(FrontProxy& proxy, ProxyOptions options)
{
    Tessel::Simulator::Simulator simulator(longMemory());
    QVERIFY(simulator.start());
    options.ports = idleCallers;
    QVERIFY2(proxy.start(simulator.port(), options), proxy.output().constData());
    checkIdleVerdict(writeAroundTheIdleLimit(endpointsOf(proxy), options.idleLimit, {Verb::Put},
                                             [&simulator] { return executedBy(simulator); }));
}

inline void checkRestarts(FrontProxy& proxy, ProxyOptions options)
{
    Tessel::Simulator::Simulator simulator(longMemory());
    QVERIFY(simulator.start());
    options.ports = restartCallers;
    QVERIFY2(proxy.start(simulator.port(), options), proxy.output().constData());
    const Verdict verdict = writeDuringRestarts(endpointsOf(proxy), proxy, simulator);
    print(verdict);
    QVERIFY2(verdict.faults.isEmpty(), qPrintable(verdict.faults.join(QLatin1Char('\n'))));
    QCOMPARE(verdict.lost, 0);
    QCOMPARE(verdict.doubled, 0);
    QVERIFY(verdict.writes >= 1000);
    // Restarts that interrupted no write would prove nothing.
    QVERIFY(verdict.undecidableExecuted > 0);
}

inline void checkEvents(FrontProxy& proxy, const ProxyOptions& options)
{
    using Krelm::Communicator::HttpDevice::HttpProxy;
    Tessel::Simulator::Simulator simulator(longMemory());
    QVERIFY(simulator.start());
    QVERIFY2(proxy.start(simulator.port(), options), proxy.output().constData());
    HttpProxy::getInstance()->initialize(true);
    const auto events = qScopeGuard([] { HttpProxy::getInstance()->initialize(false); });
    const KnownDevice device(proxy.endpoint());
    EventLog log(simulator, device.key);
    QVERIFY(simulator.waitForEventStreams(1, 30000));
    // A buffering proxy forwards nothing, not even the head of the stream, until its buffer is full.
    const auto haveArrived = [&] {
        return options.buffersReplies ? log.waitForAllAndPush() : log.waitForAll();
    };
    log.push(1);
    QVERIFY(haveArrived());
    const std::function<bool()> disturbances[] = {[&] { return proxy.reload(); },
                                                  [&] { return proxy.crashAndStart(); },
                                                  [&] { return proxy.restart(); }};
    for (const auto& disturb : disturbances) {
        log.push(100);
        QVERIFY2(disturb(), proxy.output().constData());
        log.push(100);
        QVERIFY(haveArrived());
        QCOMPARE(log.disorder(), QByteArray());
    }
    QVERIFY(log.pushed() > 600);
}

/// Checks that blocking and non-blocking calls which the proxy answers itself fail with @p status.
inline void checkError(const DeviceEndpoint& endpoint, int status)
{
    Load load({endpoint, endpoint});
    load.start([](int, const std::vector<Call>& calls) -> std::optional<Step> {
        return calls.size() == 2 ? std::nullopt
                                 : std::optional(Step{{}, calls.empty() ? Verb::Put : Verb::Get});
    });
    for (const std::vector<Call>& ofCaller : load.finish()) {
        for (const Call& call : ofCaller) {
            QCOMPARE(call.state, State::HttpFailure);
            QCOMPARE(call.status, status);
            QCOMPARE(call.reason, QStringLiteral("HTTP status %1").arg(status));
            QVERIFY(!call.hasData);
        }
    }
}

/// Checks that blocking and non-blocking writes which are too large for the proxy fail with @p status.
inline void checkRefusal(FrontProxy& proxy, const ProxyOptions& options, int bodySize, int querySize,
                         int status)
{
    using namespace Krelm::Communicator::HttpDevice;
    Tessel::Simulator::Simulator simulator(longMemory());
    QVERIFY(simulator.start());
    QVERIFY2(proxy.start(simulator.port(), options), proxy.output().constData());
    const KnownDevice device(proxy.endpoint());
    const auto check = [&](const std::function<void(HttpJsonPackage*)>& send) {
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/device/hw/customname"));
        package.setRequestData(QByteArray(bodySize, 'x'));
        package.addParameters(QStringLiteral("long"), QString(querySize, QLatin1Char('x')));
        send(&package);
        QCOMPARE(package.getSimpleState(), State::HttpFailure);
        QCOMPARE(package.replyStatus, status);
    };
    check([&](HttpJsonPackage* package) { HttpProxy::getInstance()->putSync(device.key, package); });
    check([&](HttpJsonPackage* package) {
        QSignalSpy answered(package, &HttpJsonPackage::readyRead);
        HttpProxy::getInstance()->put(device.key, package);
        QVERIFY(answered.wait(30000));
    });
    QCOMPARE(executedBy(simulator), Counts());
}

/// How the device behind a proxy fails.
enum class Behind {
    Nothing, ///< nothing listens
    Silent,  ///< it reads the request and does not reply
    Ends,    ///< it reads the request and closes the connection
    Well     ///< it does not fail
};
Q_DECLARE_METATYPE(Behind)

inline void checkErrorOf(FrontProxy& proxy, const ProxyOptions& options, Behind behind, int status)
{
    Tessel::Simulator::Simulator simulator(longMemory());
    QVERIFY(simulator.start());
    Tessel::Simulator::Fault fault;
    fault.times = -1;
    fault.cut = behind == Behind::Silent ? Tessel::Simulator::Fault::Cut::Stall
                                         : Tessel::Simulator::Fault::Cut::Close;
    if (behind == Behind::Silent || behind == Behind::Ends) {
        simulator.addFault(fault);
    }
    const ClosedPort closed;
    QVERIFY2(proxy.start(behind == Behind::Nothing ? closed.port() : simulator.port(), options),
             proxy.output().constData());
    checkError(proxy.endpoint(), status);
    QCOMPARE(executedBy(simulator), Counts());
}

/// The tests of every proxy. A subclass creates its proxy and supplies the rows. It has to include
/// "moc_proxytests.cpp".
class ProxyTests : public QObject
{
    Q_OBJECT
public:
    explicit ProxyTests(const char* program)
        : m_name(program)
        , m_program(PeerProcess::find(QLatin1String(program)))
    {}

protected:
    const QString& program() const { return m_program; }
    virtual std::unique_ptr<FrontProxy> makeProxy() const = 0;

private Q_SLOTS:
    void initTestCase()
    {
        REQUIRE_PEER(m_program, m_name);
        muteLog();
    }

    virtual void writesAroundTheIdleLimitAreCarriedOutOnce_data() = 0;
    void writesAroundTheIdleLimitAreCarriedOutOnce()
    {
        QFETCH(ProxyOptions, options);
        checkIdleLimit(*makeProxy(), options);
    }

    virtual void writesDuringRestartsAreCarriedOutOnce_data() = 0;
    void writesDuringRestartsAreCarriedOutOnce()
    {
        QFETCH(ProxyOptions, options);
        checkRestarts(*makeProxy(), options);
    }

    virtual void eventsArriveInOrderThroughRestarts_data() = 0;
    void eventsArriveInOrderThroughRestarts()
    {
        QFETCH(ProxyOptions, options);
        checkEvents(*makeProxy(), options);
    }

    void whatTheProxyAnswersItselfIsAnError_data()
    {
        QTest::addColumn<ProxyOptions>("options");
        QTest::addColumn<Behind>("behind");
        QTest::addColumn<int>("status");
        ProxyOptions options;
        QTest::newRow("no device") << options << Behind::Nothing << statusWithoutDevice();
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
        checkErrorOf(*makeProxy(), options, behind, status);
    }

    void aWriteThatTheProxyFindsTooLargeIsAnError_data()
    {
        QTest::addColumn<bool>("tls");
        QTest::addColumn<int>("bodySize");
        QTest::addColumn<int>("querySize");
        QTest::addColumn<int>("status");
        addTooLargeRows();
    }
    void aWriteThatTheProxyFindsTooLargeIsAnError()
    {
        QFETCH(bool, tls);
        QFETCH(int, bodySize);
        QFETCH(int, querySize);
        QFETCH(int, status);
        ProxyOptions options;
        options.tls = tls;
        checkRefusal(*makeProxy(), options, bodySize, querySize, status);
    }

private:
    virtual int statusWithoutDevice() const = 0;
    virtual void addTooLargeRows() const = 0;

    const char* const m_name;
    const QString m_program;
};

#endif
