// SPDX-License-Identifier: MIT
#include "communicator/curlengine.h"
#include "communicator/exchangeobserver.h"
#include "communicator/exchangereport.h"
#include "communicator/ioloop.h"
#include "misbehavingserver.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QPointF>
#include <QRegularExpression>
#include <QSize>
#include <QTemporaryDir>
#include <QUrl>
#include <QUuid>
#include <QtTest>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <mutex>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<bool> synchronizingFails{false};

} // namespace

// Takes the place of the system's: a quota on a network's disk shows only here.
extern "C" int fsync(int descriptor)
{
    if (synchronizingFails) {
        errno = EDQUOT;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Mode = MisbehavingServer::Mode;

namespace {

const QByteArray goodBody = QByteArrayLiteral("{\"code\":0,\"data\":{\"a\":1}}");

/// The client's sockets that are connected to @p port.
std::vector<int> connectionsTo(quint16 port)
{
    std::vector<int> sockets;
    for (const QString& name : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const int descriptor = name.toInt();
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port) {
            sockets.push_back(descriptor);
        }
    }
    return sockets;
}

TransferLimits smallLimits()
{
    TransferLimits limits;
    limits.bodyBytes = 1 << 20;
    limits.downloadBytes = 2 << 20;
    return limits;
}

/// An engine of its own for one test, both ways of asking it.
struct Bench
{
    std::shared_ptr<DeviceRegistry> registry = std::make_shared<DeviceRegistry>();
    std::shared_ptr<IoLoop> loop = std::make_shared<IoLoop>();
    CurlEngine engine{registry, loop, smallLimits()};

    void add(const QString& key, const DeviceEndpoint& endpoint)
    {
        QString reason;
        if (registry->add(key, endpoint, reason) == DeviceRegistry::Change::Refused) {
            qFatal("%s", qPrintable(reason));
        }
    }

    HttpReply ask(const HttpRequest& request, bool blocking)
    {
        if (blocking) {
            return engine.exchange(request);
        }
        std::promise<HttpReply> promise;
        std::future<HttpReply> reply = promise.get_future();
        std::atomic<int> calls{0};
        engine.start(request, [&](const HttpReply& answered) {
            if (++calls == 1) {
                promise.set_value(answered);
            }
        });
        if (reply.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
            qFatal("the request never settled");
        }
        // What was posted before a barrier has run after it: a second call would be counted by now.
        loop->run([] {});
        if (calls != 1) {
            qFatal("the request settled %d times", calls.load());
        }
        return reply.get();
    }
};

HttpRequest request(const QString& deviceKey, HttpMethod method = HttpMethod::Get,
                    const QByteArray& body = {})
{
    HttpRequest request;
    request.deviceKey = deviceKey;
    request.method = method;
    request.path = QStringLiteral("/api/v1/x");
    request.body = body;
    request.expectedTime = 5000;
    return request;
}

quint16 closedPort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0)
        return 0;
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(socket);
    return ntohs(address.sin_port);
}

void bothWays()
{
    QTest::addColumn<bool>("blocking");
    QTest::newRow("blocking") << true;
    QTest::newRow("non-blocking") << false;
}

} // namespace

Q_DECLARE_METATYPE(Mode)

class EngineTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        // Failures are what most of this is about; the log is tested where it is read.
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
    }

    void aGoodReplyIsSuccessWithBodyStatusAndHeaders_data() { bothWays(); }
    void aGoodReplyIsSuccessWithBodyStatusAndHeaders()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        const HttpReply reply = bench.ask(request(server.address()), blocking);
        QCOMPARE(reply.state, State::Success);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.body, goodBody);
        QCOMPARE(reply.headers.value(QStringLiteral("X-Mixed-Case")), QStringLiteral("yes"));
        const auto received = server.received();
        QCOMPARE(received.size(), size_t(1));
        QCOMPARE(received[0].method, QByteArray("GET"));
        QCOMPARE(received[0].target, QByteArray("/api/v1/x"));
    }

    void anUnreachableDeviceIsUnreachable_data() { bothWays(); }
    void anUnreachableDeviceIsUnreachable()
    {
        QFETCH(bool, blocking);
        Bench bench;
        const HttpReply reply =
            bench.ask(request(QStringLiteral("127.0.0.1:%1").arg(closedPort())), blocking);
        QCOMPARE(reply.state, State::Unreachable);
        QCOMPARE(reply.status, 0);
    }

    void aConnectionThatIsResetFails_data() { bothWays(); }
    void aConnectionThatIsResetFails()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::ResetOnAccept);
        Bench bench;
        const HttpReply reply = bench.ask(request(server.address()), blocking);
        // The reset may come before the connection counts as made.
        QVERIFY(reply.state == State::Broken || reply.state == State::Unreachable);
    }

    void aKeyThatIsNoAddressSendsNothing_data();
    void aKeyThatIsNoAddressSendsNothing();
    void whatCannotBeSentIsRefusedBeforeAnythingLeaves_data();
    void whatCannotBeSentIsRefusedBeforeAnythingLeaves();

    void connectionsAreKept_data() { bothWays(); }
    void connectionsAreKept()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking).state,
                     State::Success);
        }
        QCOMPARE(server.deliveries(), 5);
        QCOMPARE(server.connections(), 1);
    }

    void daemonRequestsTravelOnConnectionsOfTheirOwn_data() { bothWays(); }
    void daemonRequestsTravelOnConnectionsOfTheirOwn()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        HttpRequest daemon = request(server.address());
        daemon.daemon = true;
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
            QCOMPARE(bench.ask(daemon, blocking).state, State::Success);
        }
        QCOMPARE(server.connections(), 2);
    }

    void aDaemonRequestDoesNotWaitForNormalTraffic();
    void aWriteIsNeverSentTwice_data();
    void aWriteIsNeverSentTwice();

    void aReadIsRetriedOnAStaleConnection_data() { bothWays(); }
    void aReadIsRetriedOnAStaleConnection()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::AnswerOnceThenDrop);
        Bench bench;
        QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
        QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 3);
    }

    void aConnectionThatDiedWhileIdleIsReplaced_data() { bothWays(); }
    void aConnectionThatDiedWhileIdleIsReplaced()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking).state, State::Success);
        server.dropConnections();
        QTRY_COMPARE(server.open(), 0);
        QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 2);
    }

    void requestsGoOutAsTheyWereMade_data();
    void requestsGoOutAsTheyWereMade();

    void aLargeBodyGoesOutWholeAndAtOnce_data() { bothWays(); }
    void aLargeBodyGoesOutWholeAndAtOnce()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        const QByteArray body(8 << 20, 'b');
        QCOMPARE(bench.ask(request(server.address(), HttpMethod::Put, body), blocking).state, State::Success);
        const auto received = server.received();
        QCOMPARE(received[0].body, body);
        QVERIFY(!received[0].headers.contains("expect"));
    }

    void aShapeDoesNotLeakIntoTheNextRequest();
    void multipartValuesBecomePartsOfTheirKind_data() { bothWays(); }
    void multipartValuesBecomePartsOfTheirKind();
    void valuesOfOtherTypesBecomeJsonParts_data();
    void valuesOfOtherTypesBecomeJsonParts();
    void aPartThatIsNoJsonSendsNothing_data() { bothWays(); }
    void aPartThatIsNoJsonSendsNothing();
    void aFileThatCannotBeReadIsTold_data();
    void aFileThatCannotBeReadIsTold();
    void aMissingFilePartSendsNothing_data() { bothWays(); }
    void aMissingFilePartSendsNothing();

    void aDownloadAppearsUnderItsName_data() { bothWays(); }
    void aDownloadAppearsUnderItsName();
    void aFailedDownloadLeavesTheOldFile_data();
    void aFailedDownloadLeavesTheOldFile();
    void aDownloadThatCannotBeWrittenFails();
    void aFullDiskFailsTheDownload_data();
    void aFullDiskFailsTheDownload();
    void aDiskThatRefusesToKeepADownloadFailsIt_data() { bothWays(); }
    void aDiskThatRefusesToKeepADownloadFailsIt();

    void theLoginGoesOutAsItsKindDemands_data();
    void theLoginGoesOutAsItsKindDemands();
    void proxyVariablesOfTheEnvironmentAreIgnored();
    void theLimitHoldsWhileARequestWaitsForAConnection();
    void programsThatAreStartedInheritNoConnection_data() { bothWays(); }
    void programsThatAreStartedInheritNoConnection();
    void aStalledDeviceDoesNotHoldUpAnother();
    void removingADeviceAbortsWhatIsInFlight_data() { bothWays(); }
    void removingADeviceAbortsWhatIsInFlight();
    void stoppingTheEngineAbortsWhatIsInFlight_data() { bothWays(); }
    void stoppingTheEngineAbortsWhatIsInFlight();
    void aStoppedEngineSendsNothing_data() { bothWays(); }
    void aStoppedEngineSendsNothing();
    void noLimitStandsForTenSeconds();
    void eachFailureIsOneLineWithoutSecrets();
    void theObserverLearnsWhatHappened();
    void bytesUnderWayAreTold_data();
    void bytesUnderWayAreTold();
    void aDownloadIsToldWhileItComes_data() { bothWays(); }
    void aDownloadIsToldWhileItComes();
    void anUnknownSizeIsToldAsSuch();
    void progressIsToldOnlyWhileAnObserverIsSet_data() { bothWays(); }
    void progressIsToldOnlyWhileAnObserverIsSet();

    void everyFaultEndsInItsState_data();
    void everyFaultEndsInItsState();
    void everyReplyTextEndsInItsState_data();
    void everyReplyTextEndsInItsState();
};

void EngineTest::everyFaultEndsInItsState_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<int>("milliseconds");
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("status");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        const auto row = [&](const char* name, Mode mode, int milliseconds, int state, int status) {
            QTest::addRow("%s, %s", name, way) << blocking << mode << milliseconds << state << status;
        };
        row("never answers", Mode::Stall, 300, State::TimedOut, 0);
        row("reads nothing", Mode::Silent, 300, State::TimedOut, 0);
        row("drips slower than the limit", Mode::SlowDrip, 300, State::TimedOut, 0);
        row("floods the body", Mode::FloodBody, 20000, State::LimitExceeded, 200);
        row("floods header lines", Mode::FloodHeaders, 20000, State::LimitExceeded, 0);
        row("sends a header line without end", Mode::EndlessHeader, 20000, State::LimitExceeded, 0);
        row("floods interim replies", Mode::FloodInterim, 20000, State::LimitExceeded, 0);
    }
}

void EngineTest::everyFaultEndsInItsState()
{
    QFETCH(bool, blocking);
    QFETCH(Mode, mode);
    QFETCH(int, milliseconds);
    QFETCH(int, state);
    QFETCH(int, status);
    MisbehavingServer server(mode);
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.expectedTime = milliseconds;
    const HttpReply reply = bench.ask(asked, blocking);
    QCOMPARE(int(reply.state), state);
    QCOMPARE(reply.status, status);
    QVERIFY(reply.body.isEmpty());
}

