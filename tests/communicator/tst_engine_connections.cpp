// SPDX-License-Identifier: MIT
#include "enginebench.h"
#include "sleepingthread.h"

#include <closedport.h>

#include <QDir>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

namespace {

/// The client's sockets that are connected to @p port.
std::vector<int> connectionsTo(quint16 port)
{
    std::vector<int> sockets;
    for (const QString& name : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const int descriptor = name.toInt();
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port) {
            sockets.push_back(descriptor);
        }
    }
    return sockets;
}

} // namespace

class TestEngineConnections : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void connectionsAreKept_data() { bothWays(); }
    void connectionsAreKept()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking).state,
                     State::Success);
        }
        QCOMPARE(server.deliveries(), 5);
        QCOMPARE(server.connections(), 1);
    }

    void requestsOfBothClassesEndOnDemand_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("one is cancelled") << 0;
        QTest::newRow("all of the device are cancelled") << 1;
        QTest::newRow("all of the device are aborted") << 2;
        QTest::newRow("the engine stops") << 3;
    }
    void requestsOfBothClassesEndOnDemand()
    {
        QFETCH(int, how);
        for (const bool daemon : {false, true}) {
            MisbehavingServer server(Mode::Stall);
            Bench bench;
            HttpRequest asked = request(server.address());
            asked.daemon = daemon;
            asked.id = 7;
            asked.expectedTime = 60000;
            std::promise<HttpReply> ended;
            std::future<HttpReply> reply = ended.get_future();
            bench.engine.start(asked, [&ended](const HttpReply& told) { ended.set_value(told); });
            QVERIFY(server.waitForDeliveries(1));
            bench.engine.cancel(0); // names none
            bench.engine.cancel(6);
            bench.engine.cancelAll(QStringLiteral("another"));
            bench.engine.abort(QStringLiteral("another"));
            bench.loop->run([] {});
            QCOMPARE(reply.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
            switch (how) {
            case 0:
                bench.engine.cancel(7);
                break;
            case 1:
                bench.engine.cancelAll(server.address());
                break;
            case 2:
                bench.engine.abort(server.address());
                break;
            default:
                bench.engine.stop();
                break;
            }
            QCOMPARE(reply.wait_for(std::chrono::seconds(30)), std::future_status::ready);
            QCOMPARE(reply.get().state, State::Aborted);
        }
    }

    void daemonRequestsTravelOnConnectionsOfTheirOwn_data() { bothWays(); }
    void daemonRequestsTravelOnConnectionsOfTheirOwn()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        HttpRequest daemon = request(server.address());
        daemon.daemon = true;
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
            QCOMPARE(bench.ask(daemon, blocking).state, State::Success);
        }
        QCOMPARE(server.connections(), 2);
    }

    void aDaemonRequestDoesNotWaitForNormalTraffic();
    void aWriteIsNeverSentTwice_data();
    void aWriteIsNeverSentTwice();

    void aReadIsRetriedOnAStaleConnection_data() { bothWays(); }
    void aReadIsRetriedOnAStaleConnection()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::AnswerOnceThenDrop);
        Bench bench;
        QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
        QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 3);
    }

    void aConnectionThatDiedWhileIdleIsReplaced_data() { bothWays(); }
    void aConnectionThatDiedWhileIdleIsReplaced()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking).state, State::Success);
        server.dropConnections();
        QTRY_COMPARE(server.open(), 0);
        QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 2);
    }

    void waitingForAReplyCostsNothing()
    {
        MisbehavingServer server(Mode::Stall);
        Bench bench;
        QVERIFY(
            bench.engine.start(request(server.address(), HttpMethod::Put, "{}"), [](const HttpReply&) {}));
        QVERIFY(server.waitForDeliveries(1));
        const pid_t thread = threadOf(*bench.loop); // wakes it, so once
        QTRY_VERIFY(sleeps(thread));
    }

    void proxyVariablesOfTheEnvironmentAreIgnored();
    void theLimitHoldsWhileARequestWaitsForAConnection();
    void programsThatAreStartedInheritNoConnection_data() { bothWays(); }
    void programsThatAreStartedInheritNoConnection();
    void aStalledDeviceDoesNotHoldUpAnother();
    void removingADeviceAbortsWhatIsInFlight_data() { bothWays(); }
    void removingADeviceAbortsWhatIsInFlight();
    void stoppingTheEngineAbortsWhatIsInFlight_data() { bothWays(); }
    void stoppingTheEngineAbortsWhatIsInFlight();
    void aStoppedEngineSendsNothing_data() { bothWays(); }
    void aStoppedEngineSendsNothing();
};

void TestEngineConnections::aDaemonRequestDoesNotWaitForNormalTraffic()
{
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    std::atomic<int> settled{0};
    for (int i = 0; i < 100; ++i) {
        bench.engine.start(request(server.address()), [&](const HttpReply&) { ++settled; });
    }
    QVERIFY(server.waitForDeliveries(64));
    server.setMode(Mode::Answer);
    HttpRequest daemon = request(server.address());
    daemon.daemon = true;
    QCOMPARE(bench.ask(daemon, false).state, State::Success);
    QCOMPARE(settled.load(), 0);
    bench.engine.stop();
    QCOMPARE(settled.load(), 100);
}

