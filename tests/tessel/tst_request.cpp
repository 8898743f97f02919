// SPDX-License-Identifier: MIT
#include "objectsleft.h"

#include <logcollector.h>
#include <recordingengine.h>
#include <refusingengine.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/instancesready.h>
#include <tessel/frames/request.h>

#include <QMutex>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <limits>

using Krelm::Communicator::HttpDevice::HttpMethod;
using Tessel::asParsed;
using Tessel::cached;
using Tessel::CallSite;
using Tessel::copyElement;
using Tessel::HttpProxy;
using Tessel::httpStatus;
using Tessel::instancesReady;
using Tessel::MultipartRequest;
using Tessel::outputFromCache;
using Tessel::Request;
using Tessel::responseHeaders;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QString device = QStringLiteral("wall");

// An entry that notes, when a reply is stored in it, whether the mutex was held.
struct LockWitness
{
    static inline QMutex mutex;
    bool wasLocked = false;
};

void decode(const Krelm::Communicator::HttpDevice::HttpJsonPackage&, LockWitness& out)
{
    out.wasLocked = !LockWitness::mutex.tryLock();
    if (!out.wasLocked) {
        LockWitness::mutex.unlock();
    }
}

} // namespace

Q_DECLARE_METATYPE(std::function<const void*()>)

