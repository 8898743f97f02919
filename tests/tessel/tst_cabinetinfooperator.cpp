// SPDX-License-Identifier: MIT
#include <cachedoperator.h>
#include <deviceside.h>
#include <logcollector.h>
#include <operationrow.h>
#include <recordingengine.h>
#include <signalrecorder.h>
#include <timelimits.h>

#include <tessel/cabinetinfooperator.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QByteArray cabinetsChange = R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{}})";
const QByteArray allFlags = R"({"eventSender":"cabinet","eventType":"allFlags"})";

const QString cabinetsPath = QStringLiteral("/api/v1/device/cabinet");
const QString cardsPath = QStringLiteral("/api/v1/device/cabinet/rx");

CabinetInfoOperator* cabinets()
{
    return CabinetInfoOperator::getInstance();
}

QStringList traceOf(const QByteArray& event)
{
    if (QJsonDocument::fromJson(event).object().value("eventSender").toString() != "cabinet") {
        return {};
    }
    return {"debug: CabinetInfoOperator: \"" + QString(event).replace('"', "\\\"") + "\" m_isWatch: true"};
}

CachedOperator cachedCabinetLists()
{
    CachedOperator subject{
        []() -> QObject* { return cabinets(); },
        "Device_AllCabinetsInfo",
        CachedOperator::Entry::List,
        [](const QString& deviceKey, bool force) { return cabinets()->getAllCabinetsInfo(deviceKey, force); },
        handingOut(&CabinetInfoOperator::getAllCabinetsInfo),
        [](bool on) { on ? cabinets()->startWatch() : cabinets()->shutDownWatch(); },
        allFlags,
        {"eventSender", "eventType"}};
    subject.parameters = {{"subpixel", "1"}};
    subject.expectedTime = 30000;
    subject.told = [](const QString& deviceKey) {
        return QStringList{"signal_sendCountChanged(" + deviceKey + ')'};
    };
    subject.traceOfEvent = traceOf;
    subject.traceOfLogout = QStringList{R"(debug: \w+ \.\.CabinetInfoOperator deviceLogout\.\. QTime\(.*\))"};
    subject.otherEvents = {
        {"another type", R"({"eventSender":"cabinet","eventType":"temperature"})"},
        {"a change of another sender", R"({"eventSender":"screen","eventType":"cabinetsChange"})"},
        {"a change of a sender in another case", R"({"eventSender":"Cabinet","eventType":"cabinetsChange"})"},
        {"a change without a sender", R"({"eventType":"cabinetsChange"})"},
        {"the change form", R"({"dataType":"change","changeTag":"cabinetsChange"})"},
    };
    return subject;
}

List withId(const char* id)
{
    return {Map{{"id", id}}};
}

} // namespace

