// SPDX-License-Identifier: MIT
#include "promiseoutcome.h"
#include "simulateddevice.h"

#include <closedport.h>

#include <tessel/cabinetinfooperator.h>
#include <tessel/correctionop.h>
#include <tessel/hwinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/pipeinfo.h>
#include <tessel/screeninfo.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Tessel::Simulator::Fault;
using Tessel::Simulator::Options;
using Tessel::Simulator::Protocol;
using Tessel::Simulator::Simulator;
using UrlResource::MonitorInfo;

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;
using Screens = QMap<QString, Map>;

Options kind(Protocol protocol)
{
    Options options;
    options.protocol = protocol;
    return options;
}

QJsonDocument content(const Simulator& simulator, const char* path)
{
    return QJsonDocument::fromJson(simulator.value(QString::fromLatin1(path)));
}

/// How a device fails to answer.
enum class Absence { Refused, Unknown, Gone };

/// A device that does not answer, and its key.
struct AbsentDevice
{
    explicit AbsentDevice(Absence absence)
    {
        if (absence == Absence::Refused && !device.add(closed.address())) {
            qFatal("no device");
        }
        if (absence != Absence::Gone) {
            return;
        }
        if (!device.start()) {
            qFatal("no simulator");
        }
        device.simulator.logoutDevice();
    }
    const ClosedPort closed;
    SimulatedDevice device;
};

} // namespace

Q_DECLARE_METATYPE(Absence)