void EngineTest::everyReplyTextEndsInItsState_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        const auto row = [&](const char* name, const QByteArray& text, int state, int status,
                             const QByteArray& body) {
            QTest::addRow("%s, %s", name, way) << blocking << text << state << status << body;
        };
        row("closes without a byte", "", State::Broken, 0, "");
        row("cut in the status line", "HTTP/1.1 20", State::Broken, 0, "");
        row("cut after the status line", "HTTP/1.1 200 OK\r\n", State::Broken, 0, "");
        row("cut in a header", "HTTP/1.1 200 OK\r\nContent-Le", State::Broken, 0, "");
        row("cut before the blank line", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n", State::Broken, 0, "");
        row("shorter than its length", "HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\n{\"code\":0}",
            State::Broken, 200, "");
        row("longer than its length", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}{}{}", State::Success,
            200, "{}");
        row("cut chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\na\r\n{\"co", State::Broken,
            200, "");
        row("no last chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n",
            State::Broken, 200, "");
        row("chunk size is no number",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n0\r\n\r\n", State::Broken, 200,
            "");
        row("whole chunks with a trailer",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nX-Late: 1\r\n\r\n",
            State::Success, 200, "{}");
        row("close-delimited JSON", "HTTP/1.1 200 OK\r\n\r\n{\"code\":0}", State::Success, 200,
            "{\"code\":0}");
        row("close-delimited cut JSON", "HTTP/1.1 200 OK\r\n\r\n{\"code\":", State::Broken, 200, "");
        row("close-delimited and empty", "HTTP/1.1 200 OK\r\n\r\n", State::Broken, 200, "");
        row("no JSON", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello", State::Success, 200, "hello");
        row("claims gzip", "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 2\r\n\r\n{}",
            State::Success, 200, "{}");
        row("continue, then a reply",
            "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}", State::Success,
            200, "{}");
        row("continue alone", "HTTP/1.1 100 Continue\r\n\r\n", State::Broken, 0, "");
        row("no content", "HTTP/1.1 204 No Content\r\n\r\n", State::Success, 204, "");
        row("not modified", "HTTP/1.1 304 Not Modified\r\n\r\n", State::HttpFailure, 304, "");
        row("not found", "HTTP/1.1 404 Not Found\r\nContent-Length: 10\r\n\r\n{\"code\":4}",
            State::HttpFailure, 404, "{\"code\":4}");
        row("server error", "HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n", State::HttpFailure, 500, "");
        row("redirect", "HTTP/1.1 302 Found\r\nLocation: /elsewhere\r\nContent-Length: 0\r\n\r\n",
            State::HttpFailure, 302, "");
        row("no HTTP", "220 mail server ready\r\n", State::Broken, 0, "");
        row("claims more than the limit", "HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n{}",
            State::LimitExceeded, 200, "");
        row("claims a negative length", "HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n{}", State::Broken, 0,
            "");
        row("a header of 70 KB",
            "HTTP/1.1 200 OK\r\nX-Huge: " + QByteArray(70000, 'h') + "\r\nContent-Length: 2\r\n\r\n{}",
            State::LimitExceeded, 0, "");
        QByteArray many = "HTTP/1.1 200 OK\r\n";
        for (int i = 0; i < 300; ++i) {
            many += "X-" + QByteArray::number(i) + ": 1\r\n";
        }
        row("300 headers", many + "Content-Length: 2\r\n\r\n{}", State::LimitExceeded, 0, "");
    }
}

void EngineTest::everyReplyTextEndsInItsState()
{
    QFETCH(bool, blocking);
    QFETCH(QByteArray, text);
    QFETCH(int, state);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    MisbehavingServer server(Mode::Raw);
    server.setRaw(text);
    Bench bench;
    const HttpReply reply = bench.ask(request(server.address()), blocking);
    QCOMPARE(int(reply.state), state);
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.body, body);
    QCOMPARE(server.deliveries(), 1);
}

void EngineTest::aKeyThatIsNoAddressSendsNothing_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("blocking");
    const char* const keys[] = {
        "", "user:pw@127.0.0.1:80", "127.0.0.1:80/path", "http://", "ftp://127.0.0.1", "a b", "127.0.0.1:0"};
    for (const char* key : keys) {
        QTest::addRow("'%s', blocking", key) << QString::fromLatin1(key) << true;
        QTest::addRow("'%s', non-blocking", key) << QString::fromLatin1(key) << false;
    }
}

void EngineTest::aKeyThatIsNoAddressSendsNothing()
{
    QFETCH(QString, key);
    QFETCH(bool, blocking);
    Bench bench;
    const HttpReply reply = bench.ask(request(key), blocking);
    QCOMPARE(reply.state, State::InvalidRequest);
    QCOMPARE(reply.status, 0);
}

void EngineTest::whatCannotBeSentIsRefusedBeforeAnythingLeaves_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("placeHolder");
    QTest::addColumn<QString>("header");
    QTest::addColumn<QString>("value");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        const auto row = [&](const char* name, const QString& path, const QString& placeHolder,
                             const QString& header, const QString& value) {
            QTest::addRow("%s, %s", name, way) << blocking << path << placeHolder << header << value;
        };
        const QString path = QStringLiteral("/x/{id}");
        const QString plain = QStringLiteral("1");
        const QString name = QStringLiteral("X-A");
        row("empty path", {}, plain, name, plain);
        row("line end in a placeholder", path, QStringLiteral("1\r\nX: y"), name, plain);
        row("NUL in a placeholder", path, QString(QChar(0)), name, plain);
        row("line end in a header", path, plain, name, QStringLiteral("a\r\nX-B: c"));
        row("line end in a header's name", path, plain, QStringLiteral("X\r\nY"), plain);
        row("colon in a header's name", path, plain, QStringLiteral("X:Y"), plain);
        row("empty header name", path, plain, QString(), plain);
        row("length of the caller's own", path, plain, QStringLiteral("content-Length"), plain);
    }
}

