// SPDX-License-Identifier: MIT
#include <cachedoperator.h>
#include <deviceside.h>
#include <logcollector.h>
#include <operationrow.h>
#include <recordingengine.h>

#include <tessel/hwinfo.h>

#include <QSignalSpy>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;

namespace {

const QByteArray hwInfoChanged = R"({"dataType":"change","changeTag":"hwInfo"})";

HWInfo* hwInfo()
{
    return HWInfo::getInstance();
}

CachedOperator cachedHwInfo()
{
    CachedOperator subject{
        []() -> QObject* { return hwInfo(); },
        "Device_Hwinfo",
        CachedOperator::Entry::Map,
        [](const QString& deviceKey, bool force) { return hwInfo()->getHWInfo(deviceKey, force); },
        handingOut(&HWInfo::getHWInfo),
        [](bool on) { on ? hwInfo()->startWatch() : hwInfo()->shutDownWatch(); },
        hwInfoChanged,
        {"dataType", "changeTag"}};
    subject.told = [](const QString&) { return QStringList{"signal_sendDataChanged()"}; };
    subject.otherEvents = {
        {"another operator's tag", R"({"dataType":"change","changeTag":"inputsInfo"})"},
        {"a change with a name", R"({"dataType":"change","name":"Lobby"})"},
        {"a tag with a name", R"({"changeTag":"hwInfo","name":"Lobby"})"},
        {"no name", R"({"dataType":"customNameChange"})"},
        {"an empty name", R"({"dataType":"customNameChange","name":""})"},
        {"a name that is an object", R"({"dataType":"customNameChange","name":{"a":"b"}})"},
        {"an envelope", R"({"eventSender":"cabinet","eventType":"cabinetsChange"})"},
    };
    return subject;
}

} // namespace

