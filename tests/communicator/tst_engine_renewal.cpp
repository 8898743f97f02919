// SPDX-License-Identifier: MIT
//
// Tokens that run out, and requests that wait for another one.
#include "enginebench.h"
#include "gate.h"

#include "communicator/exchangeobserver.h"

#include <QTemporaryDir>

#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

const QString wall = QStringLiteral("wall");

/// What the application's function does, and how often it was called.
struct Renewal
{
    std::shared_ptr<std::atomic<int>> calls = std::make_shared<std::atomic<int>>(0);

    DeviceEndpoint endpoint(const QString& address, std::function<QString()> renew) const
    {
        DeviceEndpoint endpoint;
        endpoint.address = address;
        endpoint.login = DeviceEndpoint::Login::Bearer;
        endpoint.secret = QStringLiteral("old");
        endpoint.renewSecret = [calls = calls, renew = std::move(renew)](const QString&) {
            ++*calls;
            return renew();
        };
        return endpoint;
    }
};

HttpRequest ofWall(HttpMethod method = HttpMethod::Get, const QByteArray& body = {})
{
    HttpRequest asked = request(wall, method, body);
    asked.expectedTime = 60000;
    return asked;
}

} // namespace

Q_DECLARE_METATYPE(Krelm::Communicator::HttpDevice::HttpMethod)

