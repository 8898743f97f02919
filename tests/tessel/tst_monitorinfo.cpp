// SPDX-License-Identifier: MIT
#include <communicator/httpproxy.h>
#include <deviceside.h>
#include <logcollector.h>
#include <oneinstance.h>
#include <operationrow.h>
#include <recordingengine.h>
#include <refusingengine.h>
#include <timelimits.h>

#include <tessel/allurlresource.h>
#include <tessel/monitorinfo.h>

#include <QPointer>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpMethod;
using Krelm::Communicator::HttpDevice::HttpProxy;
using UrlResource::MonitorInfo;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

MonitorInfo* monitor()
{
    return MonitorInfo::getInstance();
}

// Takes the package that an event was delivered to.
class PackageFinder : public QObject
{
public:
    bool eventFilter(QObject* receiver, QEvent*) override
    {
        if (auto* found = qobject_cast<HttpJsonPackage*>(receiver); found && !package) {
            package.reset(found);
        }
        return false;
    }
    std::unique_ptr<HttpJsonPackage> package;
};

} // namespace

class TestMonitorInfo : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    void push(const QByteArray& event) { DeviceSide::push(m_device, event); }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        monitor();
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<MonitorInfo>(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            {"UrlResource::MonitorInfo::getMonitorHistory",
             "MonitorHistory",
             HttpMethod::Get,
             Decoder::FlatList,
             [](Outputs& out) { return monitor()->getMonitorHistory(sampleDevice, "7", 10, 20, out.list); },
             {},
             {},
             {{"starttime", "10"}, {"endtime", "20"}}},
            {"UrlResource::MonitorInfo::getMonitorLogs", "MonitorLog", HttpMethod::Get, Decoder::Map,
             [](Outputs& out) { return monitor()->getMonitorLogs(sampleDevice, 10, 20, out.map); }},
            {"UrlResource::MonitorInfo::getMonitorState", "MonitorState", HttpMethod::Get, Decoder::Map,
             [](Outputs& out) { return monitor()->getMonitorState(sampleDevice, out.map); }},
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void getMonitorHistorySendsItsTimesAndLeavesTheIdUnfilled()
    {
        List list;
        QVERIFY(monitor()->getMonitorHistory(m_device, "7", 10, 20, list));
        QCOMPARE(m_engine->last().parameters,
                 (QMap<QString, QString>{{"starttime", "10"}, {"endtime", "20"}}));
        QVERIFY(m_engine->last().placeHolders.isEmpty());
        QVERIFY(m_engine->last().path.endsWith("/{id}"));
    }

    void getMonitorHistoryWritesTimesBeyond32BitsInDecimal()
    {
        List list;
        QVERIFY(monitor()->getMonitorHistory(m_device, "7", -1, 9223372036854775807, list));
        QCOMPARE(m_engine->last().parameters.value("starttime"), QString("-1"));
        QCOMPARE(m_engine->last().parameters.value("endtime"), QString("9223372036854775807"));
    }

    void getMonitorLogsSendsNoParameters()
    {
        Map map;
        QVERIFY(monitor()->getMonitorLogs(m_device, 10, 20, map));
        QVERIFY(m_engine->last().parameters.isEmpty());
    }

    // UrlResource::MonitorInfo::getMonitorData

    void getMonitorDataHandsTheAnsweredPackageOver()
    {
        m_engine->answer(RecordingEngine::data(R"({"fan":{"speed":7}})"));
        QPointer<HttpJsonPackage> package;
        int calls = 0;
        Map map;
        const int limitsBefore = timeLimitsGiven();
        QVERIFY(monitor()->getMonitorData(m_device, [&](HttpJsonPackage* answered) {
            package = answered;
            map = answered->getRoutesJsonMap();
            ++calls;
        }));
        QCOMPARE(calls, 0);
        QTRY_COMPARE(calls, 1);
        QCOMPARE(map, (Map{{"fan.speed", qlonglong(7)}}));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("MonitorData"));
        QCOMPARE(m_engine->last().deviceKey, m_device);
        QCOMPARE(m_engine->last().expectedTime, 10000);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY2(package, "the callback owns the package");
        package->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!package);
    }

    void getMonitorDataOfAnUnreachableDeviceTellsTheCallback()
    {
        m_engine->answer(RecordingEngine::failure());
        int state = 0;
        QVERIFY(monitor()->getMonitorData(m_device, [&](HttpJsonPackage* answered) {
            state = answered->getSimpleState();
            answered->deleteLater();
        }));
        QTRY_VERIFY(state != 0);
    }

    void getMonitorDataSaysTrueEvenWhenTheTransportRefusesToStart()
    {
        HttpProxy::getInstance()->setEngine(std::make_unique<RefusingEngine>());
        int calls = 0;
        int state = 0;
        QVERIFY(monitor()->getMonitorData(m_device, [&](HttpJsonPackage* answered) {
            ++calls;
            state = answered->getSimpleState();
            answered->deleteLater();
        }));
        QTRY_COMPARE(calls, 1);
        QVERIFY(state != 0);
    }

    void getMonitorDataWithoutACallbackThrowsWhenTheReplyComes()
    {
        PackageFinder finder;
        QCoreApplication::instance()->installEventFilter(&finder);
        QVERIFY(monitor()->getMonitorData(m_device, {}));
        // Not from an event loop, through which exceptions must not propagate.
        const auto deliver = [this] {
            while (m_engine->held() > 0) {
                QCoreApplication::sendPostedEvents();
            }
            QCoreApplication::sendPostedEvents();
        };
        QVERIFY_EXCEPTION_THROWN(deliver(), std::bad_function_call);
        QVERIFY2(finder.package, "nobody took the package");
    }

    // Events

    void anEventRaisesItsSignalTwice_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("warning");
        QTest::addColumn<int>("output");
        QTest::addColumn<int>("cabinet");
        QTest::addColumn<int>("warningType");
        QTest::newRow("fanSpeed") << "fanSpeed" << 2 << 0 << 0 << 0;
        QTest::newRow("voltage") << "voltage" << 2 << 0 << 0 << 1;
        QTest::newRow("temperature") << "temperature" << 2 << 0 << 0 << 2;
        QTest::newRow("outputChange") << "outputChange" << 0 << 2 << 0 << -1;
        QTest::newRow("cabinet") << "cabinet" << 0 << 0 << 2 << -1;
    }
    void anEventRaisesItsSignalTwice()
    {
        QFETCH(QString, type);
        QFETCH(int, warning);
        QFETCH(int, output);
        QFETCH(int, cabinet);
        QFETCH(int, warningType);
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        QSignalSpy outputs(monitor(), &MonitorInfo::signal_tqOutputStateChanged);
        QSignalSpy cabinets(monitor(), &MonitorInfo::signal_cabinetWarningReport);
        const LogCollector log;
        push("{\"eventSender\":\"monitor\",\"eventType\":\"" + type.toUtf8() +
             "\",\"eventData\":{\"a\":{\"b\":1}}}");
        QCOMPARE(warnings.size(), warning);
        QCOMPARE(outputs.size(), output);
        QCOMPARE(cabinets.size(), cabinet);
        QCOMPARE(log.lines(), QStringList());
        const List payload{m_device, QVariantMap{{"a", QVariantMap{{"b", qlonglong(1)}}}}};
        for (QSignalSpy* spy : {&warnings, &outputs, &cabinets}) {
            for (const List& arguments : *spy) {
                QCOMPARE(arguments.at(0), payload.at(0));
                QCOMPARE(arguments.at(1).value<QVariant>(), payload.at(1));
                if (spy == &warnings) {
                    QCOMPARE(arguments.at(2).toInt(), warningType);
                }
            }
        }
        QCOMPARE(m_engine->count(), 0);
    }

    void thePayloadIsPassedOnAsParsed_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<QVariant>("payload");
        const QByteArray head = "{\"eventSender\":\"monitor\",\"eventType\":\"voltage\"";
        QTest::newRow("list") << QByteArray(head + ",\"eventData\":[1,\"x\"]}")
                              << QVariant(List{qlonglong(1), "x"});
        QTest::newRow("number") << QByteArray(head + ",\"eventData\":7}") << QVariant(qlonglong(7));
        QTest::newRow("absent") << QByteArray(head + "}") << QVariant();
    }
    void thePayloadIsPassedOnAsParsed()
    {
        QFETCH(QByteArray, event);
        QFETCH(QVariant, payload);
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        push(event);
        QCOMPARE(warnings.size(), 2);
        QCOMPARE(warnings.at(0).at(1).value<QVariant>(), payload);
    }

    void anUnknownTypeIsLoggedTwiceAndRaisesNothing_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<QString>("line");
        QTest::newRow("other case") << QByteArray(R"({"eventSender":"monitor","eventType":"FanSpeed"})")
                                    << "critical: error eventType  \"FanSpeed\"";
        QTest::newRow("absent") << QByteArray(R"({"eventSender":"monitor"})")
                                << "critical: error eventType  \"\"";
        QTest::newRow("object") << QByteArray(R"({"eventSender":"monitor","eventType":{"a":1}})")
                                << "critical: error eventType  \"\"";
    }
    void anUnknownTypeIsLoggedTwiceAndRaisesNothing()
    {
        QFETCH(QByteArray, event);
        QFETCH(QString, line);
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        QSignalSpy outputs(monitor(), &MonitorInfo::signal_tqOutputStateChanged);
        QSignalSpy cabinets(monitor(), &MonitorInfo::signal_cabinetWarningReport);
        const LogCollector log;
        push(event);
        QCOMPARE(log.lines(), (QStringList{line, line}));
        QCOMPARE(warnings.size() + outputs.size() + cabinets.size(), 0);
    }

    void everyOtherEventIsIgnoredInSilence_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::newRow("cabinet's") << QByteArray(R"({"eventSender":"cabinet","eventType":"cabinet"})");
        QTest::newRow("cabinet's fan") << QByteArray(R"({"eventSender":"cabinet","eventType":"fanSpeed"})");
        QTest::newRow("other case") << QByteArray(R"({"eventSender":"Monitor","eventType":"fanSpeed"})");
        QTest::newRow("no sender") << QByteArray(R"({"eventType":"fanSpeed"})");
        QTest::newRow("object as sender") << QByteArray(R"({"eventSender":{"monitor":1},"eventType":"x"})");
        QTest::newRow("change form") << QByteArray(R"({"dataType":"change","changeTag":"monitor"})");
        QTest::newRow("no JSON") << QByteArray("monitor");
        QTest::newRow("cut") << QByteArray("{\"eventSender\":\"monitor\",\"eventType\":\"fanSp");
        QTest::newRow("array") << QByteArray(R"([{"eventSender":"monitor","eventType":"fanSpeed"}])");
        QTest::newRow("empty") << QByteArray();
    }
    void everyOtherEventIsIgnoredInSilence()
    {
        QFETCH(QByteArray, event);
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        QSignalSpy outputs(monitor(), &MonitorInfo::signal_tqOutputStateChanged);
        QSignalSpy cabinets(monitor(), &MonitorInfo::signal_cabinetWarningReport);
        const LogCollector log;
        push(event);
        QCOMPARE(log.lines(), QStringList());
        QCOMPARE(warnings.size() + outputs.size() + cabinets.size(), 0);
    }

    void aLogoutMeansNothingHere()
    {
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        DeviceSide::logOut(m_device);
        push(R"({"eventSender":"monitor","eventType":"voltage"})");
        QCOMPARE(warnings.size(), 2);
    }

    void anEventDuringAReadIsHandledInIt()
    {
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        m_engine->answer([this](const RecordingEngine::Request&) {
            push(R"({"eventSender":"monitor","eventType":"voltage"})");
            return RecordingEngine::data(R"({"a":1})");
        });
        Map map;
        QVERIFY(monitor()->getMonitorState(m_device, map));
        QCOMPARE(warnings.size(), 2);
        QCOMPARE(map, (Map{{"a", qlonglong(1)}}));
    }

    void anEventFromAForeignThreadIsHandledOnTheOperatorsThread()
    {
        QList<QThread*> raisedOn;
        const auto connection = connect(
            monitor(), &MonitorInfo::signal_tqWarningReport, monitor(),
            [&] { raisedOn << QThread::currentThread(); }, Qt::DirectConnection);
        DeviceSide::pushFromForeignThread(m_device, R"({"eventSender":"monitor","eventType":"voltage"})");
        QVERIFY(raisedOn.isEmpty());
        QTRY_COMPARE(raisedOn.size(), 2);
        disconnect(connection);
        QCOMPARE(raisedOn, (QList<QThread*>{monitor()->thread(), monitor()->thread()}));
    }

    void theSlotHandlesAnEventThatIsHandedToIt()
    {
        QSignalSpy warnings(monitor(), &MonitorInfo::signal_tqWarningReport);
        monitor()->slot_onDeviceAutoReport(
            R"({"eventSender":"monitor","eventType":"temperature","eventData":{"t":70}})", m_device);
        QCOMPARE(warnings.size(), 1);
        QCOMPARE(warnings.at(0).at(0).toString(), m_device);
        QCOMPARE(warnings.at(0).at(1).value<QVariant>(), QVariant(Map{{"t", qlonglong(70)}}));
        QCOMPARE(warnings.at(0).at(2).toInt(), 2);
    }

    void signalsAndSlotStandInTheirOrder()
    {
        const QMetaObject& meta = MonitorInfo::staticMetaObject;
        QList<QByteArray> names;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            names << meta.method(i).name();
        }
        QCOMPARE(names, (QList<QByteArray>{"signal_tqOutputStateChanged", "signal_tqWarningReport",
                                           "signal_cabinetWarningReport", "slot_onDeviceAutoReport"}));
    }
};

QTEST_GUILESS_MAIN(TestMonitorInfo)
#include "tst_monitorinfo.moc"
