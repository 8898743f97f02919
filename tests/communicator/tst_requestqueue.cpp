// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "communicator/http/requestqueue.h"
#include "enginebench.h"

#include <logcollector.h>

#include <future>
#include <mutex>
#include <optional>

namespace {

/// A queue with so few connections that devices wait for each other.
struct Queue
{
    explicit Queue(std::size_t connections)
    {
        loop.run([&] { queue.emplace(loop, TransferLimits(), [connections] { return connections; }); });
    }
    ~Queue()
    {
        loop.run([this] { queue.reset(); });
    }
    std::shared_ptr<const Device> device(const QString& key, const QString& address)
    {
        DeviceEndpoint endpoint;
        endpoint.address = address;
        if (!registry.keys().contains(key)) {
            const DeviceRegistry::AddResult result = registry.add(key, endpoint);
            if (result.change == DeviceRegistry::Change::Refused) {
                qFatal("%s", qPrintable(result.error));
            }
        }
        return registry.find(key);
    }
    void add(const QString& key, const QString& address, const QString& path, int limit = 60000)
    {
        HttpRequest asked = request(key);
        asked.path = path;
        asked.expectedTime = limit;
        add(asked, address);
    }
    /// A write, by default of its number, to "/w".
    void write(const QString& key, const QString& address, ExchangeId id, const char* path = "/w")
    {
        HttpRequest asked = request(key, HttpMethod::Put, QByteArray::number(id));
        asked.path = QLatin1String(path);
        asked.expectedTime = 60000;
        asked.id = id;
        add(asked, address);
    }
    void add(const HttpRequest& asked, const QString& address)
    {
        const std::shared_ptr<const Device> target = device(asked.deviceKey, address);
        const ExchangeId id = asked.id;
        loop.run([&] {
            queue->add(
                asked, target, [this, id](const HttpReply& reply) { tell(id, reply); },
                std::chrono::steady_clock::now());
        });
    }
    void tell(ExchangeId id, const HttpReply& reply)
    {
        timedOut += reply.state == State::TimedOut ? 1 : 0;
        if (reply.state == State::Aborted) {
            aborted.push_back(id);
        }
        ++settled;
    }
    void abort(const QString& key)
    {
        loop.run([&] { queue->abort(key); });
    }
    void cancel(ExchangeId id)
    {
        loop.run([&] { queue->cancel(id); });
    }
    void cancelAll(const QString& key)
    {
        loop.run([&] { queue->cancelAll(key); });
    }
    std::vector<ExchangeId> whatWasAborted()
    {
        std::vector<ExchangeId> ids;
        loop.run([&] { ids = aborted; });
        return ids;
    }

    DeviceRegistry registry;
    IoLoop loop;
    std::atomic<int> timedOut{0};
    std::atomic<int> settled{0};
    std::vector<ExchangeId> aborted; // on the loop's thread
    std::optional<RequestQueue> queue;
};

/// Takes all places of a queue with one connection.
void fill(Queue& queue, const MisbehavingServer& silent)
{
    queue.add(QStringLiteral("x"), silent.address(), QStringLiteral("/x"));
    queue.add(QStringLiteral("y"), silent.address(), QStringLiteral("/y"));
}

QByteArray bodiesOf(const MisbehavingServer& server)
{
    QByteArrayList bodies;
    for (const MisbehavingServer::Received& received : server.received()) {
        bodies += received.body;
    }
    return bodies.join(' ');
}

using Ids = std::vector<ExchangeId>;

const QString a = QStringLiteral("a");

} // namespace

