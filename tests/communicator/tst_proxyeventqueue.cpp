// SPDX-License-Identifier: MIT
#include "communicator/events/proxyeventqueue.h"
#include "communicator/runtime/postedcall.h"

#include <QEventLoop>
#include <QTimer>
#include <QtTest>

#include <future>

using namespace Krelm::Communicator::HttpDevice;

namespace {

ProxyEvent eventOf(const QString& key)
{
    return {ProxyEvent::Kind::Event, key, {}, nullptr};
}

std::vector<ProxyEvent> batchOf(const QStringList& keys)
{
    std::vector<ProxyEvent> batch;
    for (const QString& key : keys) {
        batch.push_back(eventOf(key));
    }
    return batch;
}

// A queue whose wake-ups are events of this thread, as those of the proxy are.
class Delivery : public QObject
{
public:
    explicit Delivery(std::function<void(const QString&)> receive)
        : queue([this] {
            ++wakeUps;
            postCall(this, [this] { deliver(); });
        })
        , m_receive(std::move(receive))
    {}

    void deliver()
    {
        queue.deliver([this](const ProxyEvent& event) {
            received << event.deviceKey;
            m_receive(event.deviceKey);
        });
    }

    std::atomic<int> wakeUps{0};
    ProxyEventQueue queue;
    QStringList received;

private:
    const std::function<void(const QString&)> m_receive;
};

// The loops that a receiver may run before it returns.
enum class Loop { ProcessEvents, SendPostedEvents, EventLoop };

void run(Loop kind)
{
    switch (kind) {
    case Loop::ProcessEvents:
        QCoreApplication::processEvents();
        break;
    case Loop::SendPostedEvents:
        QCoreApplication::sendPostedEvents();
        break;
    case Loop::EventLoop: {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
        break;
    }
    }
}

} // namespace

class TestProxyEventQueue : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anEventPushedInAReceiversLoopIsDelivered_data();
    void anEventPushedInAReceiversLoopIsDelivered();
    void theRestOfABatchIsDeliveredInAReceiversLoop_data()
    {
        anEventPushedInAReceiversLoopIsDelivered_data();
    }
    void theRestOfABatchIsDeliveredInAReceiversLoop();
    void loopsWithinLoopsKeepTheOrder_data() { anEventPushedInAReceiversLoopIsDelivered_data(); }
    void loopsWithinLoopsKeepTheOrder();
    void everyReceiverOfAStreamMayRunALoop();
    void eventsAfterAReceiverThrewAreDelivered();
    void aLostWakeUpIsRepeated();
    void aBatchNeedsOneWakeUpHoweverLong();
    void aBatchThatIsDeliveredNoLongerCountsAsBacklog();
    void deliveryInAReceiversLoopIsReported();
    void aWakeUpForNothingIsNoDelivery();
    void pushesBeforeADeliveryNeedOneWakeUp();
    void aStreamResumesWhenAQuarterIsLeft();
};

void TestProxyEventQueue::anEventPushedInAReceiversLoopIsDelivered_data()
{
    QTest::addColumn<int>("loop");
    QTest::newRow("processEvents") << int(Loop::ProcessEvents);
    QTest::newRow("sendPostedEvents") << int(Loop::SendPostedEvents);
    QTest::newRow("an event loop") << int(Loop::EventLoop);
}

void TestProxyEventQueue::anEventPushedInAReceiversLoopIsDelivered()
{
    QFETCH(int, loop);
    Delivery delivery([&](const QString& key) {
        if (key == "A") {
            delivery.queue.push(eventOf("C"));
            run(static_cast<Loop>(loop));
        }
    });
    std::vector<ProxyEvent> batch = batchOf({"A", "B"});
    delivery.queue.push(batch);
    QTRY_COMPARE(delivery.received, (QStringList{"A", "B", "C"}));
    delivery.queue.push(eventOf("D"));
    QTRY_COMPARE(delivery.received, (QStringList{"A", "B", "C", "D"}));
}

void TestProxyEventQueue::theRestOfABatchIsDeliveredInAReceiversLoop()
{
    QFETCH(int, loop);
    QStringList atReturn;
    Delivery delivery([&](const QString& key) {
        if (key == "A") {
            delivery.queue.push(eventOf("D"));
            run(static_cast<Loop>(loop));
            atReturn = delivery.received;
        }
    });
    std::vector<ProxyEvent> batch = batchOf({"A", "B", "C"});
    delivery.queue.push(batch);
    QTRY_VERIFY(!atReturn.isEmpty());
    QCOMPARE(atReturn, (QStringList{"A", "B", "C", "D"}));
}

void TestProxyEventQueue::loopsWithinLoopsKeepTheOrder()
{
    QFETCH(int, loop);
    QStringList returned;
    Delivery delivery([&](const QString& key) {
        if (key == "A") {
            delivery.queue.push(eventOf("X"));
        }
        if (key == "B") {
            delivery.queue.push(eventOf("Y"));
        }
        run(static_cast<Loop>(loop));
        returned << key;
    });
    std::vector<ProxyEvent> batch = batchOf({"A", "B", "C"});
    delivery.queue.push(batch);
    QTRY_COMPARE(returned.size(), 5);
    QCOMPARE(delivery.received, (QStringList{"A", "B", "C", "X", "Y"}));
    QCOMPARE(returned, (QStringList{"Y", "X", "C", "B", "A"}));
}

