// SPDX-License-Identifier: MIT
#include "enginebench.h"

namespace {

HttpRequest write(const QString& deviceKey, const QString& path, const QByteArray& body,
                  HttpMethod method = HttpMethod::Put)
{
    HttpRequest written = request(deviceKey, method, body);
    written.path = path;
    written.expectedTime = 20000;
    return written;
}

const QString path = QStringLiteral("/api/v1/screen/brightness");

} // namespace

/// Writes that do not wait, in the order in which they were made.
class TestEngineOrder : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void writesToOnePathArriveInTheirOrder()
    {
        constexpr int count = 200;
        MisbehavingServer server;
        Bench bench;
        std::atomic<int> succeeded{0};
        for (int i = 0; i < count; ++i) {
            const HttpMethod method = i % 3 == 0 ? HttpMethod::Post : HttpMethod::Put;
            bench.engine.start(
                write(server.address(), path, QByteArray::number(i), method),
                [&succeeded](const HttpReply& reply) { succeeded += reply.state == State::Success; });
        }
        QTRY_COMPARE(succeeded.load(), count);
        const auto received = server.received();
        QCOMPARE(int(received.size()), count);
        for (int i = 0; i < count; ++i) {
            QCOMPARE(received[size_t(i)].body, QByteArray::number(i));
        }
    }

    void readsAndOtherPathsGoOnBesideAWrite()
    {
        MisbehavingServer server(Mode::Stall);
        Bench bench;
        bench.engine.start(write(server.address(), path, "1"), [](const HttpReply&) {});
        QVERIFY(server.waitForDeliveries(1));
        bench.engine.start(write(server.address(), path, "2"), [](const HttpReply&) {});
        HttpRequest templated = write(server.address(), QStringLiteral("/api/v1/screen/{id}"), "3");
        templated.placeHolders.insert(QStringLiteral("id"), QStringLiteral("brightness"));
        bench.engine.start(templated, [](const HttpReply&) {});
        templated.placeHolders.insert(QStringLiteral("id"), QStringLiteral("gamma"));
        templated.body = "4";
        bench.engine.start(templated, [](const HttpReply&) {});
        HttpRequest read = request(server.address());
        read.path = path;
        bench.engine.start(read, [](const HttpReply&) {});
        QVERIFY(server.waitForDeliveries(3));
        QStringList arrived;
        for (const auto& one : server.received()) {
            arrived << QString::fromLatin1(one.method + ' ' + one.body);
        }
        arrived.sort();
        QCOMPARE(arrived, (QStringList{"GET ", "PUT 1", "PUT 4"}));
    }

    void writesOfTwoDevicesDoNotWaitForEachOther()
    {
        MisbehavingServer silent(Mode::Stall);
        MisbehavingServer server;
        Bench bench;
        bench.engine.start(write(silent.address(), path, "1"), [](const HttpReply&) {});
        QCOMPARE(bench.ask(write(server.address(), path, "2"), false).state, State::Success);
    }

    void aWriteThatIsHeldBackEndsAtItsOwnTimeLimit()
    {
        MisbehavingServer server(Mode::Stall);
        Bench bench;
        bench.engine.start(write(server.address(), path, "1"), [](const HttpReply&) {});
        HttpRequest next = write(server.address(), path, "2");
        next.expectedTime = 100;
        QCOMPARE(bench.ask(next, false).state, State::TimedOut);
        QCOMPARE(server.deliveries(), 1);
    }

    void theNextWriteGoesOutAfterOneThatFailed()
    {
        MisbehavingServer server(Mode::Stall);
        Bench bench;
        HttpRequest first = write(server.address(), path, "1");
        first.expectedTime = 200;
        std::atomic<int> failed{0};
        bench.engine.start(first,
                           [&failed](const HttpReply& reply) { failed += reply.state == State::TimedOut; });
        QVERIFY(server.waitForDeliveries(1));
        server.setMode(Mode::Answer);
        QCOMPARE(bench.ask(write(server.address(), path, "2"), false).state, State::Success);
        QCOMPARE(failed.load(), 1);
        QCOMPARE(server.received().back().body, QByteArray("2"));
    }

    void writesThatAreHeldBackEndWithTheirDevice()
    {
        MisbehavingServer server(Mode::Stall);
        Bench bench;
        std::atomic<int> aborted{0};
        for (int i = 0; i < 5; ++i) {
            bench.engine.start(
                write(server.address(), path, QByteArray::number(i)),
                [&aborted](const HttpReply& reply) { aborted += reply.state == State::Aborted; });
        }
        QVERIFY(server.waitForDeliveries(1));
        bench.engine.abort(server.address());
        QTRY_COMPARE(aborted.load(), 5);
        server.setMode(Mode::Answer);
        QCOMPARE(bench.ask(write(server.address(), path, "x"), false).state, State::Success);
        QCOMPARE(int(server.received().size()), 2);
    }

    void writesThatAreHeldBackEndWithTheEngine()
    {
        MisbehavingServer server(Mode::Stall);
        Bench bench;
        std::atomic<int> aborted{0};
        for (int i = 0; i < 3; ++i) {
            bench.engine.start(
                write(server.address(), path, QByteArray::number(i)),
                [&aborted](const HttpReply& reply) { aborted += reply.state == State::Aborted; });
        }
        QVERIFY(server.waitForDeliveries(1));
        bench.engine.stop();
        QCOMPARE(aborted.load(), 3);
    }
};

QTEST_GUILESS_MAIN(TestEngineOrder)
#include "tst_engine_order.moc"