class TestRequestQueue : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void aRequestThatHasNoTurnWithinItsLimitTimesOut()
    {
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer server;
        Queue queue(1);
        queue.add(QStringLiteral("x"), silent.address(), QStringLiteral("/x"));
        queue.add(QStringLiteral("y"), silent.address(), QStringLiteral("/y"));
        queue.add(QStringLiteral("a"), server.address(), QStringLiteral("/a0"), 20);
        QTRY_COMPARE(queue.timedOut.load(), 1);
        QCOMPARE(queue.settled.load(), 1);
        queue.add(QStringLiteral("a"), server.address(), QStringLiteral("/a1"));
        queue.abort(QStringLiteral("x"));
        QVERIFY(server.waitForDeliveries(1));
        QCOMPARE(server.received().at(0).target, QByteArray("/a1"));
        QTRY_COMPARE(queue.settled.load(), 3);
        QCOMPARE(queue.timedOut.load(), 1);
    }

    void allPlacesThatGetFreeAreTaken()
    {
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer later(Mode::Stall);
        Queue queue(4); // eight in all
        for (const char* const key : {"x", "x", "1", "2", "3", "4", "5", "6"}) {
            queue.add(QLatin1String(key), silent.address(), QStringLiteral("/x"));
        }
        QVERIFY(silent.waitForDeliveries(8));
        queue.add(QStringLiteral("a"), later.address(), QStringLiteral("/a"));
        queue.add(QStringLiteral("b"), later.address(), QStringLiteral("/b"));
        queue.abort(QStringLiteral("x"));
        QVERIFY(later.waitForDeliveries(2));
    }

    void aDeviceWhoseRequestsWereAbortedKeepsOneTurn()
    {
        MisbehavingServer silent(Mode::Stall);
        MisbehavingServer server;
        Queue queue(1);
        queue.add(QStringLiteral("x"), silent.address(), QStringLiteral("/x"));
        queue.add(QStringLiteral("y"), silent.address(), QStringLiteral("/y"));
        // Both places are taken: what follows waits.
        queue.add(QStringLiteral("a"), server.address(), QStringLiteral("/a0"));
        queue.abort(QStringLiteral("a"));
        QCOMPARE(queue.settled.load(), 1);
        for (const char* const path : {"/a1", "/a2", "/a3"}) {
            queue.add(QStringLiteral("a"), server.address(), QLatin1String(path));
        }
        for (const char* const path : {"/b1", "/b2", "/b3"}) {
            queue.add(QStringLiteral("b"), server.address(), QLatin1String(path));
        }
        queue.abort(QStringLiteral("x"));
        QVERIFY(server.waitForDeliveries(6));
        QByteArray order;
        for (const MisbehavingServer::Received& received : server.received()) {
            order += received.target;
        }
        QCOMPARE(order, QByteArray("/a1/b1/a2/b2/a3/b3"));
    }

    void aWriteIsNotHeldBackByOneThatWasAborted()
    {
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer server;
        Queue queue(1);
        fill(queue, silent);
        queue.write(a, server.address(), 1);
        queue.write(a, server.address(), 2);
        queue.abort(a);
        QCOMPARE(queue.whatWasAborted(), (Ids{1, 2}));
        queue.write(a, server.address(), 3);
        queue.abort(QStringLiteral("x"));
        QVERIFY(server.waitForDeliveries(1));
        QCOMPARE(bodiesOf(server), QByteArray("3"));
    }

    void aWriteThatWasHeldBackKeepsItsPlaceAmongTheOthers()
    {
        MisbehavingServer silent(Mode::Stall);
        MisbehavingServer server;
        Queue queue(1);
        fill(queue, silent);
        for (int i = 1; i <= 3; ++i) {
            queue.write(a, server.address(), ExchangeId(i));
        }
        for (int i = 4; i <= 9; ++i) {
            queue.write(a, server.address(), ExchangeId(i), qPrintable(QStringLiteral("/%1").arg(i)));
        }
        queue.write(a, server.address(), 10);
        queue.cancelAll(QStringLiteral("x"));
        QTRY_COMPARE(queue.settled.load(), 11);
        QCOMPARE(bodiesOf(server), QByteArray("1 2 3 4 5 6 7 8 9 10"));
    }

    void whatIsCancelledWhileItWaitsLeavesItsPlaceToTheNext_data()
    {
        QTest::addColumn<int>("cancelled");
        QTest::addColumn<QByteArray>("arrived");
        QTest::newRow("the first write") << 1 << QByteArray("2 3");
        QTest::newRow("one that is held back") << 2 << QByteArray("1 3");
        QTest::newRow("the last one") << 3 << QByteArray("1 2");
        QTest::newRow("another") << 4 << QByteArray("1 2 3");
    }
    void whatIsCancelledWhileItWaitsLeavesItsPlaceToTheNext()
    {
        QFETCH(int, cancelled);
        QFETCH(QByteArray, arrived);
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer server;
        Queue queue(1);
        fill(queue, silent);
        for (const ExchangeId id : {1U, 2U, 3U}) {
            queue.write(a, server.address(), id);
        }
        queue.cancel(ExchangeId(cancelled));
        QCOMPARE(queue.whatWasAborted(), cancelled == 4 ? Ids() : Ids{ExchangeId(cancelled)});
        QCOMPARE(queue.settled.load(), cancelled == 4 ? 0 : 1);
        queue.abort(QStringLiteral("x"));
        QTRY_COMPARE(bodiesOf(server), arrived);
        QTRY_COMPARE(queue.settled.load(), 4); // with x
        // The path is free again.
        queue.write(a, server.address(), 5);
        QTRY_COMPARE(bodiesOf(server), arrived + " 5");
    }

    void whatIsCancelledUnderWayEndsAlone()
    {
        const MisbehavingServer silent(Mode::Stall);
        Queue queue(4);
        for (const ExchangeId id : {1U, 2U, 3U}) {
            queue.write(a, silent.address(), id, id == 3 ? "/b" : "/w");
        }
        queue.write(QStringLiteral("other"), silent.address(), 4);
        QVERIFY(silent.waitForDeliveries(3));
        queue.cancel(3);
        QCOMPARE(queue.whatWasAborted(), Ids{3});
        queue.cancel(3);
        queue.cancel(4);
        QCOMPARE(queue.whatWasAborted(), (Ids{3, 4}));
        queue.cancel(1);
        QVERIFY(silent.waitForDeliveries(4)); // the one that was held back
        QCOMPARE(queue.whatWasAborted(), (Ids{3, 4, 1}));
    }

    void whatIsCancelledBeforeItComesIsNotSent()
    {
        const MisbehavingServer server;
        Queue queue(4);
        queue.cancel(1);
        queue.write(a, server.address(), 1);
        QCOMPARE(queue.whatWasAborted(), Ids{1});
        queue.write(a, server.address(), 2);
        QVERIFY(server.waitForDeliveries(1));
        QCOMPARE(bodiesOf(server), QByteArray("2"));
    }

    void allOfOneDeviceIsCancelledAndItsTurnIsFree()
    {
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer server;
        Queue queue(1);
        fill(queue, silent);
        queue.write(a, server.address(), 1);
        queue.cancelAll(QStringLiteral("x"));
        QVERIFY(server.waitForDeliveries(1));
        QTRY_COMPARE(queue.settled.load(), 2);
        queue.cancelAll(QStringLiteral("unknown"));
        QCOMPARE(queue.settled.load(), 2);
    }

    void anEndIsNamedAfterItsCause()
    {
        std::mutex mutex;
        QStringList reasons;
        const ObserverHandle observer = addExchangeObserver([&](const ExchangeRecord& record) {
            const std::lock_guard<std::mutex> lock(mutex);
            reasons << record.reason;
        });
        const MisbehavingServer silent(Mode::Stall);
        Queue queue(1);
        fill(queue, silent);
        queue.write(a, silent.address(), 1);
        queue.cancel(1);
        queue.write(a, silent.address(), 1); // cancelled before it came
        queue.write(a, silent.address(), 2);
        queue.abort(a);
        queue.write(a, silent.address(), 3);
        queue.cancelAll(a);
        const std::shared_ptr<const Device> removed = queue.device(a, silent.address());
        queue.registry.remove(a);
        HttpRequest late = request(a);
        late.id = 4;
        queue.loop.run([&] {
            queue.queue->add(
                late, removed, [&queue](const HttpReply& reply) { queue.tell(4, reply); },
                std::chrono::steady_clock::now());
        });
        QCOMPARE(queue.whatWasAborted(), (Ids{1, 1, 2, 3, 4}));
        const QString cancelled = QStringLiteral("the application cancelled the request");
        const QString aborted = QStringLiteral("the transport was stopped or the device was removed");
        const std::lock_guard<std::mutex> lock(mutex);
        QCOMPARE(reasons, (QStringList{cancelled, cancelled, aborted, cancelled, aborted}));
    }

    void oneDeviceHasHalfOfTheConnections_data()
    {
        QTest::addColumn<int>("connections");
        QTest::addColumn<int>("begun");
        QTest::newRow("one") << 1 << 1;
        QTest::newRow("two") << 2 << 1;
        QTest::newRow("three") << 3 << 2;
        QTest::newRow("eight") << 8 << 4;
        QTest::newRow("nine") << 9 << 5;
        QTest::newRow("as many as a group has") << 1000 << 64;
    }
    void oneDeviceHasHalfOfTheConnections()
    {
        QFETCH(int, connections);
        QFETCH(int, begun);
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer server;
        const auto limit = std::size_t(connections);
        Queue queue(limit);
        for (int i = 0; i < 66; ++i) {
            queue.add(QStringLiteral("x"), silent.address(), QStringLiteral("/x"));
        }
        QVERIFY(silent.waitForDeliveries(begun));
        queue.add(a, server.address(), QStringLiteral("/a"));
        QTRY_COMPARE(queue.settled.load(), 1); // time enough for one more
        QCOMPARE(silent.deliveries(), begun);
    }

    void allDevicesTogetherHaveTwiceTheConnections()
    {
        const MisbehavingServer silent(Mode::Stall);
        const MisbehavingServer server;
        Queue queue(2);
        const LogCollector log;
        for (const char* const key : {"1", "2", "3"}) {
            queue.add(QLatin1String(key), silent.address(), QStringLiteral("/x"));
        }
        QVERIFY(silent.waitForDeliveries(3));
        QCOMPARE(log.lines(), QStringList());
        queue.add(a, server.address(), QStringLiteral("/a"));
        QTRY_COMPARE(queue.settled.load(), 1);
        queue.add(QStringLiteral("4"), silent.address(), QStringLiteral("/x"));
        QVERIFY(silent.waitForDeliveries(4));
        for (const char* const path : {"/b", "/c"}) { // the log tells it once
            queue.add(a, server.address(), QLatin1String(path));
        }
        const QStringList lines = log.lines().filter(QStringLiteral("warning"));
        QCOMPARE(lines, QStringList(QStringLiteral(
                            "tessel.http.warning: requests wait for others: 4 are under way, and the limit "
                            "for all devices together is 2; setRequestLimits() changes it")));
        QCOMPARE(server.deliveries(), 1);
        queue.abort(QStringLiteral("2"));
        QVERIFY(server.waitForDeliveries(3));
    }
};

QTEST_GUILESS_MAIN(TestRequestQueue)
#include "tst_requestqueue.moc"
