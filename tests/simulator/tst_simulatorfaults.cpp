// SPDX-License-Identifier: MIT
#include "httpclient.h"

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
        for (const char* body :
             {"", "x", "7", "[1]", R"({"status":"500"})", R"({"status":99})", R"({"status":600})",
              R"({"cut":"slice"})", R"({"delay":-1})", R"({"path":7})"}) {
            QTest::newRow(body) << QByteArray(body);
        }
    }

    void theControlInterfaceRefusesWhatIsNoScript()
    {
        QFETCH(QByteArray, body);
        QCOMPARE(control("POST", "/faults", body).status, 400);
        QVERIFY(control("GET", "/faults").list().isEmpty());
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
