// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "communicator/http/exchangereport.h"
#include "enginebench.h"

#include <logcollector.h>

#include <QTemporaryDir>

#include <future>
#include <mutex>
#include <new>
#include <stdexcept>

class TestEngineObservers : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void eachFailureIsOneLineWithoutSecrets();
    void theObserverLearnsWhatHappened();
    void bytesUnderWayAreTold_data();
    void bytesUnderWayAreTold();
    void aDownloadIsToldWhileItComes_data() { bothWays(); }
    void aDownloadIsToldWhileItComes();
    void anUnknownSizeIsToldAsSuch();
    void progressIsToldOnlyWhileAnObserverIsSet_data() { bothWays(); }
    void progressIsToldOnlyWhileAnObserverIsSet();
    void anObserverThatThrowsTakesNothingFromTheEngine();
};

void TestEngineObservers::eachFailureIsOneLineWithoutSecrets()
{
    MisbehavingServer server(Mode::Raw);
    server.setRaw("HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n");
    Bench bench;
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    endpoint.login = DeviceEndpoint::Login::Basic;
    endpoint.user = QStringLiteral("admin");
    endpoint.secret = QStringLiteral("hunter2");
    bench.add(QStringLiteral("wall"), endpoint);

    const LogCollector log;
    HttpRequest failing = request(QStringLiteral("wall"), HttpMethod::Put, "{}");
    failing.headers.insert(QStringLiteral("X-Token"), QStringLiteral("hunter2"));
    for (const bool blocking : {true, false}) {
        bench.ask(failing, blocking);
        bench.ask(request(QStringLiteral("admin:hunter2@host")), blocking);
        HttpRequest pathless = request(QStringLiteral("wall"));
        pathless.path.clear();
        bench.ask(pathless, blocking);
    }
    server.setMode(Mode::Answer);
    bench.ask(request(QStringLiteral("wall")), true);

    const QString all = log.lines().join(QLatin1Char('\n'));
    const QStringList failures = log.lines().filter(QStringLiteral("tessel.http.warning: "));
    QVERIFY2(failures.size() == 6, qPrintable(all));
    for (int i = 0; i < 6; i += 3) {
        QVERIFY2(failures[i].contains(QLatin1String(": PUT wall /api/v1/x: ")), qPrintable(failures[i]));
        QVERIFY2(failures[i].contains(QLatin1String("500")), qPrintable(failures[i]));
        QVERIFY2(failures[i + 1].contains(QLatin1String(": GET ***@host /api/v1/x: ")),
                 qPrintable(failures[i + 1]));
        QVERIFY2(failures[i + 2].contains(QLatin1String("the request has no path")),
                 qPrintable(failures[i + 2]));
    }
    QVERIFY2(!all.contains(QLatin1String("hunter2")), qPrintable(all));
}

void TestEngineObservers::theObserverLearnsWhatHappened()
{
    MisbehavingServer server;
    Bench bench;
    std::mutex mutex;
    std::vector<ExchangeRecord> records;
    setExchangeObserver([&](const ExchangeRecord& record) {
        const std::lock_guard<std::mutex> lock(mutex);
        records.push_back(record);
    });
    HttpRequest asked = request(server.address(), HttpMethod::Put, "{}");
    asked.path = QStringLiteral("/api/v1/x/{id}");
    asked.placeHolders.insert(QStringLiteral("id"), QStringLiteral("a b"));
    asked.parameters.insert(QStringLiteral("q"), QStringLiteral("1"));
    bench.ask(asked, true);
    bench.ask(asked, false);
    asked.path.clear();
    bench.ask(asked, true);
    setExchangeObserver({});
    bench.ask(asked, true);
    QCOMPARE(records.size(), size_t(3));
    for (int i = 0; i < 2; ++i) {
        const ExchangeRecord& record = records[size_t(i)];
        QCOMPARE(record.deviceKey, server.address());
        QCOMPARE(record.verb, QByteArray("PUT"));
        QCOMPARE(record.path, QByteArray("/api/v1/x/a%20b?q=1"));
        QCOMPARE(record.status, 200);
        QCOMPARE(record.state, State::Success);
        QCOMPARE(record.bytesSent, qint64(2));
        QCOMPARE(record.bytesReceived, qint64(goodBody.size()));
    }
    QCOMPARE(records[2].state, State::InvalidRequest);
    QCOMPARE(records[2].bytesSent, qint64(0));
}

namespace {

/// Records what is reported while it exists.
class ProgressLog
{
public:
    ProgressLog()
    {
        setProgressObserver([this](const ExchangeProgress& progress) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_told.push_back(progress);
        });
    }
    ~ProgressLog() { setProgressObserver({}); }

    std::vector<ExchangeProgress> told() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_told;
    }

private:
    mutable std::mutex m_mutex; ///< guards m_told
    std::vector<ExchangeProgress> m_told;
    Q_DISABLE_COPY_MOVE(ProgressLog)
};

} // namespace

void TestEngineObservers::bytesUnderWayAreTold_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<bool>("multipart");
    QTest::newRow("body, blocking") << true << false;
    QTest::newRow("body, non-blocking") << false << false;
    QTest::newRow("form, blocking") << true << true;
    QTest::newRow("form, non-blocking") << false << true;
}

