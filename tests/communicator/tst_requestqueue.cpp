// SPDX-License-Identifier: MIT
#include "communicator/http/requestqueue.h"
#include "enginebench.h"

#include <future>
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
    void add(const QString& key, const QString& address, const QString& path, int limit = 60000)
    {
        DeviceEndpoint endpoint;
        endpoint.address = address;
        QString reason;
        if (!registry.keys().contains(key) &&
            registry.add(key, endpoint, reason) == DeviceRegistry::Change::Refused) {
            qFatal("%s", qPrintable(reason));
        }
        HttpRequest asked = request(key);
        asked.path = path;
        asked.expectedTime = limit;
        loop.run([&] {
            queue->add(
                asked, registry.find(key), [this](const HttpReply& reply) { tell(reply); },
                std::chrono::steady_clock::now());
        });
    }
    void tell(const HttpReply& reply)
    {
        timedOut += reply.state == State::TimedOut ? 1 : 0;
        ++settled;
    }
    void abort(const QString& key)
    {
        loop.run([&] { queue->abort(key); });
    }

    DeviceRegistry registry;
    IoLoop loop;
    std::atomic<int> timedOut{0};
    std::atomic<int> settled{0};
    std::optional<RequestQueue> queue;
};

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
};

QTEST_GUILESS_MAIN(TestRequestQueue)
#include "tst_requestqueue.moc"
