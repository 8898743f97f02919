// SPDX-License-Identifier: MIT
#include <tessel/frames/deviceevents.h>

#include <QThread>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

class Listener : public QObject
{
public:
    void logout(const QString& deviceKey)
    {
        heard << "logout " + deviceKey;
        thread = QThread::currentThread();
    }
    void hear(const QByteArray& data, const QString& deviceKey)
    {
        heard << deviceKey + ' ' + data;
        thread = QThread::currentThread();
    }
    QStringList heard;
    QThread* thread = nullptr;
};

} // namespace

class TestDeviceEvents : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aListenerHearsLogoutsAndEventsOfEveryDevice()
    {
        Listener listener;
        Tessel::listenToDevices(&listener, &Listener::logout, &Listener::hear);
        Q_EMIT HttpProxy::getInstance()->deviceAutoReportData("{}", "a");
        Q_EMIT HttpProxy::getInstance()->deviceLogout("b");
        QCOMPARE(listener.heard, (QStringList{"a {}", "logout b"}));
    }

    void anEventOnlyListenerHearsNoLogout()
    {
        Listener listener;
        Tessel::listenToEvents(&listener, &Listener::hear);
        Q_EMIT HttpProxy::getInstance()->deviceLogout("b");
        Q_EMIT HttpProxy::getInstance()->deviceAutoReportData("{}", "a");
        QCOMPARE(listener.heard, (QStringList{"a {}"}));
    }

    void handlersRunOnTheListenersThreadWhoeverEmits()
    {
        Listener listener;
        Tessel::listenToDevices(&listener, &Listener::logout, &Listener::hear);
        std::unique_ptr<QThread> foreign(QThread::create([] {
            Q_EMIT HttpProxy::getInstance()->deviceAutoReportData("{}", "a");
            Q_EMIT HttpProxy::getInstance()->deviceLogout("a");
        }));
        foreign->start();
        QTRY_COMPARE(listener.heard.size(), 2);
        foreign->wait();
        QCOMPARE(listener.thread, QThread::currentThread());
    }

    void theChangeFormIsFlattened()
    {
        const auto event = Tessel::changeEvent(R"({"dataType":"change","eventData":{"a":{"b":1}}})");
        QCOMPARE(event.value("eventData.a.b").toInt(), 1);
        QVERIFY(!event.contains("eventData"));
    }

    void theEnvelopeFormKeepsItsPayloadNested()
    {
        const auto event = Tessel::envelopeEvent(R"({"eventSender":"cabinet","eventData":{"a":{"b":1}}})");
        QCOMPARE(event.value("eventData").toMap().value("a").toMap().value("b").toInt(), 1);
        QVERIFY(!event.contains("eventData.a.b"));
    }

    void anEventThatIsNoObjectReadsAsEmpty_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("change");
        QTest::newRow("cut") << QByteArray(R"({"dataType":"change")");
        QTest::newRow("array") << QByteArray(R"(["dataType"])");
        QTest::newRow("number") << QByteArray("7");
        QTest::newRow("no UTF-8") << QByteArray("{\"dataType\":\"\xff\xfe");
    }
    void anEventThatIsNoObjectReadsAsEmpty()
    {
        QFETCH(QByteArray, data);
        QVERIFY(Tessel::changeEvent(data).isEmpty());
        QVERIFY(Tessel::envelopeEvent(data).isEmpty());
    }

    void membersCompareExactly()
    {
        const QMap<QString, QVariant> event{{"dataType", "change"}, {"number", 7}, {"empty", ""}};
        QVERIFY(Tessel::eventSays(event, "dataType", "change"));
        QVERIFY(!Tessel::eventSays(event, "dataType", "Change"));
        QVERIFY(!Tessel::eventSays(event, "DataType", "change"));
        QVERIFY(!Tessel::eventSays(event, "absent", ""));
        QVERIFY(Tessel::eventSays(event, "empty", ""));
        QVERIFY(Tessel::eventSays(event, "number", "7"));
        QCOMPARE(Tessel::eventText(event, "absent"), QString());
    }
};

QTEST_GUILESS_MAIN(TestDeviceEvents)
#include "tst_deviceevents.moc"
