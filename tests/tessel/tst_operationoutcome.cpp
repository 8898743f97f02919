// SPDX-License-Identifier: MIT
//
// What the library says of an operation after it.
#include <recordingengine.h>
#include <sourcetree.h>

#include <communicator/calloutcome.h>
#include <communicator/httpproxy.h>
#include <tessel/correctionop.h>
#include <tessel/frames/grouprequest.h>
#include <tessel/frames/instancesready.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/pipeinfo.h>
#include <tessel/screeninfo.h>

#include <QtTest>

#include <thread>

using Krelm::Communicator::HttpDevice::ExchangeOutcome;
using Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
using Krelm::Communicator::HttpDevice::OperationOutcome;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QString device = QStringLiteral("wall");
const QString nothingSent = QStringLiteral("nothing was sent");

QStringList headersOfOperators()
{
    static const QRegularExpression declared("\nclass TESSEL_EXPORT \\w+ : public QObject");
    QStringList headers;
    for (const QString& file : sourcesBelow(QStringLiteral("tessel"))) {
        // These two talk to no device.
        const bool isOther = file.endsWith(QLatin1String("/allurlresource.h")) ||
                             file.endsWith(QLatin1String("/devicemanager.h"));
        if (file.count(QLatin1Char('/')) == 1 && file.endsWith(QLatin1String(".h")) && !isOther &&
            textOf(file).contains(declared)) {
            headers << file;
        }
    }
    return headers;
}

} // namespace

