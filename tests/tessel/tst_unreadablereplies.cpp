// SPDX-License-Identifier: MIT
//
// Replies with a good status that are not JSON, or whose code is not an integer.
#include <logcollector.h>
#include <recordingengine.h>

#include <tessel/cabinetinfooperator.h>
#include <tessel/correctionop.h>
#include <tessel/envelopes/rawresponse.h>
#include <tessel/frames/promiserequest.h>
#include <tessel/frames/request.h>
#include <tessel/records/deviceinfo.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::DeviceInfo;
using Tessel::PromiseRequest;
using Tessel::Request;

namespace {

const QString device = QStringLiteral("user:secret@wall");
const QString path = QStringLiteral("/api/v1/x/{id}");
const QString warning =
    QStringLiteral("tessel.http.warning: ***@wall /api/v1/x/7: the reply is not a JSON object");

RecordingEngine::Reply replyOf(int status, const QByteArray& body)
{
    RecordingEngine::Reply reply = RecordingEngine::reply(body);
    reply.status = status;
    return reply;
}

void decodeAll(const HttpJsonPackage& package)
{
    QVERIFY(package.getRoutesJsonMap().isEmpty());
    QVERIFY(package.getRoutesJsonDataListMap().isEmpty());
    QVERIFY(package.getJsonDataListMap().isEmpty());
    QVERIFY(package.getRoutesJsonMap().isEmpty());
}

QByteArray envelope(const QByteArray& code)
{
    return R"({"code":)" + code + R"(,"message":"m","data":{"name":"n","mode":3,"enable":true}})";
}

template <class T>
bool isFulfilled(const QtPromise::QPromise<T>& promise)
{
    return promise.wait().isFulfilled();
}

} // namespace

Q_DECLARE_METATYPE(RecordingEngine::Reply)
Q_DECLARE_METATYPE(std::function<void()>)