void EngineTest::whatCannotBeSentIsRefusedBeforeAnythingLeaves()
{
    QFETCH(bool, blocking);
    QFETCH(QString, path);
    QFETCH(QString, placeHolder);
    QFETCH(QString, header);
    QFETCH(QString, value);
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.path = path;
    asked.placeHolders.insert(QStringLiteral("id"), placeHolder);
    asked.headers.insert(header, value);
    QCOMPARE(bench.ask(asked, blocking).state, State::InvalidRequest);
    QCOMPARE(server.connections(), 0);
    QCOMPARE(bench.engine.start(asked, [](const HttpReply&) {}), false);
}

void EngineTest::aDaemonRequestDoesNotWaitForNormalTraffic()
{
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    std::atomic<int> settled{0};
    for (int i = 0; i < 100; ++i) {
        bench.engine.start(request(server.address()), [&](const HttpReply&) { ++settled; });
    }
    QVERIFY(server.waitForDeliveries(64));
    server.setMode(Mode::Answer);
    HttpRequest daemon = request(server.address());
    daemon.daemon = true;
    QCOMPARE(bench.ask(daemon, false).state, State::Success);
    QCOMPARE(settled.load(), 0);
    bench.engine.stop();
    QCOMPARE(settled.load(), 100);
}

void EngineTest::aWriteIsNeverSentTwice_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<int>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("multipart");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        QTest::addRow("PUT, %s", way) << blocking << int(HttpMethod::Put) << QByteArray("{}") << false;
        QTest::addRow("PUT without a body, %s", way)
            << blocking << int(HttpMethod::Put) << QByteArray() << false;
        QTest::addRow("large PUT, %s", way)
            << blocking << int(HttpMethod::Put) << QByteArray(1 << 20, 'x') << false;
        QTest::addRow("POST, %s", way) << blocking << int(HttpMethod::Post) << QByteArray("{}") << false;
        QTest::addRow("POST without a body, %s", way)
            << blocking << int(HttpMethod::Post) << QByteArray() << false;
        QTest::addRow("DELETE, %s", way) << blocking << int(HttpMethod::Delete) << QByteArray() << false;
        QTest::addRow("DELETE with a body, %s", way)
            << blocking << int(HttpMethod::Delete) << QByteArray("{}") << false;
        QTest::addRow("multipart PUT, %s", way) << blocking << int(HttpMethod::Put) << QByteArray() << true;
    }
}

void EngineTest::aWriteIsNeverSentTwice()
{
    QFETCH(bool, blocking);
    QFETCH(int, method);
    QFETCH(QByteArray, body);
    QFETCH(bool, multipart);
    MisbehavingServer server(Mode::AnswerOnceThenDrop);
    Bench bench;
    HttpRequest asked = request(server.address(), static_cast<HttpMethod>(method), body);
    asked.multipart = multipart;
    asked.parts.insert(QStringLiteral("a"), QByteArray("bytes"));
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QCOMPARE(bench.ask(asked, blocking).state, State::Broken);
    QCOMPARE(server.deliveries(), 2);
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QCOMPARE(server.deliveries(), 3);
}

void EngineTest::requestsGoOutAsTheyWereMade_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("header");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QByteArray>("verb");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("absent");
    const QString none;
    QTest::newRow("GET") << int(HttpMethod::Get) << QByteArray() << none << none << QByteArray("GET")
                         << QByteArray("\r\nHost: 127.0.0.1") << QByteArray("Content-Length");
    QTest::newRow("GET with a body") << int(HttpMethod::Get) << QByteArray("{\"a\":1}") << none << none
                                     << QByteArray("GET") << QByteArray("\r\nContent-Length: 7\r\n")
                                     << QByteArray("Content-Type");
    QTest::newRow("PUT without a body")
        << int(HttpMethod::Put) << QByteArray() << none << none << QByteArray("PUT")
        << QByteArray("\r\nContent-Length: 0\r\n") << QByteArray("Content-Type");
    QTest::newRow("POST without a body")
        << int(HttpMethod::Post) << QByteArray() << none << none << QByteArray("POST")
        << QByteArray("\r\nContent-Length: 0\r\n") << QByteArray("Content-Type");
    QTest::newRow("raw PUT has no type")
        << int(HttpMethod::Put) << QByteArray("raw") << none << none << QByteArray("PUT")
        << QByteArray("\r\nContent-Length: 3\r\n") << QByteArray("Content-Type");
    QTest::newRow("a header's spelling")
        << int(HttpMethod::Put) << QByteArray("{}") << QStringLiteral("content-Type")
        << QStringLiteral("application/json") << QByteArray("PUT")
        << QByteArray("\r\ncontent-Type: application/json\r\n") << QByteArray("Content-Type");
    QTest::newRow("a header without a value")
        << int(HttpMethod::Get) << QByteArray() << QStringLiteral("X-Empty") << QString() << QByteArray("GET")
        << QByteArray("\r\nX-Empty:\r\n") << QByteArray("Content-Type");
    QTest::newRow("DELETE") << int(HttpMethod::Delete) << QByteArray() << none << none << QByteArray("DELETE")
                            << QByteArray("\r\nHost: ") << QByteArray("Content-Type");
}

