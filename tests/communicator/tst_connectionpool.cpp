// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "communicator/http/connectionpool.h"
#include "communicator/requestlimits.h"
#include "deaflistener.h"
#include "enginebench.h"
#include "sleepingthread.h"

#include <mutex>
#include <sys/resource.h>
#include <thread>

namespace {

const QByteArray reply = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}";

/// The pool under test, and devices to ask.
struct Pool
{
    HttpReply ask(const QString& key, bool daemon = false, int milliseconds = 20000,
                  HttpMethod method = HttpMethod::Get, ExchangeId id = 0)
    {
        HttpRequest asked = request(key, method);
        asked.id = id;
        asked.daemon = daemon;
        asked.expectedTime = milliseconds;
        return pool.exchange(asked, registry.find(key), std::chrono::steady_clock::now());
    }
    std::vector<std::thread> askAtOnce(const QString& key, int count)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([this, key] { succeeded += ask(key).state == State::Success ? 1 : 0; });
        }
        return threads;
    }

    DeviceRegistry registry;
    ConnectionPool pool{smallLimits()};
    std::atomic<int> succeeded{0};
};

/// Why exchanges failed, in the order of their ends.
class Reasons
{
public:
    QStringList told() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_told;
    }

private:
    mutable std::mutex m_mutex; ///< guards m_told
    QStringList m_told;
    ObserverHandle m_observer = addExchangeObserver([this](const ExchangeRecord& record) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_told << record.reason;
    });
};

/// An exchange that takes a second and a half, to see what takes less.
class Meanwhile
{
public:
    bool isOver() const { return m_isOver; }
    ~Meanwhile() { m_thread.join(); }

private:
    const DeafListener m_deaf{"127.0.0.1", 0};
    Pool m_pool;
    std::atomic<bool> m_isOver{false};
    std::thread m_thread{[this] {
        m_pool.ask(QStringLiteral("127.0.0.1:%1").arg(m_deaf.port()), false, 1500);
        m_isOver = true;
    }};
};

const QString cancelled = QStringLiteral("the application cancelled the request");
const QString stopped = QStringLiteral("the transport was stopped or the device was removed");

} // namespace

