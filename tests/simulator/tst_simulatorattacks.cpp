// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>

#include <QFile>
#include <QtTest>

#include <atomic>
#include <memory>
#include <sys/resource.h>
#include <thread>
#include <vector>

using namespace Tessel::Simulator;

namespace {

const QByteArray hw = "/api/v1/device/hw";
const QByteArray getHw = "GET " + hw + " HTTP/1.1\r\nHost: t\r\n\r\n";

/// The memory that this process occupies, in MiB.
int residentMemory()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toInt() / 256 : 0;
}

} // namespace

/// What a client does that means no good, and that others are served meanwhile.
class TestSimulatorAttacks : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    void start(const Options& options = {})
    {
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }
    std::unique_ptr<HttpClient> client(const char* source = "127.0.0.1") const
    {
        return std::make_unique<HttpClient>(m_simulator->port(), source);
    }
    bool isServing() const { return client()->get(hw).status == 200; }

private Q_SLOTS:
    void init() { start(); }

    void cleanup()
    {
        QVERIFY(isServing());
        QTRY_COMPARE(m_simulator->requestsInFlight(), 0);
        m_simulator.reset(); // waits for all of its connections
    }

    void aHeadWithoutEndIsRefused_data()
    {
        QTest::addColumn<QByteArray>("begin");
        QTest::addColumn<QByteArray>("piece");
        QTest::addColumn<int>("status");
        const QByteArray put = "PUT " + hw + " HTTP/1.1\r\nHost: t\r\n";
        const QByteArray chunked = put + "Transfer-Encoding: chunked\r\n\r\n";
        QTest::newRow("target") << QByteArray("GET /") << QByteArray(1000, 'a') << 431;
        QTest::newRow("method") << QByteArray() << QByteArray(1000, 'A') << 431;
        QTest::newRow("one header") << put + "X: " << QByteArray(1000, 'y') << 431;
        QTest::newRow("many headers") << put << QByteArray("X: y\r\n").repeated(100) << 431;
        QTest::newRow("name") << put << QByteArray(1000, 'y') << 431;
        QTest::newRow("blanks") << put + "X:" << QByteArray(1000, ' ') << 431;
        QTest::newRow("NUL bytes") << QByteArray() << QByteArray(1000, '\0') << 400;
        QTest::newRow("empty lines") << QByteArray() << QByteArray("\r\n").repeated(500) << 400;
        QTest::newRow("chunk extension") << chunked + "5;" << QByteArray(1000, 'x') << 431;
        QTest::newRow("chunk size") << chunked << QByteArray(1000, '0') << 431;
        QTest::newRow("trailers") << chunked + "0\r\n" << QByteArray("X: y\r\n").repeated(100) << 431;
        QTest::newRow("chunks that are none") << chunked << QByteArray("\r\n").repeated(500) << 400;
    }

    void aHeadWithoutEndIsRefused()
    {
        QFETCH(QByteArray, begin);
        QFETCH(QByteArray, piece);
        QFETCH(int, status);
        const auto attacker = client();
        attacker->send(begin);
        for (int i = 0; i < 200 && attacker->send(piece); ++i) {
        }
        QCOMPARE(attacker->readReply().status, status);
        QVERIFY(attacker->endsSoon());
    }

    void aHeadByteByByteCostsNoMoreThanItsLength()
    {
        const auto attacker = client();
        const QByteArray head =
            "GET " + hw + " HTTP/1.1\r\nHost: t\r\nX: " + QByteArray(20000, 'y') + "\r\n\r\n";
        for (const char byte : head) {
            attacker->send(QByteArray(1, byte));
        }
        QCOMPARE(attacker->readReply().status, 200);
    }

    void aNulIsNoPartOfAHead_data()
    {
        QTest::addColumn<QByteArray>("head");
        // ~ stands for the NUL.
        const auto row = [](const char* name, QByteArray head) {
            QTest::newRow(name) << head.replace('~', '\0');
        };
        row("method", "G~T / HTTP/1.1\r\nHost: t\r\n\r\n");
        row("target", "GET /~ HTTP/1.1\r\nHost: t\r\n\r\n");
        row("name", "GET / HTTP/1.1\r\nHost: t\r\nX~: y\r\n\r\n");
        row("value", "GET / HTTP/1.1\r\nHost: t\r\nX: ~y\r\n\r\n");
        row("host", "GET / HTTP/1.1\r\nHost: t~\r\n\r\n");
    }

    void aNulIsNoPartOfAHead()
    {
        QFETCH(QByteArray, head);
        const auto attacker = client();
        attacker->send(head);
        QCOMPARE(attacker->readReply().status, 400);
        QVERIFY(attacker->endsSoon());
    }

    void requestsInAFloodAreAnsweredOneByOne()
    {
        const auto attacker = client();
        const int count = 5000;
        std::thread sender([&] { attacker->send(getHw.repeated(count)); });
        for (int i = 0; i < count; ++i) {
            if (attacker->readReply().status != 200) {
                QTest::qFail("a reply is missing", __FILE__, __LINE__);
                break;
            }
        }
        sender.join();
        QCOMPARE(m_simulator->peakRequestsInFlight(), 1);
    }

    void whoeverDoesNotReadIsNotServedAhead()
    {
        // A reply of some 100 KiB for each of the requests, of which none is read.
        const QByteArray request = "GET /api/v1/device/cabinet HTTP/1.1\r\nHost: t\r\n\r\n";
        const int before = residentMemory();
        std::vector<std::unique_ptr<HttpClient>> attackers;
        for (int i = 0; i < 20; ++i) {
            attackers.push_back(client());
            attackers.back()->send(request.repeated(200));
        }
        QTRY_VERIFY(m_simulator->requestCount() >= 20);
        for (int i = 0; i < 20; ++i) {
            QVERIFY(isServing());
        }
        QVERIFY2(residentMemory() - before < 100, qPrintable(QString::number(residentMemory() - before)));
        attackers.clear();
    }

    void halfBodiesTakeMemoryForWhatHasCome()
    {
        const int count = 450;
        std::vector<std::unique_ptr<HttpClient>> attackers;
        const int before = residentMemory();
        for (int i = 0; i < count; ++i) {
            attackers.push_back(client());
            attackers.back()->send("PUT " + hw + " HTTP/1.1\r\nHost: t\r\nContent-Length: 1000000\r\n\r\n{");
        }
        QTRY_COMPARE(m_simulator->requestsInFlight(), count);
        // 64 KiB for each would be 28 MiB.
        QVERIFY2(residentMemory() - before < 20, qPrintable(QString::number(residentMemory() - before)));
    }

    void whoeverDoesNotReadIsClosedInTime()
    {
        Options options;
        options.idleTimeout = 300;
        start(options);
        const auto attacker = client();
        attacker->send(QByteArray("GET /api/v1/device/cabinet HTTP/1.1\r\nHost: t\r\n\r\n").repeated(2000));
        QTRY_VERIFY(m_simulator->requestCount() > 0);
        // The client has nothing to read but what the system holds for it.
        QTest::qWait(600);
        QVERIFY(attacker->endsSoon());
        QVERIFY(m_simulator->requestCount() < 2000);
    }

    void anEventStreamThatNobodyReadsIsClosed_data()
    {
        QTest::addColumn<int>("idleTimeout");
        QTest::addColumn<int>("events");
        QTest::newRow("in time") << 300 << 20;
        QTest::newRow("when it is full") << 600000 << 100;
    }

    void anEventStreamThatNobodyReadsIsClosed()
    {
        QFETCH(int, idleTimeout);
        QFETCH(int, events);
        Options options;
        options.idleTimeout = idleTimeout;
        start(options);
        const EventReader deaf(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        for (int i = 0; i < events; ++i) {
            m_simulator->pushEvent('"' + QByteArray(1 << 20, 'x') + '"');
        }
        QTRY_COMPARE(m_simulator->eventStreams(), 0);
    }

    void thousandsOfConnectionsLeaveRoom()
    {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 12000);
        setrlimit(RLIMIT_NOFILE, &limit);
        const int count = static_cast<int>(std::min<rlim_t>(limit.rlim_cur / 3, 3000));
        std::vector<std::unique_ptr<HttpClient>> attackers;
        for (int i = 0; i < count; ++i) {
            attackers.push_back(client("127.0.0.9"));
            attackers.back()->send("GET / HTTP/1.1\r\nHost:");
            if (i % 500 == 0) {
                QVERIFY(isServing());
            }
        }
        QVERIFY(isServing());
    }

    void aLackOfDescriptorsIsTakenFromTheHalfOpen()
    {
        // The process has as few as a shell allows, or fewer; client and server share them.
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit few = before;
        few.rlim_cur = 300;
        setrlimit(RLIMIT_NOFILE, &few);
        std::vector<std::unique_ptr<HttpClient>> attackers;
        while (true) {
            auto next = client("127.0.0.9");
            if (!next->isConnected()) {
                break;
            }
            attackers.push_back(std::move(next));
        }
        // The healthy client takes one of these two. The other has to do for all whom the server has not
        // accepted yet, one after the other.
        attackers.pop_back();
        attackers.pop_back();
        HttpClient healthy(m_simulator->port());
        QVERIFY(healthy.isConnected());
        QCOMPARE(healthy.get(hw).status, 200);
        attackers.clear();
        setrlimit(RLIMIT_NOFILE, &before);
    }

    void aConnectionThatEndsAtAnyMomentIsSurvived()
    {
        const QByteArray text =
            "PUT /api/v1/device/log/level HTTP/1.1\r\nHost: t\r\nContent-Length: 11\r\n\r\n{\"level\":3}" +
            getHw;
        for (int size = 0; size <= text.size(); ++size) {
            const auto attacker = client();
            attacker->send(text.left(size));
            if (size % 2 == 0) {
                attacker->endSending();
            }
        }
    }

    void manyAttackersAtOnceAreSurvived()
    {
        Options options;
        options.control = true;
        options.headTimeout = 300;
        options.bodyTimeout = 300;
        options.maxConnections = 200;
        options.maxHalfOpenPerPeer = 50;
        start(options);
        std::atomic<bool> ends{false};
        std::atomic<int> served{0};
        std::vector<std::thread> threads;
        const std::vector<QByteArray> texts{
            getHw,
            getHw.repeated(20),
            "GET " + hw,
            "GET /api/v1/events HTTP/1.1\r\nHost: t\r\n\r\n",
            "GET /api/v1/device/cabinet HTTP/1.1\r\nHost: t\r\n\r\n",
            "PUT " + hw + " HTTP/1.1\r\nHost: t\r\nContent-Length: 100000\r\n\r\n{",
            "PUT " + hw + " HTTP/1.1\r\nHost: t\r\nTransfer-Encoding: chunked\r\n\r\nffff;x\r\n",
            "POST /sim/disconnect HTTP/1.1\r\nHost: t\r\n\r\n",
            "POST /sim/restart HTTP/1.1\r\nHost: t\r\n\r\n",
            QByteArray("POST /sim/faults HTTP/1.1\r\nHost: t\r\nContent-Length: 40\r\n\r\n"
                       R"({"path":"/x","cut":"drip","times":20}   )"),
            "GET /x HTTP/1.1\r\nHost: t\r\n\r\n",
            QByteArray(3000, '\0'),
        };
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                std::vector<std::unique_ptr<HttpClient>> open;
                for (std::size_t k = static_cast<std::size_t>(i); !ends; ++k) {
                    open.push_back(client("127.0.0.9"));
                    open.back()->send(texts[k % texts.size()]);
                    if (open.size() > 40) {
                        open.erase(open.begin());
                    }
                }
            });
        }
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 2000 && served < 100) {
            if (isServing()) {
                ++served;
            }
        }
        ends = true;
        for (auto& thread : threads) {
            thread.join();
        }
        QVERIFY(served > 0);
        m_simulator->clearFaults();
    }
};

QTEST_GUILESS_MAIN(TestSimulatorAttacks)
#include "tst_simulatorattacks.moc"