void TestProxyEventQueue::everyReceiverOfAStreamMayRunALoop()
{
    constexpr int batches = 200;
    constexpr int batchSize = 3;
    Delivery delivery([](const QString&) { QCoreApplication::processEvents(); });
    QStringList pushed;
    for (int i = 0; i < batches * batchSize; ++i) {
        pushed << QString::number(i);
    }
    // Joins when it goes, also from a test that failed.
    const auto pushing = std::async(std::launch::async, [&] {
        for (int i = 0; i < batches; ++i) {
            std::vector<ProxyEvent> batch = batchOf(pushed.mid(i * batchSize, batchSize));
            delivery.queue.push(batch);
        }
    });
    QTRY_COMPARE_WITH_TIMEOUT(delivery.received.size(), batches * batchSize, 30000);
    QCOMPARE(delivery.received, pushed);
}

void TestProxyEventQueue::eventsAfterAReceiverThrewAreDelivered()
{
    ProxyEventQueue queue([] {});
    std::vector<ProxyEvent> batch = batchOf({"A", "B"});
    queue.push(batch);
    QStringList received;
    const auto receive = [&](const ProxyEvent& event) {
        received << event.deviceKey;
        if (event.deviceKey == "A") {
            throw 1;
        }
    };
    QVERIFY_EXCEPTION_THROWN(queue.deliver(receive), int);
    queue.deliver(receive);
    QCOMPARE(received, (QStringList{"A", "B"}));
}

// The event queue of a thread is emptied when its application goes, wake-ups included.
void TestProxyEventQueue::aLostWakeUpIsRepeated()
{
    Delivery delivery([](const QString&) {});
    delivery.queue.push(eventOf("A"));
    QCoreApplication::removePostedEvents(&delivery);
    delivery.queue.push(eventOf("B"));
    delivery.queue.repeatWakeUp();
    QTRY_COMPARE(delivery.received, (QStringList{"A", "B"}));
    const int before = delivery.wakeUps;
    delivery.queue.repeatWakeUp();
    QCOMPARE(delivery.wakeUps, before);
}

void TestProxyEventQueue::aBatchNeedsOneWakeUpHoweverLong()
{
    Delivery delivery([](const QString&) {});
    for (int round = 1; round <= 3; ++round) {
        std::vector<ProxyEvent> batch;
        for (int i = 0; i < 1000; ++i) {
            batch.push_back(eventOf(QString::number(i)));
        }
        delivery.queue.push(batch);
        QTRY_COMPARE(delivery.received.size(), round * 1000);
        QCoreApplication::processEvents();
        QVERIFY2(delivery.wakeUps <= 2 * round, "one by the push, one for the loops of its receivers");
    }
}

void TestProxyEventQueue::aBatchThatIsDeliveredNoLongerCountsAsBacklog()
{
    const auto quota = std::make_shared<StreamQuota>();
    Delivery delivery([](const QString& key) {
        if (key == "0") {
            QCoreApplication::processEvents();
        }
    });
    std::vector<ProxyEvent> batch;
    for (int i = 0; i < 4096; ++i) {
        batch.push_back({ProxyEvent::Kind::Event, QString::number(i), QByteArray("x"), quota});
    }
    delivery.queue.push(batch);
    QVERIFY(quota->isFull());
    QTRY_COMPARE(delivery.received.size(), 4096);
    QVERIFY(quota->isLow());
}

void TestProxyEventQueue::deliveryInAReceiversLoopIsReported()
{
    QStringList reported;
    Delivery delivery([&](const QString& key) {
        if (key == "A") {
            QCoreApplication::processEvents();
            reported << "A returns";
        }
    });
    delivery.queue.onDelivered([&] { reported << "delivered " + QString::number(delivery.received.size()); });
    std::vector<ProxyEvent> batch = batchOf({"A", "B"});
    delivery.queue.push(batch);
    QTRY_VERIFY(reported.contains("A returns"));
    QCOMPARE(reported.mid(0, 2), (QStringList{"delivered 2", "A returns"}));
}

void TestProxyEventQueue::aWakeUpForNothingIsNoDelivery()
{
    int reported = 0;
    Delivery delivery([](const QString&) {});
    delivery.queue.onDelivered([&] { ++reported; });
    delivery.deliver();
    QCOMPARE(reported, 0);
    delivery.queue.push(eventOf("A"));
    delivery.deliver();
    QCOMPARE(reported, 1);
    QCoreApplication::processEvents(); // the wake-up for it comes late
    QCOMPARE(reported, 1);
}

void TestProxyEventQueue::pushesBeforeADeliveryNeedOneWakeUp()
{
    Delivery delivery([](const QString&) {});
    for (const char* key : {"A", "B", "C"}) {
        delivery.queue.push(eventOf(key));
        QCOMPARE(delivery.wakeUps.load(), 1);
    }
    QTRY_COMPARE(delivery.received, (QStringList{"A", "B", "C"}));
}

void TestProxyEventQueue::aStreamResumesWhenAQuarterIsLeft()
{
    // In events and in bytes.
    const std::pair<int, int> shapes[] = {{4096, 1}, {8, 1 << 20}};
    for (const auto& [count, size] : shapes) {
        const auto quota = std::make_shared<StreamQuota>();
        int firstLow = -1;
        int lastFull = -1;
        Delivery delivery([&](const QString& key) {
            if (quota->isFull()) {
                lastFull = key.toInt();
            }
            if (firstLow < 0 && quota->isLow()) {
                firstLow = key.toInt();
            }
        });
        for (int i = 0; i < count; ++i) {
            QVERIFY(!quota->isFull());
            delivery.queue.push({ProxyEvent::Kind::Event, QString::number(i), QByteArray(size, 'x'), quota});
        }
        QVERIFY(quota->isFull());
        QTRY_COMPARE(delivery.received.size(), count);
        // The one that is being received still counts.
        QCOMPARE(lastFull, 0);
        QCOMPARE(firstLow, count / 4 * 3);
    }
}

QTEST_GUILESS_MAIN(TestProxyEventQueue)
#include "tst_proxyeventqueue.moc"