class TestConnectionPool : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void sixteenConnectionsAreKeptToADevice()
    {
        MisbehavingServer server(Mode::Stall);
        Pool pool;
        auto threads = pool.askAtOnce(server.address(), 20);
        const bool delivered = server.waitForDeliveries(20);
        server.broadcast(reply);
        for (std::thread& thread : threads) {
            thread.join();
        }
        QVERIFY(delivered);
        QCOMPARE(pool.succeeded.load(), 20);
        QTRY_COMPARE(server.open(), 16);
    }

    void theLeastRecentlyUsedConnectionGoesWhenThereAreTooMany()
    {
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        rlimit lower = before;
        lower.rlim_cur = 256; // half of it may be kept
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &lower), 0);
        std::optional<Pool> pool(std::in_place);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &before), 0);
        MisbehavingServer server;
        const auto key = [](int device) { return QStringLiteral("wall %1").arg(device); };
        DeviceEndpoint endpoint;
        endpoint.address = server.address();
        for (int device = 0; device < 130; ++device) {
            pool->registry.add(key(device), endpoint);
            QCOMPARE(pool->ask(key(device)).state, State::Success);
        }
        QCOMPARE(server.connections(), 130);
        QTRY_COMPARE(server.open(), 128);
        for (const int device : {129, 64, 2}) { // the oldest two are gone
            QCOMPARE(pool->ask(key(device)).state, State::Success);
        }
        QCOMPARE(server.connections(), 130);
        QCOMPARE(pool->ask(key(0)).state, State::Success);
        QCOMPARE(server.connections(), 131);
        QTRY_COMPARE(server.open(), 128);
        // That was the turn of the oldest one, which is 3 now: 2 was just used.
        QCOMPARE(pool->ask(key(2)).state, State::Success);
        QCOMPARE(server.connections(), 131);
        QCOMPARE(pool->ask(key(3)).state, State::Success);
        QCOMPARE(server.connections(), 132);
        pool.reset();
        QTRY_COMPARE(server.open(), 0);
    }

    void aConnectionToWhatWasRemovedOrAbortedIsDropped()
    {
        MisbehavingServer server;
        Pool pool;
        DeviceEndpoint endpoint;
        endpoint.address = server.address();
        pool.registry.add(QStringLiteral("a"), endpoint);
        pool.registry.add(QStringLiteral("b"), endpoint);
        QCOMPARE(pool.ask(QStringLiteral("a")).state, State::Success);
        QCOMPARE(pool.ask(QStringLiteral("a"), true).state, State::Success);
        QCOMPARE(pool.ask(QStringLiteral("b")).state, State::Success);
        QCOMPARE(server.open(), 3);
        pool.pool.abort(QStringLiteral("a"));
        QTRY_COMPARE(server.open(), 1);
        QCOMPARE(pool.ask(QStringLiteral("b")).state, State::Success);
        QCOMPARE(server.connections(), 3);
        // Abort says nothing of what comes later.
        QCOMPARE(pool.ask(QStringLiteral("a")).state, State::Success);
        QCOMPARE(pool.ask(QStringLiteral("a"), true).state, State::Success);
        QCOMPARE(server.connections(), 5);
        QCOMPARE(server.open(), 3);
    }

    void abortEndsTheExchangesOfItsDeviceAlone()
    {
        MisbehavingServer one(Mode::Stall);
        MisbehavingServer other(Mode::Stall);
        Pool pool;
        HttpReply aborted;
        HttpReply answered;
        std::thread first([&] { aborted = pool.ask(one.address()); });
        std::thread second([&] { answered = pool.ask(other.address()); });
        const bool delivered = one.waitForDeliveries(1) && other.waitForDeliveries(1);
        pool.pool.abort(one.address());
        first.join();
        other.broadcast(reply);
        second.join();
        QVERIFY(delivered);
        QCOMPARE(aborted.state, State::Aborted);
        QCOMPARE(answered.state, State::Success);
        QTRY_COMPARE(one.open(), 0);
        QCOMPARE(other.open(), 1);
    }

    void onlyAnAnswerIsASignOfLife()
    {
        MisbehavingServer server(Mode::Raw);
        server.setRaw({});
        Pool pool;
        const std::shared_ptr<const Device> device = pool.registry.find(server.address());
        const std::chrono::steady_clock::time_point never{};
        QVERIFY(pool.ask(server.address()).state != State::Success);
        QVERIFY(device->lastAnswer.load() == never);
        server.setMode(Mode::Answer);
        QCOMPARE(pool.ask(server.address()).state, State::Success);
        QVERIFY(device->lastAnswer.load() > never);
    }

    void aConnectionThatTimedOutIsNotUsedAgain()
    {
        MisbehavingServer server(Mode::Stall);
        Pool pool;
        const Reasons reasons;
        QCOMPARE(pool.ask(server.address(), false, 200).state, State::TimedOut);
        QCOMPARE(reasons.told(), QStringList(QStringLiteral("no complete reply within 200 ms")));
        QTRY_COMPARE(server.open(), 0);
        server.setMode(Mode::Answer);
        QCOMPARE(pool.ask(server.address()).state, State::Success);
        QCOMPARE(server.connections(), 2);
    }

    // The observer is called within the exchange: who closes the pool may take it away then.
    void closingWaitsForWhoeverIsWithin()
    {
        MisbehavingServer server(Mode::Stall);
        Pool pool;
        std::atomic<bool> told{false};
        setExchangeObserver([&](const ExchangeRecord&) {
            for (int i = 0; i < 100; ++i) {
                std::this_thread::yield();
            }
            told = true;
        });
        std::vector<std::thread> threads = pool.askAtOnce(server.address(), 1);
        const bool delivered = server.waitForDeliveries(1);
        const Meanwhile meanwhile;
        pool.pool.close();
        const bool isLate = meanwhile.isOver();
        const bool left = told;
        threads.front().join();
        setExchangeObserver({});
        QVERIFY(delivered);
        QVERIFY(left);
        QVERIFY(!isLate); // and no longer than that
    }

    void closingWaitsForWhoeverPauses()
    {
        setRequestLimits({0, 0, true});
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 503 No\r\nRetry-After: 600\r\nContent-Length: 0\r\n\r\n");
        std::atomic<bool> repeats{false};
        const ObserverHandle observer = addExchangeObserver(
            [&repeats](const ExchangeRecord& record) { repeats = repeats || record.isRepeated; });
        Pool pool;
        HttpReply ended;
        std::thread asking([&] { ended = pool.ask(server.address(), false, 3600000); });
        const bool hasPaused = QTest::qWaitFor([&repeats] { return repeats.load(); });
        const Meanwhile meanwhile;
        pool.pool.close();
        const bool isLate = meanwhile.isOver();
        asking.join();
        setRequestLimits({});
        QVERIFY(hasPaused);
        QCOMPARE(ended.state, State::Aborted);
        QVERIFY(!isLate);
    }

    void anAttemptToConnectIsAborted_data()
    {
        QTest::addColumn<bool>("cancels");
        QTest::newRow("by the application") << true;
        QTest::newRow("with its device") << false;
    }
    void anAttemptToConnectIsAborted()
    {
        QFETCH(bool, cancels);
        const DeafListener deaf("127.0.0.1", 0);
        QVERIFY(deaf.listens());
        const QString address = QStringLiteral("127.0.0.1:%1").arg(deaf.port());
        Pool pool;
        HttpReply ended;
        std::atomic<pid_t> thread{0};
        std::thread asking([&] {
            thread = pid_t(::syscall(SYS_gettid));
            ended = pool.ask(address, false, 3000);
        });
        while (thread == 0 || !sleeps(thread)) {
            std::this_thread::yield();
        }
        cancels ? pool.pool.cancelAll(address) : pool.pool.abort(address);
        asking.join();
        QCOMPARE(ended.state, State::Aborted);
    }

    // Each device may have one request under way while twice as many are as the share counts.
    void anEngineTakesItsShareOfTheDescriptors_data()
    {
        QTest::addColumn<bool>("daemon");
        QTest::addColumn<int>("count");
        QTest::newRow("a quarter") << false << 2 * 80;
        QTest::newRow("a sixteenth for daemon requests") << true << 2 * 20;
    }
    void anEngineTakesItsShareOfTheDescriptors()
    {
        QFETCH(bool, daemon);
        QFETCH(int, count);
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        rlimit lower = before;
        lower.rlim_cur = 320;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &lower), 0);
        const RequestLimits share = requestLimits();
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &before), 0);
        setRequestLimits(share);
        std::optional<Bench> bench(std::in_place);
        MisbehavingServer server(Mode::Stall);
        DeviceEndpoint endpoint;
        endpoint.address = server.address();
        for (int i = 0; i < count + 20; ++i) {
            const QString key = QStringLiteral("wall %1").arg(i);
            bench->add(key, endpoint);
            HttpRequest asked = request(key);
            asked.daemon = daemon;
            asked.expectedTime = 60000;
            bench->engine.start(asked, [](const HttpReply&) {});
        }
        QVERIFY(server.waitForDeliveries(count));
        bench->loop->run([] {});
        QCOMPARE(server.connections(), count);
        bench->engine.stop();
        setRequestLimits({});
    }

    // Only a connection that was kept may have ended as the request went out.
    void aReadOnAFreshConnectionIsNotRepeated()
    {
        MisbehavingServer server;
        Pool pool;
        QCOMPARE(pool.ask(server.address()).state, State::Success);
        server.dropConnections();
        QTRY_COMPARE(server.open(), 0);
        server.setRaw({});
        server.setMode(Mode::Raw);
        QCOMPARE(pool.ask(server.address()).state, State::Broken);
        QCOMPARE(server.deliveries(), 2);
    }

    void aWriteDoesNotGoOutOnAConnectionThatHasEnded()
    {
        MisbehavingServer server;
        Pool pool;
        QCOMPARE(pool.ask(server.address()).state, State::Success);
        server.dropConnections();
        QTRY_COMPARE(server.open(), 0);
        QCOMPARE(pool.ask(server.address(), false, 20000, HttpMethod::Put).state, State::Success);
        QCOMPARE(server.connections(), 2);
        QCOMPARE(server.deliveries(), 2);
    }

    void aConnectionThatDoesNotOpenInTimeIsNamedAsALateReplyIs()
    {
        const DeafListener deaf("127.0.0.1", 0);
        QVERIFY(deaf.listens());
        Pool pool;
        const Reasons reasons;
        const QString address = QStringLiteral("127.0.0.1:%1").arg(deaf.port());
        QCOMPARE(pool.ask(address, false, 100).state, State::TimedOut);
        QCOMPARE(reasons.told(), QStringList(QStringLiteral("no complete reply within 100 ms")));
    }

    void whatWasCancelledBeforeItBeganIsNotSent()
    {
        MisbehavingServer server;
        Pool pool;
        const Reasons reasons;
        pool.pool.cancel(7);
        QCOMPARE(pool.ask(server.address(), false, 20000, HttpMethod::Get, 7).state, State::Aborted);
        QCOMPARE(reasons.told(), QStringList(cancelled));
        QCOMPARE(server.connections(), 0);
        QCOMPARE(pool.ask(server.address(), false, 20000, HttpMethod::Get, 8).state, State::Success);
        pool.pool.close();
        QCOMPARE(pool.ask(server.address(), false, 20000, HttpMethod::Get, 7).state, State::Aborted);
        QCOMPARE(reasons.told().last(), stopped);
        QCOMPARE(server.deliveries(), 1);
    }

    void oneExchangeIsCancelledOrAllOfADevice()
    {
        MisbehavingServer server(Mode::Stall);
        MisbehavingServer other(Mode::Stall);
        Pool pool;
        const Reasons reasons;
        std::vector<std::thread> threads;
        std::atomic<int> aborted{0};
        const auto ask = [&](const QString& key, ExchangeId id) {
            threads.emplace_back([&pool, &aborted, key, id] {
                const HttpReply ended = pool.ask(key, false, 60000, HttpMethod::Get, id);
                aborted += ended.state == State::Aborted ? 1 : 0;
            });
        };
        ask(server.address(), 1);
        ask(server.address(), 2);
        ask(server.address(), 3);
        ask(other.address(), 4);
        const bool delivered = server.waitForDeliveries(3) && other.waitForDeliveries(1);
        pool.pool.cancel(2);
        threads[1].join();
        const int afterOne = aborted;
        pool.pool.cancelAll(server.address());
        threads[0].join();
        threads[2].join();
        const int afterAll = aborted;
        pool.pool.abort(other.address());
        threads[3].join();
        QVERIFY(delivered);
        QCOMPARE(afterOne, 1);
        QCOMPARE(afterAll, 3);
        QCOMPARE(aborted.load(), 4);
        QCOMPARE(reasons.told(), (QStringList{cancelled, cancelled, cancelled, stopped}));
    }

    void aClosedPoolHasNoConnectionsAndRefuses()
    {
        MisbehavingServer server;
        MisbehavingServer stalled(Mode::Stall);
        Pool pool;
        QCOMPARE(pool.ask(server.address()).state, State::Success);
        HttpReply aborted;
        std::thread asking([&] { aborted = pool.ask(stalled.address()); });
        const bool delivered = stalled.waitForDeliveries(1);
        pool.pool.close();
        QTRY_COMPARE(server.open(), 0);
        asking.join();
        QVERIFY(delivered);
        QCOMPARE(aborted.state, State::Aborted);
        QTRY_COMPARE(stalled.open(), 0);
        QCOMPARE(pool.ask(server.address()).state, State::Aborted);
        QCOMPARE(server.connections(), 1);
    }
};

QTEST_GUILESS_MAIN(TestConnectionPool)
#include "tst_connectionpool.moc"
