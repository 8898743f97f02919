// SPDX-License-Identifier: MIT
#include <cachedoperator.h>
#include <deviceside.h>
#include <logcollector.h>
#include <operationrow.h>
#include <recordingengine.h>
#include <signalrecorder.h>
#include <timelimits.h>

#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QScopeGuard>
#include <QSignalSpy>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using Screens = QMap<QString, Map>;

namespace {

const QByteArray screensChanged = R"({"dataType":"change","changeTag":"screensInfo"})";
const QByteArray tagsChanged = R"({"dataType":"change","changeTag":"screensTagInfo"})";
const QByteArray nameChanged = R"({"dataType":"screenName","name":"Lobby"})";

const QString singleScreens = QStringLiteral("/api/v1/device/screen");
const QString multiScreens = QStringLiteral("/api/v1/screen");

ScreenInfo* screenInfo()
{
    return ScreenInfo::getInstance();
}

CachedOperator cachedScreenLists()
{
    CachedOperator subject{
        []() -> QObject* { return screenInfo(); },
        "Device_AllScreens",
        CachedOperator::Entry::Map,
        [](const QString& deviceKey, bool force) { return screenInfo()->getScreens(deviceKey, force); },
        [](const QString& deviceKey, QVariant& out, bool force) {
            Screens screens{{QString(), out.toMap()}};
            const bool ok = screenInfo()->getScreens(deviceKey, screens, force, false);
            out = screens.value(QString());
            return ok;
        },
        [](bool on) { on ? screenInfo()->startWatch() : screenInfo()->shutDownWatch(); },
        screensChanged,
        {"dataType", "changeTag"}};
    subject.parameters = {{"PageCorrection", "1"}, {"subpixel", "1"}};
    subject.expectedTime = 30000;
    subject.told = [](const QString& deviceKey) {
        return QStringList{"signal_screenDataChanged(" + deviceKey + ')'};
    };
    subject.otherEvents = {
        {"another operator's tag", R"({"dataType":"change","changeTag":"inputsInfo"})"},
        {"a change with a name", R"({"dataType":"change","name":"Lobby"})"},
        {"a tag with a name", R"({"changeTag":"screensInfo","name":"Lobby"})"},
        {"no name", R"({"dataType":"screenName"})"},
        {"an empty name", R"({"dataType":"screenName","name":""})"},
        {"a name that is an object", R"({"dataType":"screenName","name":{"a":"b"}})"},
        {"an envelope", R"({"eventSender":"screen","eventType":"screensInfo"})"},
    };
    return subject;
}

} // namespace

