// SPDX-License-Identifier: MIT
//
// Reads that are repeated because their device is busy.
#include "communicator/requestlimits.h"
#include "enginebench.h"

#include "communicator/calloutcome.h"
#include "communicator/exchangeobserver.h"

#include <QTemporaryDir>

#include <mutex>
#include <thread>

namespace {

QByteArray busy(const QByteArray& status, const QByteArray& header = {})
{
    return "HTTP/1.1 " + status + " Busy\r\n" + header + "Content-Length: 0\r\n\r\n";
}

QByteArray good()
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(goodBody.size()) + "\r\n\r\n" +
           goodBody;
}

/// What observers are told meanwhile.
class Records
{
public:
    Records()
        : m_observer(addExchangeObserver([this](const ExchangeRecord& record) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_records.push_back(record);
        }))
    {}
    std::vector<ExchangeRecord> all() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }

private:
    mutable std::mutex m_mutex; ///< guards m_records
    std::vector<ExchangeRecord> m_records;
    ObserverHandle m_observer;
};

enum class End { Cancel, CancelAll, Abort, Stop };

void end(SocketEngine& engine, End how, const HttpRequest& request)
{
    switch (how) {
    case End::Cancel:
        engine.cancel(request.id);
        break;
    case End::CancelAll:
        engine.cancelAll(request.deviceKey);
        break;
    case End::Abort:
        engine.abort(request.deviceKey);
        break;
    case End::Stop:
        engine.stop();
        break;
    }
}

} // namespace

Q_DECLARE_METATYPE(End)
Q_DECLARE_METATYPE(Krelm::Communicator::HttpDevice::HttpMethod)