class TestHWInfo : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    Map cachedInfo()
    {
        Map out;
        hwInfo()->getHWInfo(m_device, out, false);
        return out;
    }

    void answerVersion(const char* version)
    {
        m_engine->answer(RecordingEngine::data(QByteArray("{\"CapabilityVersion\":\"") + version + "\"}"));
    }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        hwInfo()->startWatch();
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        OperationRow rows[] = {
            {"HWInfo::getHWInfo", "Device_Hwinfo", HttpMethod::Get, Decoder::None,
             [](Outputs&) { return hwInfo()->getHWInfo(sampleDevice, true); }},
            {"HWInfo::getHWInfo (overload)", "Device_Hwinfo", HttpMethod::Get, Decoder::Map,
             [](Outputs& out) { return hwInfo()->getHWInfo(sampleDevice, out.map, true); }},
            failingOnCode({"HWInfo::getHWInfo2", "Device_Hwinfo", HttpMethod::Get, Decoder::None,
                           [](Outputs&) { return hwInfo()->getHWInfo2(sampleDevice).wait().isFulfilled(); }}),
            {"HWInfo::getHwProtoc", "Device_Protoc", HttpMethod::Get, Decoder::None,
             [](Outputs&) { return hwInfo()->getHwProtoc(sampleDevice, true); }},
            {"HWInfo::getCapabilityProtoc", "Device_Capability_Protoc", HttpMethod::Get, Decoder::None,
             [](Outputs&) {
                 return hwInfo()->getCapabilityProtoc(sampleDevice, true) != Correction::UnknownVersion;
             }},
        };
        rows[1].onFailure = OnFailure::KeepOutput;
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    // The description and its cache

    void theCacheFollowsItsDevice_data() { addCachedOperatorChecks(cachedHwInfo()); }
    void theCacheFollowsItsDevice()
    {
        QFETCH(CachedOperatorCheck, check);
        checkCachedOperator(cachedHwInfo(), check);
    }

    void theTypedReadNeitherUsesNorFillsTheCache()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"MX","customName":"Lobby","mac":"m","ip":"i"})"));
        Tessel::DeviceInfo info;
        hwInfo()->getHWInfo2(m_device).then([&](const Tessel::DeviceInfo& got) { info = got; }).wait();
        QCOMPARE(info.name, QString("MX"));
        QCOMPARE(info.customName, QString("Lobby"));
        QCOMPARE(m_engine->count(), 1);
        QVERIFY(!hwInfo()->getHWDeviceType(m_device));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 2);
        hwInfo()->getHWInfo2(m_device).wait();
        QCOMPARE(m_engine->count(), 3);
    }

    void theTypedReadOfNoDeviceIsRejectedAndSendsNothing()
    {
        QByteArray reason;
        const auto promise = hwInfo()->getHWInfo2(QString());
        QVERIFY(promise.isRejected());
        promise.then([](const Tessel::DeviceInfo&) {}).fail([&](const char* text) { reason = text; }).wait();
        QCOMPARE(reason, QByteArray("arguments error"));
        QCOMPARE(m_engine->count(), 0);
    }

    void theTypedReadIsRejectedByANonZeroCode()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":1,"message":"x","data":{}})"));
        bool undefined = false;
        hwInfo()
            ->getHWInfo2(m_device)
            .then([](const Tessel::DeviceInfo&) {})
            .fail([&](const QtPromise::QPromiseUndefinedException&) { undefined = true; })
            .wait();
        QVERIFY(undefined);
    }

    void theDeviceTypeIsKnownOnceTheDescriptionNamesOne_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<bool>("known");
        QTest::newRow("a type") << QByteArray(R"({"capability":{"deviceType":3}})") << true;
        QTest::newRow("type 0") << QByteArray(R"({"capability":{"deviceType":0}})") << true;
        QTest::newRow("no type") << QByteArray(R"({"capability":{"other":1}})") << false;
        QTest::newRow("on another level") << QByteArray(R"({"deviceType":3})") << false;
    }
    void theDeviceTypeIsKnownOnceTheDescriptionNamesOne()
    {
        QFETCH(QByteArray, data);
        QFETCH(bool, known);
        QVERIFY(!hwInfo()->getHWDeviceType(m_device));
        m_engine->answer(RecordingEngine::data(data));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        hwInfo()->shutDownWatch();
        QCOMPARE(hwInfo()->getHWDeviceType(m_device), known);
        QCOMPARE(m_engine->count(), 1);
    }

    // The version checks

    void theProtocolOfAnUnknownDeviceIsNotAskedFor()
    {
        QVERIFY(!hwInfo()->getHwProtoc(m_device, false));
        QCOMPARE(m_engine->count(), 0);
    }

    void whateverADeviceRepliesItUsesTheMultiScreenProtocol()
    {
        m_engine->answer(RecordingEngine::reply("no JSON"));
        QVERIFY(hwInfo()->getHwProtoc(m_device, true));
        QVERIFY(hwInfo()->getHwProtoc(m_device, false));
        QCOMPARE(m_engine->count(), 1);
    }

    void aFailureDoesNotTakeTheProtocolBack()
    {
        QVERIFY(hwInfo()->getHwProtoc(m_device, true));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!hwInfo()->getHwProtoc(m_device, true));
        QVERIFY(hwInfo()->getHwProtoc(m_device, false));
    }

    void theCapabilityVersionIsThreeOrNot_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("version");
        QTest::newRow("V3.0") << QByteArray(R"({"CapabilityVersion":"V3.0"})") << 2;
        QTest::newRow("V2.0") << QByteArray(R"({"CapabilityVersion":"V2.0"})") << 1;
        QTest::newRow("V3.1") << QByteArray(R"({"CapabilityVersion":"V3.1"})") << 1;
        QTest::newRow("another case") << QByteArray(R"({"CapabilityVersion":"v3.0"})") << 1;
        QTest::newRow("empty") << QByteArray(R"({"CapabilityVersion":""})") << 1;
        QTest::newRow("absent") << QByteArray("{}") << 1;
        QTest::newRow("no object") << QByteArray("[]") << 1;
    }
    void theCapabilityVersionIsThreeOrNot()
    {
        QFETCH(QByteArray, data);
        QFETCH(int, version);
        m_engine->answer(RecordingEngine::data(data));
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, true)), version);
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, false)), version);
        QCOMPARE(m_engine->count(), 1);
    }

    void aCapabilityVersionThatIsNotKnownIsNotTraced()
    {
        const LogCollector log;
        hwInfo()->getCapabilityProtoc(m_device, false);
        m_engine->answer(RecordingEngine::failure());
        hwInfo()->getCapabilityProtoc(m_device, true);
        QCOMPARE(log.lines(), QStringList());
    }

    void theCapabilityVersionOfAnUnknownDeviceIsUnknownAndNotAskedFor()
    {
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, false)), 0);
        QCOMPARE(m_engine->count(), 0);
    }

    void aFailureKeepsTheEarlierCapabilityVersion()
    {
        answerVersion("V3.0");
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, true)), 2);
        m_engine->answer(RecordingEngine::failure());
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, true)), 0);
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, false)), 2);
        answerVersion("V1.0");
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, true)), 1);
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, false)), 1);
    }

    void aKnownCapabilityVersionIsTraced()
    {
        const QString line = "debug: key: \"" + m_device + "\"  isNew \"V3.0\"";
        LogCollector log;
        answerVersion("V3.0");
        hwInfo()->getCapabilityProtoc(m_device, true);
        QCOMPARE(log.lines(), QStringList{line});
        hwInfo()->getCapabilityProtoc(m_device, false);
        QCOMPARE(log.lines(), (QStringList{line, line}));
    }

    // Events

    void aNewCustomNameIsPassedOnAndNotCached()
    {
        m_engine->answer(RecordingEngine::data(R"({"customName":"old"})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QSignalSpy renamed(hwInfo(), &HWInfo::signal_customNameChanged);
        DeviceSide::push(m_device, R"({"dataType":"customNameChange","name":"Lobby"})");
        QCOMPARE(renamed.size(), 1);
        QCOMPARE(renamed.first(), (QList<QVariant>{m_device, "Lobby"}));
        QCOMPARE(cachedInfo(), (Map{{"customName", "old"}}));
        QCOMPARE(m_engine->count(), 1);
    }

    void withTheWatchOffANewCustomNameIsLost()
    {
        hwInfo()->shutDownWatch();
        QSignalSpy renamed(hwInfo(), &HWInfo::signal_customNameChanged);
        DeviceSide::push(m_device, R"({"dataType":"customNameChange","name":"Lobby"})");
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(renamed.size(), 0);
    }

    // Logout

    void aLogoutForgetsTheDescriptionAndKeepsTheVersions()
    {
        m_engine->answer(
            RecordingEngine::data(R"({"capability":{"deviceType":1},"CapabilityVersion":"V3.0"})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QVERIFY(hwInfo()->getHwProtoc(m_device, true));
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, true)), 2);
        QVERIFY(hwInfo()->getHWDeviceType(m_device));
        const int asked = m_engine->count();

        DeviceSide::logOut(m_device);
        QVERIFY(!hwInfo()->getHWDeviceType(m_device));
        QVERIFY(hwInfo()->getHwProtoc(m_device, false));
        QCOMPARE(int(hwInfo()->getCapabilityProtoc(m_device, false)), 2);
        QCOMPARE(m_engine->count(), asked);
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), asked + 1);
    }

    // The object

    void theMetaObjectDeclaresTheTwoSignalsOnly()
    {
        const QMetaObject& meta = HWInfo::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        QVERIFY(meta.indexOfSignal("signal_sendDataChanged()") >= 0);
        QVERIFY(meta.indexOfSignal("signal_customNameChanged(QString,QString)") >= 0);
    }

    void oneInstanceListensOnce()
    {
        QCOMPARE(HWInfo::getInstance(), HWInfo::getInstance());
        DeviceSide::push(m_device, hwInfoChanged);
        QCOMPARE(m_engine->count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestHWInfo)
#include "tst_hwinfo.moc"
