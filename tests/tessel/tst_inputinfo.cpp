// SPDX-License-Identifier: MIT
#include <cachedlisttest.h>
#include <operationforms.h>
#include <singleshots.h>
#include <timelimits.h>

#include <tessel/allurlresource.h>
#include <tessel/inputinfo.h>

#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QByteArray inputsChanged = R"({"dataType":"change","changeTag":"inputsInfo","changeInputId":3})";

InputInfo* inputs()
{
    return InputInfo::getInstance();
}

List named(const char* name)
{
    return {Map{{"name", name}}};
}

using Group = bool (InputInfo::*)(const QString&, const QStringList&, const Map&, List&);

} // namespace

Q_DECLARE_METATYPE(Group)

class TestInputInfo : public CachedListTest
{
    Q_OBJECT

    void answerName(const char* name) { answerList("[{\"name\":\"" + QByteArray(name) + "\"}]"); }

public:
    TestInputInfo()
        : CachedListTest([](const QString& deviceKey, List& list) {
            return inputs()->getAllInputsInfo(deviceKey, list, false);
        })
    {}

private Q_SLOTS:
    void init()
    {
        beginWithAFreshDevice();
        fireAllSingleShots(10000);
    }

    // First in the program: nothing has asked for the operator yet.
    void anEventBeforeTheFirstGetInstanceHasNoEffect()
    {
        push(inputsChanged);
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        QCoreApplication::processEvents();
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(changed.size(), 0);
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<InputInfo>;
        using Op = InputInfo;
        OperationRow load{"InputInfo::getAllInputsInfo", "Device_AllInputs", HttpMethod::Get, Decoder::None,
                          [](Outputs&) { return inputs()->getAllInputsInfo(sampleDevice, true); }};
        OperationRow copy{
            "InputInfo::getAllInputsInfo (output)", "Device_AllInputs", HttpMethod::Get, Decoder::FlatList,
            [](Outputs& out) { return inputs()->getAllInputsInfo(sampleDevice, out.list, true); }};
        copy.onFailure = OnFailure::KeepOutput;
        const OperationRow rows[] = {
            load,
            copy,
            Forms::idRead("InputInfo::getSignal", "Device_Signal", &Op::getSignal),
            Forms::idRead("InputInfo::getHdMode", "Device_HdMode", &Op::getHdMode),
            Forms::idRead("InputInfo::getBackup", "Device_Backup", &Op::getBackup),
            Forms::idRead("InputInfo::getEDID", "Device_OneEDID", &Op::getEDID),
            Forms::idRead("InputInfo::getHue", "Device_Hue", &Op::getHue),
            Forms::idRead("InputInfo::getContrast", "Device_Contrast", &Op::getContrast),
            Forms::idRead("InputInfo::getSaturation", "Device_Saturation", &Op::getSaturation),
            Forms::idRead("InputInfo::getBlackLevel", "Device_Blacklevel", &Op::getBlackLevel),
            Forms::idRead("InputInfo::getVideoSourceBitDepth", "Device_VideoSourceBitDepth",
                          &Op::getVideoSourceBitDepth),
            Forms::idWrite("InputInfo::setHdMode", "Device_HdMode", &Op::setHdMode),
            Forms::idWrite("InputInfo::setBackup", "Device_Backup", &Op::setBackup),
            Forms::idWrite("InputInfo::setEDID", "Device_OneEDID", &Op::setEDID),
            Forms::idWrite("InputInfo::setHue", "Device_Hue", &Op::setHue),
            Forms::idWrite("InputInfo::setContrast", "Device_Contrast", &Op::setContrast),
            Forms::idWrite("InputInfo::setSaturation", "Device_Saturation", &Op::setSaturation),
            Forms::idWrite("InputInfo::setBlackLevel", "Device_Blacklevel", &Op::setBlackLevel),
            Forms::idWrite("InputInfo::setVideoSourceBitDepth", "Device_VideoSourceBitDepth",
                           &Op::setVideoSourceBitDepth),
            Forms::idCommand("InputInfo::clearInputBackup", "Device_ClearBackup", &Op::clearInputBackup),
            {"InputInfo::getAllInputBackup", "Device_AllInputBackup", HttpMethod::Get, Decoder::FlatList,
             [](Outputs& out) { return inputs()->getAllInputBackup(sampleDevice, out.list); }},
        };
        for (const OperationRow& row : rows)
            QTest::newRow(row.name) << row;
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    // The list and its cache

    void theSecondReadIsAnsweredFromTheCache()
    {
        m_engine->answer(RecordingEngine::data(R"([{"id":1,"size":{"w":1920}}])"));
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QCOMPARE(cachedList(), (List{Map{{"id", qlonglong(1)}, {"size.w", qlonglong(1920)}}}));
        QCOMPARE(m_engine->count(), 1);
    }

    void aFailedForcedReadKeepsTheOldListAndTheOutput()
    {
        answerName("old");
        QVERIFY(inputs()->getAllInputsInfo(m_device, true));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!inputs()->getAllInputsInfo(m_device, true));
        List result{"kept"};
        QVERIFY(!inputs()->getAllInputsInfo(m_device, result, true));
        QCOMPARE(result, (List{"kept"}));
        QCOMPARE(cachedList(), named("old"));
        QCOMPARE(m_engine->count(), 3);
    }