class TestEngineRepeats : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }
    void init() { setRequestLimits({0, 0, true}); }
    void cleanup() { setRequestLimits({}); }

    void aReadOfABusyDeviceIsSentAgain_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<qint64>("asked");
        const auto row = [](const char* name, const QByteArray& reply, qint64 asked) {
            QTest::addRow("%s, blocking", name) << true << reply << asked;
            QTest::addRow("%s, non-blocking", name) << false << reply << asked;
        };
        row("429", busy("429"), -1);
        row("503", busy("503"), -1);
        row("at once", busy("503", "Retry-After: 0\r\n"), 0);
        row("negative", busy("503", "Retry-After: -5\r\n"), -1);
        row("garbage", busy("503", "Retry-After: \xff soon\r\n"), -1);
        row("twice", busy("503", "Retry-After: 3\r\nRetry-After: 4\r\n"), -1);
        row("a date gone by", busy("429", "Retry-After: Fri, 31 Dec 1999 23:59:59 GMT\r\n"), 0);
    }
    void aReadOfABusyDeviceIsSentAgain()
    {
        QFETCH(bool, blocking);
        QFETCH(QByteArray, reply);
        QFETCH(qint64, asked);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({reply});
        server.addScript({reply});
        server.addScript({good()});
        Bench bench;
        Records records;
        HttpRequest read = request(server.address());
        read.id = beginExchange();
        read.expectedTime = 60000;
        const HttpReply answered = bench.ask(read, blocking);
        QCOMPARE(answered.state, State::Success);
        QCOMPARE(answered.body, goodBody);
        QCOMPARE(server.deliveries(), 3);
        const auto told = records.all();
        QCOMPARE(told.size(), std::size_t(3));
        for (std::size_t i = 0; i < told.size(); ++i) {
            QCOMPARE(told[i].id, read.id);
            QCOMPARE(told[i].isRepeated, i < 2);
            QCOMPARE(told[i].retryAfter, i < 2 ? asked : -1);
        }
    }

    void nothingElseIsSentAgain_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<HttpMethod>("method");
        QTest::addColumn<QByteArray>("status");
        for (const bool blocking : {true, false}) {
            const auto row = [blocking](const char* name, bool wanted, HttpMethod method,
                                        const char* status) {
                QTest::addRow("%s, %s", name, blocking ? "blocking" : "non-blocking")
                    << blocking << wanted << method << QByteArray(status);
            };
            row("not asked for", false, HttpMethod::Get, "503");
            row("PUT", true, HttpMethod::Put, "503");
            row("POST", true, HttpMethod::Post, "429");
            row("DELETE", true, HttpMethod::Delete, "503");
            row("another status", true, HttpMethod::Get, "500");
            row("not found", true, HttpMethod::Get, "404");
        }
    }
    void nothingElseIsSentAgain()
    {
        QFETCH(bool, blocking);
        QFETCH(bool, wanted);
        QFETCH(HttpMethod, method);
        QFETCH(QByteArray, status);
        setRequestLimits({0, 0, wanted});
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy(status, "Retry-After: 0\r\n")});
        server.addScript({good()});
        Bench bench;
        const HttpReply answered = bench.ask(request(server.address(), method, "{}"), blocking);
        QCOMPARE(answered.state, State::HttpFailure);
        QCOMPARE(answered.status, status.toInt());
        QCOMPARE(server.deliveries(), 1);
    }

    void retryAfterIsALowerBound_data() { bothWays(); }
    void retryAfterIsALowerBound()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503", "Retry-After: 1\r\n")});
        server.addScript({good()});
        Bench bench;
        HttpRequest read = request(server.address());
        read.expectedTime = 60000;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(bench.ask(read, blocking).state, State::Success);
        QVERIFY(timer.elapsed() >= 1000);
        QCOMPARE(server.deliveries(), 2);
    }

    void aWaitBeyondTheTimeLimitIsNotBegun_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<QByteArray>("after");
        for (const char* after :
             {"61", "99999999", "99999999999999999999999", "Fri, 31 Dec 2100 23:59:59 GMT"}) {
            QTest::addRow("%s, blocking", after) << true << QByteArray(after);
            QTest::addRow("%s, non-blocking", after) << false << QByteArray(after);
        }
    }
    void aWaitBeyondTheTimeLimitIsNotBegun()
    {
        QFETCH(bool, blocking);
        QFETCH(QByteArray, after);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503", "Retry-After: " + after + "\r\n")});
        Bench bench;
        Records records;
        HttpRequest read = request(server.address());
        read.expectedTime = 60000;
        const HttpReply answered = bench.ask(read, blocking);
        QCOMPARE(answered.state, State::HttpFailure);
        QCOMPARE(answered.status, 503);
        QCOMPARE(server.deliveries(), 1);
        QVERIFY(!records.all().front().isRepeated);
    }

    void aDeviceThatStaysBusyEndsTheReadWithinItsLimit_data() { bothWays(); }
    void aDeviceThatStaysBusyEndsTheReadWithinItsLimit()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw(busy("503", "Retry-After: 0\r\n"));
        Bench bench;
        HttpRequest read = request(server.address());
        read.expectedTime = 900;
        const HttpReply answered = bench.ask(read, blocking);
        QCOMPARE(answered.state, State::HttpFailure);
        QCOMPARE(answered.status, 503);
        // 0.1, 0.2 and 0.4 s lie between them at least, so that there are not many.
        QVERIFY2(server.deliveries() >= 2 && server.deliveries() <= 4,
                 qPrintable(QString::number(server.deliveries())));
    }

    void aWaitEndsAtOnce_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<End>("how");
        for (const bool blocking : {true, false}) {
            const char* const name = blocking ? "blocking" : "non-blocking";
            QTest::addRow("cancelled, %s", name) << blocking << End::Cancel;
            QTest::addRow("all of the device cancelled, %s", name) << blocking << End::CancelAll;
            QTest::addRow("device removed, %s", name) << blocking << End::Abort;
            QTest::addRow("transport stopped, %s", name) << blocking << End::Stop;
        }
    }
    void aWaitEndsAtOnce()
    {
        QFETCH(bool, blocking);
        QFETCH(End, how);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503", "Retry-After: 600\r\n")});
        Bench bench;
        Records records;
        HttpRequest read = request(server.address());
        read.id = beginExchange();
        read.expectedTime = 3600000;
        std::promise<HttpReply> promise;
        auto ended = promise.get_future();
        std::thread caller;
        if (blocking) {
            caller = std::thread([&] { promise.set_value(bench.engine.exchange(read)); });
        } else {
            bench.engine.start(read, [&promise](const HttpReply& reply) { promise.set_value(reply); });
        }
        QTRY_COMPARE(records.all().size(), std::size_t(1));
        end(bench.engine, how, read);
        const bool hasEnded = ended.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
        if (!hasEnded) {
            qFatal("the wait does not end");
        }
        if (caller.joinable()) {
            caller.join();
        }
        const HttpReply reply = ended.get();
        QCOMPARE(reply.state, State::Aborted);
        const bool byApplication = how == End::Cancel || how == End::CancelAll;
        QCOMPARE(reply.reason, byApplication
                                   ? QStringLiteral("the application cancelled the request")
                                   : QStringLiteral("the transport was stopped or the device was removed"));
        QTRY_COMPARE(records.all().size(), std::size_t(2));
        QCOMPARE(records.all().back().state, State::Aborted);
        QCOMPARE(server.deliveries(), 1);
    }

    // Of use under the thread sanitizer, so the threads meet without anything that orders their accesses.
    void aWaitMayBeEndedTwice()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503", "Retry-After: 600\r\n")});
        Bench bench;
        HttpRequest read = request(server.address());
        read.id = beginExchange();
        read.expectedTime = 3600000;
        constexpr auto unordered = std::memory_order_relaxed;
        std::atomic<int> told{0};
        std::atomic<bool> isEndedTwice{false};
        const ObserverHandle observer = addExchangeObserver([&](const ExchangeRecord&) {
            told.fetch_add(1, unordered);
            while (told.load(unordered) == 2 && !isEndedTwice.load(unordered)) {
                std::this_thread::yield();
            }
        });
        std::thread second([&] {
            while (told.load(unordered) < 2) {
                std::this_thread::yield();
            }
            bench.engine.cancelAll(server.address());
            isEndedTwice.store(true, unordered);
        });
        HttpReply reply;
        std::thread caller([&] { reply = bench.engine.exchange(read); });
        while (told.load(unordered) < 1) {
            std::this_thread::yield();
        }
        bench.engine.cancel(read.id);
        caller.join();
        second.join();
        QCOMPARE(reply.state, State::Aborted);
        QCOMPARE(server.deliveries(), 1);
    }

    void aReadThatWaitsHoldsUpNobody()
    {
        MisbehavingServer server(Mode::Scripted);
        MisbehavingServer second(Mode::Scripted);
        MisbehavingServer other;
        setRequestLimits({1, 1, true}); // two may be under way, of two devices
        Bench bench;
        Records records;
        std::promise<void> promise;
        auto ended = promise.get_future();
        std::atomic<int> left{2};
        for (MisbehavingServer* const busyOne : {&server, &second}) {
            busyOne->addScript({busy("503", "Retry-After: 600\r\n")});
            HttpRequest read = request(busyOne->address());
            read.expectedTime = 3600000;
            bench.engine.start(read, [&promise, &left](const HttpReply&) {
                if (--left == 0) {
                    promise.set_value();
                }
            });
        }
        QTRY_COMPARE(records.all().size(), std::size_t(2));
        for (int i = 0; i < 3; ++i) {
            server.addScript({good()});
            QCOMPARE(bench.ask(request(server.address()), false).state, State::Success);
            QCOMPARE(bench.ask(request(other.address()), false).state, State::Success);
        }
        bench.engine.stop();
        QCOMPARE(ended.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    }

    void aReadThatWaitsHoldsNoConnection()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503", "Retry-After: 600\r\n")});
        Bench bench;
        Records records;
        HttpRequest read = request(server.address());
        read.expectedTime = 3600000;
        std::thread caller([&] { bench.engine.exchange(read); });
        QTRY_COMPARE(records.all().size(), std::size_t(1));
        server.addScript({good()});
        const HttpReply answered = bench.ask(request(server.address()), true);
        const int connections = server.connections();
        bench.engine.stop();
        caller.join();
        QCOMPARE(answered.state, State::Success);
        QCOMPARE(connections, 1);
    }

    void aDownloadIsSentAgain_data() { bothWays(); }
    void aDownloadIsSentAgain()
    {
        QFETCH(bool, blocking);
        const QTemporaryDir folder;
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503")});
        server.addScript({good()});
        Bench bench;
        HttpRequest download = request(server.address());
        download.downloadPath = folder.filePath(QStringLiteral("file"));
        QCOMPARE(bench.ask(download, blocking).state, State::Success);
        QFile file(download.downloadPath);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), goodBody);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1);
    }

    void anAttemptThatIsRepeatedIsNoFailureOfTheCall()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({busy("503")});
        server.addScript({good()});
        Bench bench;
        CallOutcome outcome;
        HttpRequest read = request(server.address());
        read.id = beginExchange();
        bench.engine.exchange(read);
        QCOMPARE(outcome.exchanges().size(), 2);
        QVERIFY(outcome.exchanges().first().isRepeated);
        QVERIFY(!outcome.hasFailed());
        QCOMPARE(outcome.text(), QStringLiteral("all exchanges succeeded"));
    }
};

QTEST_GUILESS_MAIN(TestEngineRepeats)
#include "tst_engine_repeats.moc"
