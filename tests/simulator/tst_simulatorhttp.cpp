// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>

#include <QtTest>

#include <random>

using namespace Tessel::Simulator;

class tst_SimulatorHttp : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    void restart(const Options& options)
    {
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }
    bool isServing() const { return HttpClient(m_simulator->port()).get("/api/v1/device/hw").status == 200; }

private Q_SLOTS:
    void initTestCase() { restart({}); }

    void aConnectionServesManyRequests()
    {
        HttpClient client(m_simulator->port());
        for (int i = 0; i < 50; ++i)
            QCOMPARE(client.get("/api/v1/device/hw").status, 200);
    }

    void requestsInOneGoAreAnsweredInOrder()
    {
        HttpClient client(m_simulator->port());
        const QByteArray request = " HTTP/1.1\r\nHost: test\r\n\r\n";
        client.send("GET /api/v1/device/hw" + request + "GET /nowhere" + request + "HEAD /api/v1/device/hw" +
                    request + "OPTIONS *" + request);
        QCOMPARE(client.readReply().status, 200);
        QCOMPARE(client.readReply().status, 404);
        QCOMPARE(client.readReply(true).status, 200);
        QCOMPARE(client.readReply().status, 204);
    }

    void aConnectionEndsWhenItIsAskedTo_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<bool>("ends");
        QTest::newRow("1.1") << QByteArray("GET /api/v1/device/hw HTTP/1.1\r\nHost: t\r\n\r\n") << false;
        QTest::newRow("close") << QByteArray("GET /api/v1/device/hw HTTP/1.1\r\nConnection: close\r\n\r\n")
                               << true;
        QTest::newRow("1.0") << QByteArray("GET /api/v1/device/hw HTTP/1.0\r\n\r\n") << true;
        QTest::newRow("1.0 kept") << QByteArray(
                                         "GET /api/v1/device/hw HTTP/1.0\r\nConnection: keep-alive\r\n\r\n")
                                  << false;
    }

    void aConnectionEndsWhenItIsAskedTo()
    {
        QFETCH(QByteArray, request);
        QFETCH(bool, ends);
        HttpClient client(m_simulator->port());
        client.send(request);
        QCOMPARE(client.readReply().status, 200);
        if (ends)
            QVERIFY(client.endsSoon());
        else
            QCOMPARE(client.get("/api/v1/device/hw").status, 200);
    }

    void aChunkedBodyIsTaken()
    {
        HttpClient client(m_simulator->port());
        client.send("PUT /api/v1/device/log/level HTTP/1.1\r\nHost: t\r\nTransfer-Encoding: chunked\r\n\r\n"
                    "6\r\n{\"leve\r\n5;ext=1\r\nl\":7}\r\n0\r\nTrailer: x\r\n\r\n");
        QCOMPARE(client.readReply().status, 200);
        QCOMPARE(client.get("/api/v1/device/log/level").object().value(QStringLiteral("level")).toInt(), 7);
    }

    void aClientThatWaitsForContinueHearsIt()
    {
        HttpClient client(m_simulator->port());
        client.send("PUT /api/v1/device/log/level HTTP/1.1\r\nHost: t\r\nExpect: 100-continue\r\n"
                    "Content-Length: 11\r\n\r\n");
        QCOMPARE(client.readUntil("\r\n\r\n"), QByteArray("HTTP/1.1 100 Continue\r\n\r\n"));
        client.send("{\"level\":3}");
        QCOMPARE(client.readReply().status, 200);
    }

    void aGetMayHaveABody()
    {
        HttpClient client(m_simulator->port());
        QCOMPARE(client.request("GET", "/api/v1/device/screen/1/colortemperature", "{\"mode\":1}").status,
                 200);
        QCOMPARE(client.request("GET", "/api/v1/device/screen/1/colortemperature", "no JSON").status, 200);
        QCOMPARE(client.get("/api/v1/device/hw").status, 200);
    }

    void limitsAnswerWithTheirStatus()
    {
        Options options;
        options.bodyLimit = 1000;
        options.headerLimit = 4096;
        Simulator simulator(options);
        QVERIFY(simulator.start());
        const QByteArray target = "/api/v1/device/hw/mapping";
        QCOMPARE(HttpClient(simulator.port()).put(target, '"' + QByteArray(998, 'x') + '"').status, 200);
        QCOMPARE(HttpClient(simulator.port()).put(target, '"' + QByteArray(999, 'x') + '"').status, 413);
        HttpClient chunked(simulator.port());
        chunked.send("PUT " + target + " HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3e9\r\n" +
                     QByteArray(1001, 'x'));
        QCOMPARE(chunked.readReply().status, 413);
        HttpClient head(simulator.port());
        QCOMPARE(head.request("GET", target, {}, "X: " + QByteArray(8192, 'x') + "\r\n").status, 431);
        QVERIFY(head.endsSoon());
        QCOMPARE(HttpClient(simulator.port()).get('/' + QByteArray(8192, 'x')).status, 431);
    }

    void whatIsNoHttpIsRefusedAndNothingBreaks_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("text") << QByteArray("hello\r\n\r\n");
        QTest::newRow("empty lines") << QByteArray("\r\n\r\n\r\n\r\n");
        QTest::newRow("zeroes") << QByteArray(1000, '\0');
        QTest::newRow("TLS") << QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11);
        QTest::newRow("HTTP/2") << QByteArray("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n");
        QTest::newRow("blank in target") << QByteArray("GET /api/v1/device/hw/enterhwmode  HTTP/1.1\r\n\r\n");
        QTest::newRow("no version") << QByteArray("GET /api/v1/device/hw\r\n\r\n");
        QTest::newRow("bad version") << QByteArray("GET / HTTP/9.9\r\n\r\n");
        QTest::newRow("no colon") << QByteArray("GET / HTTP/1.1\r\nHost\r\n\r\n");
        QTest::newRow("folded header") << QByteArray("GET / HTTP/1.1\r\nA: b\r\n c\r\n : d\r\n\r\n");
        QTest::newRow("bad length") << QByteArray("PUT / HTTP/1.1\r\nContent-Length: x\r\n\r\n");
        QTest::newRow("negative length") << QByteArray("PUT / HTTP/1.1\r\nContent-Length: -1\r\n\r\n");
        QTest::newRow("huge length") << QByteArray(
            "PUT / HTTP/1.1\r\nContent-Length: 99999999999999999999999\r\n\r\n");
        QTest::newRow("two lengths") << QByteArray(
            "PUT / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nx");
        QTest::newRow("length and chunks") << QByteArray(
            "PUT / HTTP/1.1\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
        QTest::newRow("bad chunk") << QByteArray(
            "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n");
        QTest::newRow("huge chunk") << QByteArray(
            "PUT /api/v1/device/hw HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n");
        QTest::newRow("control bytes") << QByteArray("GET /\x01\x02 HTTP/1.1\r\n\r\n");
        QTest::newRow("high bytes") << QByteArray("GET /\xff\xfe HTTP/1.1\r\n\r\n");
        QTest::newRow("cut head") << QByteArray("GET / HTT");
        QTest::newRow("cut body") << QByteArray(
            "PUT /api/v1/device/hw HTTP/1.1\r\nContent-Length: 100\r\n\r\n{");
        QTest::newRow("nothing") << QByteArray();
        std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same rows on every run
        for (int i = 0; i < 40; ++i) {
            QByteArray bytes = "PUT /api/v1/device/cabinet/1/weight HTTP/1.1\r\nHost: t\r\nContent-Type: "
                               "application/json\r\n"
                               "Content-Length: 14\r\n\r\n{\"weight\":900}";
            for (int k = 0; k <= i % 8; ++k)
                bytes[static_cast<int>(random() % static_cast<unsigned>(bytes.size()))] =
                    static_cast<char>(random() % 256);
            QTest::newRow(qPrintable(QStringLiteral("mutated %1").arg(i))) << bytes;
        }
    }

    void whatIsNoHttpIsRefusedAndNothingBreaks()
    {
        QFETCH(QByteArray, bytes);
        {
            HttpClient client(m_simulator->port());
            client.send(bytes);
            // Gone before or after the reply, as it comes.
        }
        QVERIFY(isServing());
        QTRY_COMPARE(m_simulator->requestsInFlight(), 0);
    }

    void whatIsNoHttpIsAnswered400()
    {
        HttpClient client(m_simulator->port());
        client.send("hello\r\n\r\n");
        const auto reply = client.readReply();
        QCOMPARE(reply.status, 400);
        QVERIFY(reply.isEnvelope());
        QVERIFY(client.endsSoon());
    }

    void aSilentConnectionIsClosed()
    {
        Options options;
        options.idleTimeout = 100;
        Simulator simulator(options);
        QVERIFY(simulator.start());
        HttpClient silent(simulator.port());
        HttpClient half(simulator.port());
        half.send("GET / HT");
        EventReader stream(simulator.port());
        QVERIFY(silent.endsSoon());
        QVERIFY(half.endsSoon());
        simulator.pushEvent("{}");
        QCOMPARE(stream.next().id, quint64(1));
    }

    void connectionsBeyondTheLimitAreClosed()
    {
        Options options;
        options.maxConnections = 2;
        Simulator simulator(options);
        QVERIFY(simulator.start());
        HttpClient first(simulator.port());
        HttpClient second(simulator.port());
        QCOMPARE(first.get("/api/v1/device/hw").status, 200);
        QCOMPARE(second.get("/api/v1/device/hw").status, 200);
        QCOMPARE(HttpClient(simulator.port()).get("/api/v1/device/hw").status, 0);
        QCOMPARE(first.get("/api/v1/device/hw").status, 200);
    }
};

QTEST_GUILESS_MAIN(tst_SimulatorHttp)
#include "tst_simulatorhttp.moc"
