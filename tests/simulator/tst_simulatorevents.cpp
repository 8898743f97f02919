// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>
#include <tessel/pushevents.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <memory>
#include <vector>

using namespace Tessel::Simulator;

class TestSimulatorEvents : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    void restart(const Options& options)
    {
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

private Q_SLOTS:
    void init() { restart({}); }

    void aWritePushesItsEvents_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QList<QByteArray>>("events");
        const auto row = [](const char* path, const char* body, const QList<QByteArray>& events) {
            QTest::newRow((QByteArray(path) + ' ' + body).constData())
                << QByteArray(path) << QByteArray(body) << events;
        };
        const QByteArray hwInfo = R"({"dataType":"change","changeTag":"hwInfo"})";
        const QByteArray screens = R"({"dataType":"change","changeTag":"screensInfo"})";
        const QByteArray outputs = R"({"dataType":"change","changeTag":"outputsInfo"})";
        const QByteArray pipes = R"({"DataType":"Change","ChangeTag":"PipeLineInfo"})";
        row("/device/hw/customname", R"({"name":"Arena"})",
            {R"({"dataType":"customNameChange","name":"Arena"})", hwInfo});
        row("/device/hw/customname", R"({"customName":"B"})",
            {R"({"dataType":"customNameChange","name":"B"})", hwInfo});
        row("/device/hw", R"({"displayMode":2})", {hwInfo});
        row("/device/hw/mapping", R"({"enable":true})", {hwInfo});
        row("/device/screen/1/brightness", R"({"brightness":1})", {screens});
        row("/screen/brightness", R"({"brightness":1})", {screens});
        row("/device/screen/name", R"({"screenID":"1","name":"N"})",
            {R"({"dataType":"screenName","name":"N"})", screens});
        row("/device/screen/enable", R"({"tags":[]})",
            {R"({"dataType":"change","changeTag":"screensTagInfo"})"});
        row("/device/cabinet/7/weight", R"({"weight":1})",
            {R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{"ids":["7"]}})"});
        row("/device/cabinet/brightness", R"({"ids":["1","2"],"brightness":1})",
            {R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{"ids":["1","2"]}})"});
        row("/device/cabinet/brightness", R"({"brightness":1})",
            {R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{}})"});
        row("/device/factoryop/cabinets/1/struct", R"({"scan":1})",
            {R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{"ids":["1"]}})"});
        for (const char* path : {"/device/cabinet/cabinetflags", "/device/cabinet/moduleflags",
                                 "/device/cabinet/recvcardflags", "/device/cabinet/flags"}) {
            row(path, R"([{"id":"9","flag":1}])",
                {R"({"eventSender":"cabinet","eventType":"allFlags","eventData":{"ids":["9"]}})"});
        }
        row("/device/input/3/hue", R"({"hue":5})",
            {R"({"dataType":"change","changeTag":"inputsInfo","changeInputId":3})"});
        row("/device/output/2/enable", R"({"enable":false})", {outputs});
        row("/device/output", R"([{"id":2,"enable":false}])", {outputs});
        row("/device/output/pipelinemapping", R"({"1":1})", {outputs});
        row("/device/pipeline/1/inputid", R"({"inputId":2})", {pipes});
        row("/device/pipeline", R"([{"id":1,"name":"x"}])", {pipes});
        row("/device/channel/1/hue", R"({"hue":2})", {pipes});
        // A write that changes nothing, and one that no list shows.
        row("/device/cabinet/7/weight", R"({"weight":7500})", {});
        row("/device/screen/1/brightness", R"({"brightness":80})", {});
        row("/device/correctionop/cabinets/1/effectmode", R"({"mode":2})", {});
        row("/device/log/level", R"({"level":0})", {});
    }

    void aWritePushesItsEvents()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QFETCH(QList<QByteArray>, events);
        EventReader reader(m_simulator->port());
        QVERIFY(reader.isOpen());
        QVERIFY(m_simulator->waitForEventStreams(1));
        QCOMPARE(HttpClient(m_simulator->port()).put("/api/v1" + path, body).status, 200);
        m_simulator->pushEvent("{\"last\":1}");
        for (const QByteArray& event : events) {
            QCOMPARE(reader.next().object(), QJsonDocument::fromJson(event).object());
        }
        QCOMPARE(reader.next().data, QByteArray("{\"last\":1}"));
    }

    void everyEventThatOperatorsActOnIsPushed_data()
    {
        using Tessel::PushEvent;
        QTest::addColumn<int>("event");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        const QMap<PushEvent, QPair<QByteArray, QByteArray>> writes{
            {PushEvent::HwInfo, {"/device/hw/mapping", R"({"enable":true})"}},
            {PushEvent::CustomName, {"/device/hw/customname", R"({"customName":"B"})"}},
            {PushEvent::Screens, {"/device/screen/1/brightness", R"({"brightness":1})"}},
            {PushEvent::ScreenTags, {"/device/screen/enable", R"({"tags":[]})"}},
            {PushEvent::ScreenName, {"/device/screen/name", R"({"screenID":"1","name":"N"})"}},
            {PushEvent::Inputs, {"/device/input/3/hue", R"({"hue":5})"}},
            {PushEvent::Outputs, {"/device/output/2/enable", R"({"enable":false})"}},
            {PushEvent::Pipelines, {"/device/pipeline/1/inputid", R"({"inputId":2})"}},
            {PushEvent::Cabinets, {"/device/cabinet/7/weight", R"({"weight":1})"}},
            {PushEvent::CabinetFlags, {"/device/cabinet/flags", R"([{"id":"9","flag":1}])"}},
        };
        for (const auto& row : Tessel::eventRows) {
            const auto write = writes.value(row.event);
            QTest::addRow("%s %s", row.text.source.text, row.text.kind.text ? row.text.kind.text : "")
                << static_cast<int>(row.event) << write.first << write.second;
        }
    }
    void everyEventThatOperatorsActOnIsPushed()
    {
        QFETCH(int, event);
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        const Tessel::EventText& text = Tessel::eventRow(static_cast<Tessel::PushEvent>(event)).text;
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        if (path.isEmpty()) {
            QVERIFY2(m_simulator->pushWarning(text.kind.text) > 0, text.kind.text);
        } else {
            QCOMPARE(HttpClient(m_simulator->port()).put("/api/v1" + path, body).status, 200);
        }
        const QJsonObject pushed = reader.next().object();
        QCOMPARE(pushed.value(text.source.key).toString(), QString(text.source.text));
        if (text.kind.key) {
            QCOMPARE(pushed.value(text.kind.key).toString(), QString(text.kind.text));
        }
        QCOMPARE(pushed.size(), 1 + (text.kind.key ? 1 : 0) + (text.payload ? 1 : 0));
        QVERIFY(!text.payload || !pushed.value(text.payload).isNull());
    }

    void aWriteInsideTheProcessPushesToo()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        QVERIFY(m_simulator->setValue(QStringLiteral("/api/v1/device/input/2/hue"), "{\"hue\":7}"));
        QCOMPARE(m_simulator->value(QStringLiteral("/api/v1/device/input/2/hue")), QByteArray("{\"hue\":7}"));
        QCOMPARE(reader.next().object().value(QStringLiteral("changeInputId")).toInt(), 2);
        QVERIFY(!m_simulator->setValue(QStringLiteral("/api/v1/device/input/2/hue"), "no JSON"));
        QVERIFY(!m_simulator->setValue(QStringLiteral("nowhere"), "{}"));
        QVERIFY(m_simulator->value(QStringLiteral("/api/v1/nowhere")).isEmpty());
    }

    void idsIncreaseByOne()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        for (quint64 id = 1; id <= 5; ++id) {
            QCOMPARE(m_simulator->pushEvent("{}"), id);
        }
        for (quint64 id = 1; id <= 5; ++id) {
            QCOMPARE(reader.next().id, id);
        }
    }

    void anEventOfSeveralLinesArrivesWhole()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        m_simulator->pushEvent("{\n\"a\":1\r\n}");
        QCOMPARE(reader.next().data, QByteArray("{\n\"a\":1\n}"));
    }

    void aStreamResumesBehindItsLastEvent_data()
    {
        QTest::addColumn<QByteArray>("lastId");
        QTest::addColumn<quint64>("next");
        QTest::addColumn<bool>("isGap");
        QTest::newRow("some") << QByteArray("%1:7") << quint64(8) << false;
        QTest::newRow("all that is kept") << QByteArray("%1:5") << quint64(6) << false;
        QTest::newRow("one more than is kept") << QByteArray("%1:4") << quint64(6) << true;
        QTest::newRow("from the beginning") << QByteArray("%1:0") << quint64(6) << true;
        QTest::newRow("nothing missed") << QByteArray("%1:10") << quint64(11) << false;
        QTest::newRow("not given away yet") << QByteArray("%1:11") << quint64(6) << true;
        QTest::newRow("another life") << QByteArray("another:7") << quint64(6) << true;
        QTest::newRow("an epoch that begins alike") << QByteArray("%10:7") << quint64(6) << true;
        QTest::newRow("not told") << QByteArray() << quint64(11) << false;
        QTest::newRow("no epoch") << QByteArray("7") << quint64(6) << true;
        QTest::newRow("no number") << QByteArray("%1:abc") << quint64(6) << true;
        QTest::newRow("beyond numbers") << QByteArray("%1:99999999999999999999999") << quint64(6) << true;
    }

    void aStreamResumesBehindItsLastEvent()
    {
        QFETCH(QByteArray, lastId);
        QFETCH(quint64, next);
        QFETCH(bool, isGap);
        Options options;
        options.eventHistory = 5;
        restart(options);
        for (int i = 0; i < 10; ++i) {
            m_simulator->pushEvent("{}");
        }
        const QByteArray begin = EventReader(m_simulator->port()).begin();
        QVERIFY(begin.endsWith(":10"));
        const QByteArray epoch = begin.chopped(3);
        QTRY_COMPARE(m_simulator->eventStreams(), 0);
        EventReader reader(m_simulator->port(), lastId.replace("%1", epoch));
        QVERIFY(m_simulator->waitForEventStreams(1));
        m_simulator->pushEvent("{}");
        if (isGap) {
            const EventReader::Event gap = reader.next();
            QCOMPARE(gap.type, QByteArray("gap"));
            QCOMPARE(gap.fullId, epoch + ':' + QByteArray::number(next - 1));
        } else {
            QCOMPARE(reader.begin(), epoch + ':' + QByteArray::number(next - 1));
        }
        for (quint64 id = next; id <= 11; ++id) {
            const EventReader::Event event = reader.next();
            QCOMPARE(event.fullId, epoch + ':' + QByteArray::number(id));
            QCOMPARE(event.type, QByteArray());
        }
    }

    void aRestartBeginsAnotherEpochAndForgetsEvents_data()
    {
        QTest::addColumn<bool>("byControl");
        QTest::newRow("by function") << false;
        QTest::newRow("by the control interface") << true;
    }
    void aRestartBeginsAnotherEpochAndForgetsEvents()
    {
        QFETCH(bool, byControl);
        Options options;
        options.control = true;
        restart(options);
        EventReader reader(m_simulator->port());
        const QByteArray begin = reader.begin();
        m_simulator->pushEvent("{}");
        QCOMPARE(reader.next().id, quint64(1));
        if (byControl) {
            QCOMPARE(HttpClient(m_simulator->port()).request("POST", "/sim/restart").status, 200);
        } else {
            m_simulator->restartDevice();
        }
        QVERIFY(reader.endsSoon());
        EventReader second(m_simulator->port(), begin.chopped(2) + ":1");
        const EventReader::Event gap = second.next();
        QCOMPARE(gap.type, QByteArray("gap"));
        QCOMPARE(gap.id, quint64(0));
        QVERIFY(gap.fullId.endsWith(":0"));
        QVERIFY(gap.fullId != begin);
    }

    void aSilentStreamHearsAHeartbeat()
    {
        Options options;
        options.heartbeatInterval = 20;
        restart(options);
        EventReader reader(m_simulator->port());
        for (int i = 0; i < 8; ++i) {
            const QByteArray line = reader.line();
            QVERIFY(line == ":\n" || line == "\n" || line.startsWith("id: "));
        }
    }

    void twoHundredStreamsHearEveryEventInOrder()
    {
        std::vector<std::unique_ptr<EventReader>> readers;
        for (int i = 0; i < 200; ++i) {
            readers.push_back(std::make_unique<EventReader>(m_simulator->port()));
        }
        QVERIFY(m_simulator->waitForEventStreams(200));
        for (int i = 0; i < 100; ++i) {
            m_simulator->pushEvent("{\"n\":" + QByteArray::number(i) + "}");
        }
        for (const auto& reader : readers) {
            for (quint64 id = 1; id <= 100; ++id) {
                QCOMPARE(reader->next().id, id);
            }
        }
    }

    void requestsAreServedBesideStreams()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        QCOMPARE(HttpClient(m_simulator->port()).get("/api/v1/device/hw").status, 200);
        QCOMPARE(m_simulator->requestCount(QStringLiteral("/api/v1/events")), quint64(1));
        QTRY_COMPARE(m_simulator->requestsInFlight(), 0);
    }

    void disconnectedStreamsEndAndMayComeBack()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        m_simulator->pushEvent("{}");
        m_simulator->disconnectStreams();
        QVERIFY(reader.endsSoon());
        QTRY_COMPARE(m_simulator->eventStreams(), 0);
        EventReader next(m_simulator->port(), "another:0");
        QCOMPARE(next.next().type, QByteArray("gap"));
        QCOMPARE(next.next().id, quint64(1));
    }

    void aLoggedOutDeviceRefusesEverythingUntilItIsBack()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        HttpClient idle(m_simulator->port());
        QCOMPARE(idle.get("/api/v1/device/hw").status, 200);
        m_simulator->logoutDevice();
        QVERIFY(reader.endsSoon());
        QVERIFY(idle.endsSoon());
        QCOMPARE(HttpClient(m_simulator->port()).get("/api/v1/device/hw").status, 0);
        QVERIFY(!EventReader(m_simulator->port()).isOpen());
        m_simulator->loginDevice();
        QCOMPARE(HttpClient(m_simulator->port()).get("/api/v1/device/hw").status, 200);
    }

    void aClientThatGoesIsForgotten()
    {
        {
            EventReader reader(m_simulator->port());
            QVERIFY(m_simulator->waitForEventStreams(1));
        }
        QTRY_COMPARE(m_simulator->eventStreams(), 0);
    }

    void aClientThatDoesNotReadLosesItsStreamOnly()
    {
        EventReader lazy(m_simulator->port());
        EventReader quick(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(2));
        const QByteArray large = '"' + QByteArray(1 << 20, 'x') + '"';
        for (quint64 id = 1; id <= 80; ++id) {
            m_simulator->pushEvent(large);
            QCOMPARE(quick.next().id, id);
        }
        QTRY_COMPARE(m_simulator->eventStreams(), 1);
    }
};

QTEST_GUILESS_MAIN(TestSimulatorEvents)
#include "tst_simulatorevents.moc"