void EngineTest::requestsGoOutAsTheyWereMade()
{
    QFETCH(int, method);
    QFETCH(QByteArray, body);
    QFETCH(QString, header);
    QFETCH(QString, value);
    QFETCH(QByteArray, verb);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, absent);
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), static_cast<HttpMethod>(method), body);
    if (!header.isEmpty()) {
        asked.headers.insert(header, value);
    }
    QCOMPARE(bench.ask(asked, true).state, State::Success);
    const auto received = server.received();
    QCOMPARE(received[0].method, verb);
    QCOMPARE(received[0].body, body);
    QVERIFY2(received[0].head.contains(line), received[0].head.constData());
    QVERIFY2(!received[0].head.contains(absent), received[0].head.constData());
    QVERIFY2(!received[0].head.contains("Expect"), received[0].head.constData());
}

void EngineTest::aShapeDoesNotLeakIntoTheNextRequest()
{
    MisbehavingServer server;
    Bench bench;
    HttpRequest multipart = request(server.address(), HttpMethod::Put);
    multipart.multipart = true;
    multipart.parts.insert(QStringLiteral("a"), QStringLiteral("b"));
    HttpRequest typed = request(server.address(), HttpMethod::Put, "{}");
    typed.headers.insert(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
    const HttpRequest plain = request(server.address());
    const HttpRequest erase = request(server.address(), HttpMethod::Delete);
    for (const HttpRequest& asked : {multipart, typed, plain, erase, multipart, plain, typed, erase}) {
        QCOMPARE(bench.ask(asked, true).state, State::Success);
    }
    const auto received = server.received();
    QCOMPARE(server.connections(), 1);
    for (const size_t index : {size_t(2), size_t(5)}) {
        QCOMPARE(received[index].method, QByteArray("GET"));
        QVERIFY(!received[index].headers.contains("content-type"));
        QVERIFY(received[index].body.isEmpty());
    }
    for (const size_t index : {size_t(1), size_t(6)}) {
        QCOMPARE(received[index].method, QByteArray("PUT"));
        QCOMPARE(received[index].headers.value("content-type"), QByteArray("application/json"));
        QCOMPARE(received[index].body, QByteArray("{}"));
    }
    QVERIFY(received[4].headers.value("content-type").startsWith("multipart/form-data; boundary="));
    QCOMPARE(received[3].method, QByteArray("DELETE"));
}

namespace {

/// The part @p name of a form that came: its head from the name on, and its content.
QByteArray partOf(const MisbehavingServer::Received& received, const QByteArray& name)
{
    const QByteArray type = received.headers.value("content-type");
    const QByteArray boundary = "--" + type.mid(type.indexOf('=') + 1);
    const int at = received.body.indexOf("name=\"" + name + "\"");
    const int end = received.body.indexOf("\r\n" + boundary, at);
    return at < 0 ? QByteArray() : received.body.mid(at, end - at);
}

} // namespace

void EngineTest::multipartValuesBecomePartsOfTheirKind()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("pattern.bin"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QByteArray content(200000, 'f');
    file.write(content);
    file.close();

    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    QByteArray bytes("\0\r\n--\xff", 6);
    asked.parts = {{QStringLiteral("binary"), bytes},
                   {QStringLiteral("file"), QUrl::fromLocalFile(path)},
                   {QStringLiteral("json"), QVariantMap{{QStringLiteral("k"), 1}}},
                   {QStringLiteral("number"), 7},
                   {QStringLiteral("text"), QStringLiteral("gr\u00fc\u00df")}};
    // The boundary is the transport's to name.
    asked.headers.insert(QStringLiteral("content-Type"), QStringLiteral("application/json"));
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    const auto received = server.received();
    const QByteArray type = received[0].headers.value("content-type");
    QVERIFY2(type.startsWith("multipart/form-data; boundary="), type.constData());
    const auto part = [&](const QByteArray& name) { return partOf(received[0], name); };
    QVERIFY(part("binary").contains("Content-Type: application/octet-stream"));
    QVERIFY(part("binary").endsWith("\r\n\r\n" + bytes));
    QVERIFY(part("file").startsWith("name=\"file\"; filename=\"pattern.bin\""));
    QVERIFY(part("file").endsWith("\r\n\r\n" + content));
    QVERIFY(part("json").contains("Content-Type: application/json"));
    QVERIFY(part("json").endsWith("\r\n\r\n{\"k\":1}"));
    QVERIFY(part("number").endsWith("\r\n\r\n7"));
    QVERIFY(part("text").contains("Content-Type: text/plain"));
    QVERIFY(part("text").endsWith("\r\n\r\ngr\xc3\xbc\xc3\x9f"));
}

void EngineTest::valuesOfOtherTypesBecomeJsonParts_data()
{
    QTest::addColumn<QVariant>("value");
    const QDateTime time = QDateTime::fromSecsSinceEpoch(1000000000, Qt::UTC);
    const QVariantMap map{{QStringLiteral("k"), QVariantList{1, QStringLiteral("x")}}};
    const QVariant values[] = {
        QVariant(),
        QVariant(QString()), // a null text is a text
        true,
        -7,
        7U,
        QVariant::fromValue(short(-3)),
        QVariant::fromValue(ushort(3)),
        QVariant::fromValue(char(65)),
        QVariant::fromValue(long(5)),
        QVariant::fromValue(ulong(5)),
        qlonglong(-9007199254740991),
        qulonglong(9007199254740991),
        1.5F,
        0.1,
        QVariant::fromValue(nullptr),
        QChar(u'x'),
        QStringList{QStringLiteral("a"), QStringLiteral("b")},
        QVariantList{1, QVariantList{2}, map},
        map,
        QVariantHash{{QStringLiteral("h"), true}},
        QDate(2020, 2, 29),
        QTime(12, 30),
        time,
        QUuid(QStringLiteral("{67c8770b-44f1-410a-ab9a-f9b5446f13ee}")),
        QJsonValue(5),
        QJsonObject{{QStringLiteral("o"), 1}},
        QJsonArray{1, 2},
        QVariant::fromValue(QJsonDocument(QJsonArray{3})),
        QRegularExpression(QStringLiteral("a")),
        QSize(1, 2),
        QPointF(1, 2),
        QVariant::fromValue(QByteArrayList{"a"}),
        QLocale(QLocale::C),
    };
    int row = 0;
    for (const QVariant& value : values) {
        QTest::addRow("%d %s", row++, value.typeName() != nullptr ? value.typeName() : "invalid") << value;
    }
}

void EngineTest::valuesOfOtherTypesBecomeJsonParts()
{
    QFETCH(QVariant, value);
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    asked.parts.insert(QStringLiteral("p"), value);
    QCOMPARE(bench.ask(asked, true).state, State::Success);
    const QByteArray part = partOf(server.received().at(0), "p");
    if (value.userType() == QMetaType::QString) {
        QVERIFY2(part.contains("Content-Type: text/plain") && part.endsWith("\r\n\r\n"), part.constData());
        return;
    }
    QByteArray expected =
        QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}).toJson(QJsonDocument::Compact).mid(1);
    expected.chop(1);
    QVERIFY2(part.contains("Content-Type: application/json"), part.constData());
    QCOMPARE(part.mid(part.indexOf("\r\n\r\n") + 4), expected);
}