class TestUnreadableReplies : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void aReplyThatIsNoJsonObjectIsLoggedOnce_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("a page") << 200 << QByteArray("<html>secret</html>");
        QTest::newRow("cut off") << 200 << QByteArray(R"({"code":0,"data":{"secret":)");
        QTest::newRow("raw control character") << 200 << QByteArray("{\"data\":{\"a\":\"\n\"}}");
        QTest::newRow("an array") << 200 << QByteArray("[1]");
        QTest::newRow("a number") << 201 << QByteArray("1");
        QTest::newRow("empty") << 200 << QByteArray();
        QTest::newRow("a body where none may be") << 204 << QByteArray("x");
        QTest::newRow("without status") << 0 << QByteArray("x");
    }
    void aReplyThatIsNoJsonObjectIsLoggedOnce()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        m_engine->answer(replyOf(status, body));
        HttpJsonPackage package(nullptr);
        package.setUrl(path);
        package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("7"));
        const LogCollector log;
        HttpProxy::getInstance()->getSync(device, &package);
        decodeAll(package);
        QCOMPARE(log.lines(), QStringList{warning});
    }

    void whatIsReadableOrFailedOrNotReadIsNotLogged_data()
    {
        QTest::addColumn<RecordingEngine::Reply>("reply");
        QTest::addColumn<bool>("decoded");
        QTest::newRow("no data") << replyOf(200, "{}") << true;
        QTest::newRow("data of another kind") << replyOf(200, R"({"data":7})") << true;
        QTest::newRow("no content") << replyOf(204, {}) << true;
        RecordingEngine::Reply failed = replyOf(404, "<html>");
        failed.state = RecordingEngine::State::HttpFailure;
        QTest::newRow("a failure") << failed << true;
        QTest::newRow("not decoded") << replyOf(200, "<html>") << false;
    }
    void whatIsReadableOrFailedOrNotReadIsNotLogged()
    {
        QFETCH(RecordingEngine::Reply, reply);
        QFETCH(bool, decoded);
        m_engine->answer(reply);
        HttpJsonPackage package(nullptr);
        package.setUrl(path);
        const LogCollector log;
        HttpProxy::getInstance()->getSync(device, &package);
        if (decoded) {
            decodeAll(package);
        }
        QCOMPARE(log.lines(), QStringList());
    }

    void aPackageWithoutReplyIsNotLogged()
    {
        const LogCollector log;
        QMap<QString, QVariant> out;
        QVERIFY(Request("Device_Hwinfo").putNoReply(device, out));
        QCOMPARE(log.lines(), QStringList());
    }

    void theNextReplyIsLoggedAnew()
    {
        const LogCollector log;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/a"));
        package.setReceiveData("x");
        decodeAll(package);
        package.setReceiveData("y");
        decodeAll(package);
        const QString line = QStringLiteral("tessel.http.warning:  /a: the reply is not a JSON object");
        QCOMPARE(log.lines(), (QStringList{line, line}));
    }

    void everyFormLogsItOnce_data()
    {
        using Ask = std::function<void()>;
        QTest::addColumn<Ask>("ask");
        QTest::newRow("blocking") << Ask([] {
            QMap<QString, QVariant> map;
            QVERIFY(Request("Device_Hwinfo").get(device, map));
        });
        QTest::newRow("record") << Ask(
            [] { QVERIFY(!isFulfilled(PromiseRequest("Device_Hwinfo").getRecord<DeviceInfo>(device))); });
        QTest::newRow("all cabinets")
            << Ask([] { QVERIFY(isFulfilled(CabinetInfoOperator::getInstance()->getAllCabinets(device))); });
        QTest::newRow("effect mode") << Ask(
            [] { QVERIFY(!isFulfilled(Correctionop::getInstance()->getCabinetEffectMode(device, "1"))); });
        QTest::newRow("correction") << Ask(
            [] { QVERIFY(isFulfilled(Correctionop::getInstance()->getCorrectEnable(device, "1"))); });
        QTest::newRow("loading coefficients") << Ask(
            [] { QVERIFY(!isFulfilled(Correctionop::getInstance()->loadCabinetCoeffs(device, {"1"}))); });
    }
    void everyFormLogsItOnce()
    {
        QFETCH(std::function<void()>, ask);
        m_engine->answer(RecordingEngine::reply("<html>secret</html>"));
        const LogCollector log;
        ask();
        const QStringList lines = log.lines();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines[0].startsWith("tessel.http.warning: ***@wall /api/") &&
                     lines[0].endsWith(": the reply is not a JSON object"),
                 qPrintable(lines[0]));
    }

    void aReplyThatNobodyLooksAtIsLoggedAsWell()
    {
        m_engine->answer(RecordingEngine::reply("<html>secret</html>"));
        const LogCollector log;
        QVERIFY(CabinetInfoOperator::getInstance()->setCabinetBrightnessAsync(device, {}));
        QTRY_COMPARE(log.lines().size(), 2); // the other one tells the state
        QVERIFY2(log.lines()[0].startsWith("tessel.http.warning: ***@wall ") &&
                     log.lines()[0].endsWith(": the reply is not a JSON object"),
                 qPrintable(log.lines()[0]));
    }

    void anUnreadableReplySetsNoCode()
    {
        HttpJsonPackage package(nullptr);
        package.setReceiveData("<html>");
        Tessel::CommonResponse response;
        response.code = 7;
        const LogCollector log;
        QVERIFY(!Tessel::readResponse(package, response));
        QCOMPARE(response.code, 0);
    }

    void onlyACodeOfZeroIsSuccess_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("success");
        QTest::newRow("zero") << envelope("0") << true;
        QTest::newRow("negative zero") << envelope("-0") << true;
        QTest::newRow("zero with a fraction") << envelope("0.0") << true;
        QTest::newRow("zero with an exponent") << envelope("0e3") << true;
        QTest::newRow("none") << QByteArray(R"({"message":"m","data":{"mode":3,"enable":true}})") << true;
        QTest::newRow("one") << envelope("1") << false;
        QTest::newRow("text") << envelope("\"abc\"") << false;
        QTest::newRow("zero as text") << envelope("\"0\"") << false;
        QTest::newRow("empty text") << envelope("\"\"") << false;
        QTest::newRow("null") << envelope("null") << false;
        QTest::newRow("false") << envelope("false") << false;
        QTest::newRow("list") << envelope("[]") << false;
        QTest::newRow("object") << envelope("{}") << false;
        QTest::newRow("a fraction that rounds to zero") << envelope("0.4") << false;
        QTest::newRow("the least fraction") << envelope("5e-324") << false;
        QTest::newRow("2^32") << envelope("4294967296") << false;
        QTest::newRow("2^64") << envelope("18446744073709551616") << false;
        QTest::newRow("-2^32") << envelope("-4294967296") << false;
        QTest::newRow("very large") << envelope("1e300") << false;
    }
    void onlyACodeOfZeroIsSuccess()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, success);
        m_engine->answer(RecordingEngine::reply(reply));
        const LogCollector log;
        auto* const correction = Correctionop::getInstance();
        QCOMPARE(isFulfilled(PromiseRequest("Device_Hwinfo").getRecord<DeviceInfo>(device)), success);
        QCOMPARE(isFulfilled(correction->getCabinetEffectMode(device, "1")), success);
        QCOMPARE(isFulfilled(correction->loadCabinetCoeffs(device, {"1"})), success);
        bool enabled = !success;
        correction->getCorrectEnable(device, "1").then([&](bool value) { enabled = value; }).wait();
        QCOMPARE(enabled, success);
        QCOMPARE(log.lines(), QStringList());
    }

    void theCabinetsComeWhateverTheCode_data()
    {
        QTest::addColumn<QByteArray>("code");
        QTest::newRow("not zero") << QByteArray("1");
        QTest::newRow("no number") << QByteArray("\"abc\"");
        QTest::newRow("out of range") << QByteArray("4294967296");
    }
    void theCabinetsComeWhateverTheCode()
    {
        QFETCH(QByteArray, code);
        m_engine->answer(RecordingEngine::reply(R"({"code":)" + code + R"(,"data":[{"id":"7"}]})"));
        QList<Tessel::CabinetInfo> cabinets;
        CabinetInfoOperator::getInstance()
            ->getAllCabinets(device)
            .then([&](const QList<Tessel::CabinetInfo>& list) { cabinets = list; })
            .wait();
        QCOMPARE(cabinets.size(), 1);
        QCOMPARE(cabinets[0].id, QString("7"));
    }

    void aCodeIsReadAsTheNumberThatItIs_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("code");
        QTest::newRow("absent") << QVariant() << 0;
        QTest::newRow("int") << QVariant(7) << 7;
        QTest::newRow("the largest") << QVariant(2147483647LL) << 2147483647;
        QTest::newRow("larger") << QVariant(2147483648LL) << -1;
        QTest::newRow("the least") << QVariant(-2147483648LL) << std::numeric_limits<int>::min();
        QTest::newRow("less") << QVariant(-2147483649LL) << -1;
        QTest::newRow("uint") << QVariant(7U) << 7;
        QTest::newRow("qulonglong") << QVariant(18446744073709551615ULL) << -1;
        QTest::newRow("double") << QVariant(-3.0) << -3;
        QTest::newRow("fraction") << QVariant(2.5) << -1;
        QTest::newRow("infinity") << QVariant(qInf()) << -1;
        QTest::newRow("NaN") << QVariant(qQNaN()) << -1;
        QTest::newRow("bool") << QVariant(false) << -1;
        QTest::newRow("null") << QVariant::fromValue(nullptr) << -1;
    }
    void aCodeIsReadAsTheNumberThatItIs()
    {
        QFETCH(QVariant, value);
        QFETCH(int, code);
        Tessel::RawResponse response;
        response.code = value;
        QCOMPARE(response.codeNumber(), code);
    }
};

QTEST_GUILESS_MAIN(TestUnreadableReplies)
#include "tst_unreadablereplies.moc"
