// SPDX-License-Identifier: MIT
#include <cachedoperator.h>
#include <deviceside.h>
#include <operationforms.h>
#include <recordingengine.h>
#include <signalrecorder.h>
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

CachedOperator cachedInputs()
{
    CachedOperator subject{
        []() -> QObject* { return inputs(); },
        "Device_AllInputs",
        CachedOperator::Entry::List,
        [](const QString& deviceKey, bool force) { return inputs()->getAllInputsInfo(deviceKey, force); },
        handingOut(&InputInfo::getAllInputsInfo),
        [](bool on) { on ? inputs()->startWatch() : inputs()->shutDownWatch(); },
        inputsChanged,
        {"dataType", "changeTag"}};
    subject.told = [](const QString& deviceKey) {
        return QStringList{"signal_sendDataChanged(" + deviceKey + ", 3)"};
    };
    subject.otherEvents = {
        {"another operator's tag", R"({"dataType":"change","changeTag":"outputsInfo"})"},
        {"an envelope", R"({"eventSender":"monitor","eventType":"inputsInfo"})"},
    };
    return subject;
}

using Group = bool (InputInfo::*)(const QString&, const QStringList&, const Map&, List&);

} // namespace

Q_DECLARE_METATYPE(Group)

class TestInputInfo : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    void push(const QByteArray& event) const { DeviceSide::push(m_device, event); }

    void anEventBeforeTheFirstGetInstanceHasNoEffect()
    {
        init();
        push(inputsChanged);
        SignalRecorder recorder(inputs());
        QCoreApplication::processEvents();
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(recorder.take(), QStringList());
    }

private Q_SLOTS:
    // Whatever functions follow, in whichever order: nothing has asked for the operator yet.
    void initTestCase() { anEventBeforeTheFirstGetInstanceHasNoEffect(); }

    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        fireAllSingleShots(10000);
    }

    // The first that looks at it, and each of the others leaves the watch on: so this is the object as it was
    // made.
    void theOperatorWatchesFromTheStart()
    {
        push(inputsChanged);
        QCOMPARE(m_engine->count(), 1);
        QTRY_COMPARE(m_engine->held(), 0);
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
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    // The list and its cache

    void theCacheFollowsItsDevice_data() { addCachedOperatorChecks(cachedInputs()); }
    void theCacheFollowsItsDevice()
    {
        QFETCH(CachedOperatorCheck, check);
        checkCachedOperator(cachedInputs(), check);
    }

    // Events

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

    void twoEventsInQuickSuccessionBothReportTheLaterId_data()
    {
        QTest::addColumn<bool>("sameDevice");
        QTest::newRow("of one device") << true;
        QTest::newRow("of two devices") << false;
    }
    void twoEventsInQuickSuccessionBothReportTheLaterId()
    {
        QFETCH(bool, sameDevice);
        const QString later = sameDevice ? m_device : DeviceSide::fresh();
        SignalRecorder recorder(inputs());
        push(inputsChanged);
        DeviceSide::push(later, R"({"dataType":"change","changeTag":"inputsInfo","changeInputId":4})");
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.take(), (QStringList{"signal_sendDataChanged(" + m_device + ", 4)",
                                               "signal_sendDataChanged(" + later + ", 4)"}));
    }

    void theChangedInputsIdOutlivesALogout_data()
    {
        QTest::addColumn<bool>("ownLogout");
        QTest::newRow("of the device") << true;
        QTest::newRow("of another") << false;
    }
    void theChangedInputsIdOutlivesALogout()
    {
        QFETCH(bool, ownLogout);
        SignalRecorder recorder(inputs());
        push(inputsChanged);
        DeviceSide::logOut(ownLogout ? m_device : DeviceSide::fresh());
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.take(), (QStringList{"signal_sendDataChanged(" + m_device + ", 3)"}));
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
            for (int i = 0; i < 3; ++i) {
                m_engine->release();
            }
        });
        List result;
        QVERIFY(inputs()->getEDIDs(m_device, {"1", "2"}, result));
        QCOMPARE(result.size(), 2);
        QTRY_COMPARE(changed.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestInputInfo)
#include "tst_inputinfo.moc"