void TestEngineConnections::aWriteIsNeverSentTwice_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<int>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("multipart");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        QTest::addRow("PUT, %s", way) << blocking << int(HttpMethod::Put) << QByteArray("{}") << false;
        QTest::addRow("PUT without a body, %s", way)
            << blocking << int(HttpMethod::Put) << QByteArray() << false;
        QTest::addRow("large PUT, %s", way)
            << blocking << int(HttpMethod::Put) << QByteArray(1 << 20, 'x') << false;
        QTest::addRow("POST, %s", way) << blocking << int(HttpMethod::Post) << QByteArray("{}") << false;
        QTest::addRow("POST without a body, %s", way)
            << blocking << int(HttpMethod::Post) << QByteArray() << false;
        QTest::addRow("DELETE, %s", way) << blocking << int(HttpMethod::Delete) << QByteArray() << false;
        QTest::addRow("DELETE with a body, %s", way)
            << blocking << int(HttpMethod::Delete) << QByteArray("{}") << false;
        QTest::addRow("multipart PUT, %s", way) << blocking << int(HttpMethod::Put) << QByteArray() << true;
    }
}

void TestEngineConnections::aWriteIsNeverSentTwice()
{
    QFETCH(bool, blocking);
    QFETCH(int, method);
    QFETCH(QByteArray, body);
    QFETCH(bool, multipart);
    MisbehavingServer server(Mode::AnswerOnceThenDrop);
    Bench bench;
    HttpRequest asked = request(server.address(), static_cast<HttpMethod>(method), body);
    asked.multipart = multipart;
    asked.parts.insert(QStringLiteral("a"), QByteArray("bytes"));
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QCOMPARE(bench.ask(asked, blocking).state, State::Broken);
    QCOMPARE(server.deliveries(), 2);
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QCOMPARE(server.deliveries(), 3);
}

void TestEngineConnections::proxyVariablesOfTheEnvironmentAreIgnored()
{
    const ClosedPort closed;
    const QByteArray nowhere = "http://127.0.0.1:" + QByteArray::number(closed.port());
    qputenv("http_proxy", nowhere);
    qputenv("all_proxy", nowhere);
    MisbehavingServer server;
    Bench bench;
    const HttpReply reply = bench.ask(request(server.address()), true);
    qunsetenv("http_proxy");
    qunsetenv("all_proxy");
    QCOMPARE(reply.state, State::Success);
}

void TestEngineConnections::theLimitHoldsWhileARequestWaitsForAConnection()
{
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    constexpr int count = 3000;
    std::atomic<int> timedOut{0};
    std::atomic<int> settled{0};
    HttpRequest asked = request(server.address(), HttpMethod::Put, "{}");
    asked.expectedTime = 700;
    for (int i = 0; i < count; ++i) {
        QVERIFY(bench.engine.start(asked, [&](const HttpReply& reply) {
            timedOut += reply.state == State::TimedOut ? 1 : 0;
            ++settled;
        }));
    }
    // Counted on this side: a server may see late that a connection has gone.
    std::size_t mostOpen = 0;
    const auto allSettled = [&] {
        mostOpen = std::max(mostOpen, connectionsTo(server.port()).size());
        return settled == count;
    };
    QTRY_VERIFY_WITH_TIMEOUT(allSettled(), 30000);
    QCOMPARE(timedOut.load(), count);
    QVERIFY2(mostOpen > 0 && mostOpen <= 128, qPrintable(QString::number(mostOpen)));
}

void TestEngineConnections::programsThatAreStartedInheritNoConnection()
{
    QFETCH(bool, blocking);
    MisbehavingServer server;
    Bench bench;
    QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
    const std::vector<int> kept = connectionsTo(server.port());
    QCOMPARE(kept.size(), std::size_t(1));
    QVERIFY((::fcntl(kept.front(), F_GETFD) & FD_CLOEXEC) != 0);
}

void TestEngineConnections::aStalledDeviceDoesNotHoldUpAnother()
{
    MisbehavingServer stalled(Mode::Stall);
    MisbehavingServer well;
    Bench bench;
    std::atomic<int> settled{0};
    for (int i = 0; i < 500; ++i) {
        bench.engine.start(request(stalled.address()), [&](const HttpReply&) { ++settled; });
    }
    std::thread blocked([&] { bench.engine.exchange(request(stalled.address())); });
    QVERIFY(stalled.waitForDeliveries(17));
    QCOMPARE(bench.ask(request(well.address()), false).state, State::Success);
    QCOMPARE(bench.ask(request(well.address()), true).state, State::Success);
    QCOMPARE(settled.load(), 0);
    bench.engine.stop();
    blocked.join();
}

void TestEngineConnections::removingADeviceAbortsWhatIsInFlight()
{
    QFETCH(bool, blocking);
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    bench.add(QStringLiteral("wall"), endpoint);
    HttpReply reply;
    std::thread asking([&] { reply = bench.ask(request(QStringLiteral("wall")), blocking); });
    const bool delivered = server.waitForDeliveries(1);
    bench.engine.abort(QStringLiteral("wall"));
    asking.join();
    QVERIFY(delivered);
    QCOMPARE(reply.state, State::Aborted);
}

void TestEngineConnections::stoppingTheEngineAbortsWhatIsInFlight()
{
    QFETCH(bool, blocking);
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    HttpReply reply;
    std::thread asking([&] { reply = bench.ask(request(server.address()), blocking); });
    const bool delivered = server.waitForDeliveries(1);
    bench.engine.stop();
    asking.join();
    QVERIFY(delivered);
    QCOMPARE(reply.state, State::Aborted);
}

void TestEngineConnections::aStoppedEngineSendsNothing()
{
    QFETCH(bool, blocking);
    MisbehavingServer server;
    Bench bench;
    bench.engine.stop();
    QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Aborted);
    QCOMPARE(server.connections(), 0);
}

QTEST_GUILESS_MAIN(TestEngineConnections)
#include "tst_engine_connections.moc"
