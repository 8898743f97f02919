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

// What is tested with each proxy.

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

inline void tell(const Verdict& verdict)
{
    qInfo("%s: %s", QTest::currentDataTag(), verdict.text().constData());
}

/// 1,000 writes around the idle limit, of which none is lost and none doubled. @p keeps: the peer keeps
/// connections.
inline void checkIdleVerdict(const Verdict& verdict, bool keeps = true)
{
    tell(verdict);
    QVERIFY2(verdict.faults.isEmpty(), qPrintable(verdict.faults.join(QLatin1Char('\n'))));
    QCOMPARE(verdict.lost, 0);
    QCOMPARE(verdict.doubled, 0);
    QCOMPARE(verdict.writes, 1000);
    // Who ends a silent connection has heard nothing on it.
    QCOMPARE(verdict.undecidableExecuted, 0);
    // Pauses that all fall to one side of the limit would show nothing.
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
    tell(verdict);
    QVERIFY2(verdict.faults.isEmpty(), qPrintable(verdict.faults.join(QLatin1Char('\n'))));
    QCOMPARE(verdict.lost, 0);
    QCOMPARE(verdict.doubled, 0);
    QVERIFY(verdict.writes >= 1000);
    // Restarts that hit no write on its way would show nothing.
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
    // A proxy that collects hands nothing on before it has collected enough, the head of the stream included.
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

/// A call that the proxy answers itself, both ways: an error with @p status.
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

/// A write that the proxy refuses by its size, both ways: an error with @p status.
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
    Nothing, ///< nobody listens
    Silent,  ///< it hears the call and answers nothing
    Ends,    ///< it hears the call and ends the connection
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

#endif