void TestEngineObservers::bytesUnderWayAreTold()
{
    QFETCH(bool, blocking);
    QFETCH(bool, multipart);
    const QByteArray content(8 << 20, 'u');
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.path = QStringLiteral("/api/v1/x/{id}");
    asked.placeHolders.insert(QStringLiteral("id"), QStringLiteral("a b"));
    asked.multipart = multipart;
    if (multipart) {
        asked.parts.insert(QStringLiteral("p"), content);
    } else {
        asked.body = content;
    }
    const ProgressLog log;
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    const auto told = log.told();
    const qint64 whole = server.received().at(0).body.size();
    QVERIFY(whole >= content.size());
    QVERIFY(told.size() > 3);
    qint64 before = 0;
    for (const ExchangeProgress& progress : told) {
        QCOMPARE(progress.deviceKey, server.address());
        QCOMPARE(progress.verb, QByteArray("PUT"));
        QCOMPARE(progress.path, QByteArray("/api/v1/x/a%20b"));
        QCOMPARE(progress.bytesToSend, whole);
        QVERIFY(progress.bytesSent >= before);
        before = progress.bytesSent;
    }
    QVERIFY(told.front().bytesSent < whole);
    QCOMPARE(told.back().bytesSent, whole);
    QCOMPARE(told.back().bytesReceived, qint64(goodBody.size()));
    QCOMPARE(told.back().bytesToReceive, qint64(goodBody.size()));
}

void TestEngineObservers::aDownloadIsToldWhileItComes()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    const QByteArray half(100000, 'd');
    MisbehavingServer server(Mode::Scripted);
    server.addScript({"HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n", half});
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.expectedTime = 60000;
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    const ProgressLog log;
    std::future<HttpReply> reply = std::async(std::launch::async, [&] { return bench.ask(asked, blocking); });
    const auto reached = [&](qint64 bytes) {
        const auto told = log.told();
        return !told.empty() && told.back().bytesReceived == bytes;
    };
    QTRY_VERIFY_WITH_TIMEOUT(reached(half.size()), 30000);
    server.broadcast(half);
    QCOMPARE(reply.get().state, State::Success);
    QVERIFY(reached(qint64(2) * half.size()));
    for (const ExchangeProgress& progress : log.told()) {
        QCOMPARE(progress.verb, QByteArray("GET"));
        QCOMPARE(progress.bytesSent, qint64(0));
        QCOMPARE(progress.bytesToSend, qint64(-1));
        QCOMPARE(progress.bytesToReceive, qint64(2) * half.size());
    }
}

void TestEngineObservers::anUnknownSizeIsToldAsSuch()
{
    MisbehavingServer server(Mode::Raw);
    server.setRaw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n");
    Bench bench;
    const ProgressLog log;
    HttpRequest asked = request(QStringLiteral("me:hunter2@h"));
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    bench.add(asked.deviceKey, endpoint);
    QCOMPARE(bench.ask(asked, true).state, State::Success);
    const auto told = log.told();
    QVERIFY(!told.empty());
    QCOMPARE(told.back().bytesReceived, qint64(2));
    QCOMPARE(told.back().bytesToReceive, qint64(-1));
    QVERIFY2(!told.back().deviceKey.contains(QLatin1String("hunter2")), qPrintable(told.back().deviceKey));
}

void TestEngineObservers::progressIsToldOnlyWhileAnObserverIsSet()
{
    QFETCH(bool, blocking);
    MisbehavingServer server;
    Bench bench;
    const HttpRequest asked = request(server.address());
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    size_t first = 0;
    {
        const ProgressLog log;
        QCOMPARE(log.told().size(), size_t(0));
        QCOMPARE(bench.ask(asked, blocking).state, State::Success);
        first = log.told().size();
        QVERIFY(first > 0);
        setProgressObserver({});
        QCOMPARE(bench.ask(asked, blocking).state, State::Success);
        QCOMPARE(log.told().size(), first);
    }
    // The handle that reported nothing meanwhile reports again.
    const ProgressLog again;
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QVERIFY(!again.told().empty());
    QCOMPARE(server.connections(), 1);
}

void TestEngineObservers::anObserverThatThrowsTakesNothingFromTheEngine()
{
    MisbehavingServer server;
    Bench bench;
    const HttpRequest asked = request(server.address());
    {
        const ObserverHandle outOfMemory =
            addExchangeObserver([](const ExchangeRecord&) { throw std::bad_alloc(); });
        QCOMPARE(int(bench.ask(asked, true).state), int(IHttpVersionTrigger::Success));
    }
    {
        const ObserverHandle faulty =
            addExchangeObserver([](const ExchangeRecord&) { throw std::runtime_error("faulty"); });
        QVERIFY_EXCEPTION_THROWN(bench.ask(asked, true), std::runtime_error);
    }
    // What the engine still counted as under way would keep its connection for ever.
    QTRY_COMPARE(server.open(), 0);
    QCOMPARE(int(bench.ask(asked, true).state), int(IHttpVersionTrigger::Success));
}

QTEST_GUILESS_MAIN(TestEngineObservers)
#include "tst_engine_observers.moc"