class TestEngineRenewal : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void aRefusedRequestIsSentAgainOnceWithTheNewToken_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<HttpMethod>("method");
        QTest::addColumn<QByteArray>("body");
        for (const bool blocking : {true, false}) {
            const char* const how = blocking ? "blocking" : "non-blocking";
            QTest::addRow("GET, %s", how) << blocking << HttpMethod::Get << QByteArray();
            QTest::addRow("PUT, %s", how) << blocking << HttpMethod::Put << QByteArray("{\"a\":1}");
            QTest::addRow("POST, %s", how) << blocking << HttpMethod::Post << QByteArray(300000, 'x');
            QTest::addRow("DELETE, %s", how) << blocking << HttpMethod::Delete << QByteArray();
        }
    }
    void aRefusedRequestIsSentAgainOnceWithTheNewToken()
    {
        QFETCH(bool, blocking);
        QFETCH(HttpMethod, method);
        QFETCH(QByteArray, body);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [] { return QStringLiteral("new"); }));
        std::atomic<int> told{0};
        const ObserverHandle observer = addExchangeObserver([&told](const ExchangeRecord&) { ++told; });
        const HttpReply reply = bench.ask(ofWall(method, body), blocking);
        QCOMPARE(reply.state, State::Success);
        QCOMPARE(reply.body, goodBody);
        QCOMPARE(renewal.calls->load(), 1);
        const auto received = server.received();
        QCOMPARE(received.size(), std::size_t(2));
        QCOMPARE(received[0].headers.value("authorization"), QByteArray("Bearer old"));
        QCOMPARE(received[1].headers.value("authorization"), QByteArray("Bearer new"));
        QCOMPARE(received[1].method, received[0].method);
        QCOMPARE(received[1].body, body);
        QCOMPARE(server.connections(), 1);
        // One exchange, as with a login that begins with a challenge.
        QCOMPARE(told.load(), 1);
        // The next request has it from the start.
        QCOMPARE(bench.ask(ofWall(), blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 3);
        QCOMPARE(renewal.calls->load(), 1);
    }

    void theTimeLimitHoldsForTheRequestThatIsSentAgain_data() { bothWays(); }
    void theTimeLimitHoldsForTheRequestThatIsSentAgain()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({"HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n"});
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [] { return QStringLiteral("new"); }));
        HttpRequest asked = ofWall();
        asked.expectedTime = 1000;
        QCOMPARE(bench.ask(asked, blocking).state, State::TimedOut);
        QCOMPARE(renewal.calls->load(), 1);
        QCOMPARE(server.deliveries(), 2);
    }

    void manyThatAreRefusedTogetherCauseOneCall()
    {
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        const auto gate = std::make_shared<Gate>();
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [gate] {
            gate->pass();
            return QStringLiteral("new");
        }));
        constexpr int count = 20;
        std::atomic<int> succeeded{0};
        std::vector<std::thread> callers;
        for (int i = 0; i < count; ++i) {
            callers.emplace_back(
                [&] { succeeded += bench.engine.exchange(ofWall()).state == State::Success ? 1 : 0; });
            bench.engine.start(ofWall(HttpMethod::Get), [&](const HttpReply& reply) {
                succeeded += reply.state == State::Success ? 1 : 0;
            });
        }
        QTRY_COMPARE(server.deliveries(), 2 * count);
        gate->open();
        for (std::thread& caller : callers) {
            caller.join();
        }
        QTRY_COMPARE(succeeded.load(), 2 * count);
        QCOMPARE(renewal.calls->load(), 1);
        QCOMPARE(server.deliveries(), 4 * count);
    }

    void aRenewalThatFailsEndsAllWithTheRefusal_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<QString>("given");
        QTest::addColumn<bool>("throws");
        QTest::addColumn<int>("deliveries");
        for (const bool blocking : {true, false}) {
            const char* const how = blocking ? "blocking" : "non-blocking";
            QTest::addRow("nothing, %s", how) << blocking << QString() << false << 1;
            QTest::addRow("the same, %s", how) << blocking << "old" << false << 1;
            QTest::addRow("an exception, %s", how) << blocking << QString() << true << 1;
            QTest::addRow("a control character, %s", how) << blocking << "a\nb" << false << 1;
            QTest::addRow("another wrong one, %s", how) << blocking << "wrong" << false << 2;
        }
    }
    void aRenewalThatFailsEndsAllWithTheRefusal()
    {
        QFETCH(bool, blocking);
        QFETCH(QString, given);
        QFETCH(bool, throws);
        QFETCH(int, deliveries);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [=] {
            if (throws) {
                throw std::runtime_error("no");
            }
            return given;
        }));
        const HttpReply reply = bench.ask(ofWall(HttpMethod::Put, "{}"), blocking);
        QCOMPARE(reply.state, State::HttpFailure);
        QCOMPARE(reply.status, 401);
        QCOMPARE(reply.body, QByteArray("{}"));
        QCOMPARE(server.deliveries(), deliveries);
        QCOMPARE(renewal.calls->load(), 1);
        // A storm of refusals causes no storm of calls.
        for (int i = 0; i < 10; ++i) {
            QCOMPARE(bench.ask(ofWall(), blocking).status, 401);
        }
        QCOMPARE(renewal.calls->load(), 1);
        QCOMPARE(server.deliveries(), deliveries + 10);
    }

    void theWaitEndsWithTheTimeLimitAndTheRefusal_data() { bothWays(); }
    void theWaitEndsWithTheTimeLimitAndTheRefusal()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Token);
        const auto gate = std::make_shared<Gate>();
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [gate] {
            gate->pass();
            return QString();
        }));
        HttpRequest asked = ofWall();
        asked.expectedTime = 200;
        const HttpReply reply = bench.ask(asked, blocking);
        gate->open();
        QCOMPARE(reply.state, State::HttpFailure);
        QCOMPARE(reply.status, 401);
    }

    void aSlowFunctionHoldsUpNoOtherDevice_data() { bothWays(); }
    void aSlowFunctionHoldsUpNoOtherDevice()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        MisbehavingServer second(Mode::Token);
        second.setToken("new");
        MisbehavingServer plain;
        const auto gate = std::make_shared<Gate>();
        Renewal slow;
        Renewal quick;
        Bench bench;
        bench.add(wall, slow.endpoint(server.address(), [gate] {
            gate->pass();
            return QStringLiteral("new");
        }));
        const auto other = QStringLiteral("other");
        bench.add(other, quick.endpoint(second.address(), [] { return QStringLiteral("new"); }));
        std::promise<HttpReply> promise;
        bench.engine.start(ofWall(), [&promise](const HttpReply& reply) { promise.set_value(reply); });
        QTRY_COMPARE(slow.calls->load(), 1);
        QCOMPARE(bench.ask(request(plain.address()), blocking).state, State::Success);
        QCOMPARE(bench.ask(request(other), blocking).state, State::Success);
        gate->open();
        QCOMPARE(promise.get_future().get().state, State::Success);
    }

    void theFunctionMayAskTheDeviceItself_data() { bothWays(); }
    void theFunctionMayAskTheDeviceItself()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        std::atomic<int> status{0};
        bench.add(wall, renewal.endpoint(server.address(), [&] {
            status = bench.ask(ofWall(), blocking).status;
            return QStringLiteral("new");
        }));
        QCOMPARE(bench.ask(ofWall(), blocking).state, State::Success);
        QCOMPARE(status.load(), 401);
        QCOMPARE(renewal.calls->load(), 1);
    }

    void whatTheFunctionAsksDoesNotWaitForTheRefused_data()
    {
        QTest::addColumn<HttpMethod>("method");
        QTest::addColumn<int>("count");
        QTest::newRow("a write to the path that waits") << HttpMethod::Put << 1;
        QTest::newRow("a read of a device that has all places taken") << HttpMethod::Get << 100;
    }
    void whatTheFunctionAsksDoesNotWaitForTheRefused()
    {
        QFETCH(HttpMethod, method);
        QFETCH(int, count);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        const auto gate = std::make_shared<Gate>();
        std::atomic<int> status{0};
        bench.add(wall, renewal.endpoint(server.address(), [&, gate] {
            gate->pass();
            HttpRequest own = ofWall(method, "{}");
            own.expectedTime = 5000;
            status = bench.ask(own, false).status;
            return QStringLiteral("new");
        }));
        std::atomic<int> succeeded{0};
        for (int i = 0; i < count; ++i) {
            bench.engine.start(ofWall(method, "{}"), [&](const HttpReply& reply) {
                succeeded += reply.state == State::Success ? 1 : 0;
            });
        }
        QTRY_COMPARE(server.deliveries(), std::min(count, 64));
        gate->open();
        QTRY_COMPARE_WITH_TIMEOUT(succeeded.load(), count, 20000);
        QCOMPARE(status.load(), 401);
        QCOMPARE(renewal.calls->load(), 1);
    }

    void aWaitEndsAtOnce_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<int>("how");
        for (const bool blocking : {true, false}) {
            const char* const name = blocking ? "blocking" : "non-blocking";
            QTest::addRow("cancelled, %s", name) << blocking << 0;
            QTest::addRow("all of the device cancelled, %s", name) << blocking << 1;
            QTest::addRow("device removed by the function, %s", name) << blocking << 2;
            QTest::addRow("transport stopped, %s", name) << blocking << 3;
        }
    }
    void aWaitEndsAtOnce()
    {
        QFETCH(bool, blocking);
        QFETCH(int, how);
        MisbehavingServer server(Mode::Token);
        const auto gate = std::make_shared<Gate>();
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [&, gate, how] {
            if (how == 2) {
                bench.registry->remove(wall);
                bench.engine.abort(wall);
            }
            gate->pass();
            return QString();
        }));
        HttpRequest asked = ofWall();
        asked.id = beginExchange();
        asked.expectedTime = 3600000;
        std::promise<HttpReply> promise;
        auto ended = promise.get_future();
        std::thread caller;
        if (blocking) {
            caller = std::thread([&] { promise.set_value(bench.engine.exchange(asked)); });
        } else {
            bench.engine.start(asked, [&promise](const HttpReply& reply) { promise.set_value(reply); });
        }
        QTRY_COMPARE(renewal.calls->load(), 1);
        if (how == 0) {
            bench.engine.cancel(asked.id);
        } else if (how == 1) {
            bench.engine.cancelAll(wall);
        } else if (how == 3) {
            bench.engine.stop();
        }
        if (ended.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
            qFatal("the wait does not end");
        }
        if (caller.joinable()) {
            caller.join();
        }
        QCOMPARE(ended.get().state, State::Aborted);
        QCOMPARE(server.deliveries(), 1);
    }

    void aConnectionThatEndsDuringTheWaitIsReplaced_data() { bothWays(); }
    void aConnectionThatEndsDuringTheWaitIsReplaced()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [&server] {
            server.resetConnections();
            return QStringLiteral("new");
        }));
        QCOMPARE(bench.ask(ofWall(HttpMethod::Put, "{}"), blocking).state, State::Success);
        QCOMPARE(server.connections(), 2);
        QCOMPARE(server.deliveries(), 2);
    }

    void aLoginOfTheCallerIsNotRenewed_data() { bothWays(); }
    void aLoginOfTheCallerIsNotRenewed()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [] { return QStringLiteral("new"); }));
        HttpRequest asked = ofWall();
        asked.headers.insert(QStringLiteral("Authorization"), QStringLiteral("Bearer own"));
        QCOMPARE(bench.ask(asked, blocking).status, 401);
        QCOMPARE(renewal.calls->load(), 0);
    }

    void aFormWithAFileIsSentWholeAgain_data() { bothWays(); }
    void aFormWithAFileIsSentWholeAgain()
    {
        QFETCH(bool, blocking);
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("card.bin")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(100000, 'f'));
        file.close();
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        Renewal renewal;
        Bench bench;
        bench.add(wall, renewal.endpoint(server.address(), [] { return QStringLiteral("new"); }));
        HttpRequest asked = ofWall(HttpMethod::Put);
        asked.multipart = true;
        asked.parts.insert(QStringLiteral("file"), QUrl::fromLocalFile(file.fileName()));
        QCOMPARE(bench.ask(asked, blocking).state, State::Success);
        const auto received = server.received();
        QCOMPARE(received.size(), std::size_t(2));
        QCOMPARE(received[1].body, received[0].body);
        QVERIFY(received[1].body.size() > 100000);
    }
};

QTEST_GUILESS_MAIN(TestEngineRenewal)
#include "tst_engine_renewal.moc"