class TestOperationOutcome : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
        m_engine = RecordingEngine::install();
        // What a test finds is never what another left.
        HWInfo::getInstance()->shutDownWatch();
        HWInfo::getInstance()->getHWInfo(QStringLiteral("before"), true);
        HWInfo::getInstance()->startWatch();
    }

    void everyOperatorClassSaysWhereTheReasonIs_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString& file : headersOfOperators()) {
            QTest::newRow(qPrintable(file)) << file;
        }
    }
    // By way of the page that it leads to.
    void everyOperatorClassSaysWhereTheReasonIs()
    {
        QFETCH(QString, file);
        QVERIFY(headersOfOperators().size() >= 14);
        static const QRegularExpression classComment("((?:\n///[^\n]*)+)\nclass TESSEL_EXPORT");
        QString comment = classComment.match(textOf(file)).captured(1);
        comment = comment.replace(QLatin1String("\n///"), QLatin1String(" ")).simplified();
        QVERIFY2(comment.contains(QLatin1String("[calling conventions](docs/calling-conventions.md)")),
                 qPrintable(comment));
        const QString page = textOf(QStringLiteral("docs/calling-conventions.md")).simplified();
        QVERIFY(page.contains(QLatin1String("A `false` or a rejected promise has its reason in "
                                            "`OperationOutcome::last()` (`communicator/calloutcome.h`)")));
    }

    void aFailureLeavesItsReason()
    {
        m_engine->answer(RecordingEngine::failure(IHttpVersionTrigger::Unreachable));
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device, true));
        const OperationOutcome outcome = OperationOutcome::last();
        QVERIFY(outcome.hasFailed());
        QCOMPARE(outcome.ids().size(), std::size_t(1));
        const ExchangeOutcome one = outcome.exchanges().first();
        QCOMPARE(one.id, outcome.ids().front());
        QCOMPARE(one.state, IHttpVersionTrigger::Unreachable);
        QCOMPARE(one.verb, QByteArray("GET"));
        QCOMPARE(one.path, QByteArray("/api/v1/device/hw"));
        QCOMPARE(outcome.text(),
                 QStringLiteral("GET /api/v1/device/hw on wall: no connection to the device"));
    }

    void aReadThatACacheAnswersHasSentNothing()
    {
        QVERIFY(HWInfo::getInstance()->getHWInfo(device, true));
        QCOMPARE(OperationOutcome::last().ids().size(), std::size_t(1));
        Map info;
        QVERIFY(HWInfo::getInstance()->getHWInfo(device, info, false));
        QVERIFY(OperationOutcome::last().ids().empty());
        QVERIFY(OperationOutcome::last().text().startsWith(nothingSent));
    }

    void anElementThatACachedListLacksIsNotBlamedOnAnEarlierFailure()
    {
        m_engine->answer(RecordingEngine::data("[]"));
        QVERIFY(PipeInfo::getInstance()->getDevicePipes(device, true));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!HWInfo::getInstance()->getHWInfo(QStringLiteral("other"), true));
        Map pipe;
        QVERIFY(!PipeInfo::getInstance()->getDeviceOnePipe(device, QStringLiteral("7"), pipe));
        QVERIFY(!OperationOutcome::last().hasFailed());
        QVERIFY(OperationOutcome::last().text().startsWith(nothingSent));
    }

    void aCachedPropertyOfAScreenHasSentNothing()
    {
        m_engine->answer(RecordingEngine::data(R"({"enable":true})"));
        Map result;
        const auto id = QStringLiteral("1");
        QVERIFY(ScreenInfo::getInstance()->get18bit(device, id, result, true));
        QVERIFY(!OperationOutcome::last().ids().empty());
        QVERIFY(ScreenInfo::getInstance()->get18bit(device, id, result, false));
        QVERIFY(OperationOutcome::last().ids().empty());
    }

    void anOperationWithoutARouteSaysThatItHasNoPath()
    {
        Map reply;
        List list;
        Krelm::Communicator::HttpDevice::HttpProxy::getInstance()->setEngine(nullptr);
        QVERIFY(!PipeInfo::getInstance()->getDeviceGroupScreenInfo(QStringLiteral("localhost"), list));
        QCOMPARE(OperationOutcome::last().exchanges().size(), 1);
        QCOMPARE(OperationOutcome::last().exchanges().first().state, IHttpVersionTrigger::InvalidRequest);
        QVERIFY2(OperationOutcome::last().text().contains(QLatin1String("the request has no path")),
                 qPrintable(OperationOutcome::last().text()));
    }

    void anOperationOfSeveralRequestsIsOne()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.path.contains(QLatin1String("cabinet"))
                       ? RecordingEngine::data(R"([{"id":1}])")
                       : RecordingEngine::failure(IHttpVersionTrigger::TimedOut);
        });
        Map result;
        QVERIFY(!ScreenInfo::getInstance()->getBrightness(QStringLiteral("new"), QStringLiteral("1"), result,
                                                          true));
        const auto exchanges = OperationOutcome::last().exchanges();
        QCOMPARE(exchanges.size(), 2);
        QCOMPARE(exchanges.first().state, IHttpVersionTrigger::Success);
        QVERIFY(exchanges.last().path.contains("brightness"));
        QVERIFY2(OperationOutcome::last().text().endsWith(QLatin1String("no reply in time")),
                 qPrintable(OperationOutcome::last().text()));
    }

    void aGroupOfRequestsIsOneOperation()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.placeHolders.value(QStringLiteral("id")) == QLatin1String("2")
                       ? RecordingEngine::failure(IHttpVersionTrigger::Broken)
                       : RecordingEngine::data("{}");
        });
        const QStringList ids{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")};
        List results;
        QVERIFY(!Tessel::GroupRequest("Device_OneEDID").get(device, ids, results));
        const OperationOutcome outcome = OperationOutcome::last();
        QVERIFY(outcome.isFinished());
        QCOMPARE(outcome.ids().size(), std::size_t(3));
        QCOMPARE(outcome.exchanges().size(), 3);
        int failed = 0;
        for (const ExchangeOutcome& one : outcome.exchanges()) {
            failed += one.succeeded() ? 0 : 1;
        }
        QCOMPARE(failed, 1);
        QVERIFY2(outcome.text().contains(QLatin1String("/2")), qPrintable(outcome.text()));
    }

    void anEmptyBatchHasSentNothing()
    {
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device, true));
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral(".")));
        QVERIFY(!Tessel::putToDevices(
            "test", {}, [](const QString&) { return ""; }, 1000));
        QVERIFY(OperationOutcome::last().text().startsWith(nothingSent));
    }

    void whatIsMissingForAnOperationIsNotBlamedOnTheOneBefore_data()
    {
        QTest::addColumn<bool>("hasTable");
        QTest::newRow("the table") << false;
        QTest::newRow("the transport") << true;
    }
    void whatIsMissingForAnOperationIsNotBlamedOnTheOneBefore()
    {
        QFETCH(bool, hasTable);
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device, true));
        QVERIFY(!Tessel::instancesReady({"f", "g"}, "no table", hasTable ? this : nullptr,
                                        hasTable ? nullptr : this));
        QVERIFY(OperationOutcome::last().ids().empty());
    }

    void aRejectedPromiseLeadsToItsReason()
    {
        m_engine->hold();
        auto promise = HWInfo::getInstance()->getHWInfo2(device);
        const OperationOutcome outcome = OperationOutcome::last();
        QVERIFY(!outcome.isFinished());
        QCOMPARE(outcome.text(), QStringLiteral("an exchange is still under way"));
        QString told;
        promise.fail([&told, outcome] {
            told = outcome.text();
            return Tessel::DeviceInfo();
        });
        // Operations in between have outcomes of their own.
        Map info;
        HWInfo::getInstance()->getHWInfo(device, info, true);
        m_engine->answer(RecordingEngine::reply(R"({"code":7,"message":"overheated"})"));
        QVERIFY(m_engine->release());
        QTRY_VERIFY(!told.isEmpty());
        QCOMPARE(told,
                 QStringLiteral("GET /api/v1/device/hw on wall: the device refused it: overheated (code 7)"));
        QVERIFY(outcome.isFinished());
    }

    void aPromiseIsNotRejectedWithoutAReason_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("isRejected");
        QTest::addColumn<QString>("reason");
        const QString all = QStringLiteral("all exchanges succeeded");
        const QString of = QStringLiteral("GET /api/v1/device/hw on wall: ");
        const QString refused = of + QStringLiteral("the device refused it: no (code %1)");
        const QString unreadable = of + QStringLiteral("succeeded, but the reply is not a JSON object");
        QTest::newRow("no code") << QByteArray(R"({"data":{}})") << false << all;
        QTest::newRow("code 0") << QByteArray(R"({"code":0,"data":{}})") << false << all;
        QTest::newRow("code 0.0") << QByteArray(R"({"code":0.0,"data":{}})") << false << all;
        QTest::newRow("code 3") << QByteArray(R"({"code":3,"message":"no"})") << true << refused.arg(3);
        for (const char* const code :
             {"\"3\"", "\"0\"", "1.5", "1e12", "true", "false", "{}", "[]", "null"}) {
            QTest::addRow("code %s", code)
                << R"({"message":"no","code":)" + QByteArray(code) + '}' << true << refused.arg(-1);
        }
        QTest::newRow("a page") << QByteArray("<html>") << true << unreadable;
        QTest::newRow("a list") << QByteArray("[1]") << true << unreadable;
        QTest::newRow("cut") << QByteArray(R"({"code":0,"data":)") << true << unreadable;
    }
    void aPromiseIsNotRejectedWithoutAReason()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, isRejected);
        QFETCH(QString, reason);
        m_engine->answer(RecordingEngine::reply(reply));
        QString told;
        bool isFulfilled = false;
        auto promise = HWInfo::getInstance()->getHWInfo2(device);
        const OperationOutcome outcome = OperationOutcome::last();
        promise
            .then([&](const Tessel::DeviceInfo&) {
                isFulfilled = true;
                told = outcome.text();
            })
            .fail([&] { told = outcome.text(); });
        QTRY_VERIFY(!told.isEmpty());
        QCOMPARE(!isFulfilled, isRejected);
        QCOMPARE(told, reason);
    }

    void aPromiseThatRefusesItsArgumentsHasSentNothing()
    {
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device, true));
        HWInfo::getInstance()->getHWInfo2(QString()).fail([] { return Tessel::DeviceInfo(); });
        QVERIFY(OperationOutcome::last().text().startsWith(nothingSent));
    }

    void aWriteThatIsNotWaitedForTellsItsOutcomeLater()
    {
        m_engine->hold();
        Map body;
        Map reply;
        QVERIFY(ScreenInfo::getInstance()->postScreens(device, body, reply));
        const OperationOutcome outcome = OperationOutcome::last();
        QVERIFY(!outcome.hasFailed());
        QVERIFY(!outcome.isFinished());
        m_engine->answer(RecordingEngine::failure(IHttpVersionTrigger::TimedOut));
        QVERIFY(m_engine->release());
        QTRY_VERIFY(outcome.isFinished());
        QVERIFY2(outcome.text().startsWith(QLatin1String("POST /api/v1/device/screen on wall: ")),
                 qPrintable(outcome.text()));
    }

    void anUploadThatWaitsIsOneOperation()
    {
        m_engine->answer(RecordingEngine::failure());
        Map reply;
        Correctionop::getInstance()->uploadCoefficient(device, QStringLiteral("1"), List(), reply);
        QVERIFY(OperationOutcome::last().isFinished());
        QVERIFY(OperationOutcome::last().hasFailed());
    }

    void everyThreadHasItsOwn()
    {
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!HWInfo::getInstance()->getHWInfo(device, true));
        const auto ofThis = OperationOutcome::last().ids();
        std::size_t atFirst = 1;
        QString text;
        std::thread([&] {
            atFirst = OperationOutcome::last().ids().size();
            Map reply;
            PipeInfo::getInstance()->putDeviceOnePipe(device, QStringLiteral("3"), Map(), reply);
            text = OperationOutcome::last().text();
        }).join();
        QCOMPARE(atFirst, std::size_t(0));
        QVERIFY2(text.startsWith(QLatin1String("PUT ")), qPrintable(text));
        QCOMPARE(OperationOutcome::last().ids(), ofThis);
    }
};

QTEST_GUILESS_MAIN(TestOperationOutcome)
#include "tst_operationoutcome.moc"
