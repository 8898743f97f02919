// SPDX-License-Identifier: MIT
#include <deviceside.h>
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
        for (const OperationRow& row : rows)
            QTest::newRow(row.name) << row;
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    // The description and its cache

    void theSecondReadIsAnsweredFromTheCache()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"MX","net":{"ip":"10.0.0.9"}})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(cachedInfo(), (Map{{"name", "MX"}, {"net.ip", "10.0.0.9"}}));
        QCOMPARE(m_engine->count(), 1);
    }

    void aFailedReadIsTriedAgain()
    {
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!hwInfo()->getHWInfo(m_device, false));
        Map out{{"kept", 1}};
        QVERIFY(!hwInfo()->getHWInfo(m_device, out, false));
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(out, (Map{{"kept", 1}}));
    }

    void aFailedForcedReadKeepsTheOldEntryAndTheOutput()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"old"})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, true));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!hwInfo()->getHWInfo(m_device, true));
        Map out{{"kept", 1}};
        QVERIFY(!hwInfo()->getHWInfo(m_device, out, true));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 3);
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 3);
        QCOMPARE(cachedInfo(), (Map{{"name", "old"}}));
    }

    void aForcedReadReplacesTheWholeEntry()
    {
        m_engine->answer(RecordingEngine::data(R"({"a":1,"b":2})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        m_engine->answer(RecordingEngine::data(R"({"b":3})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, true));
        QCOMPARE(cachedInfo(), (Map{{"b", qlonglong(3)}}));
    }

    void anEmptyDescriptionCountsAsCached()
    {
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        Map out{{"stale", 1}};
        QVERIFY(hwInfo()->getHWInfo(m_device, out, false));
        QVERIFY(out.isEmpty());
        QCOMPARE(m_engine->count(), 1);
    }

    void devicesHaveEntriesOfTheirOwn()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return RecordingEngine::data(R"({"name":")" + request.deviceKey.toUtf8() + R"("})");
        });
        const QString other = DeviceSide::fresh();
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QVERIFY(hwInfo()->getHWInfo(other, false));
        QCOMPARE(cachedInfo().value("name").toString(), m_device);
        DeviceSide::logOut(other);
        QCOMPARE(cachedInfo().value("name").toString(), m_device);
        QCOMPARE(m_engine->count(), 2);
    }

    void withTheWatchOffEveryReadGoesToTheDevice()
    {
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        hwInfo()->shutDownWatch();
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 3);
        hwInfo()->startWatch();
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 3);
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

    void whateverADeviceRepliesItSpeaksTheNewerProtocol()
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
        const QByteArray line = "key: \"" + m_device.toUtf8() + "\"  isNew \"V3.0\"";
        answerVersion("V3.0");
        QTest::ignoreMessage(QtDebugMsg, line);
        hwInfo()->getCapabilityProtoc(m_device, true);
        QTest::ignoreMessage(QtDebugMsg, line);
        hwInfo()->getCapabilityProtoc(m_device, false);
    }

    // Events

    void anHwInfoChangeFetchesTheDescriptionAnewAndTells()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"old","gone":1})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        m_engine->answer(RecordingEngine::data(R"({"name":"new"})"));
        QSignalSpy changed(hwInfo(), &HWInfo::signal_sendDataChanged);
        DeviceSide::push(m_device, hwInfoChanged);
        QCOMPARE(changed.size(), 0);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/hw"));
        QCOMPARE(m_engine->last().deviceKey, m_device);
        QCOMPARE(cachedInfo(), (Map{{"name", "new"}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void anHwInfoChangeOfAnUnknownDeviceCreatesItsEntry()
    {
        QSignalSpy changed(hwInfo(), &HWInfo::signal_sendDataChanged);
        DeviceSide::push(m_device, hwInfoChanged);
        QTRY_COMPARE(changed.size(), 1);
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 1);
    }

    void aFailedRefreshKeepsTheEntryAndStaysSilent()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"old"})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        m_engine->answer(RecordingEngine::failure());
        QSignalSpy changed(hwInfo(), &HWInfo::signal_sendDataChanged);
        DeviceSide::push(m_device, hwInfoChanged);
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(changed.size(), 0);
        QCOMPARE(cachedInfo(), (Map{{"name", "old"}}));
    }

    void anEventFromAForeignThreadIsHandledOnTheHomeThread()
    {
        QThread* heardOn = nullptr;
        const auto connection = connect(
            hwInfo(), &HWInfo::signal_sendDataChanged, this, [&] { heardOn = QThread::currentThread(); },
            Qt::DirectConnection);
        DeviceSide::pushFromForeignThread(m_device, hwInfoChanged);
        QTRY_COMPARE(heardOn, QThread::currentThread());
        disconnect(connection);
    }

    void anEventDuringAReadIsHandledAfterIt()
    {
        m_engine->answer([&](const RecordingEngine::Request& request) {
            if (m_engine->count() == 1)
                DeviceSide::pushFromForeignThread(request.deviceKey, hwInfoChanged);
            return RecordingEngine::data(R"({"request":)" + QByteArray::number(m_engine->count()) + "}");
        });
        QSignalSpy changed(hwInfo(), &HWInfo::signal_sendDataChanged);
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(cachedInfo(), (Map{{"request", qlonglong(1)}}));
        QCOMPARE(m_engine->count(), 1);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(cachedInfo(), (Map{{"request", qlonglong(2)}}));
    }

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

    void anEmptyCustomNameRaisesNoSignal()
    {
        QSignalSpy renamed(hwInfo(), &HWInfo::signal_customNameChanged);
        DeviceSide::push(m_device, R"({"dataType":"customNameChange","name":""})");
        QCOMPARE(renamed.size(), 0);
    }

    void everyOtherEventIsIgnored_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::newRow("a tag nobody claims") << QByteArray(R"({"dataType":"change","changeTag":"moonInfo"})");
        QTest::newRow("another tag") << QByteArray(R"({"dataType":"change","changeTag":"inputsInfo"})");
        QTest::newRow("no tag") << QByteArray(R"({"dataType":"change"})");
        QTest::newRow("a tag that is an object")
            << QByteArray(R"({"dataType":"change","changeTag":{"hwInfo":1}})");
        QTest::newRow("a change with a name") << QByteArray(R"({"dataType":"change","name":"Lobby"})");
        QTest::newRow("another case") << QByteArray(R"({"dataType":"Change","changeTag":"hwInfo"})");
        QTest::newRow("another member") << QByteArray(R"({"DataType":"change","ChangeTag":"hwInfo"})");
        QTest::newRow("no type") << QByteArray(R"({"changeTag":"hwInfo","name":"Lobby"})");
        QTest::newRow("a type that is a number") << QByteArray(R"({"dataType":1,"changeTag":"hwInfo"})");
        QTest::newRow("no name") << QByteArray(R"({"dataType":"customNameChange"})");
        QTest::newRow("a name that is an object")
            << QByteArray(R"({"dataType":"customNameChange","name":{"a":"b"}})");
        QTest::newRow("an envelope") << QByteArray(
            R"({"eventSender":"cabinet","eventType":"cabinetsChange"})");
        QTest::newRow("no JSON") << QByteArray(R"({"dataType":"change","changeTag":"hwInfo")");
        QTest::newRow("an array") << QByteArray(R"([{"dataType":"change","changeTag":"hwInfo"}])");
        QTest::newRow("nothing") << QByteArray();
    }
    void everyOtherEventIsIgnored()
    {
        QFETCH(QByteArray, event);
        QSignalSpy changed(hwInfo(), &HWInfo::signal_sendDataChanged);
        QSignalSpy renamed(hwInfo(), &HWInfo::signal_customNameChanged);
        DeviceSide::push(m_device, event);
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(changed.size(), 0);
        QCOMPARE(renamed.size(), 0);
    }

    void withTheWatchOffEventsAreIgnored()
    {
        hwInfo()->shutDownWatch();
        QSignalSpy renamed(hwInfo(), &HWInfo::signal_customNameChanged);
        DeviceSide::push(m_device, hwInfoChanged);
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

    void aLogoutForgetsWithTheWatchOffAsWell()
    {
        m_engine->answer(RecordingEngine::data(R"({"capability":{"deviceType":1}})"));
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        hwInfo()->shutDownWatch();
        DeviceSide::logOut(m_device);
        QVERIFY(!hwInfo()->getHWDeviceType(m_device));
    }

    void aLogoutOfADeviceThatIsNotCachedChangesNothing()
    {
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        DeviceSide::logOut(DeviceSide::fresh());
        QVERIFY(hwInfo()->getHWInfo(m_device, false));
        QCOMPARE(m_engine->count(), 1);
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
