// SPDX-License-Identifier: MIT
#include "simulateddevice.h"

#include <communicator/deviceconnections.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/screeninfo.h>

#include <QRandomGenerator>
#include <QThread>
#include <QtTest>

#include <functional>

using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::Simulator::Fault;

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;
using Read = std::function<QVariant(const QString& deviceKey)>;

/// What a change of the device does to the application's view of it.
struct Change
{
    const char* name;
    const char* path; ///< of the write on the device
    const char* body; ///< of the write on the device
    QList<QPair<QObject*, QByteArray>> signalsRaised;
    QList<QPair<const char*, int>> refreshes; ///< route keys that the events make the library read again
    Read read;                                ///< from the cache
    QVariant expected;
};

Map hwInfo(const QString& key)
{
    Map map;
    HWInfo::getInstance()->getHWInfo(key, map, false);
    return map;
}

Map screen(const QString& key)
{
    QMap<QString, Map> screens;
    ScreenInfo::getInstance()->getScreens(key, screens, false, true);
    return screens.value(QStringLiteral("1"));
}

Map cabinet(const QString& key, const char* id = "7")
{
    Map map;
    CabinetInfoOperator::getInstance()->getCabinetInfo(key, QLatin1String(id), map);
    return map;
}

Map element(const List& list, int position)
{
    return list.value(position).toMap();
}

Map input(const QString& key)
{
    List list;
    InputInfo::getInstance()->getAllInputsInfo(key, list, false);
    return element(list, 1);
}

Map output(const QString& key)
{
    Map map;
    OutputInfoOperator::getInstance()->getOutputInfo(key, QStringLiteral("3"), map);
    return map;
}

Map pipeline(const QString& key)
{
    Map map;
    PipeInfo::getInstance()->getDeviceOnePipe(key, QStringLiteral("2"), map);
    return map;
}

List receivingCards(const QString& key)
{
    List cards;
    CabinetInfoOperator::getInstance()->getRvCardsList(key, cards);
    return cards;
}

/// Reads all that is cached of a device.
void fillCaches(const QString& key)
{
    hwInfo(key);
    screen(key);
    cabinet(key);
    input(key);
    output(key);
    pipeline(key);
}

Read member(Map (*record)(const QString&), const char* name)
{
    return [=](const QString& key) { return record(key).value(QLatin1String(name)); };
}

QList<Change> changes()
{
    auto* hw = HWInfo::getInstance();
    auto* screens = ScreenInfo::getInstance();
    auto* cabinets = CabinetInfoOperator::getInstance();
    const QByteArray hwChanged = SIGNAL(signal_sendDataChanged());
    const QByteArray screensChanged = SIGNAL(signal_screenDataChanged(QString));
    const Read noCache = [](const QString&) { return QVariant(true); };
    const Read seventhCabinet = [](const QString& key) { return cabinet(key).value("weight"); };
    return {
        {"the device is renamed",
         "/api/v1/device/hw/customname",
         R"({"customName":"North Stand"})",
         {{hw, SIGNAL(signal_customNameChanged(QString, QString))}, {hw, hwChanged}},
         {{"Device_Hwinfo", 1}},
         member(hwInfo, "customName"),
         "North Stand"},
        {"the device's display mode",
         "/api/v1/device/hw/displaymode",
         R"({"displayMode":2})",
         {{hw, hwChanged}},
         {{"Device_Hwinfo", 1}},
         member(hwInfo, "displayMode"),
         2},
        {"the screens",
         "/api/v1/device/screen/1/brightness",
         R"({"brightness":42})",
         {{screens, screensChanged}},
         {{"Device_AllScreens", 1}},
         member(screen, "brightness"),
         42},
        {"a screen is renamed",
         "/api/v1/device/screen/name",
         R"({"screenName":"Rear"})",
         {{screens, SIGNAL(signal_screenNameChanged(QString, QString))}, {screens, screensChanged}},
         {{"Device_AllScreens", 1}},
         member(screen, "screenName"),
         "Rear"},
        {"the screens' tags",
         "/api/v1/device/screen/enable",
         R"({"tags":[{"screenID":"1","enable":false}]})",
         {{screens, SIGNAL(signal_screenTagChanged(QString))}},
         {{"ScreenHwScreenTag", 1}},
         noCache,
         true},
        {"a cabinet",
         "/api/v1/device/cabinet/7/weight",
         R"({"weight":8200})",
         {{cabinets, SIGNAL(signal_sendDataChanged(QString))},
          {cabinets, SIGNAL(signal_rvCardsInfoChanged(QString))}},
         {{"Device_AllCabinetsInfo", 1}, {"Device_RvCards", 1}},
         seventhCabinet,
         8200},
        {"the flags",
         "/api/v1/device/cabinet/flags",
         R"({"id":"7","cabinet":3})",
         {{cabinets, SIGNAL(signal_sendCountChanged(QString))}},
         {{"Device_AllCabinetsInfo", 1}},
         noCache,
         true},
        {"an input",
         "/api/v1/device/input",
         R"([{"id":2,"name":"Camera"}])",
         {{InputInfo::getInstance(), SIGNAL(signal_sendDataChanged(QString, ushort))}},
         {{"Device_AllInputs", 1}},
         member(input, "name"),
         "Camera"},
        {"an output",
         "/api/v1/device/output/3/enable",
         R"({"enable":false})",
         {},
         {{"Device_AllOutputsInfo", 1}},
         member(output, "enable"),
         false},
        {"a pipeline",
         "/api/v1/device/pipeline/2/mirrormode",
         R"({"mirrorMode":2})",
         {{PipeInfo::getInstance(), SIGNAL(signal_sendDataChanged())}},
         {{"Device_Pipes", 1}},
         member(pipeline, "mirrorMode"),
         2},
    };
}