    void aFailedFirstReadIsTriedAgain()
    {
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!inputs()->getAllInputsInfo(m_device, false));
        QVERIFY(!inputs()->getAllInputsInfo(m_device, false));
        QCOMPARE(m_engine->count(), 2);
    }

    void anEmptyListCountsAsCached()
    {
        m_engine->answer(RecordingEngine::data("[]"));
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QCOMPARE(m_engine->count(), 1);
    }

    void withTheWatchOffEveryReadGoesToTheDeviceAndStores()
    {
        answerName("first");
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        inputs()->shutDownWatch();
        answerName("second");
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QCOMPARE(m_engine->count(), 2);
        inputs()->startWatch();
        QCOMPARE(cachedList(), named("second"));
        QCOMPARE(m_engine->count(), 2);
    }

    void afterALogoutAReadGoesToTheDevice()
    {
        answerName("old");
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        DeviceSide::logOut(m_device);
        answerName("new");
        QCOMPARE(cachedList(), named("new"));
        QCOMPARE(m_engine->count(), 2);
    }

    void aLogoutCountsWithTheWatchOffToo()
    {
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        inputs()->shutDownWatch();
        DeviceSide::logOut(m_device);
        inputs()->startWatch();
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QCOMPARE(m_engine->count(), 2);
    }

    void theLogoutOfAnotherDeviceChangesNothing()
    {
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        DeviceSide::logOut(DeviceSide::fresh());
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QCOMPARE(m_engine->count(), 1);
    }

    void aReadRaisesNoSignal()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        QVERIFY(inputs()->getAllInputsInfo(m_device, true));
        QCoreApplication::processEvents();
        QCOMPARE(changed.size(), 0);
    }

    // Events

    void anInputsEventRefreshesTheListAndTells()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        answerName("old");
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        answerName("new");
        push(inputsChanged);
        QCOMPARE(changed.size(), 0);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0), (List{m_device, QVariant::fromValue<unsigned short>(3)}));
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("Device_AllInputs"));
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
        QCOMPARE(cachedList(), named("new"));
        QCOMPARE(m_engine->count(), 2);
    }

    void theChangedInputsIdIsCutTo16Bits_data()
    {
        QTest::addColumn<QByteArray>("member");
        QTest::addColumn<unsigned short>("id");
        QTest::newRow("absent") << QByteArray() << static_cast<unsigned short>(0);
        QTest::newRow("number") << QByteArray(R"(,"changeInputId":17)") << static_cast<unsigned short>(17);
        QTest::newRow("text") << QByteArray(R"(,"changeInputId":"17")") << static_cast<unsigned short>(17);
        QTest::newRow("too large") << QByteArray(R"(,"changeInputId":65537)")
                                   << static_cast<unsigned short>(1);
        QTest::newRow("no number") << QByteArray(R"(,"changeInputId":"x")") << static_cast<unsigned short>(0);
        QTest::newRow("object") << QByteArray(R"(,"changeInputId":{})") << static_cast<unsigned short>(0);
    }
    void theChangedInputsIdIsCutTo16Bits()
    {
        QFETCH(QByteArray, member);
        QFETCH(unsigned short, id);
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        push(R"({"dataType":"change","changeTag":"inputsInfo")" + member + "}");
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(1).value<unsigned short>(), id);
    }

    void twoEventsInQuickSuccessionBothReportTheLaterId()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        push(inputsChanged);
        push(R"({"dataType":"change","changeTag":"inputsInfo","changeInputId":4})");
        QTRY_COMPARE(changed.size(), 2);
        QCOMPARE(changed.at(0).at(1).value<unsigned short>(), static_cast<unsigned short>(4));
        QCOMPARE(changed.at(1).at(1).value<unsigned short>(), static_cast<unsigned short>(4));
    }

    void aFailedRefreshKeepsTheListAndTellsNobody()
    {
        answerName("old");
        QVERIFY(inputs()->getAllInputsInfo(m_device, false));
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        m_engine->answer(RecordingEngine::failure());
        push(inputsChanged);
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(changed.size(), 0);
        QCOMPARE(cachedList(), named("old"));
    }

    void everyOtherEventIsIgnored_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::newRow("another tag") << QByteArray(R"({"dataType":"change","changeTag":"outputsInfo"})");
        QTest::newRow("a tag nobody claims") << QByteArray(R"({"dataType":"change","changeTag":"x"})");
        QTest::newRow("another type") << QByteArray(R"({"dataType":"changed","changeTag":"inputsInfo"})");
        QTest::newRow("another case") << QByteArray(R"({"dataType":"Change","changeTag":"inputsInfo"})");
        QTest::newRow("another tag case") << QByteArray(R"({"dataType":"change","changeTag":"InputsInfo"})");
        QTest::newRow("no type") << QByteArray(R"({"changeTag":"inputsInfo"})");
        QTest::newRow("no tag") << QByteArray(R"({"dataType":"change"})");
        QTest::newRow("object as tag") << QByteArray(R"({"dataType":"change","changeTag":{"inputsInfo":1}})");
        QTest::newRow("envelope") << QByteArray(R"({"eventSender":"monitor","eventType":"inputsInfo"})");
        QTest::newRow("no JSON") << QByteArray("inputsInfo");
        QTest::newRow("cut") << inputsChanged.left(40);
        QTest::newRow("array") << QByteArray("[" + inputsChanged + "]");
        QTest::newRow("empty") << QByteArray();
    }
    void everyOtherEventIsIgnored()
    {
        QFETCH(QByteArray, event);
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        push(event);
        QCoreApplication::processEvents();
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(changed.size(), 0);
    }

    void anEventWithTheWatchOffCausesNoRequest()
    {
        inputs()->shutDownWatch();
        push(inputsChanged);
        inputs()->startWatch();
        QCoreApplication::processEvents();
        QCOMPARE(m_engine->count(), 0);
    }

    void anEventOfADeviceNotCachedLoadsItsList()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        answerName("new");
        push(inputsChanged);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(cachedList(), named("new"));
        QCOMPARE(m_engine->count(), 1);
    }

    void anEventDuringAReadRefreshesAfterIt()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        m_engine->answer([this](const RecordingEngine::Request&) {
            if (m_engine->count() == 1)
                push(inputsChanged);
            return RecordingEngine::data(m_engine->held() == 1 ? R"([{"name":"read"}])"
                                                               : R"([{"name":"event"}])");
        });
        QVERIFY(inputs()->getAllInputsInfo(m_device, true));
        QCOMPARE(cachedList(), named("read"));
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(cachedList(), named("event"));
    }

    void aLogoutDuringARefreshDoesNotStopIt()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        answerName("new");
        push(inputsChanged);
        DeviceSide::logOut(m_device);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(cachedList(), named("new"));
    }

    void anEventFromAForeignThreadIsHandledOnTheOperatorsThread()
    {
        QThread* raisedOn = nullptr;
        const auto connection = connect(
            inputs(), &InputInfo::signal_sendDataChanged, inputs(),
            [&] { raisedOn = QThread::currentThread(); }, Qt::DirectConnection);
        DeviceSide::pushFromForeignThread(m_device, inputsChanged);
        QCOMPARE(m_engine->count(), 0);
        QTRY_VERIFY(raisedOn);
        disconnect(connection);
        QCOMPARE(raisedOn, inputs()->thread());
    }

    void nobodyEverNeedsAllInputs()
    {
        QSignalSpy needed(inputs(), &InputInfo::needGetAllInputsInfo);
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        push(inputsChanged);
        QTRY_COMPARE(changed.size(), 1);
        DeviceSide::logOut(m_device);
        QCOMPARE(needed.size(), 0);
    }

    // Several inputs at once

    void groupOperationsSendOneRequestPerInput_data()
    {
        using Op = InputInfo;
        QTest::addColumn<QByteArray>("routeKey");
        QTest::addColumn<Group>("operation");
        QTest::newRow("InputInfo::setHue (group)") << QByteArray("Device_Hue") << Group(&Op::setHue);
        QTest::newRow("InputInfo::setContrast (group)")
            << QByteArray("Device_Contrast") << Group(&Op::setContrast);
        QTest::newRow("InputInfo::setSaturation (group)")
            << QByteArray("Device_Saturation") << Group(&Op::setSaturation);
        QTest::newRow("InputInfo::setBlackLevel (group)")
            << QByteArray("Device_Blacklevel") << Group(&Op::setBlackLevel);
    }
    void groupOperationsSendOneRequestPerInput()
    {
        QFETCH(QByteArray, routeKey);
        QFETCH(Group, operation);
        List result{"kept"};
        const int limitsBefore = timeLimitsGiven();
        QVERIFY((inputs()->*operation)(m_device, {"1", "2", "3"}, Map{{"x", 1}}, result));
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QStringList ids;
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(sent.deviceKey, m_device);
            QCOMPARE(sent.path, AllUrlResource::getUrl(routeKey));
            QCOMPARE(int(sent.method), int(HttpMethod::Put));
            QCOMPARE(sent.body, QByteArray(R"({"x":1})"));
            QCOMPARE(sent.expectedTime, 10000);
            ids << sent.placeHolders.value("id");
        }
        QCOMPARE(ids, (QStringList{"1", "2", "3"}));

        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!(inputs()->*operation)(m_device, {"1"}, Map{{"x", 1}}, result));
        QCOMPARE(result, (List{"kept"}));
    }

    // InputInfo::getEDIDs
    void getEDIDsOfTwoInputsSetsEachIdFromTheRequest()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return RecordingEngine::data(R"({"id":"wrong","edid":{"of":")" +
                                         request.placeHolders.value("id").toUtf8() + R"("}})");
        });
        List result{"earlier"};
        const int limitsBefore = timeLimitsGiven();
        QVERIFY(inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QCOMPARE(result,
                 (List{"earlier", Map{{"id", "1"}, {"edid.of", "1"}}, Map{{"id", "2"}, {"edid.of", "2"}}}));
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(sent.path, AllUrlResource::getUrl("Device_OneEDID"));
            QCOMPARE(int(sent.method), int(HttpMethod::Get));
            QCOMPARE(sent.body, QByteArray());
        }
    }

    void getEDIDsWithOneFailingInputDeliversTheOther()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.placeHolders.value("id") == "1" ? RecordingEngine::failure()
                                                           : RecordingEngine::data(R"({"edid":"y"})");
        });
        List result;
        QVERIFY(!inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(result, (List{Map{{"edid", "y"}, {"id", "2"}}}));
    }

    void aNonZeroCodeCountsAsAnAnswer()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":5,"data":{"edid":"y"}})"));
        List result;
        QVERIFY(inputs()->getEDIDs(m_device, {"1"}, result));
        QCOMPARE(result.size(), 1);
    }

    void anEmptyListOfInputsWaitsUntilSomethingElseQuitsTheLoop_data()
    {
        QTest::addColumn<bool>("read");
        QTest::newRow("getEDIDs") << true;
        QTest::newRow("setHue") << false;
    }
    void anEmptyListOfInputsWaitsUntilSomethingElseQuitsTheLoop()
    {
        QFETCH(bool, read);
        bool turned = false;
        bool ok = false;
        List result{"kept"};
        // On a thread of its own, whose loops quit() ends without ending those of the program.
        const std::unique_ptr<QThread> caller(QThread::create([&] {
            QObject home;
            QTimer::singleShot(0, &home, [&] {
                turned = true;
                QThread::currentThread()->quit();
            });
            ok = read ? inputs()->getEDIDs(m_device, QStringList(), result)
                      : inputs()->setHue(m_device, QStringList(), Map(), result);
        }));
        caller->start();
        QVERIFY(caller->wait(60000));
        QVERIFY(turned);
        QVERIFY(ok);
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(result, (List{"kept"}));
    }

    void anInputThatNeverAnswersFailsTheCallWhenItsTimeIsUp()
    {
        m_engine->answer(RecordingEngine::data(R"({"edid":"y"})"));
        m_engine->hold();
        int fired = 0;
        QTimer::singleShot(0, this, [&] { fired = fireSingleShots(10000, 2); });
        List result;
        QVERIFY(!inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(fired, 2);
        QVERIFY(result.isEmpty());
        // The replies come all the same, to packages that are gone.
        QTRY_VERIFY(!m_engine->release());
        QVERIFY(result.isEmpty());
    }

    void anInputThatIsLateLosesItsReplyAndKeepsTheOthers()
    {
        m_engine->answer(RecordingEngine::data(R"({"edid":"y"})"));
        m_engine->hold();
        QTimer::singleShot(0, this, [&] {
            QCOMPARE(fireSingleShots(10000, 1), 1);
            m_engine->release();
            m_engine->release();
        });
        List result;
        QVERIFY(!inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(result, (List{Map{{"edid", "y"}, {"id", "2"}}}));
        QCOMPARE(m_engine->held(), 0);
    }

    void theTimerOfAnAnsweredInputCountsItASecondTime()
    {
        m_engine->answer(RecordingEngine::data(R"({"edid":"y"})"));
        m_engine->hold();
        QTimer::singleShot(0, this, [&] {
            m_engine->release();
            // The answered package is released before its timer fires.
            QTRY_COMPARE(m_engine->held(), 1);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(fireSingleShots(10000, 1), 1);
            // The call has ended by now: the second reply comes too late.
            QVERIFY(m_engine->release());
        });
        List result;
        QVERIFY(!inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(result, (List{Map{{"edid", "y"}, {"id", "1"}}}));
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(result.size(), 1);
    }

    void noTimerOutlivesItsCall()
    {
        List result;
        QVERIFY(inputs()->getEDIDs(m_device, {"1", "2"}, result));
        fireSingleShots(10000, 2);
        QCOMPARE(result.size(), 2);
    }

    void aLateInputFailsAGroupWriteToo()
    {
        m_engine->hold();
        QTimer::singleShot(0, this, [&] {
            m_engine->release();
            QTRY_COMPARE(m_engine->held(), 1);
            fireSingleShots(10000, 2);
        });
        List result{"kept"};
        QVERIFY(!inputs()->setHue(m_device, {"1", "2"}, Map{{"x", 1}}, result));
        QCOMPARE(result, (List{"kept"}));
        m_engine->release();
        QTRY_COMPARE(m_engine->held(), 0);
    }

    void anEventDuringTheWaitIsHandled()
    {
        QSignalSpy changed(inputs(), &InputInfo::signal_sendDataChanged);
        m_engine->hold();
        QTimer::singleShot(0, this, [this] {
            push(inputsChanged);
            QCOMPARE(m_engine->held(), 3);
            for (int i = 0; i < 3; ++i)
                m_engine->release();
        });
        List result;
        QVERIFY(inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(result.size(), 2);
        QTRY_COMPARE(changed.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestInputInfo)
#include "tst_inputinfo.moc"