class TestScreenInfo : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    // The reply that the cache holds.
    Map cachedScreens()
    {
        Screens out;
        screenInfo()->getScreens(m_device, out, false, false);
        return out.isEmpty() ? Map() : out.first();
    }

    // Tags that the cache holds as well.
    Map cachedTags()
    {
        m_engine->answer(RecordingEngine::data(R"({"tag":1})"));
        Map tags;
        screenInfo()->getHWInfoScreenTag(m_device, tags);
        return tags;
    }

    void useMultiScreenProtocol()
    {
        HWInfo::getInstance()->getHwProtoc(m_device, true);
        m_engine->forget();
    }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        screenInfo(); // receives events from here on
    }

    // The first of all, and each of the others leaves the watch on: so this is the object as it was made.
    void theOperatorWatchesFromTheStart()
    {
        QSignalSpy named(screenInfo(), &ScreenInfo::signal_screenNameChanged);
        DeviceSide::push(m_device, nameChanged);
        QCOMPARE(named.size(), 1);
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            {"ScreenInfo::getScreens",
             "Device_AllScreens",
             HttpMethod::Get,
             Decoder::None,
             [](Outputs&) { return screenInfo()->getScreens(sampleDevice, true); },
             {},
             {},
             {{"PageCorrection", "1"}, {"subpixel", "1"}},
             30000},
            {"ScreenInfo::getScreens (overload)",
             "Device_AllScreens",
             HttpMethod::Get,
             Decoder::None,
             [](Outputs&) {
                 Screens out;
                 return screenInfo()->getScreens(sampleDevice, out, true, true);
             },
             {},
             {},
             {{"PageCorrection", "1"}, {"subpixel", "1"}},
             30000},
            failingOnCode(
                {"ScreenInfo::getScreens2", "Device_AllScreens", HttpMethod::Get, Decoder::None,
                 [](Outputs&) { return screenInfo()->getScreens2(sampleDevice).wait().isFulfilled(); }}),
            {"ScreenInfo::getHWInfoScreenTag", "ScreenHwScreenTag", HttpMethod::Get, Decoder::Map,
             [](Outputs& out) { return screenInfo()->getHWInfoScreenTag(sampleDevice, out.map); }},
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

    void operationsThatDoNotWaitSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            {"ScreenInfo::postScreens", "Device_AllScreens", HttpMethod::Post, Decoder::Map,
             [](Outputs& out) {
                 Map body{{"name", "wall"}};
                 return screenInfo()->postScreens(sampleDevice, body, out.map);
             },
             R"({"name":"wall"})"},
            {"ScreenInfo::putHWInfoScreenTag", "ScreenHwScreenTag", HttpMethod::Put, Decoder::None,
             [](Outputs& out) {
                 return screenInfo()->putHWInfoScreenTag(sampleDevice, {{"enable", true}}, out.map);
             },
             R"({"enable":true})"},
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsThatDoNotWaitSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkUnansweredOperation(row);
    }

    // The screen list and its cache

    void theCacheFollowsItsDevice_data() { addCachedOperatorChecks(cachedScreenLists()); }
    void theCacheFollowsItsDevice()
    {
        QFETCH(CachedOperatorCheck, check);
        checkCachedOperator(cachedScreenLists(), check);
    }

    void theMultiScreenProtocolHasItsOwnRouteAndTracesEachLoad()
    {
        useMultiScreenProtocol();
        const LogCollector log;
        QStringList lines;
        for (int load = 1; load <= 2; ++load) {
            QVERIFY(screenInfo()->getScreens(m_device, true));
            lines << "debug: ------------xxxx---------------------";
            QCOMPARE(log.lines(), lines);
            QCOMPARE(m_engine->count(), load);
            QCOMPARE(m_engine->last().path, multiScreens);
        }
        QCOMPARE(m_engine->last().expectedTime, 30000);
        QCOMPARE(m_engine->last().parameters.value("subpixel"), QString("1"));
    }

    void eventsAndTheTypedReadKeepToTheSingleRouteOnEveryDevice()
    {
        useMultiScreenProtocol();
        const LogCollector log;
        DeviceSide::push(m_device, screensChanged);
        QCOMPARE(m_engine->last().path, singleScreens);
        screenInfo()->getScreens2(m_device).wait();
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(m_engine->last().path, singleScreens);
        QVERIFY2(screenInfo()->getScreens(m_device, false) && m_engine->count() == 2,
                 "the event filled the cache");
        QVERIFY2(log.lines().isEmpty(), "only a load is traced");
    }

    // Handing out

    void aReplyWithAnIdIsHandedOutUnderIt()
    {
        m_engine->answer(RecordingEngine::data(R"({"screenID":7,"name":"wall"})"));
        Screens out{{"earlier", Map{{"kept", 1}}}, {"7", Map{{"stale", 1}}}};
        QVERIFY(screenInfo()->getScreens(m_device, out, false, false));
        QCOMPARE(out, (Screens{{"7", Map{{"screenID", qlonglong(7)}, {"name", "wall"}}},
                               {"earlier", Map{{"kept", 1}}}}));
    }

    void aReplyWithoutAnIdIsHandedOutUnderTheEmptyKey()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"wall","list":[{"screenID":"1"}]})"));
        Screens out;
        QVERIFY(screenInfo()->getScreens(m_device, out, false, false));
        QCOMPARE(out.size(), 1);
        QCOMPARE(out.value("").value("name").toString(), QString("wall"));
        QCOMPARE(out.value("").value("list").toList().size(), 1);
    }

    void perScreenTheElementsOfAllListsAreHandedOutUnderTheirIds()
    {
        m_engine->answer(RecordingEngine::data(
            R"({"b":[{"screenID":"1","from":"b"},{"screenID":"3","from":"b"}],)"
            R"("a":[{"screenID":"1","from":"a"},{"screenID":2,"from":"a"}],"screenID":"9"})"));
        Screens out{{"earlier", Map{{"kept", 1}}}};
        QVERIFY(screenInfo()->getScreens(m_device, out, false, true));
        QCOMPARE(out.keys(), (QStringList{"1", "2", "3", "earlier"}));
        QCOMPARE(out.value("1").value("from").toString(), QString("b"));
        QCOMPARE(out.value("2").value("from").toString(), QString("a"));
    }

    void ofTwoElementsWithOneIdTheLaterWins()
    {
        m_engine->answer(RecordingEngine::data(
            R"({"screens":[{"screenID":"1","n":1},{"screenID":"1","n":2},"no screen",{"n":3}]})"));
        Screens out;
        QVERIFY(screenInfo()->getScreens(m_device, out, false, true));
        QCOMPARE(out.keys(), (QStringList{"", "1"}));
        QCOMPARE(out.value("1").value("n").toInt(), 2);
        QCOMPARE(out.value("").value("n").toInt(), 3);
    }

    void perScreenAReplyWithoutListsAddsNothing()
    {
        m_engine->answer(RecordingEngine::data(R"({"screenID":"7","size":{"width":3}})"));
        Screens out{{"earlier", Map{{"kept", 1}}}};
        QVERIFY(screenInfo()->getScreens(m_device, out, false, true));
        QCOMPARE(out, (Screens{{"earlier", Map{{"kept", 1}}}}));
    }

    // The typed read

    void theTypedReadNeitherUsesNorFillsTheCache()
    {
        m_engine->answer(
            RecordingEngine::data(R"({"screenUUID":"u","screenName":"Lobby","screenTime":"t"})"));
        Tessel::ScreensInfo info;
        screenInfo()->getScreens2(m_device).then([&](const Tessel::ScreensInfo& got) { info = got; }).wait();
        QCOMPARE(info.screenUUID, QString("u"));
        QCOMPARE(info.screenName, QString("Lobby"));
        QVERIFY(m_engine->last().parameters.isEmpty());
        QVERIFY(screenInfo()->getScreens(m_device, false));
        QCOMPARE(m_engine->count(), 2);
        screenInfo()->getScreens2(m_device).wait();
        QCOMPARE(m_engine->count(), 3);
    }

    void theTypedReadOfNoDeviceIsRejectedAndSendsNothing()
    {
        QByteArray reason;
        const auto promise = screenInfo()->getScreens2(QString());
        QVERIFY(promise.isRejected());
        promise.then([](const Tessel::ScreensInfo&) {}).fail([&](const char* text) { reason = text; }).wait();
        QCOMPARE(reason, QByteArray("arguments error"));
        QCOMPARE(m_engine->count(), 0);
    }

    void theTypedReadIsRejectedByWhatIsNoGoodReply_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("a code") << QByteArray(R"({"code":1,"message":"x","data":{}})");
        QTest::newRow("no JSON") << QByteArray("screen");
    }
    void theTypedReadIsRejectedByWhatIsNoGoodReply()
    {
        QFETCH(QByteArray, reply);
        m_engine->answer(RecordingEngine::reply(reply));
        bool undefined = false;
        screenInfo()
            ->getScreens2(m_device)
            .then([](const Tessel::ScreensInfo&) {})
            .fail([&](const QtPromise::QPromiseUndefinedException&) { undefined = true; })
            .wait();
        QVERIFY(undefined);
    }

    // Tags

    void theTagsOfAnUnreachableDeviceAreEmpty()
    {
        m_engine->answer(RecordingEngine::data(R"({"tag":1})"));
        Map reply;
        QVERIFY(screenInfo()->getHWInfoScreenTag(m_device, reply));
        QCOMPARE(reply, (Map{{"tag", qlonglong(1)}}));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!screenInfo()->getHWInfoScreenTag(m_device, reply));
        QVERIFY(reply.isEmpty());
        QCOMPARE(m_engine->count(), 2);
    }

    // Nothing hands the cached tags out. Whether the cache holds a map shows in that it shares the caller's.

    void theTagsReadAreCachedUntilTheLogout()
    {
        const Map tags = cachedTags();
        QVERIFY(!tags.isDetached());
        DeviceSide::logOut("other wall");
        QVERIFY(!tags.isDetached());
        DeviceSide::logOut(m_device);
        QVERIFY(tags.isDetached());
    }

    void aFailedReadOfTheTagsReplacesThem()
    {
        const Map tags = cachedTags();
        m_engine->answer(RecordingEngine::failure());
        Map reply;
        QVERIFY(!screenInfo()->getHWInfoScreenTag(m_device, reply));
        QVERIFY(tags.isDetached());
    }

    void aTagsChangeReplacesTheTagsOnSuccess_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<bool>("success");
        QTest::addColumn<bool>("replaced");
        QTest::newRow("tags") << tagsChanged << true << true;
        QTest::newRow("tags, failed") << tagsChanged << false << false;
        QTest::newRow("screens") << screensChanged << true << false;
    }
    void aTagsChangeReplacesTheTagsOnSuccess()
    {
        QFETCH(QByteArray, event);
        QFETCH(bool, success);
        QFETCH(bool, replaced);
        const Map tags = cachedTags();
        m_engine->answer(success ? RecordingEngine::data(R"({"tag":2})") : RecordingEngine::failure());
        DeviceSide::push(m_device, event);
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(tags.isDetached(), replaced);
    }

    void writtenTagsAreNotCached()
    {
        const Map tags = cachedTags();
        Map reply;
        QVERIFY(screenInfo()->putHWInfoScreenTag(m_device, {{"tag", 2}}, reply));
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QVERIFY(!tags.isDetached());
    }

    void postScreensLeavesTheCacheAlone()
    {
        m_engine->answer(RecordingEngine::data(R"({"a":1})"));
        QVERIFY(screenInfo()->getScreens(m_device, false));
        Map body{{"a", 2}};
        Map reply;
        QVERIFY(screenInfo()->postScreens(m_device, body, reply));
        QTRY_COMPARE(m_engine->held(), 0);
        QCOMPARE(cachedScreens(), (Map{{"a", qlonglong(1)}}));
        QCOMPARE(body, (Map{{"a", 2}}));
    }

    // Events

    void aScreensChangeSetsNoTimeLimit()
    {
        QSignalSpy changed(screenInfo(), &ScreenInfo::signal_screenDataChanged);
        const int limitsBefore = timeLimitsGiven();
        DeviceSide::push(m_device, screensChanged);
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QTRY_COMPARE(changed.size(), 1);
    }

    void aTagsChangeFetchesTheTagsAndTells()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"old"})"));
        QVERIFY(screenInfo()->getScreens(m_device, false));
        QSignalSpy screens(screenInfo(), &ScreenInfo::signal_screenDataChanged);
        QSignalSpy tags(screenInfo(), &ScreenInfo::signal_screenTagChanged);
        m_engine->answer(RecordingEngine::data(R"({"tag":1})"));
        const int limitsBefore = timeLimitsGiven();
        DeviceSide::push(m_device, tagsChanged);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QTRY_COMPARE(tags.size(), 1);
        QCOMPARE(tags.first(), (QList<QVariant>{m_device}));
        QCOMPARE(screens.size(), 0);
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/screen/enable"));
        QCOMPARE(cachedScreens(), (Map{{"name", "old"}}));
    }

    void aWatchThatGoesOffDoesNotStopTheRefreshOfTheTags()
    {
        QSignalSpy tags(screenInfo(), &ScreenInfo::signal_screenTagChanged);
        DeviceSide::push(m_device, tagsChanged);
        QCOMPARE(m_engine->held(), 1);
        screenInfo()->shutDownWatch();
        const auto watching = qScopeGuard([] { screenInfo()->startWatch(); });
        QTRY_COMPARE(tags.size(), 1);
    }

    void aFailedRefreshOfTheTagsKeepsTheScreensAndStaysSilent()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"old"})"));
        QVERIFY(screenInfo()->getScreens(m_device, false));
        m_engine->answer(RecordingEngine::failure());
        SignalRecorder recorder(screenInfo());
        const LogCollector log;
        DeviceSide::push(m_device, tagsChanged);
        QCOMPARE(m_engine->count(), 2);
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.take(), QStringList());
        QCOMPARE(log.lines(), QStringList());
        QCOMPARE(cachedScreens(), (Map{{"name", "old"}}));
    }

    void aScreenNameIsPassedOnAndNotCached()
    {
        m_engine->answer(RecordingEngine::data(R"({"name":"old"})"));
        QVERIFY(screenInfo()->getScreens(m_device, false));
        QSignalSpy named(screenInfo(), &ScreenInfo::signal_screenNameChanged);
        DeviceSide::push(m_device, nameChanged);
        QCOMPARE(named.size(), 1);
        QCOMPARE(named.first(), (QList<QVariant>{m_device, "Lobby"}));
        QCOMPARE(cachedScreens(), (Map{{"name", "old"}}));
        QCOMPARE(m_engine->count(), 1);
    }

    void eventsAreLostWhileNotWatching()
    {
        QVERIFY(screenInfo()->getScreens(m_device, false));
        screenInfo()->shutDownWatch();
        QSignalSpy named(screenInfo(), &ScreenInfo::signal_screenNameChanged);
        DeviceSide::push(m_device, screensChanged);
        DeviceSide::push(m_device, tagsChanged);
        DeviceSide::push(m_device, nameChanged);
        screenInfo()->startWatch();
        QCoreApplication::processEvents();
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(named.size(), 0);
    }

    // The object

    void theMetaObjectDeclaresTheFourSignalsInOrder()
    {
        const QMetaObject& meta = ScreenInfo::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QList<QByteArray> signatures;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            signatures << meta.method(i).methodSignature();
        }
        QCOMPARE(signatures,
                 (QList<QByteArray>{"signal_screenDataChanged(QString)", "signal_screenTagChanged(QString)",
                                    "signal_screenNameChanged(QString,QString)", "needGetAllInputsInfo()"}));
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void oneInstanceListensOnce()
    {
        QCOMPARE(ScreenInfo::getInstance(), ScreenInfo::getInstance());
        DeviceSide::push(m_device, screensChanged);
        QCOMPARE(m_engine->count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestScreenInfo)
#include "tst_screeninfo.moc"
