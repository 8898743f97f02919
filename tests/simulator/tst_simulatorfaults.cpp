// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/faultscript.h>
#include <simulator/simulator.h>

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QtTest>

#include <thread>
#include <vector>

using namespace Tessel::Simulator;

namespace {

const QByteArray hw = "/api/v1/device/hw";

} // namespace

class TestSimulatorFaults : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    HttpReply get(const QByteArray& target) const { return HttpClient(m_simulator->port()).get(target); }
    HttpReply control(const QByteArray& verb, const QByteArray& path, const QByteArray& body = {}) const
    {
        return HttpClient(m_simulator->port()).request(verb, "/sim" + path, body);
    }

private Q_SLOTS:
    void init()
    {
        Options options;
        options.control = true;
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    void aFaultStrikesAsOftenAsItSays()
    {
        Fault fault;
        fault.status = 503;
        fault.after = 1;
        fault.times = 2;
        m_simulator->addFault(fault);
        HttpClient client(m_simulator->port());
        for (const int status : {200, 503, 503, 200, 200}) {
            const auto reply = client.get(hw);
            QCOMPARE(reply.status, status);
            QVERIFY(reply.isEnvelope());
            QCOMPARE(reply.code(), status == 200 ? 0 : status);
        }
    }

    void aFaultWithoutEndStrikesUntilItIsCleared()
    {
        Fault fault;
        fault.status = 500;
        fault.times = -1;
        m_simulator->addFault(fault);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(get(hw).status, 500);
        }
        m_simulator->clearFaults();
        QCOMPARE(get(hw).status, 200);
    }

    void aFaultFitsItsPathAndVerbOnly_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("verb");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<bool>("strikes");
        const QByteArray brightness = "/api/v1/device/cabinet/3/brightness";
        QTest::newRow("path") << "/api/v1/device/cabinet/3/brightness" << QByteArray() << brightness << true;
        QTest::newRow("other path") << "/api/v1/device/cabinet/4/brightness" << QByteArray() << brightness
                                    << false;
        QTest::newRow("pattern") << "/api/v1/device/cabinet/{id}/brightness" << QByteArray("GET")
                                 << brightness << true;
        QTest::newRow("key") << "Device_CabinetSingleBrightness" << QByteArray() << brightness << true;
        QTest::newRow("other key") << "Device_Hwinfo" << QByteArray() << brightness << false;
        QTest::newRow("other verb") << "*" << QByteArray("PUT") << brightness << false;
        QTest::newRow("unknown path") << "/nowhere" << QByteArray() << QByteArray("/nowhere") << true;
        QTest::newRow("query aside") << "Device_Hwinfo" << QByteArray() << hw + "?a=b" << true;
    }

    void aFaultFitsItsPathAndVerbOnly()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, verb);
        QFETCH(QByteArray, target);
        QFETCH(bool, strikes);
        Fault fault;
        fault.path = path;
        fault.method = verb;
        fault.status = 418;
        m_simulator->addFault(fault);
        QCOMPARE(get(target).status == 418, strikes);
    }

    void aCodeLeavesTheStatus()
    {
        Fault fault;
        fault.code = 17;
        m_simulator->addFault(fault);
        const auto reply = get(hw);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.code(), 17);
    }

    void aBodyReplacesTheWholeReply()
    {
        Fault fault;
        fault.body = "{\"code\":0,";
        m_simulator->addFault(fault);
        const auto reply = get(hw);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.body, fault.body);
    }

    void aFaultyPutHasNoEffect()
    {
        const auto before = get(hw + "/mapping").body;
        for (const auto cut : {Fault::Cut::None, Fault::Cut::Close}) {
            Fault fault;
            fault.method = "PUT";
            fault.status = cut == Fault::Cut::None ? 500 : 0;
            fault.cut = cut;
            m_simulator->addFault(fault);
            QCOMPARE(HttpClient(m_simulator->port()).put(hw + "/mapping", R"({"enable":true})").status,
                     fault.status);
            QCOMPARE(get(hw + "/mapping").body, before);
        }
    }

    void aDelayHoldsTheReplyBack()
    {
        Fault fault;
        fault.delay = 150;
        m_simulator->addFault(fault);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(get(hw).status, 200);
        QVERIFY(timer.elapsed() >= 150);
    }

    void aTruncatedReplyPromisesMoreThanItGives()
    {
        Fault fault;
        fault.cut = Fault::Cut::Truncate;
        m_simulator->addFault(fault);
        HttpClient client(m_simulator->port());
        const auto reply = client.get(hw);
        QCOMPARE(reply.status, 200);
        QVERIFY(!reply.whole);
        QCOMPARE(reply.body.size(), reply.headers.value("content-length").toInt() / 2);
        QVERIFY(client.endsSoon());
    }

    void aClosedConnectionGivesNothing()
    {
        Fault fault;
        fault.cut = Fault::Cut::Close;
        m_simulator->addFault(fault);
        QCOMPARE(get(hw).status, 0);
        QCOMPARE(get(hw).status, 200);
    }

    void aStalledRequestStaysInFlightUntilItsClientGoes()
    {
        Fault fault;
        fault.cut = Fault::Cut::Stall;
        m_simulator->addFault(fault);
        {
            HttpClient client(m_simulator->port());
            client.send("GET " + hw + " HTTP/1.1\r\nHost: test\r\n\r\n");
            QTRY_COMPARE(m_simulator->requestsInFlight(), 1);
            QCOMPARE(get(hw).status, 200);
            QTRY_COMPARE(m_simulator->requestsInFlight(), 1);
        }
        QTRY_COMPARE(m_simulator->requestsInFlight(), 0);
        QCOMPARE(m_simulator->peakRequestsInFlight(), 2);
    }

    void eventStreamsCanFailToo()
    {
        Fault fault;
        fault.path = QStringLiteral("/api/v1/events");
        fault.status = 503;
        m_simulator->addFault(fault);
        QVERIFY(!EventReader(m_simulator->port()).isOpen());
        QVERIFY(EventReader(m_simulator->port()).isOpen());
    }

    void thePeakCountsRequestsAtTheSameTime()
    {
        Fault fault;
        fault.delay = 500;
        fault.times = 8;
        m_simulator->addFault(fault);
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([this] { get(hw); });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        QCOMPARE(m_simulator->requestCount(), quint64(8));
        QCOMPARE(m_simulator->requestCount(QString::fromLatin1(hw)), quint64(8));
        QVERIFY(m_simulator->peakRequestsInFlight() >= 2);
        // A client may have its reply a moment before the simulator counts it as sent.
        QTRY_COMPARE(m_simulator->requestsInFlight(), 0);
        m_simulator->resetCounts();
        QCOMPARE(m_simulator->requestCount(), quint64(0));
        QCOMPARE(m_simulator->peakRequestsInFlight(), 0);
    }

    void theLogTellsWhatCame()
    {
        HttpClient client(m_simulator->port());
        client.put("/api/v1/device/hw/mapping?a=%20b", R"({"enable":true})");
        client.get("/api/v1/nowhere");
        QTRY_COMPARE(m_simulator->requests().size(), 2);
        const RequestRecord put = m_simulator->requests().first();
        QCOMPARE(put.method, QByteArray("PUT"));
        QCOMPARE(put.path, QStringLiteral("/api/v1/device/hw/mapping"));
        QCOMPARE(put.query, QByteArray("a=%20b"));
        QCOMPARE(put.contentType, QByteArray("application/json"));
        QCOMPARE(put.body, QByteArray(R"({"enable":true})"));
        QCOMPARE(put.status, 200);
        QCOMPARE(m_simulator->requests().last().status, 404);
    }

    void theControlInterfaceDescribesAndCounts()
    {
        const QJsonObject about = control("GET", "").object();
        QCOMPARE(about.value(QStringLiteral("protocol")).toString(), QStringLiteral("multi-screen"));
        QCOMPARE(about.value(QStringLiteral("cabinets")).toInt(), 240);
        get(hw);
        get(hw);
        QTRY_COMPARE(m_simulator->requestsInFlight(), 0);
        const QJsonObject counts = control("GET", "/counts").object();
        QCOMPARE(counts.value(QStringLiteral("requests")).toInt(), 2);
        QCOMPARE(counts.value(QStringLiteral("inFlight")).toInt(), 0);
        QCOMPARE(counts.value(QStringLiteral("peakInFlight")).toInt(), 1);
        QCOMPARE(counts.value(QStringLiteral("paths")).toObject().value(QString::fromLatin1(hw)).toInt(), 2);
        QCOMPARE(control("GET", "/requests").list().size(), 2);
    }

    void theControlInterfacePushesEvents()
    {
        EventReader reader(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        const QByteArray event = R"({"eventSender":"monitor","eventType":"voltage","eventData":{"a":1}})";
        QCOMPARE(control("POST", "/events", event).object().value(QStringLiteral("id")).toInt(), 1);
        QCOMPARE(reader.next().data, event);
        QCOMPARE(control("POST", "/disconnect").status, 200);
        QVERIFY(reader.endsSoon());
    }

    void theControlInterfaceLogsOutAndIn()
    {
        HttpClient idle(m_simulator->port());
        QCOMPARE(idle.get(hw).status, 200);
        QCOMPARE(control("POST", "/logout").status, 200);
        QVERIFY(idle.endsSoon());
        QCOMPARE(get(hw).status, 0);
        QCOMPARE(control("GET", "").object().value(QStringLiteral("loggedOut")).toBool(), true);
        QCOMPARE(control("POST", "/login").status, 200);
        QCOMPARE(get(hw).status, 200);
    }

    void theControlInterfaceScriptsFaults()
    {
        QCOMPARE(
            control(
                "POST", "/faults",
                R"([{"path":"Device_Hwinfo","status":502,"times":2},{"path":"*","method":"GET","code":9,"body":{"x":1}}])")
                .status,
            200);
        QCOMPARE(control("GET", "/faults").list().size(), 2);
        QCOMPARE(get(hw).status, 502);
        QCOMPARE(get("/api/v1/device/input").body, QByteArray("{\"x\":1}"));
        QCOMPARE(control("GET", "/faults").list().size(), 1);
        QCOMPARE(control("DELETE", "/faults").status, 200);
        QCOMPARE(get(hw).status, 200);
    }

    void theControlInterfaceRefusesWhatIsNoScript_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("named");
        const auto row = [](const char* body, const char* named) {
            QTest::newRow(body) << QByteArray(body) << QByteArray(named);
        };
        for (const char* body : {"", "x", "7", "[1]", "null", "\"status\"", "[[]]"}) {
            row(body, "object");
        }
        row("[]", "list");
        row(R"({"status":"500"})", "status");
        row(R"({"status":99})", "status");
        row(R"({"status":199})", "status");
        row(R"({"status":600})", "status");
        row(R"({"status":-1})", "status");
        row(R"({"status":500.5})", "status");
        row(R"({"status":4294967796})", "status");
        row(R"({"status":18446744073709551615})", "status");
        row(R"({"status":true})", "status");
        row(R"({"status":null})", "status");
        row(R"({"code":2147483648})", "code");
        row(R"({"code":-2147483649})", "code");
        row(R"({"code":"1"})", "code");
        row(R"({"times":0})", "times");
        row(R"({"times":-2})", "times");
        row(R"({"times":1000001})", "times");
        row(R"({"times":1e3})", "times");
        row(R"({"after":-1})", "after");
        row(R"({"after":1000001})", "after");
        row(R"({"delay":-1})", "delay");
        row(R"({"delay":3600001})", "delay");
        row(R"({"pause":-1})", "pause");
        row(R"({"pause":3600001})", "pause");
        row(R"({"duration":-1})", "duration");
        row(R"({"duration":86400001})", "duration");
        row(R"({"cut":"slice"})", "cut");
        row(R"({"cut":7})", "cut");
        row(R"({"path":7})", "path");
        row(R"({"path":""})", "path");
        row(R"({"path":"Device_Nothing"})", "path");
        row(R"({"path":"api/v1"})", "path");
        row(R"({"path":"/a\nb"})", "path");
        row(R"({"method":"get"})", "method");
        row(R"({"method":"GET "})", "method");
        row(R"({"method":7})", "method");
        row(R"({"retryAfter":-1})", "retryAfter");
        row(R"({"retryAfter":1.5})", "retryAfter");
        row(R"({"retryAfter":"1\r\nX: y"})", "retryAfter");
        row(R"({"retryAfter":[1]})", "retryAfter");
        row(R"({"stats":500})", "stats");
        row(R"([{"status":500},{"status":1}])", "status");
        row(R"([{"status":500},{"Status":500}])", "Status");
    }

    void theControlInterfaceRefusesWhatIsNoScript()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, named);
        const HttpReply reply = control("POST", "/faults", body);
        QCOMPARE(reply.status, 400);
        const QString message = reply.envelope().value(QStringLiteral("message")).toString();
        QVERIFY2(message.contains(QString::fromLatin1(named)), qPrintable(message));
        QVERIFY(control("GET", "/faults").list().isEmpty());
    }

    void whatAScriptMayBeIsTaken_data()
    {
        QTest::addColumn<QByteArray>("body");
        for (const char* body :
             {R"({})", R"({"status":0})", R"({"status":200})", R"({"status":599})", R"({"times":-1})",
              R"({"times":1000000})", R"({"after":1000000})", R"({"delay":3600000})", R"({"pause":0})",
              R"({"duration":86400000})", R"({"code":-2147483648})", R"({"code":2147483647})",
              R"({"path":"*"})", R"({"path":"/"})", R"({"path":"Device_Hwinfo"})", R"({"method":""})",
              R"({"retryAfter":0})", R"({"retryAfter":"Wed, 21 Oct 2015 07:28:00 GMT"})",
              R"({"body":[1]})"}) {
            QTest::newRow(body) << QByteArray(body);
        }
    }

    void whatAScriptMayBeIsTaken()
    {
        QFETCH(QByteArray, body);
        QCOMPARE(control("POST", "/faults", body).status, 200);
        const QByteArray listed = QJsonDocument(control("GET", "/faults").list()).toJson();
        QCOMPARE(control("GET", "/faults").list().size(), 1);
        // What is listed can be added again, and is the same.
        control("DELETE", "/faults");
        QCOMPARE(control("POST", "/faults", listed).status, 200);
        QCOMPARE(QJsonDocument(control("GET", "/faults").list()).toJson(), listed);
    }

    void thereIsAnEndToTheFaultsThatWait()
    {
        const QByteArray thousand = '[' + QByteArray("{},").repeated(999) + "{}]";
        for (int i = 0; i < 10; ++i) {
            QCOMPARE(control("POST", "/faults", thousand).status, 200);
        }
        const HttpReply reply = control("POST", "/faults", "{}");
        QCOMPARE(reply.status, 400);
        QVERIFY(
            reply.envelope().value(QStringLiteral("message")).toString().contains(QLatin1String("10000")));
        QCOMPARE(control("POST", "/faults", '[' + QByteArray("{},").repeated(1000) + "{}]").status, 400);
    }

    void aFaultEndsWithItsTime()
    {
        QCOMPARE(control("POST", "/faults", R"({"status":503,"retryAfter":2,"duration":700})").status, 200);
        QCOMPARE(control("GET", "/faults").list().first().toObject().value(QStringLiteral("times")).toInt(),
                 -1);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(get(hw).status, 503);
        }
        QTRY_COMPARE(get(hw).status, 200);
        QVERIFY(control("GET", "/faults").list().isEmpty());
    }

    void aReplySaysWhenToComeBack_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("retryAfter");
        QTest::newRow("503") << QByteArray(R"({"status":503,"retryAfter":3})") << 503 << QByteArray("3");
        QTest::newRow("429") << QByteArray(R"({"status":429,"retryAfter":0})") << 429 << QByteArray("0");
        QTest::newRow("a date") << QByteArray(
                                       R"({"status":503,"retryAfter":"Wed, 21 Oct 2015 07:28:00 GMT"})")
                                << 503 << QByteArray("Wed, 21 Oct 2015 07:28:00 GMT");
        QTest::newRow("a served reply")
            << QByteArray(R"({"retryAfter":"soon"})") << 200 << QByteArray("soon");
        QTest::newRow("none") << QByteArray(R"({"status":503})") << 503 << QByteArray();
    }

    void aReplySaysWhenToComeBack()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, status);
        QFETCH(QByteArray, retryAfter);
        QCOMPARE(control("POST", "/faults", fault).status, 200);
        const HttpReply reply = get(hw);
        QCOMPARE(reply.status, status);
        QCOMPARE(reply.headers.value("retry-after"), retryAfter);
        QVERIFY(!get(hw).headers.contains("retry-after"));
    }

    void anEndWithoutAReplyIsInOrder()
    {
        control("POST", "/faults", R"([{"cut":"end"},{"cut":"close"}])");
        for (const bool breaks : {false, true}) {
            HttpClient client(m_simulator->port());
            QCOMPARE(client.get(hw).status, 0);
            QCOMPARE(client.wasReset(), breaks);
        }
        QCOMPARE(get(hw).status, 200);
    }

    void halfAHeadIsAllThatComes()
    {
        control("POST", "/faults", R"({"cut":"half-head"})");
        HttpClient client(m_simulator->port());
        client.send("GET " + hw + " HTTP/1.1\r\nHost: t\r\n\r\n");
        const QByteArray text = client.readToEnd();
        QVERIFY2(text.startsWith("HTTP/1.1 200 OK\r\n") && !text.contains("\r\n\r\n"), text.constData());
        QVERIFY(!client.wasReset());
    }

    void aReplyBreaksInTheMiddle()
    {
        control("POST", "/faults", R"({"cut":"reset","body":"0123456789"})");
        HttpClient client(m_simulator->port());
        client.send("GET " + hw + " HTTP/1.1\r\nHost: t\r\n\r\n");
        const QByteArray text = client.readToEnd();
        QVERIFY2(text.contains("Content-Length: 10\r\n") && text.endsWith("\r\n\r\n01234"), text.constData());
        QVERIFY(client.wasReset());
    }

    void aBodyComesLate()
    {
        control("POST", "/faults", R"({"cut":"late-body","pause":200,"body":"0123456789"})");
        HttpClient client(m_simulator->port());
        QElapsedTimer timer;
        timer.start();
        const HttpReply reply = client.get(hw);
        QVERIFY(timer.elapsed() >= 200);
        QCOMPARE(reply.body, QByteArray("0123456789"));
        QCOMPARE(client.get(hw).status, 200);
    }

    void aReplyDrips()
    {
        control("POST", "/faults", R"({"cut":"drip","pause":2,"body":"0123456789"})");
        HttpClient client(m_simulator->port());
        QElapsedTimer timer;
        timer.start();
        const HttpReply reply = client.get(hw);
        QVERIFY(timer.elapsed() >= 120); // its head has more than that
        QCOMPARE(reply.body, QByteArray("0123456789"));
        QCOMPARE(client.get(hw).status, 200);
    }

    void aLengthThatIsTooLongTakesTheNextReplyAlong()
    {
        control("POST", "/faults", R"({"cut":"long-length","body":"0123456789"})");
        HttpClient client(m_simulator->port());
        const QByteArray request = "GET " + hw + " HTTP/1.1\r\nHost: t\r\n\r\n";
        client.send(request + request);
        const HttpReply reply = client.readReply();
        QVERIFY2(reply.body.startsWith("0123456789HTTP/1.1 200"), reply.body.constData());
    }

    void aLengthThatIsTooShortLeavesARest()
    {
        control("POST", "/faults", R"({"cut":"short-length","body":"0123456789"})");
        HttpClient client(m_simulator->port());
        QCOMPARE(client.get(hw).body, QByteArray("01234"));
        client.send("GET " + hw + " HTTP/1.1\r\nHost: t\r\n\r\n");
        QCOMPARE(client.readUntil("HTTP/1.1 200"), QByteArray("56789HTTP/1.1 200"));
    }

    void aSecondReplyComesUnasked()
    {
        control("POST", "/faults", R"({"cut":"surplus"})");
        HttpClient client(m_simulator->port());
        QCOMPARE(client.get(hw).status, 200);
        QCOMPARE(client.readReply().status, 418);
        QCOMPARE(client.get(hw).status, 200);
    }

    void anIdleConnectionIsToldThatItWas()
    {
        control("POST", "/faults", R"({"cut":"idle-notice","pause":50})");
        HttpClient client(m_simulator->port());
        QCOMPARE(client.get(hw).status, 200);
        const HttpReply notice = client.readReply();
        QCOMPARE(notice.status, 408);
        QCOMPARE(notice.headers.value("connection"), QByteArray("close"));
        QVERIFY(client.endsSoon());
    }

    void aConnectionThatIsNotIdleIsNotTold()
    {
        control("POST", "/faults", R"({"cut":"idle-notice","pause":3600000})");
        HttpClient client(m_simulator->port());
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(client.get(hw).status, 200);
        }
    }

    void aReplyWithoutABodyGoesWrongToo_data()
    {
        QTest::addColumn<QString>("cut");
        for (const auto& kind : cutKinds) {
            if (kind.cut != Fault::Cut::Stall) {
                QTest::newRow(kind.name) << QString::fromLatin1(kind.name);
            }
        }
    }

    void aReplyWithoutABodyGoesWrongToo()
    {
        QFETCH(QString, cut);
        for (const char* rest : {R"(,"status":204})", R"(,"method":"HEAD"})"}) {
            const QByteArray fault = "{\"pause\":1,\"cut\":\"" + cut.toLatin1() + '"' + rest;
            QCOMPARE(control("POST", "/faults", fault).status, 200);
            HttpClient client(m_simulator->port());
            client.send("HEAD " + hw + " HTTP/1.1\r\nHost: t\r\nConnection: close\r\n\r\n");
            const QByteArray text = client.readToEnd();
            QCOMPARE(text.isEmpty(), cut == QLatin1String("end") || cut == QLatin1String("close"));
        }
        QCOMPARE(get(hw).status, 200);
    }

    void anEventStreamGoesWrong_data()
    {
        QTest::addColumn<QByteArray>("cut");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<bool>("breaks");
        QTest::newRow("end") << QByteArray("end") << false << false;
        QTest::newRow("close") << QByteArray("close") << false << true;
        QTest::newRow("half-head") << QByteArray("half-head") << false << false;
        QTest::newRow("truncate") << QByteArray("truncate") << true << false;
        QTest::newRow("reset") << QByteArray("reset") << true << true;
    }

    void anEventStreamGoesWrong()
    {
        QFETCH(QByteArray, cut);
        QFETCH(bool, opens);
        QFETCH(bool, breaks);
        m_simulator->pushEvent(R"({"a":1})");
        control("POST", "/faults", "{\"path\":\"/api/v1/events\",\"pause\":50,\"cut\":\"" + cut + "\"}");
        HttpClient client(m_simulator->port());
        client.send("GET /api/v1/events HTTP/1.1\r\nHost: t\r\n\r\n");
        const QByteArray text = client.readToEnd();
        QCOMPARE(text.contains("\r\n\r\n"), opens);
        QCOMPARE(text.contains("id: "), opens);
        QCOMPARE(client.wasReset(), breaks);
        QTRY_COMPARE(m_simulator->eventStreams(), 0);
        QVERIFY(EventReader(m_simulator->port()).isOpen());
    }

    void anEventStreamIsSlow_data()
    {
        QTest::addColumn<QByteArray>("cut");
        QTest::addColumn<int>("pause");
        QTest::newRow("drip") << QByteArray("drip") << 1;
        QTest::newRow("late-body") << QByteArray("late-body") << 200;
    }

    void anEventStreamIsSlow()
    {
        QFETCH(QByteArray, cut);
        QFETCH(int, pause);
        control("POST", "/faults",
                "{\"path\":\"/api/v1/events\",\"pause\":" + QByteArray::number(pause) + ",\"cut\":\"" + cut +
                    "\"}");
        QElapsedTimer timer;
        timer.start();
        EventReader reader(m_simulator->port());
        QVERIFY(reader.isOpen());
        QVERIFY(m_simulator->waitForEventStreams(1));
        for (int i = 1; i <= 3; ++i) {
            m_simulator->pushEvent(R"({"a":1})");
        }
        for (quint64 i = 1; i <= 3; ++i) {
            QCOMPARE(reader.next().id, i);
        }
        QVERIFY(timer.elapsed() >= 150);
    }

    void aSlowStreamEndsWithItsSimulator()
    {
        control("POST", "/faults", R"({"path":"/api/v1/events","pause":3600000,"cut":"drip"})");
        control("POST", "/faults", R"({"cut":"late-body","pause":3600000})");
        HttpClient stream(m_simulator->port());
        stream.send("GET /api/v1/events HTTP/1.1\r\nHost: t\r\n\r\n");
        HttpClient late(m_simulator->port());
        late.send("GET " + hw + " HTTP/1.1\r\nHost: t\r\n\r\n");
        QVERIFY(!late.readUntil("\r\n\r\n").isEmpty());
        QVERIFY(m_simulator->waitForEventStreams(1));
        m_simulator->stop();
        QVERIFY(stream.endsSoon());
        QVERIFY(late.endsSoon());
    }

    void theDeviceForgetsItsEvents()
    {
        m_simulator->pushEvent("{}");
        const QByteArray first = EventReader(m_simulator->port()).begin();
        m_simulator->pushEvent("{}");
        QCOMPARE(EventReader(m_simulator->port(), first).next().type, QByteArray());
        QCOMPARE(control("POST", "/forget").status, 200);
        QCOMPARE(EventReader(m_simulator->port(), first).next().type, QByteArray("gap"));
        // Whoever has all of them misses none.
        const QByteArray last = EventReader(m_simulator->port()).begin();
        EventReader whole(m_simulator->port(), last);
        QCOMPARE(whole.begin(), last);
        QVERIFY(m_simulator->waitForEventStreams(1));
        m_simulator->pushEvent("{}");
        QCOMPARE(whole.next().id, quint64(3));
    }

    void theMemoryForEventsCanBeSet()
    {
        const QByteArray begin = EventReader(m_simulator->port()).begin();
        for (int i = 0; i < 5; ++i) {
            m_simulator->pushEvent("{}");
        }
        QCOMPARE(control("POST", "/memory", R"({"events":5})").status, 200);
        QCOMPARE(EventReader(m_simulator->port(), begin).next().id, quint64(1));
        QCOMPARE(control("POST", "/memory", R"({"events":4})").status, 200);
        EventReader reader(m_simulator->port(), begin);
        QCOMPARE(reader.next().type, QByteArray("gap"));
        QCOMPARE(reader.next().id, quint64(2));
        for (const char* body : {"", "{}", "7", R"({"events":-1})", R"({"events":1000001})",
                                 R"({"events":"4"})", R"({"events":1.5})", R"({"events":4,"more":1})"}) {
            QCOMPARE(control("POST", "/memory", body).status, 400);
        }
    }

    void theControlInterfaceResets()
    {
        const auto before = get(hw).body;
        HttpClient(m_simulator->port()).put(hw, R"({"displayMode":9})");
        control("POST", "/faults", R"({"status":500,"times":-1})");
        QVERIFY(get(hw).status == 500);
        QCOMPARE(control("POST", "/reset").status, 200);
        QCOMPARE(get(hw).body, before);
        QCOMPARE(m_simulator->requestCount(), quint64(1));
    }

    void theControlInterfaceKnowsItsPaths()
    {
        QCOMPARE(control("GET", "/nothing").status, 404);
        QCOMPARE(control("PUT", "/events", "{}").status, 405);
    }
};

QTEST_GUILESS_MAIN(TestSimulatorFaults)
#include "tst_simulatorfaults.moc"