void EngineTest::aPartThatIsNoJsonSendsNothing()
{
    QFETCH(bool, blocking);
    QVariant nested;
    for (int i = 0; i < 2000; ++i) {
        nested = QVariantList{nested};
    }
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    asked.parts.insert(QStringLiteral("p"), nested);
    QCOMPARE(bench.ask(asked, blocking).state, State::InvalidRequest);
    QCOMPARE(server.connections(), 0);
}

void EngineTest::aFileThatCannotBeReadIsTold_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<QString>("name");
    for (const bool blocking : {true, false}) {
        for (const char* name : {"absent", "directory", "fifo", "socket", "forbidden"}) {
            QTest::addRow("%s, %s", name, blocking ? "blocking" : "non-blocking")
                << blocking << QString::fromLatin1(name);
        }
    }
}

// One that waits for a writer would never end.
void EngineTest::aFileThatCannotBeReadIsTold()
{
    QFETCH(bool, blocking);
    QFETCH(QString, name);
    if (name == QLatin1String("forbidden") && ::geteuid() == 0) {
        QSKIP("nothing is forbidden to root");
    }
    QTemporaryDir directory;
    const QString path = directory.filePath(name);
    QVERIFY(QDir(directory.path()).mkdir(QStringLiteral("directory")));
    QCOMPARE(::mkfifo(qPrintable(directory.filePath(QStringLiteral("fifo"))), 0600), 0);
    QCOMPARE(::mknod(qPrintable(directory.filePath(QStringLiteral("socket"))), S_IFSOCK | 0600, 0), 0);
    QFile forbidden(directory.filePath(QStringLiteral("forbidden")));
    QVERIFY(forbidden.open(QIODevice::WriteOnly) && forbidden.setPermissions({}));
    QString reason;
    setExchangeObserver([&](const ExchangeRecord& record) { reason = record.reason; });
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    asked.parts.insert(QStringLiteral("file"), QUrl::fromLocalFile(path));
    const HttpReply reply = bench.ask(asked, blocking);
    setExchangeObserver({});
    QCOMPARE(reply.state, State::FileFailure);
    QVERIFY2(reason.contains(path), qPrintable(reason));
    QCOMPARE(server.connections(), 0);
}

void EngineTest::aMissingFilePartSendsNothing()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    MisbehavingServer server;
    Bench bench;
    const QUrl urls[] = {QUrl::fromLocalFile(directory.filePath(QStringLiteral("absent"))),
                         QUrl::fromLocalFile(directory.path()), QUrl(QStringLiteral("http://127.0.0.1/x")),
                         QUrl()};
    for (const QUrl& url : urls) {
        HttpRequest asked = request(server.address(), HttpMethod::Put);
        asked.multipart = true;
        asked.parts.insert(QStringLiteral("file"), url);
        QCOMPARE(bench.ask(asked, blocking).state, State::FileFailure);
    }
    QCOMPARE(server.connections(), 0);
    QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
}

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

} // namespace

void EngineTest::aDownloadAppearsUnderItsName()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    const QByteArray content(300000, 'd');
    MisbehavingServer server(Mode::Answer, content);
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    const HttpReply reply = bench.ask(asked, blocking);
    QCOMPARE(reply.state, State::Success);
    QVERIFY(reply.body.isEmpty());
    QCOMPARE(contentOf(asked.downloadPath), content);
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void EngineTest::aFailedDownloadLeavesTheOldFile_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("state");
    QTest::newRow("not found") << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\n{}")
                               << int(State::HttpFailure);
    QTest::newRow("cut") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nabc")
                         << int(State::Broken);
    QTest::newRow("close-delimited") << QByteArray("HTTP/1.1 200 OK\r\n\r\n{}") << int(State::Broken);
    QTest::newRow("too large") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 3000000\r\n\r\n")
                               << int(State::LimitExceeded);
}