/// An event of a megabyte and a bit.
QByteArray padded(QByteArray event)
{
    return event.replace("PADDING", QByteArray(1 << 20, 'x'));
}

} // namespace

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Fault)

class TestEventsIntegration : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aChangeOnTheDeviceRaisesItsSignalsAndFreshensTheCache_data()
    {
        QTest::addColumn<Change>("change");
        for (const Change& change : changes()) {
            QTest::newRow(change.name) << change;
        }
    }
    void aChangeOnTheDeviceRaisesItsSignalsAndFreshensTheCache()
    {
        QFETCH(Change, change);
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        std::vector<std::unique_ptr<QSignalSpy>> spies;
        for (const auto& raised : change.signalsRaised) {
            spies.push_back(std::make_unique<QSignalSpy>(raised.first, raised.second.constData()));
        }
        device.simulator.resetCounts();

        QVERIFY(device.simulator.setValue(QString::fromLatin1(change.path), change.body));
        QTRY_COMPARE(change.read(device.key), change.expected);
        int refreshes = 0;
        for (const auto& refresh : change.refreshes) {
            QTRY_COMPARE(device.requests(refresh.first), refresh.second);
            refreshes += refresh.second;
        }
        for (const auto& spy : spies) {
            QTRY_COMPARE(spy->count(), 1);
            if (!spy->first().isEmpty()) {
                QCOMPARE(spy->first().first().toString(), device.key);
            }
        }

        fillCaches(device.key);
        QCOMPARE(change.read(device.key), change.expected);
        QCOMPARE(device.requests(), refreshes);
    }

    void theSignalsTellWhatChanged()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        QSignalSpy renamed(HWInfo::getInstance(), &HWInfo::signal_customNameChanged);
        QSignalSpy screenRenamed(ScreenInfo::getInstance(), &ScreenInfo::signal_screenNameChanged);
        QSignalSpy inputChanged(InputInfo::getInstance(), &InputInfo::signal_sendDataChanged);
        QSignalSpy refreshed(HWInfo::getInstance(), &HWInfo::signal_sendDataChanged);
        QSignalSpy screensRefreshed(ScreenInfo::getInstance(), &ScreenInfo::signal_screenDataChanged);
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/customname", R"({"customName":"North"})"));
        QVERIFY(device.simulator.setValue("/api/v1/device/screen/name", R"({"screenName":"Rear"})"));
        QVERIFY(device.simulator.setValue("/api/v1/device/input", R"([{"id":3,"name":"Camera"}])"));
        QTRY_COMPARE(renamed.size(), 1);
        QCOMPARE(renamed[0][1].toString(), QStringLiteral("North"));
        QTRY_COMPARE(screenRenamed.size(), 1);
        QCOMPARE(screenRenamed[0][1].toString(), QStringLiteral("Rear"));
        QTRY_COMPARE(inputChanged.size(), 1);
        QCOMPARE(inputChanged[0][1].toUInt(), 3U);
        // Later tests count these.
        QTRY_COMPARE(refreshed.size(), 1);
        QTRY_COMPARE(screensRefreshed.size(), 1);
    }

    void anOperationOfTheApplicationComesBackAsAnEvent()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        QCOMPARE(output(device.key).value("enable"), QVariant(true));
        Map params{{"enable", false}};
        Map reply;
        QVERIFY(OutputInfoOperator::getInstance()->setOutputEnable(device.key, "3", params, reply));
        QTRY_COMPARE(output(device.key).value("enable"), QVariant(false));
    }

    void theCardsListIsServedFromTheCacheAfterAnEvent()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        QSignalSpy cardsChanged(CabinetInfoOperator::getInstance(),
                                &CabinetInfoOperator::signal_rvCardsInfoChanged);
        QSignalSpy cabinetsChanged(CabinetInfoOperator::getInstance(),
                                   &CabinetInfoOperator::signal_sendDataChanged);
        QVERIFY(device.simulator.setValue("/api/v1/device/cabinet/7/weight", R"({"weight":1})"));
        QTRY_COMPARE(cardsChanged.size(), 1);
        QTRY_COMPARE(cabinetsChanged.size(), 1);
        const int before = device.requests("Device_RvCards");
        QCOMPARE(receivingCards(device.key).size(), 240);
        QCOMPARE(device.requests("Device_RvCards"), before);
    }

    void aBadEventIsIgnoredAndTheNextOneHeard_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::newRow("no JSON") << QByteArray("<change/>");
        QTest::newRow("cut JSON") << QByteArray(R"({"dataType":"change","changeTag":"hwInfo")").chopped(3);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("a number") << QByteArray("17");
        QTest::newRow("a list") << QByteArray(R"([{"dataType":"change","changeTag":"hwInfo"}])");
        QTest::newRow("no UTF-8") << QByteArray(R"({"dataType":"X"})").replace('X', "\xff\xfe");
        QTest::newRow("a NUL")
            << QByteArray(R"({"dataType":"change","changeTag":"hwInfoX"})").replace('X', QByteArray(1, '\0'));
        QTest::newRow("type is a number") << QByteArray(R"({"dataType":1,"changeTag":2})");
        QTest::newRow("type is a list")
            << QByteArray(R"({"dataType":["change"],"changeTag":["hwInfo"],"changeInputId":{}})");
        QTest::newRow("type is an object") << QByteArray(R"({"dataType":{"change":"change"}})");
        QTest::newRow("sender is a list")
            << QByteArray(R"({"eventSender":["cabinet"],"eventType":"cabinetsChange"})");
        QTest::newRow("event type is null") << QByteArray(R"({"eventSender":"cabinet","eventType":null})");
        QTest::newRow("no tag") << QByteArray(R"({"dataType":"change"})");
        QTest::newRow("no type") << QByteArray(R"({"changeTag":"hwInfo"})");
        QTest::newRow("no event type") << QByteArray(R"({"eventSender":"cabinet"})");
        QTest::newRow("no name") << QByteArray(R"({"dataType":"customNameChange"})");
        QTest::newRow("empty name") << QByteArray(R"({"dataType":"screenName","name":""})");
        QTest::newRow("other capitals") << QByteArray(R"({"DataType":"change","ChangeTag":"PipeLineInfo"})");
        QTest::newRow("tag of nobody") << QByteArray(R"({"dataType":"change","changeTag":"weather"})");
        QTest::newRow("deep") << QByteArray(R"({"dataType":"change","x":X})")
                                     .replace('X', QByteArray(5000, '[') + QByteArray(5000, ']'));
        const QByteArray huge = padded(R"({"dataType":"change","changeTag":"nothing","padding":"PADDING"})");
        QTest::newRow("1 MiB") << huge;
        QTest::newRow("1 MiB of no JSON") << QByteArray(1 << 20, 'x');
    }
    void aBadEventIsIgnoredAndTheNextOneHeard()
    {
        QFETCH(QByteArray, event);
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        const Map before = hwInfo(device.key);
        QSignalSpy renamed(HWInfo::getInstance(), &HWInfo::signal_customNameChanged);
        device.simulator.resetCounts();

        device.simulator.pushEvent(event);
        device.simulator.pushEvent(R"({"dataType":"customNameChange","name":"next"})");
        QTRY_COMPARE(renamed.size(), 1);
        QCOMPARE(renamed[0][1].toString(), QStringLiteral("next"));
        QCOMPARE(hwInfo(device.key), before);
        for (const char* key : {"Device_Hwinfo", "Device_AllScreens", "Device_AllCabinetsInfo",
                                "Device_AllInputs", "Device_AllOutputsInfo", "Device_Pipes"}) {
            QCOMPARE(device.requests(key), 0);
        }
    }

    void anEventThatIsTooLongForAStreamIsMadeUpForByReadingAnew()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        QSignalSpy renamed(HWInfo::getInstance(), &HWInfo::signal_customNameChanged);
        device.simulator.resetCounts();
        device.simulator.pushEvent(
            padded(R"({"dataType":"change","padding":"PADDINGPADDING","changeTag":"hwInfo"})"));
        device.simulator.pushEvent(R"({"dataType":"customNameChange","name":"next"})");
        QTRY_COMPARE(renamed.size(), 1);
        for (const char* key : {"Device_Hwinfo", "Device_AllScreens", "Device_AllInputs",
                                "Device_AllOutputsInfo", "Device_Pipes"}) {
            QTRY_COMPARE(device.requests(key), 1);
        }
    }

    void anEventOfOneMebibyteIsStillHeard()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        QSignalSpy renamed(HWInfo::getInstance(), &HWInfo::signal_customNameChanged);
        device.simulator.pushEvent(
            padded(R"({"dataType":"customNameChange","padding":"PADDING","name":"long"})"));
        QTRY_COMPARE(renamed.size(), 1);
        QCOMPARE(renamed[0][1].toString(), QStringLiteral("long"));
    }

    void anEventOfADeviceThatNobodyKnowsCachesNothing()
    {
        const QString stranger = SimulatedDevice::freshKey();
        QSignalSpy changed(HWInfo::getInstance(), &HWInfo::signal_sendDataChanged);
        QSignalSpy cabinetsChanged(CabinetInfoOperator::getInstance(),
                                   &CabinetInfoOperator::signal_sendDataChanged);
        Q_EMIT HttpProxy::getInstance()->deviceAutoReportData(R"({"dataType":"change","changeTag":"hwInfo"})",
                                                              stranger);
        Q_EMIT HttpProxy::getInstance()->deviceAutoReportData(
            R"({"eventSender":"cabinet","eventType":"cabinetsChange"})", stranger);
        // A failed reading of the cabinets is told all the same; the requests end in the order in which they
        // began.
        QTRY_COMPARE(cabinetsChanged.size(), 1);
        QCOMPARE(changed.size(), 0);
        QVERIFY(!HWInfo::getInstance()->getHWInfo(stranger, false));
        QVERIFY(!CabinetInfoOperator::getInstance()->getAllCabinetsInfo(stranger, false));
    }

    void anEventOfOneDeviceLeavesTheOthersAlone()
    {
        SimulatedDevice device;
        SimulatedDevice other;
        QVERIFY(device.startWithEvents());
        QVERIFY(other.startWithEvents());
        fillCaches(device.key);
        fillCaches(other.key);
        other.simulator.resetCounts();
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/customname", R"({"customName":"North"})"));
        QTRY_COMPARE(hwInfo(device.key).value("customName").toString(), QStringLiteral("North"));
        QCOMPARE(hwInfo(other.key).value("customName").toString(), QStringLiteral("Main Hall"));
        QCOMPARE(other.requests(), 0);
    }

    void aChangeWhileTheCacheIsBeingReadIsNotLost()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        Fault slow;
        slow.path = QStringLiteral("/api/v1/device/hw");
        slow.delay = 300;
        device.simulator.addFault(slow);
        QSignalSpy changed(HWInfo::getInstance(), &HWInfo::signal_sendDataChanged);
        const std::unique_ptr<QThread> user(QThread::create([&device] {
            QDeadlineTimer deadline(10000);
            while (device.requests("Device_Hwinfo") == 0 && !deadline.hasExpired()) {
                QThread::yieldCurrentThread();
            }
            device.simulator.setValue("/api/v1/device/hw/customname", R"({"customName":"North"})");
        }));
        user->start();
        QVERIFY(HWInfo::getInstance()->getHWInfo(device.key, true));
        user->wait();
        // The blocking read is one, the refresh that its event brings the other.
        QTRY_COMPARE(device.requests("Device_Hwinfo"), 2);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(hwInfo(device.key).value("customName").toString(), QStringLiteral("North"));
    }

    void aBurstOfChangesEndsWithTheLastOne()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        device.simulator.resetCounts();
        QSignalSpy changed(HWInfo::getInstance(), &HWInfo::signal_sendDataChanged);
        for (int mode = 1; mode <= 50; ++mode) {
            QVERIFY(device.simulator.setValue(
                "/api/v1/device/hw/displaymode",
                QByteArray(R"({"displayMode":X})").replace('X', QByteArray::number(mode))));
        }
        QTRY_COMPARE(changed.size(), 50);
        QCOMPARE(device.requests("Device_Hwinfo"), 50);
        QCOMPARE(hwInfo(device.key).value("displayMode").toInt(), 50);
    }

    void whatChangesWhileTheStreamIsBrokenIsHeardAfterwards()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        // The first event gives the stream a position from which it resumes.
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":1})"));
        QTRY_COMPARE(hwInfo(device.key).value("displayMode").toInt(), 1);
        device.simulator.disconnectStreams();
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":2})"));
        QTRY_COMPARE_WITH_TIMEOUT(hwInfo(device.key).value("displayMode").toInt(), 2, 20000);
    }

    void whateverHappensTheCachesEqualTheDeviceInTheEnd_data()
    {
        QTest::addColumn<quint32>("seed");
        for (const quint32 seed : {1U, 2U, 3U}) {
            QTest::newRow(qPrintable(QStringLiteral("seed %1").arg(seed))) << seed;
        }
    }
    void whateverHappensTheCachesEqualTheDeviceInTheEnd()
    {
        QFETCH(quint32, seed);
        Tessel::Simulator::Options options;
        options.eventHistory = 4; // a burst of writes is more than the device remembers
        SimulatedDevice device(options);
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        const struct
        {
            const char* path;
            const char* member;
            Read read;
        } values[] = {
            {"/api/v1/device/hw/displaymode", "displayMode", member(hwInfo, "displayMode")},
            {"/api/v1/device/screen/1/brightness", "brightness", member(screen, "brightness")},
            {"/api/v1/device/cabinet/7/weight", "weight",
             [](const QString& key) { return cabinet(key).value("weight"); }},
            {"/api/v1/device/pipeline/2/mirrormode", "mirrorMode", member(pipeline, "mirrorMode")},
        };
        QMap<int, int> written;
        QRandomGenerator random(seed);
        const auto writeSome = [&](int count) {
            for (int i = 0; i < count; ++i) {
                const int which = random.bounded(int(std::size(values)));
                written[which] = random.bounded(1, 100);
                const QByteArray body = QByteArray("{\"") + values[which].member +
                                        "\":" + QByteArray::number(written[which]) + '}';
                QVERIFY(device.simulator.setValue(QLatin1String(values[which].path), body));
            }
        };
        for (int round = 0; round < 6; ++round) {
            writeSome(random.bounded(3));
            switch (random.bounded(4)) {
            case 0:
                device.simulator.disconnectStreams();
                break;
            case 1:
                device.simulator.restartDevice();
                break;
            case 2: {
                device.simulator.logoutDevice();
                writeSome(random.bounded(10));
                device.simulator.loginDevice();
                break;
            }
            default:
                break;
            }
            writeSome(random.bounded(10));
            for (auto it = written.cbegin(); it != written.cend(); ++it) {
                QTRY_COMPARE_WITH_TIMEOUT(values[it.key()].read(device.key).toInt(), it.value(), 30000);
            }
        }
    }

    void theStateOfTheChannelIsSeen()
    {
        using namespace Krelm::Communicator::HttpDevice;
        SimulatedDevice device;
        DeviceConnections* const connections = DeviceConnections::getInstance();
        QStringList states;
        QObject context;
        connect(connections, &DeviceConnections::connectionChanged, &context,
                [&](const DeviceConnection& connection) {
                    if (connection.deviceKey == device.key) {
                        QCOMPARE(QThread::currentThread(), HttpProxy::getInstance()->thread());
                        states << connectionStateName(connection.state);
                    }
                });
        QSignalSpy missed(connections, &DeviceConnections::eventsMissed);
        QCOMPARE(connections->connection(device.key).state, ConnectionState::Stopped);
        QVERIFY(device.startWithEvents());
        QTRY_COMPARE(states, (QStringList{"connecting", "live"}));
        QVERIFY(missed.isEmpty());
        device.simulator.restartDevice();
        QTRY_COMPARE_WITH_TIMEOUT(
            states, (QStringList{"connecting", "live", "waiting", "connecting", "live"}), 20000);
        QTRY_COMPARE(missed.size(), 1);
        QCOMPARE(missed[0][0].toString(), device.key);
        QVERIFY(connections->connection(device.key).since.isValid());
        HttpProxy::getInstance()->removeDevice(device.key);
        QTRY_COMPARE(states.last(), QStringLiteral("stopped"));
        QCOMPARE(connections->connection(device.key).state, ConnectionState::Stopped);
    }

    void aFailedRefreshKeepsTheCacheAndTheNextEventFreshensIt()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        device.simulator.resetCounts();
        Fault failing;
        failing.path = QStringLiteral("/api/v1/device/hw");
        failing.status = 500;
        device.simulator.addFault(failing);
        QSignalSpy changed(HWInfo::getInstance(), &HWInfo::signal_sendDataChanged);
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":1})"));
        QTRY_COMPARE(device.requests("Device_Hwinfo"), 1);
        QTRY_COMPARE(device.simulator.requestsInFlight(), 0);
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":2})"));
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(hwInfo(device.key).value("displayMode").toInt(), 2);
    }

    void aRefreshThatCouldNotBeReadIsRepeatedUntilTheCacheIsRight_data()
    {
        QTest::addColumn<Fault>("fault");
        const auto row = [](const char* name, auto set) {
            Fault fault;
            fault.times = 2;
            set(fault);
            QTest::newRow(name) << fault;
        };
        row("a failure", [](Fault& fault) { fault.status = 500; });
        row("a cut connection", [](Fault& fault) { fault.cut = Fault::Cut::Truncate; });
        row("a reply that is cut short and does not say so",
            [](Fault& fault) { fault.cut = Fault::Cut::ShortLength; });
    }
    void aRefreshThatCouldNotBeReadIsRepeatedUntilTheCacheIsRight()
    {
        QFETCH(Fault, fault);
        const struct
        {
            const char* path;
            const char* write;
            const char* body;
            Read read;
        } values[] = {
            {"/api/v1/device/hw", "/api/v1/device/hw/displaymode", R"({"displayMode":7})",
             member(hwInfo, "displayMode")},
            {"/api/v1/device/pipeline", "/api/v1/device/pipeline/2/mirrormode", R"({"mirrorMode":7})",
             member(pipeline, "mirrorMode")},
        };
        for (const auto& value : values) {
            SimulatedDevice device;
            QVERIFY(device.startWithEvents());
            fillCaches(device.key);
            fault.path = QLatin1String(value.path);
            device.simulator.addFault(fault);
            QVERIFY(device.simulator.setValue(QLatin1String(value.write), value.body));
            QTRY_COMPARE_WITH_TIMEOUT(value.read(device.key), QVariant(7), 20000);
        }
    }

    void aRefreshThatTheApplicationCancelledIsRepeated()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        Fault slow;
        slow.path = QStringLiteral("/api/v1/device/hw");
        slow.delay = 60000;
        device.simulator.addFault(slow);
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":7})"));
        QTRY_COMPARE(device.simulator.requestsInFlight(), 1);
        HttpProxy::getInstance()->cancelAll(device.key);
        QTRY_COMPARE_WITH_TIMEOUT(hwInfo(device.key).value("displayMode").toInt(), 7, 20000);
    }

    void aLogoutDropsTheCachesAndAReturnFillsThemAgain()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        QSignalSpy cardsChanged(CabinetInfoOperator::getInstance(),
                                &CabinetInfoOperator::signal_rvCardsInfoChanged);
        QVERIFY(device.simulator.setValue("/api/v1/device/cabinet/7/weight", R"({"weight":1})"));
        QTRY_COMPARE(cardsChanged.size(), 1);
        fillCaches(device.key);

        QSignalSpy loggedOut(HttpProxy::getInstance(), &HttpProxy::deviceLogout);
        QVERIFY(HttpProxy::getInstance()->removeDevice(device.key));
        QTRY_COMPARE(loggedOut.size(), 1);
        QCOMPARE(loggedOut[0][0].toString(), device.key);
        device.simulator.resetCounts();
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device.key, false));
        QVERIFY(!ScreenInfo::getInstance()->getScreens(device.key, false));
        QVERIFY(!CabinetInfoOperator::getInstance()->getAllCabinetsInfo(device.key, false));
        QVERIFY(!InputInfo::getInstance()->getAllInputsInfo(device.key, false));
        QVERIFY(!OutputInfoOperator::getInstance()->getAllOutputsInfo(device.key, false));
        // These two outlive the device.
        QVERIFY(PipeInfo::getInstance()->getDevicePipes(device.key, false));
        QCOMPARE(receivingCards(device.key).size(), 240);
        QCOMPARE(device.requests(), 0);

        QVERIFY(device.add());
        fillCaches(device.key);
        fillCaches(device.key);
        for (const char* key : {"Device_Hwinfo", "Device_AllScreens", "Device_AllCabinetsInfo",
                                "Device_AllInputs", "Device_AllOutputsInfo"}) {
            QCOMPARE(device.requests(key), 1);
        }
        QCOMPARE(device.requests("Device_Pipes"), 0);
        QVERIFY(device.simulator.waitForEventStreams(1));
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":3})"));
        QTRY_COMPARE(hwInfo(device.key).value("displayMode").toInt(), 3);
    }

    void aDeviceThatStaysAwayShortlyKeepsItsCaches()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        fillCaches(device.key);
        QSignalSpy loggedOut(HttpProxy::getInstance(), &HttpProxy::deviceLogout);
        device.simulator.logoutDevice();
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device.key, true));
        QVERIFY(HWInfo::getInstance()->getHWInfo(device.key, false));
        device.simulator.loginDevice();
        QVERIFY(HWInfo::getInstance()->getHWInfo(device.key, true));
        QVERIFY(device.simulator.waitForEventStreams(1, 20000));
        for (const auto& logout : loggedOut) {
            QVERIFY(logout[0].toString() != device.key);
        }
    }

    void handlersRunOnTheOperatorsThreadWhoeverEmits()
    {
        SimulatedDevice device;
        QVERIFY(device.startWithEvents());
        QVERIFY(HWInfo::getInstance()->getHWInfo(device.key, true));
        QVERIFY(device.simulator.setValue("/api/v1/device/hw/displaymode", R"({"displayMode":4})"));
        QTRY_COMPARE(hwInfo(device.key).value("displayMode").toInt(), 4);
        QThread* handlers = nullptr;
        QObject context;
        connect(
            HWInfo::getInstance(), &HWInfo::signal_customNameChanged, &context,
            [&handlers] { handlers = QThread::currentThread(); }, Qt::DirectConnection);
        const std::unique_ptr<QThread> foreign(QThread::create([&device] {
            Q_EMIT HttpProxy::getInstance()->deviceAutoReportData(
                R"({"dataType":"customNameChange","name":"x"})", device.key);
        }));
        foreign->start();
        foreign->wait();
        QVERIFY(!handlers);
        QTRY_VERIFY(handlers);
        QCOMPARE(handlers, HWInfo::getInstance()->thread());
        QCOMPARE(handlers, QThread::currentThread());
    }
};

QTEST_GUILESS_MAIN(TestEventsIntegration)
#include "tst_events.moc"