class TestCabinetInfoOperator : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    void answer(const QByteArray& data) { m_engine->answer(RecordingEngine::data(data)); }

    void answerById(const QByteArray& cabinetsId, const QByteArray& cardsId)
    {
        m_engine->answer([=](const RecordingEngine::Request& request) {
            const QByteArray& id = request.path == cardsPath ? cardsId : cabinetsId;
            return id.isEmpty() ? RecordingEngine::failure()
                                : RecordingEngine::data("[{\"id\":\"" + id + "\"}]");
        });
    }

    List cachedCabinets()
    {
        List out;
        cabinets()->getAllCabinetsInfo(m_device, out, false);
        return out;
    }

    void handleAllReplies()
    {
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
    }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        cabinets()->startWatch();
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        OperationRow rows[] = {
            {"CabinetInfoOperator::getAllCabinetsInfo", "Device_AllCabinetsInfo", HttpMethod::Get,
             Decoder::None, [](Outputs&) { return cabinets()->getAllCabinetsInfo(sampleDevice, true); }},
            {"CabinetInfoOperator::getAllCabinetsInfo (overload)", "Device_AllCabinetsInfo", HttpMethod::Get,
             Decoder::FlatList,
             [](Outputs& out) { return cabinets()->getAllCabinetsInfo(sampleDevice, out.list, true); }},
            {"CabinetInfoOperator::getAllCabinets", "Device_AllCabinetsInfo", HttpMethod::Get, Decoder::None,
             [](Outputs&) { return cabinets()->getAllCabinets(sampleDevice).wait().isFulfilled(); }},
            {"CabinetInfoOperator::getRvCardsList", "Device_RvCards", HttpMethod::Get, Decoder::ParsedList,
             [](Outputs& out) { return cabinets()->getRvCardsList(sampleDevice, out.list); }},
        };
        for (OperationRow& row : {std::ref(rows[0]), std::ref(rows[1])}) {
            row.parameters = {{"subpixel", "1"}};
            row.expectedTime = 30000;
            row.onFailure = OnFailure::KeepOutput;
        }
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    // The cabinets and their cache

    void theCacheFollowsItsDevice_data() { addCachedOperatorChecks(cachedCabinetLists()); }
    void theCacheFollowsItsDevice()
    {
        QFETCH(CachedOperatorCheck, check);
        checkCachedOperator(cachedCabinetLists(), check);
    }

    void anEmptyListHasNoCabinetToFind()
    {
        answer("[]");
        Map cabinet{{"kept", 1}};
        QVERIFY(!cabinets()->getCabinetInfo(m_device, QString(), cabinet));
        QCOMPARE(cabinet, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 1);
    }

    void getCabinetInfoFindsTheFirstWithTheId_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("number");
        QTest::newRow("text") << QString("b") << 2;
        QTest::newRow("number") << QString("7") << 3;
        QTest::newRow("second of the same") << QString("a") << 1;
        QTest::newRow("empty matches the first without an id") << QString() << 5;
        QTest::newRow("unknown") << QString("z") << 0;
        QTest::newRow("another case") << QString("B") << 0;
    }
    void getCabinetInfoFindsTheFirstWithTheId()
    {
        QFETCH(QString, id);
        QFETCH(int, number);
        answer(
            R"([{"id":"a","n":1},{"id":"b","n":2},{"id":7,"n":3},{"id":"a","n":4},{"n":5},{"id":"","n":6}])");
        Map out{{"n", 0}, {"kept", 1}};
        QCOMPARE(cabinets()->getCabinetInfo(m_device, id, out), number != 0);
        QCOMPARE(out.value("n").toInt(), number);
        QCOMPARE(out.contains("kept"), number == 0);
        QVERIFY(!cabinets()->getCabinetInfo(m_device, "z", out));
        QCOMPARE(m_engine->count(), 1);
    }

    void anEmptyIdMatchesAnEmptyIdBeforeALaterCabinetWithout()
    {
        answer(R"([{"id":"a"},{"id":"","n":1},{"n":2}])");
        Map out;
        QVERIFY(cabinets()->getCabinetInfo(m_device, QString(), out));
        QCOMPARE(out.value("n").toInt(), 1);
    }

    void getCabinetInfoOnAnUnreachableDeviceLeavesItsOutput()
    {
        m_engine->answer(RecordingEngine::failure());
        Map out{{"kept", 1}};
        QVERIFY(!cabinets()->getCabinetInfo(m_device, "1", out));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 1);
    }

    // The typed read

    void theTypedReadGivesTheRecordsAndLeavesTheCache()
    {
        answer(R"([{"id":"old"}])");
        QVERIFY(cabinets()->getAllCabinetsInfo(m_device, false));
        answer(
            R"([{"id":"c1","version":"2.1","outputId":3,"moduleCount":4,"weight":5,"power":6,"voltage":7},{"id":"c2"}])");
        QList<Tessel::CabinetInfo> got;
        cabinets()
            ->getAllCabinets(m_device)
            .then([&](const QList<Tessel::CabinetInfo>& list) { got = list; })
            .wait();
        QCOMPARE(got.size(), 2);
        QCOMPARE(got.at(0).id, QString("c1"));
        QCOMPARE(got.at(0).version, QString("2.1"));
        QCOMPARE(got.at(0).outputId, 3);
        QCOMPARE(got.at(0).moduleCount, 4);
        QCOMPARE(got.at(0).weight, 5);
        QCOMPARE(got.at(0).power, 6);
        QCOMPARE(got.at(0).voltage, 7);
        QCOMPARE(got.at(1).id, QString("c2"));
        QVERIFY(m_engine->last().parameters.isEmpty());
        QCOMPARE(cachedCabinets(), withId("old"));
        QCOMPARE(m_engine->count(), 2);
    }

    void theTypedReadResolvesWhateverTheDeviceSays_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("count");
        QTest::newRow("non-zero code") << QByteArray(R"({"code":5,"message":"no","data":[{"id":"1"}]})") << 1;
        QTest::newRow("no data") << QByteArray(R"({"code":0})") << 0;
        QTest::newRow("no JSON") << QByteArray("<html>") << 0;
        QTest::newRow("nothing") << QByteArray() << 0;
    }
    void theTypedReadResolvesWhateverTheDeviceSays()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, count);
        m_engine->answer(RecordingEngine::reply(body));
        int got = -1;
        cabinets()
            ->getAllCabinets(m_device)
            .then([&](const QList<Tessel::CabinetInfo>& list) { got = list.size(); })
            .wait();
        QCOMPARE(got, count);
    }

    void aFailedTypedReadIsRejectedAndLeavesTheCache()
    {
        answer(R"([{"id":"old"}])");
        QVERIFY(cabinets()->getAllCabinetsInfo(m_device, false));
        m_engine->answer(RecordingEngine::failure());
        bool undefined = false;
        cabinets()
            ->getAllCabinets(m_device)
            .then([](const QList<Tessel::CabinetInfo>&) {})
            .fail([&](const QtPromise::QPromiseUndefinedException&) { undefined = true; })
            .wait();
        QVERIFY(undefined);
        QCOMPARE(cachedCabinets(), withId("old"));
    }

    void theTypedReadOfNoDeviceGoesToTheTransport()
    {
        const int limitsBefore = timeLimitsGiven();
        cabinets()->getAllCabinets(QString()).wait();
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QCOMPARE(m_engine->count(), 1);
        QVERIFY(m_engine->last().deviceKey.isEmpty());
    }

    // Events

    void cabinetsChangeFetchesBothListsAnew()
    {
        answerById("old", "card");
        QVERIFY(cabinets()->getAllCabinetsInfo(m_device, false));
        m_engine->forget();
        answerById("new", "card");
        QSignalSpy changed(cabinets(), &CabinetInfoOperator::signal_sendDataChanged);
        QSignalSpy cards(cabinets(), &CabinetInfoOperator::signal_rvCardsInfoChanged);
        QSignalSpy counted(cabinets(), &CabinetInfoOperator::signal_sendCountChanged);
        const int limitsBefore = timeLimitsGiven();
        DeviceSide::push(m_device, cabinetsChange);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QCOMPARE(changed.size() + cards.size(), 0);
        QTRY_COMPARE(changed.size(), 1);
        QTRY_COMPARE(cards.size(), 1);
        QCOMPARE(counted.size(), 0);
        QCOMPARE(changed.first(), List{m_device});
        QCOMPARE(cards.first(), List{m_device});
        const std::vector<RecordingEngine::Request> sent = m_engine->requests();
        QCOMPARE(int(sent.size()), 2);
        QCOMPARE(sent.at(0).path, cabinetsPath);
        QCOMPARE(sent.at(1).path, cardsPath);
        for (const RecordingEngine::Request& request : sent) {
            QCOMPARE(request.deviceKey, m_device);
            QCOMPARE(int(request.method), int(HttpMethod::Get));
            QVERIFY(request.parameters.isEmpty());
            QCOMPARE(request.expectedTime, 10000);
        }
        QCOMPARE(cachedCabinets(), withId("new"));
        List out;
        QVERIFY(cabinets()->getRvCardsList(m_device, out));
        QCOMPARE(out, withId("card"));
        QCOMPARE(m_engine->count(), 2);
    }

    void aFailedCabinetsFetchTellsAllTheSameAndKeepsTheList()
    {
        answerById("old", "card");
        QVERIFY(cabinets()->getAllCabinetsInfo(m_device, false));
        answerById({}, "card");
        QSignalSpy changed(cabinets(), &CabinetInfoOperator::signal_sendDataChanged);
        DeviceSide::push(m_device, cabinetsChange);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(changed.first(), List{m_device});
        QCOMPARE(cachedCabinets(), withId("old"));
    }

    void aFailedCardsFetchStaysSilent()
    {
        answerById("new", {});
        QSignalSpy cards(cabinets(), &CabinetInfoOperator::signal_rvCardsInfoChanged);
        DeviceSide::push(m_device, cabinetsChange);
        handleAllReplies();
        QCOMPARE(cards.size(), 0);
        QCOMPARE(cachedCabinets(), withId("new"));
        m_engine->forget();
        List out;
        QVERIFY(!cabinets()->getRvCardsList(m_device, out));
        QCOMPARE(m_engine->count(), 1);
    }

    void anEventOfTheCabinetsIsTracedOnce()
    {
        const LogCollector log;
        DeviceSide::push(m_device, R"({"eventSender":"cabinet"})");
        QCOMPARE(log.lines(),
                 QStringList{"debug: CabinetInfoOperator: \"{\\\"eventSender\\\":\\\"cabinet\\\"}\" "
                             "m_isWatch: true"});
    }

    void allFlagsSetsNoTimeLimit()
    {
        answerById("new", "card");
        const int limitsBefore = timeLimitsGiven();
        DeviceSide::push(m_device, allFlags);
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        handleAllReplies();
    }

    void theEventsPayloadIsNotLookedAt_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("null") << QByteArray(R"(,"eventData":null)");
        QTest::newRow("text") << QByteArray(R"(,"eventData":"x")");
        QTest::newRow("number") << QByteArray(R"(,"eventData":0)");
        QTest::newRow("empty list") << QByteArray(R"(,"eventData":[])");
        QTest::newRow("list") << QByteArray(R"(,"eventData":[{"id":"1"}])");
        QTest::newRow("empty object") << QByteArray(R"(,"eventData":{})");
        QTest::newRow("another event")
            << QByteArray(R"(,"eventData":{"eventSender":"screen","eventType":"x"})");
    }
    void theEventsPayloadIsNotLookedAt()
    {
        QFETCH(QByteArray, payload);
        SignalRecorder recorder(cabinets());
        DeviceSide::push(m_device,
                         R"({"eventSender":"cabinet","eventType":"cabinetsChange")" + payload + '}');
        QCOMPARE(m_engine->count(), 2);
        handleAllReplies();
        QCOMPARE(recorder.take(), (QStringList{"signal_sendDataChanged(" + m_device + ')',
                                               "signal_rvCardsInfoChanged(" + m_device + ')'}));
        DeviceSide::push(m_device, R"({"eventSender":"cabinet","eventType":"allFlags")" + payload + '}');
        QCOMPARE(m_engine->count(), 3);
        handleAllReplies();
        QCOMPARE(recorder.take(), (QStringList{"signal_sendCountChanged(" + m_device + ')'}));
    }

    void withTheWatchOffAChangeOfTheCabinetsIsLost()
    {
        cabinets()->shutDownWatch();
        const LogCollector log;
        DeviceSide::push(m_device, cabinetsChange);
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(log.lines(), QStringList());
    }

    void aWatchThatGoesOffDoesNotStopTheRefreshOfBothLists()
    {
        answerById("new", "card");
        SignalRecorder recorder(cabinets());
        DeviceSide::push(m_device, cabinetsChange);
        cabinets()->shutDownWatch();
        handleAllReplies();
        QCOMPARE(recorder.take(), (QStringList{"signal_sendDataChanged(" + m_device + ')',
                                               "signal_rvCardsInfoChanged(" + m_device + ')'}));
        cabinets()->startWatch();
        QCOMPARE(cachedCabinets(), withId("new"));
        List out;
        QVERIFY(cabinets()->getRvCardsList(m_device, out));
        QCOMPARE(out, withId("card"));
        QCOMPARE(m_engine->count(), 2);
    }

    void anEventFromAForeignThreadIsHandledOnTheHomeThread()
    {
        QList<QThread*> heardOn;
        const auto note = [&] { heardOn << QThread::currentThread(); };
        QObject context;
        connect(cabinets(), &CabinetInfoOperator::signal_sendDataChanged, &context, note,
                Qt::DirectConnection);
        connect(cabinets(), &CabinetInfoOperator::signal_rvCardsInfoChanged, &context, note,
                Qt::DirectConnection);
        connect(cabinets(), &CabinetInfoOperator::signal_sendCountChanged, &context, note,
                Qt::DirectConnection);
        DeviceSide::pushFromForeignThread(m_device, cabinetsChange);
        DeviceSide::pushFromForeignThread(m_device, allFlags);
        QTRY_COMPARE(heardOn.size(), 3);
        for (const QThread* thread : qAsConst(heardOn)) {
            QCOMPARE(thread, QThread::currentThread());
        }
    }

    // Logout

    void aLogoutForgetsTheCabinetsAndKeepsTheCards()
    {
        answerById("1", "card");
        QSignalSpy cards(cabinets(), &CabinetInfoOperator::signal_rvCardsInfoChanged);
        DeviceSide::push(m_device, cabinetsChange);
        QTRY_COMPARE(cards.size(), 1);
        handleAllReplies();
        m_engine->forget();

        DeviceSide::logOut(m_device);
        QVERIFY(cabinets()->getAllCabinetsInfo(m_device, false));
        QCOMPARE(m_engine->count(), 1);
        List out;
        QVERIFY(cabinets()->getRvCardsList(m_device, out));
        QCOMPARE(out, withId("card"));
        QCOMPARE(m_engine->count(), 1);
    }

    // The receiving cards

    void theCardsAreAnsweredFromTheCacheWithTheWatchOffAsWell()
    {
        answer(R"([{"id":"card","chip":{"name":"x"}}])");
        QSignalSpy cards(cabinets(), &CabinetInfoOperator::signal_rvCardsInfoChanged);
        DeviceSide::push(m_device, cabinetsChange);
        QTRY_COMPARE(cards.size(), 1);
        m_engine->forget();
        cabinets()->shutDownWatch();
        List out{1};
        QVERIFY(cabinets()->getRvCardsList(m_device, out));
        QCOMPARE(out, (List{Map{{"chip.name", "x"}, {"id", "card"}}}));
        QCOMPARE(m_engine->count(), 0);
    }

    void cardsThatAreNotCachedAreReadEachTimeAndAsParsed()
    {
        answer(R"([{"chip":{"name":"x"}}])");
        for (int read = 1; read <= 2; ++read) {
            List out{1};
            QVERIFY(cabinets()->getRvCardsList(m_device, out));
            QCOMPARE(out, (List{Map{{"chip", Map{{"name", "x"}}}}}));
            QCOMPARE(m_engine->count(), read);
        }
    }

    // The object

    void theMetaObjectDeclaresTheThreeSignalsOnly()
    {
        const QMetaObject& meta = CabinetInfoOperator::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 3);
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        for (const char* signal : {"signal_sendDataChanged(QString)", "signal_rvCardsInfoChanged(QString)",
                                   "signal_sendCountChanged(QString)"}) {
            QVERIFY(meta.indexOfSignal(signal) >= 0);
        }
    }

    void oneInstanceListensOnce()
    {
        QCOMPARE(CabinetInfoOperator::getInstance(), CabinetInfoOperator::getInstance());
        DeviceSide::push(m_device, allFlags);
        QCOMPARE(m_engine->count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestCabinetInfoOperator)
#include "tst_cabinetinfooperator.moc"