void EngineTest::aFailedDownloadLeavesTheOldFile()
{
    QFETCH(QByteArray, text);
    QFETCH(int, state);
    QTemporaryDir directory;
    MisbehavingServer server(Mode::Raw);
    server.setRaw(text);
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    QCOMPARE(int(bench.ask(asked, true).state), state);
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("old"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void EngineTest::aDownloadThatCannotBeWrittenFails()
{
    QTemporaryDir directory;
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address());
    const QString pipe = directory.filePath(QStringLiteral("pipe"));
    QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
    const QString link = directory.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(pipe, link));
    for (const QString& path :
         {directory.filePath(QStringLiteral("absent/firmware.bin")), directory.path(), pipe, link}) {
        asked.downloadPath = path;
        QCOMPARE(bench.ask(asked, true).state, State::FileFailure);
        QCOMPARE(bench.ask(asked, false).state, State::FileFailure);
    }
    QCOMPARE(server.connections(), 0);
    QVERIFY(!QFileInfo(pipe).isFile() && QFileInfo(link).isSymLink());
}

void EngineTest::aFullDiskFailsTheDownload_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("room");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        QTest::addRow("within a large file, %s", way) << blocking << (1 << 20) << 100000;
        QTest::addRow("at the end of a large file, %s", way) << blocking << 300000 << 299999;
        QTest::addRow("a file that a buffer holds, %s", way) << blocking << 5000 << 100;
        QTest::addRow("no room at all, %s", way) << blocking << 5000 << 0;
    }
}

void EngineTest::aFullDiskFailsTheDownload()
{
    QFETCH(bool, blocking);
    QFETCH(int, size);
    QFETCH(int, room);
    QTemporaryDir directory;
    MisbehavingServer server(Mode::Answer, QByteArray(size, 'd'));
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    QString reason;
    setExchangeObserver([&](const ExchangeRecord& record) { reason = record.reason; });
    // A bound on the size of files stands for the disk: writing beyond it fails.
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit small = before;
    small.rlim_cur = static_cast<rlim_t>(room);
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
    const HttpReply reply = bench.ask(asked, blocking);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    setExchangeObserver({});
    QCOMPARE(reply.state, State::FileFailure);
    QVERIFY2(reason.startsWith(QLatin1String("the destination cannot be written: ")) &&
                 reason.contains(QLatin1String("too large")),
             qPrintable(reason));
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("old"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void EngineTest::aDiskThatRefusesToKeepADownloadFailsIt()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    MisbehavingServer server(Mode::Answer, "new");
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    synchronizingFails = true;
    const HttpReply reply = bench.ask(asked, blocking);
    synchronizingFails = false;
    QCOMPARE(reply.state, State::FileFailure);
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("old"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("new"));
}

void EngineTest::theLoginGoesOutAsItsKindDemands_data()
{
    QTest::addColumn<int>("login");
    QTest::addColumn<int>("method");
    QTest::addColumn<QByteArray>("start");
    QTest::newRow("none") << int(DeviceEndpoint::Login::None) << int(HttpMethod::Get) << QByteArray();
    QTest::newRow("basic") << int(DeviceEndpoint::Login::Basic) << int(HttpMethod::Get)
                           << QByteArray("Basic YWRtaW46c2VjcmV0");
    QTest::newRow("bearer") << int(DeviceEndpoint::Login::Bearer) << int(HttpMethod::Get)
                            << QByteArray("Bearer secret");
    QTest::newRow("digest") << int(DeviceEndpoint::Login::Digest) << int(HttpMethod::Get)
                            << QByteArray("Digest username=\"admin\"");
    QTest::newRow("digest, with a body") << int(DeviceEndpoint::Login::Digest) << int(HttpMethod::Put)
                                         << QByteArray("Digest username=\"admin\"");
}

void EngineTest::theLoginGoesOutAsItsKindDemands()
{
    QFETCH(int, login);
    QFETCH(int, method);
    QFETCH(QByteArray, start);
    MisbehavingServer server(start.startsWith("Digest") ? Mode::Digest : Mode::Answer);
    Bench bench;
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    endpoint.login = static_cast<DeviceEndpoint::Login>(login);
    endpoint.user = QStringLiteral("admin");
    endpoint.secret = QStringLiteral("secret");
    bench.add(QStringLiteral("wall"), endpoint);
    const QByteArray body = method == int(HttpMethod::Put) ? QByteArray("{\"b\":2}") : QByteArray();
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(
            bench.ask(request(QStringLiteral("wall"), static_cast<HttpMethod>(method), body), true).state,
            State::Success);
        const auto received = server.received();
        QCOMPARE(received.back().headers.value("authorization").left(start.size()), start);
        QCOMPARE(received.back().body, body);
    }
}

void EngineTest::proxyVariablesOfTheEnvironmentAreIgnored()
{
    const QByteArray nowhere = "http://127.0.0.1:" + QByteArray::number(closedPort());
    qputenv("http_proxy", nowhere);
    qputenv("all_proxy", nowhere);
    MisbehavingServer server;
    Bench bench;
    const HttpReply reply = bench.ask(request(server.address()), true);
    qunsetenv("http_proxy");
    qunsetenv("all_proxy");
    QCOMPARE(reply.state, State::Success);
}