class TestProtocolsIntegration : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aSingleScreenControllerIsLoadedByItsProtocol()
    {
        SimulatedDevice device(kind(Protocol::SingleScreen));
        QVERIFY(device.start());
        auto* hw = HWInfo::getInstance();
        QVERIFY(!hw->getHwProtoc(device.key, true));
        QVERIFY(!hw->getHwProtoc(device.key, false));
        QCOMPARE(hw->getCapabilityProtoc(device.key, true), Correction::EarlierThanV3);
        Screens screens;
        QVERIFY(ScreenInfo::getInstance()->getScreens(device.key, screens, false, false));
        QCOMPARE(screens.keys(), QStringList{"1"});
        QCOMPARE(screens["1"].value("screenName").toString(), QStringLiteral("Stage"));
        QCOMPARE(device.requests("Device_AllScreens"), 1);
        QCOMPARE(device.requests("Device_Mult_AllScreens"), 0);
    }

    void aNewerControllerIsLoadedByTheMultiScreenProtocol()
    {
        SimulatedDevice device(kind(Protocol::MultiScreen));
        QVERIFY(device.start());
        auto* hw = HWInfo::getInstance();
        QVERIFY(hw->getHwProtoc(device.key, true));
        QVERIFY(hw->getHwProtoc(device.key, false));
        QCOMPARE(hw->getCapabilityProtoc(device.key, true), Correction::V3);
        Screens screens;
        QVERIFY(ScreenInfo::getInstance()->getScreens(device.key, screens, false, true));
        QCOMPARE(screens.keys(), device.simulator.screenIds());
        QCOMPARE(screens["2"].value("screenName").toString(), QStringLiteral("Side Wall"));
        QCOMPARE(device.requests("Device_Mult_AllScreens"), 1);
        QCOMPARE(device.requests("Device_AllScreens"), 0);
    }

    void brightnessWrittenIsReadBackOnASingleScreenController()
    {
        SimulatedDevice device(kind(Protocol::SingleScreen));
        QVERIFY(device.start());
        HWInfo::getInstance()->getHwProtoc(device.key, true);
        Map params;
        QVERIFY(ScreenInfo::getInstance()->setBrightness(device.key, "1", params, 61));
        const auto path = QStringLiteral("/api/v1/device/screen/1/brightness");
        QTRY_COMPARE(device.simulator.value(path), QByteArray(R"({"brightness":61})"));
        Map read;
        QVERIFY(ScreenInfo::getInstance()->getBrightness(device.key, "1", read, true));
        QCOMPARE(read.value("brightness").toInt(), 61);
    }

    void brightnessWrittenIsReadBackOnAMultiScreenController()
    {
        SimulatedDevice device(kind(Protocol::MultiScreen));
        QVERIFY(device.start());
        QVERIFY(HWInfo::getInstance()->getHwProtoc(device.key, true));
        // The multi-screen protocol counts in 255ths, and what is read is not multiplied back.
        Map params;
        QVERIFY(ScreenInfo::getInstance()->setBrightness(device.key, "1", params, 61 * 255));
        QTRY_COMPARE(content(device.simulator, "/api/v1/screen/brightness")["brightness"].toInt(), 61);
        Map read;
        QVERIFY(ScreenInfo::getInstance()->getBrightness(device.key, "1", read, true));
        QCOMPARE(read.value("brightness").toInt(), 61);
    }

    void theTypedDeviceIsTheDevicesOwn_data() { bothProtocols(); }
    void theTypedDeviceIsTheDevicesOwn()
    {
        QFETCH(bool, multiScreen);
        SimulatedDevice device(kind(multiScreen ? Protocol::MultiScreen : Protocol::SingleScreen));
        QVERIFY(device.start());
        const QJsonDocument told = content(device.simulator, "/api/v1/device/hw");
        Tessel::DeviceInfo info;
        QVERIFY(HWInfo::getInstance()
                    ->getHWInfo2(device.key)
                    .then([&info](const Tessel::DeviceInfo& value) { info = value; })
                    .wait()
                    .isFulfilled());
        QVERIFY(!info.name.isEmpty());
        QCOMPARE(info.name, told["name"].toString());
        QCOMPARE(info.customName, told["customName"].toString());
        QCOMPARE(info.mac, told["mac"].toString());
        QCOMPARE(info.ip, told["ip"].toString());
    }

    void theTypedScreenIsTheDevicesOwn_data() { bothProtocols(); }
    void theTypedScreenIsTheDevicesOwn()
    {
        QFETCH(bool, multiScreen);
        SimulatedDevice device(kind(multiScreen ? Protocol::MultiScreen : Protocol::SingleScreen));
        QVERIFY(device.start());
        const QJsonDocument told = content(device.simulator, "/api/v1/device/screen");
        Tessel::ScreensInfo screen;
        QVERIFY(ScreenInfo::getInstance()
                    ->getScreens2(device.key)
                    .then([&screen](const Tessel::ScreensInfo& value) { screen = value; })
                    .wait()
                    .isFulfilled());
        QVERIFY(!screen.screenUUID.isEmpty());
        QCOMPARE(screen.screenUUID, told["screenUUID"].toString());
        QCOMPARE(screen.screenName, told["screenName"].toString());
        QCOMPARE(screen.screenTime, told["screenTime"].toString());
        const QJsonArray parts = told["subScreens"].toArray();
        QCOMPARE(screen.subScreens.size(), parts.size());
        for (int i = 0; i < parts.size(); ++i) {
            const Tessel::SubScreenInfo& part = screen.subScreens[i];
            const QJsonObject toldPart = parts[i].toObject();
            QCOMPARE(part.subScreenID, toldPart["subScreenID"].toString());
            QCOMPARE(part.inputID, toldPart["inputID"].toString());
            QCOMPARE(part.cabinets.size(), toldPart["cabinets"].toArray().size());
            QVERIFY(!part.cabinets.isEmpty());
            QCOMPARE(part.cabinets.last().id,
                     toldPart["cabinets"].toArray().last().toObject()["id"].toString());
        }
    }

    void theTypedCabinetsAreTheDevicesOwn_data() { bothProtocols(); }
    void theTypedCabinetsAreTheDevicesOwn()
    {
        QFETCH(bool, multiScreen);
        SimulatedDevice device(kind(multiScreen ? Protocol::MultiScreen : Protocol::SingleScreen));
        QVERIFY(device.start());
        const QJsonArray told = content(device.simulator, "/api/v1/device/cabinet").array();
        QList<Tessel::CabinetInfo> cabinets;
        QVERIFY(CabinetInfoOperator::getInstance()
                    ->getAllCabinets(device.key)
                    .then([&cabinets](const QList<Tessel::CabinetInfo>& value) { cabinets = value; })
                    .wait()
                    .isFulfilled());
        QCOMPARE(cabinets.size(), multiScreen ? 240 : 16);
        QCOMPARE(cabinets.size(), told.size());
        for (int i = 0; i < told.size(); ++i) {
            const QJsonObject cabinet = told[i].toObject();
            QCOMPARE(cabinets[i].id, cabinet["id"].toString());
            QCOMPARE(cabinets[i].version, cabinet["version"].toString());
            QCOMPARE(cabinets[i].outputId, cabinet["outputId"].toInt());
            QCOMPARE(cabinets[i].moduleCount, cabinet["moduleCount"].toInt());
            QCOMPARE(cabinets[i].weight, cabinet["weight"].toInt());
            QCOMPARE(cabinets[i].power, cabinet["power"].toInt());
            QCOMPARE(cabinets[i].voltage, cabinet["voltage"].toInt());
        }
    }

    void blockingOperationsTellThatADeviceDoesNotAnswer_data() { absences(); }
    void blockingOperationsTellThatADeviceDoesNotAnswer()
    {
        QFETCH(Absence, absence);
        const AbsentDevice absent(absence);
        const QString key = absent.device.key;
        Map map{{"kept", 1}};
        List list{QVariant(1)};
        Screens screens;
        QVERIFY(!HWInfo::getInstance()->getHWInfo(key, map, false));
        QCOMPARE(map, (Map{{"kept", 1}}));
        QVERIFY(!HWInfo::getInstance()->getHwProtoc(key, true));
        QCOMPARE(HWInfo::getInstance()->getCapabilityProtoc(key, true), Correction::UnknownVersion);
        QVERIFY(!ScreenInfo::getInstance()->getScreens(key, screens, false, true));
        QVERIFY(screens.isEmpty());
        QVERIFY(!CabinetInfoOperator::getInstance()->getAllCabinetsInfo(key, list, false));
        QVERIFY(!PipeInfo::getInstance()->getDevicePipes(key, list, false));
        QCOMPARE(list, List{QVariant(1)});
        QVERIFY(!MonitorInfo::getInstance()->getMonitorState(key, map));
        QVERIFY(map.isEmpty());
    }

    void promisesTellThatADeviceDoesNotAnswer_data() { absences(); }
    void promisesTellThatADeviceDoesNotAnswer()
    {
        QFETCH(Absence, absence);
        const AbsentDevice absent(absence);
        const QString key = absent.device.key;
        const QString rejected = QStringLiteral("rejected: undefined");
        auto* correction = Correctionop::getInstance();
        QCOMPARE(PromiseOutcome::of(HWInfo::getInstance()->getHWInfo2(key).then(
                     [](const Tessel::DeviceInfo&) { return true; })),
                 rejected);
        QCOMPARE(PromiseOutcome::of(ScreenInfo::getInstance()->getScreens2(key).then(
                     [](const Tessel::ScreensInfo&) { return true; })),
                 rejected);
        QCOMPARE(PromiseOutcome::of(CabinetInfoOperator::getInstance()->getAllCabinets(key)), rejected);
        QCOMPARE(PromiseOutcome::of(correction->uploadCoefficientAsync(key, {})), QStringLiteral("false"));
        QCOMPARE(PromiseOutcome::of(correction->uploadCoefficient(key, QStringLiteral("1"), {})),
                 QStringLiteral("{}"));
        QCOMPARE(PromiseOutcome::of(correction->loadCabinetCoeffs(key, {"1"})), rejected);
        QCOMPARE(PromiseOutcome::of(correction->clearCabinetCoeffs(key, {"1"})), QStringLiteral("fulfilled"));
        QCOMPARE(PromiseOutcome::of(correction->downloadCoefficient(key, {"1"})),
                 QStringLiteral("0 elements"));
    }

    void callbacksTellThatADeviceDoesNotAnswer_data() { absences(); }
    void callbacksTellThatADeviceDoesNotAnswer()
    {
        QFETCH(Absence, absence);
        const AbsentDevice absent(absence);
        int calls = 0;
        int state = 0;
        QVERIFY(MonitorInfo::getInstance()->getMonitorData(absent.device.key,
                                                           [&calls, &state](HttpJsonPackage* package) {
                                                               ++calls;
                                                               state = package->getSimpleState();
                                                               package->deleteLater();
                                                           }));
        QTRY_COMPARE(calls, 1);
        QVERIFY(state != 0);
    }

    void theTransportTellsWhyADeviceDoesNotAnswer()
    {
        const AbsentDevice refused(Absence::Refused);
        const AbsentDevice gone(Absence::Gone);
        const AbsentDevice unknown(Absence::Unknown);
        QCOMPARE(stateOf(refused.device.key), HttpJsonPackage::Unreachable);
        QCOMPARE(stateOf(gone.device.key), HttpJsonPackage::Broken);
        QCOMPARE(stateOf(unknown.device.key), HttpJsonPackage::InvalidRequest);
        SimulatedDevice silent;
        QVERIFY(silent.start());
        Fault stall;
        stall.cut = Fault::Cut::Stall;
        silent.simulator.addFault(stall);
        QCOMPARE(stateOf(silent.key), HttpJsonPackage::TimedOut);
    }

    void aDeviceThatComesBackAnswersAgain()
    {
        SimulatedDevice device;
        QVERIFY(device.start());
        device.simulator.logoutDevice();
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device.key, true));
        device.simulator.loginDevice();
        QVERIFY(HWInfo::getInstance()->getHWInfo(device.key, true));
    }

private:
    static void bothProtocols()
    {
        QTest::addColumn<bool>("multiScreen");
        QTest::newRow("single-screen") << false;
        QTest::newRow("multi-screen") << true;
    }
    static void absences()
    {
        QTest::addColumn<Absence>("absence");
        QTest::newRow("connection refused") << Absence::Refused;
        QTest::newRow("key that nobody added") << Absence::Unknown;
        QTest::newRow("logged out") << Absence::Gone;
    }
    static HttpJsonPackage::HttpSimpleState stateOf(const QString& key)
    {
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/device/hw"));
        package.setExpectedTime(300);
        Krelm::Communicator::HttpDevice::HttpProxy::getInstance()->getSync(key, &package);
        return package.getSimpleState();
    }
};

QTEST_GUILESS_MAIN(TestProtocolsIntegration)
#include "tst_protocols.moc"