class TestRequest : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void aVerbSendsOneRequestOfItsKind_data()
    {
        QTest::addColumn<int>("verb");
        QTest::newRow("get") << int(HttpMethod::Get);
        QTest::newRow("put") << int(HttpMethod::Put);
        QTest::newRow("post") << int(HttpMethod::Post);
        QTest::newRow("delete") << int(HttpMethod::Delete);
    }
    void aVerbSendsOneRequestOfItsKind()
    {
        QFETCH(int, verb);
        Map out;
        Request request("Device_lock");
        switch (static_cast<HttpMethod>(verb)) {
        case HttpMethod::Get:
            QVERIFY(request.get(device, out));
            break;
        case HttpMethod::Put:
            QVERIFY(request.put(device, out));
            break;
        case HttpMethod::Post:
            QVERIFY(request.post(device, out));
            break;
        case HttpMethod::Delete:
            QVERIFY(request.del(device, out));
            break;
        }
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), verb);
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/hw/lock"));
        QCOMPARE(m_engine->last().deviceKey, device);
    }

    void whatIsFilledReachesTheEngineAsItIs()
    {
        QVERIFY(Request("Device_OneEDID")
                    .placeHolder("id", "a/b")
                    .parameter("first", "1 2")
                    .headers({{"content-Type", "application/json"}})
                    .body(Map{{"k", 1}})
                    .expectedTime(20000)
                    .daemon()
                    .put(device));
        const RecordingEngine::Request sent = m_engine->last();
        QCOMPARE(sent.path, QString("/api/v1/device/input/{id}/edid"));
        QCOMPARE(sent.placeHolders, (QMap<QString, QString>{{"id", "a/b"}}));
        QCOMPARE(sent.parameters, (QMap<QString, QString>{{"first", "1 2"}}));
        QCOMPARE(sent.headers.value("content-Type"), QString("application/json"));
        QCOMPARE(sent.body, QByteArray(R"({"k":1})"));
        QCOMPARE(sent.expectedTime, 20000);
        QVERIFY(sent.daemon);
        QVERIFY(!sent.multipart);
    }

    void whatAnOutputHoldsIsUsedAgain_data()
    {
        using Read = std::function<const void*()>; // where the first element is then
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<Read>("read");
        static Map map;
        static List flattened;
        static List parsed;
        QTest::newRow("a map") << QByteArray(R"({"a":1})") << Read([] {
            Request("Device_lock").get(device, map);
            return &map.constBegin().value();
        });
        QTest::newRow("a list") << QByteArray(R"([{"a":1}])") << Read([] {
            Request("Device_lock").get(device, flattened);
            return &flattened.constFirst();
        });
        QTest::newRow("a list as parsed") << QByteArray(R"([{"a":1}])") << Read([] {
            Request("Device_lock").get(device, asParsed(parsed));
            return &parsed.constFirst();
        });
    }
    void whatAnOutputHoldsIsUsedAgain()
    {
        QFETCH(QByteArray, data);
        QFETCH(std::function<const void*()>, read);
        m_engine->answer(RecordingEngine::data(data));
        read();
        read();
        const void* const before = read(); // objects of this shape are known by now
        QCOMPARE(read(), before);
    }

    void parametersReplaceWhatStoodBefore()
    {
        QVERIFY(Request("Device_System").parameter("old", "1").parameters({{"new", "2"}}).put(device));
        QCOMPARE(m_engine->last().parameters, (QMap<QString, QString>{{"new", "2"}}));
    }

    void aListBodyIsAJsonArray()
    {
        QVERIFY(Request("Device_BackInfo").body(List{1, "x"}).put(device));
        QCOMPARE(m_engine->last().body, QByteArray(R"([1,"x"])"));
    }

    void rawDataGoesOutAsItIs()
    {
        const QByteArray bytes("\x00\x01{\xff", 4);
        QVERIFY(Request("Device_HwUpdate").data(bytes).put(device));
        QCOMPARE(m_engine->last().body, bytes);
    }

    void anAbsentRouteKeyGoesOutWithAnEmptyPath()
    {
        m_engine->answer(RecordingEngine::failure(RecordingEngine::State::InvalidRequest));
        Map out{{"stale", 1}};
        QVERIFY(!Request("Algorithm_RGBLight").get(device, out));
        QVERIFY(m_engine->last().path.isEmpty());
        QCOMPARE(m_engine->count(), 1);
        QVERIFY(out.isEmpty());
    }

    void anUnsetTimeLimitIsTheTransportsDefault()
    {
        QVERIFY(Request("Device_Hwinfo").get(device));
        QCOMPARE(m_engine->last().expectedTime, 10000);
    }

    void aTimeLimitBeyondTheRangeIsTheLongestThatThereIs()
    {
        QVERIFY(Request("Device_Hwinfo").expectedTime(5000000000).get(device));
        QCOMPARE(m_engine->last().expectedTime, std::numeric_limits<int>::max());
    }

    void aFailureEmptiesEveryOutput()
    {
        m_engine->answer(RecordingEngine::failure());
        Map map{{"stale", 1}};
        List list{1};
        List parsed{1};
        QVERIFY(!Request("Device_Hwinfo").get(device, map));
        QVERIFY(!Request("Device_Hwinfo").get(device, list));
        QVERIFY(!Request("Device_Hwinfo").get(device, asParsed(parsed)));
        QVERIFY(map.isEmpty());
        QVERIFY(list.isEmpty());
        QVERIFY(parsed.isEmpty());
    }

    void aNonZeroCodeCountsAsSuccess()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":5,"message":"no","data":{"a":1}})"));
        Map out;
        QVERIFY(Request("Device_Hwinfo").body(Map()).put(device, out));
        QCOMPARE(out, (Map{{"a", qlonglong(1)}}));
    }

    void asParsedLeavesElementsNested()
    {
        m_engine->answer(RecordingEngine::data(R"([{"a":{"b":1}}])"));
        List flat;
        List parsed;
        QVERIFY(Request("Device_RvCards").get(device, flat));
        QVERIFY(Request("Device_RvCards").get(device, asParsed(parsed)));
        QCOMPARE(flat, (List{Map{{"a.b", qlonglong(1)}}}));
        QCOMPARE(parsed, (List{Map{{"a", Map{{"b", qlonglong(1)}}}}}));
    }

    void headersAndStatusAreOutputsBesideTheBody()
    {
        RecordingEngine::Reply reply = RecordingEngine::data(R"({"a":1})");
        reply.status = 202;
        reply.headers = {{"x-image", "7"}};
        m_engine->answer(reply);
        Map map;
        QMap<QString, QString> headers;
        int status = 0;
        QVERIFY(Request("Device_Hwinfo").get(device, map, responseHeaders(headers), httpStatus(status)));
        QCOMPARE(map, (Map{{"a", qlonglong(1)}}));
        QCOMPARE(headers.value("x-image"), QString("7"));
        QCOMPARE(status, 202);
    }

    void aBodySetAfterTheSendIsNotSent()
    {
        Request request("Device_lock");
        QVERIFY(request.put(device));
        Map out;
        QVERIFY(request.body(Map{{"a", 1}}).decodeInto(out));
        QVERIFY(m_engine->last().body.isEmpty());
        QCOMPARE(m_engine->count(), 1);
    }

    void fireAndForgetReportsAPackageWithoutReply()
    {
        m_engine->hold();
        Map out{{"stale", 1}};
        QVERIFY(Request("ScreenUpdateName").body(Map{{"name", "x"}}).putNoReply(device, out));
        QVERIFY(out.isEmpty());
        QCOMPARE(m_engine->held(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
        QCOMPARE(m_engine->last().body, QByteArray(R"({"name":"x"})"));

        QVERIFY(Request("Device_AllScreens").body(Map()).postNoReply(device, out));
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Post));
    }

    void fireAndForgetReportsAFreshPackageEvenWhenTheStartIsRefused()
    {
        HttpProxy::getInstance()->setEngine(std::make_unique<RefusingEngine>());
        Map out{{"stale", 1}};
        QVERIFY(Request("ScreenUpdateName").body(Map{{"name", "x"}}).putNoReply(device, out));
        QVERIFY(out.isEmpty());
        out.insert("stale", 1);
        QVERIFY(Request("Device_AllScreens").body(Map()).postNoReply(device, out));
        QVERIFY(out.isEmpty());
        QCoreApplication::processEvents();
        QVERIFY(out.isEmpty());
    }

    void aStackPackageMayDieBeforeItsReply()
    {
        m_engine->hold();
        bool started = false;
        const int left = objectsLeftBy([&] { started = Request("ScreenUpdateName").putNoReply(device); });
        QVERIFY(started);
        QVERIFY2(left == 0, "the package went with the request");
        QCOMPARE(m_engine->held(), 1);
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(m_engine->release());
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/screen/name"));
    }

    void multipartCarriesTheCallersParts_data()
    {
        QTest::addColumn<bool>("plain");
        QTest::newRow("multipart verb") << false;
        QTest::newRow("plain verb") << true;
    }
    void multipartCarriesTheCallersParts()
    {
        QFETCH(bool, plain);
        const Map parts{{"file", QByteArray("abc")}, {"name", "x"}};
        Map out;
        MultipartRequest request("ScreenPrestoreImageApplay", parts);
        request.placeHolder("id", "2").expectedTime(30000);
        QVERIFY(plain ? request.putPlain(device, out) : request.put(device, out));
        QVERIFY(m_engine->last().multipart);
        QCOMPARE(m_engine->last().parts, parts);
        QCOMPARE(m_engine->last().expectedTime, 30000);
        QCOMPARE(m_engine->last().placeHolders.value("id"), QString("2"));
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
    }

    void aDownloadNamesItsDestination()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath("card.bin");
        QVERIFY(Request("Device_RvCardFirmware")
                    .placeHolder("id", "1")
                    .placeHolder("type", "3")
                    .download(device, path));
        QCOMPARE(m_engine->last().downloadPath, path);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!Request("Device_RvCardFirmware").download(device, path));
    }

    void fetchReplacesTheEntryOnSuccessAndLeavesItOnFailure()
    {
        QMap<QString, Map> cache{{device, Map{{"old", 1}}}, {"other", Map{{"kept", 1}}}};
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!Request("Device_Hwinfo").fetch(device, cache));
        QCOMPARE(cache.value(device), (Map{{"old", 1}}));
        m_engine->answer(RecordingEngine::data(R"({"new":2})"));
        QVERIFY(Request("Device_Hwinfo").fetch(device, cache));
        QCOMPARE(cache.value(device), (Map{{"new", qlonglong(2)}}));
        QCOMPARE(cache.value("other"), (Map{{"kept", 1}}));
    }

    void aFailedFetchCreatesNoEntry()
    {
        QMap<QString, List> cache;
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!Request("Device_AllInputs").fetch(device, cache));
        QVERIFY(cache.isEmpty());
    }

    void fetchHoldsNoLockDuringTheRequest()
    {
        QMap<QString, Map> cache;
        QMutex mutex;
        bool wasFree = false;
        m_engine->answer([&](const RecordingEngine::Request&) {
            wasFree = mutex.tryLock();
            if (wasFree) {
                mutex.unlock();
            }
            return RecordingEngine::data(R"({"a":1})");
        });
        QVERIFY(Request("Device_Pipes").fetch(device, cache, &mutex));
        QVERIFY(wasFree);
        QVERIFY(cached(cache, device, false, &mutex));
    }

    void fetchStoresWithTheLockHeld()
    {
        QMap<QString, LockWitness> cache;
        QVERIFY(Request("Device_Pipes").fetch(device, cache, &LockWitness::mutex));
        QVERIFY(cache.value(device).wasLocked);
        QVERIFY(LockWitness::mutex.tryLock());
        LockWitness::mutex.unlock();
    }

    void fetchTellsOfAStoreWithTheLockHeldAndOfNoFailure()
    {
        QMap<QString, Map> cache;
        QMutex mutex;
        int stores = 0;
        const auto stored = [&] {
            ++stores;
            QVERIFY(cache.contains(device));
            QVERIFY(!mutex.tryLock());
        };
        QVERIFY(Request("Device_Pipes").fetch(device, cache, &mutex, stored));
        QCOMPARE(stores, 1);
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!Request("Device_Pipes").fetch(device, cache, &mutex, stored));
        QCOMPARE(stores, 1);
        QVERIFY(mutex.tryLock());
        mutex.unlock();
    }

    void theRouteKeyMayBeAText()
    {
        QVERIFY(Request(QString("Device_Pipes")).get(device));
        QCOMPARE(m_engine->last().path, Tessel::routePath("Device_Pipes"));
        QVERIFY(!m_engine->last().path.isEmpty());
    }

    void anyValueMayBeABody()
    {
        QVERIFY(Request("Device_Hwinfo").body(QVariant("text")).put(device));
        QCOMPARE(m_engine->last().body, QByteArray("\"text\""));
    }

    void copyElementTakesTheFirstWithTheIdOrLeavesTheOutput()
    {
        const List list{"7", Map{{"id", "6"}}, Map{{"id", 7}, {"n", 1}}, Map{{"id", "7"}, {"n", 2}}};
        Map out{{"kept", 1}};
        QVERIFY(!copyElement(list, "8", out));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QVERIFY(copyElement(list, "7", out));
        QCOMPARE(out, (Map{{"id", 7}, {"n", 1}}));
        QVERIFY2(!copyElement({Map{{"n", 3}}}, QString(), out), "an absent id is no empty one");
    }

    void theCacheAnswersUnlessForced()
    {
        const QMap<QString, Map> cache{{device, Map()}};
        QVERIFY2(cached(cache, device, false), "an entry counts even if it is empty");
        QVERIFY(!cached(cache, device, true));
        QVERIFY(!cached(cache, QString("other"), false));
        QCOMPARE(m_engine->count(), 0);
    }

    void copyEntryLeavesTheOutputWhenNothingWasLoaded()
    {
        const QMap<QString, Map> cache{{device, Map{{"a", 1}}}};
        Map out{{"mine", 2}};
        QVERIFY(!outputFromCache(false, cache, device, out));
        QCOMPARE(out, (Map{{"mine", 2}}));
        QVERIFY(outputFromCache(true, cache, device, out));
        QCOMPARE(out, (Map{{"a", 1}}));
    }

    void theGuardPassesWhenBothInstancesAreThere()
    {
        QVERIFY(instancesReady(CallSite("tessel/cabinetinfooperator", "CabinetInfoOperator::berTestPattern"),
                               "pInstance is nullptr!"));
    }

    void theGuardLogsWhichInstanceIsMissing()
    {
        const int something = 0;
        const CallSite site("tessel/cabinetinfooperator", "CabinetInfoOperator::berTestPattern", 17);
        const QString head =
            "debug: System Error: LogInfo:[FILE: tessel/cabinetinfooperator , LINE 17 , FUNC "
            "CabinetInfoOperator::berTestPattern ] -> ";
        const LogCollector log;
        QVERIFY(!instancesReady(site, "pInstance is nullptr!", nullptr, &something));
        QVERIFY(!instancesReady(site, "pInstance is nullptr! error occurred", nullptr, nullptr));
        QVERIFY(!instancesReady(site, "pInstance is nullptr!", &something, nullptr));
        QCOMPARE(log.lines(),
                 (QStringList{head + "pInstance is nullptr!", head + "pInstance is nullptr! error occurred",
                              head + "pHttpInstance is nullptr! error occurred"}));
    }

    void aCallSiteKnowsItsLine()
    {
        const CallSite site("file", "function");
        QCOMPARE(site.line, __LINE__ - 1);
    }
};

QTEST_GUILESS_MAIN(TestRequest)
#include "tst_request.moc"