void EngineTest::theLimitHoldsWhileARequestWaitsForAConnection()
{
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    constexpr int count = 3000;
    std::atomic<int> timedOut{0};
    std::atomic<int> settled{0};
    HttpRequest asked = request(server.address(), HttpMethod::Put, "{}");
    asked.expectedTime = 700;
    for (int i = 0; i < count; ++i) {
        QVERIFY(bench.engine.start(asked, [&](const HttpReply& reply) {
            timedOut += reply.state == State::TimedOut ? 1 : 0;
            ++settled;
        }));
    }
    // Counted on this side: a server may see late that a connection has gone.
    std::size_t mostOpen = 0;
    const auto allSettled = [&] {
        mostOpen = std::max(mostOpen, connectionsTo(server.port()).size());
        return settled == count;
    };
    QTRY_VERIFY_WITH_TIMEOUT(allSettled(), 30000);
    QCOMPARE(timedOut.load(), count);
    QVERIFY2(mostOpen > 0 && mostOpen <= 128, qPrintable(QString::number(mostOpen)));
}

void EngineTest::programsThatAreStartedInheritNoConnection()
{
    QFETCH(bool, blocking);
    MisbehavingServer server;
    Bench bench;
    QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
    const std::vector<int> kept = connectionsTo(server.port());
    QCOMPARE(kept.size(), std::size_t(1));
    QVERIFY((::fcntl(kept.front(), F_GETFD) & FD_CLOEXEC) != 0);
}

void EngineTest::aStalledDeviceDoesNotHoldUpAnother()
{
    MisbehavingServer stalled(Mode::Stall);
    MisbehavingServer well;
    Bench bench;
    std::atomic<int> settled{0};
    for (int i = 0; i < 500; ++i) {
        bench.engine.start(request(stalled.address()), [&](const HttpReply&) { ++settled; });
    }
    std::thread blocked([&] { bench.engine.exchange(request(stalled.address())); });
    QVERIFY(stalled.waitForDeliveries(17));
    QCOMPARE(bench.ask(request(well.address()), false).state, State::Success);
    QCOMPARE(bench.ask(request(well.address()), true).state, State::Success);
    QCOMPARE(settled.load(), 0);
    bench.engine.stop();
    blocked.join();
}

void EngineTest::removingADeviceAbortsWhatIsInFlight()
{
    QFETCH(bool, blocking);
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    bench.add(QStringLiteral("wall"), endpoint);
    HttpReply reply;
    std::thread asking([&] { reply = bench.ask(request(QStringLiteral("wall")), blocking); });
    const bool delivered = server.waitForDeliveries(1);
    bench.engine.abort(QStringLiteral("wall"));
    asking.join();
    QVERIFY(delivered);
    QCOMPARE(reply.state, State::Aborted);
}

void EngineTest::stoppingTheEngineAbortsWhatIsInFlight()
{
    QFETCH(bool, blocking);
    MisbehavingServer server(Mode::Stall);
    Bench bench;
    HttpReply reply;
    std::thread asking([&] { reply = bench.ask(request(server.address()), blocking); });
    const bool delivered = server.waitForDeliveries(1);
    bench.engine.stop();
    asking.join();
    QVERIFY(delivered);
    QCOMPARE(reply.state, State::Aborted);
}

void EngineTest::aStoppedEngineSendsNothing()
{
    QFETCH(bool, blocking);
    MisbehavingServer server;
    Bench bench;
    bench.engine.stop();
    QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Aborted);
    QCOMPARE(server.connections(), 0);
}

void EngineTest::noLimitStandsForTenSeconds()
{
    HttpRequest asked;
    for (const int limit : {0, -1}) {
        asked.expectedTime = limit;
        QCOMPARE(timeLimit(asked).count(), 10000);
    }
    asked.expectedTime = 3000;
    QCOMPARE(timeLimit(asked).count(), 3000);
}

namespace {

std::mutex logMutex;
QStringList logLines;

void collectLog(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtWarningMsg && qstrncmp(context.category, "tessel.", 7) == 0) {
        const std::lock_guard<std::mutex> lock(logMutex);
        logLines.append(text);
    }
}

} // namespace

void EngineTest::eachFailureIsOneLineWithoutSecrets()
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

    QLoggingCategory::setFilterRules(QString());
    const QtMessageHandler before = qInstallMessageHandler(collectLog);
    logLines.clear();
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
    qInstallMessageHandler(before);
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));

    QCOMPARE(logLines.size(), 6);
    for (int i = 0; i < 6; i += 3) {
        QVERIFY2(logLines[i].startsWith(QLatin1String("PUT wall /api/v1/x: ")), qPrintable(logLines[i]));
        QVERIFY2(logLines[i].contains(QLatin1String("500")), qPrintable(logLines[i]));
        QVERIFY2(logLines[i + 1].startsWith(QLatin1String("GET ***@host /api/v1/x: ")),
                 qPrintable(logLines[i + 1]));
        QVERIFY2(logLines[i + 2].contains(QLatin1String("there is no path")), qPrintable(logLines[i + 2]));
    }
    QVERIFY(!logLines.join(QLatin1Char('\n')).contains(QLatin1String("hunter2")));
}

void EngineTest::theObserverLearnsWhatHappened()
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

/// Keeps what is told while it exists.
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

void EngineTest::bytesUnderWayAreTold_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<bool>("multipart");
    QTest::newRow("body, blocking") << true << false;
    QTest::newRow("body, non-blocking") << false << false;
    QTest::newRow("form, blocking") << true << true;
    QTest::newRow("form, non-blocking") << false << true;
}

void EngineTest::bytesUnderWayAreTold()
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

void EngineTest::aDownloadIsToldWhileItComes()
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

void EngineTest::anUnknownSizeIsToldAsSuch()
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

void EngineTest::progressIsToldOnlyWhileAnObserverIsSet()
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
    // The handle that told nothing meanwhile tells again.
    const ProgressLog again;
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QVERIFY(!again.told().empty());
    QCOMPARE(server.connections(), 1);
}

QTEST_GUILESS_MAIN(EngineTest)
#include "tst_engine.moc"
