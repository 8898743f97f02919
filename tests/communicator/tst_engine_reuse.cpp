// SPDX-License-Identifier: MIT
#include "communicator/requestlimits.h"
#include "enginebench.h"

#include <logcollector.h>

#include <QDir>
#include <QTemporaryDir>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

/// Waits until the one connection that the client keeps to @p port can be read or has ended.
bool connectionSpoke(quint16 port)
{
    for (const QString& name : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const int descriptor = name.toInt();
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port) {
            pollfd watched{descriptor, POLLIN, 0};
            return ::poll(&watched, 1, 10000) == 1;
        }
    }
    return false;
}

QByteArray reply(const char* status, const QByteArray& body)
{
    return QByteArray("HTTP/1.1 ") + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n\r\n" + body;
}

struct Verb
{
    const char* name;
    HttpMethod method;
    QByteArray body;
    bool multipart;
};

const std::vector<Verb> verbs{{"GET", HttpMethod::Get, {}, false},
                              {"PUT", HttpMethod::Put, "{}", false},
                              {"PUT without a body", HttpMethod::Put, {}, false},
                              {"large PUT", HttpMethod::Put, QByteArray(1 << 20, 'x'), false},
                              {"POST", HttpMethod::Post, "{}", false},
                              {"DELETE", HttpMethod::Delete, {}, false},
                              {"form", HttpMethod::Put, {}, true}};

HttpRequest requestOf(const Verb& verb, const QString& deviceKey)
{
    HttpRequest asked = request(deviceKey, verb.method, verb.body);
    asked.multipart = verb.multipart;
    asked.parts.insert(QStringLiteral("a"), QByteArray("bytes"));
    return asked;
}

void eachVerb(const std::vector<std::pair<const char*, QByteArray>>& kinds)
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<int>("verb");
    QTest::addColumn<QByteArray>("text");
    for (const bool blocking : {true, false}) {
        for (std::size_t verb = 0; verb < verbs.size(); ++verb) {
            for (const auto& [name, text] : kinds) {
                QTest::addRow("%s, %s, %s", name, verbs[verb].name, blocking ? "blocking" : "non-blocking")
                    << blocking << int(verb) << text;
            }
        }
    }
}

DeviceEndpoint digestEndpoint(const QString& address)
{
    DeviceEndpoint endpoint;
    endpoint.address = address;
    endpoint.login = DeviceEndpoint::Login::Digest;
    endpoint.user = QStringLiteral("admin");
    endpoint.secret = QStringLiteral("secret");
    return endpoint;
}

} // namespace

class TestEngineReuse : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void whatCameOnAnIdleConnectionIsNoReply_data()
    {
        eachVerb({{"a whole reply", reply("200 OK", "{\"code\":0,\"data\":{\"b\":2}}")},
                  {"408", reply("408 Request Timeout", "")},
                  {"a byte", "x"},
                  {"a late body", "{\"code\":0}"}});
    }
    void whatCameOnAnIdleConnectionIsNoReply()
    {
        QFETCH(bool, blocking);
        QFETCH(int, verb);
        QFETCH(QByteArray, text);
        MisbehavingServer server;
        Bench bench;
        const HttpRequest asked = requestOf(verbs[std::size_t(verb)], server.address());
        QCOMPARE(bench.ask(asked, blocking).state, State::Success);
        server.broadcast(text);
        QVERIFY(connectionSpoke(server.port()));
        const HttpReply second = bench.ask(asked, blocking);
        QCOMPARE(second.state, State::Success);
        QCOMPARE(second.body, goodBody);
        QCOMPARE(server.deliveries(), 2);
        QCOMPARE(server.connections(), 2);
    }

    void aConnectionThatEndedWhileIdleFailsNothing_data() { eachVerb({{"closed", {}}}); }
    void aConnectionThatEndedWhileIdleFailsNothing()
    {
        QFETCH(bool, blocking);
        QFETCH(int, verb);
        MisbehavingServer server;
        Bench bench;
        const HttpRequest asked = requestOf(verbs[std::size_t(verb)], server.address());
        for (int i = 1; i <= 12; ++i) { // some count their attempts
            QCOMPARE(bench.ask(asked, blocking).state, State::Success);
            QCOMPARE(server.deliveries(), i);
            server.dropConnections();
            QVERIFY(connectionSpoke(server.port()));
        }
    }

    void bytesBehindAReplyEndItsConnection_data() { bothWays(); }
    void bytesBehindAReplyEndItsConnection()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw(reply("200 OK", "{}") + reply("200 OK", "{\"b\":2}"));
        Bench bench;
        for (int i = 1; i <= 3; ++i) {
            const HttpReply answered = bench.ask(request(server.address(), HttpMethod::Put, "{}"), blocking);
            QCOMPARE(answered.state, State::Success);
            QCOMPARE(answered.body, QByteArray("{}"));
            QCOMPARE(server.connections(), i);
        }
    }

    void aDigestLoginSendsAWriteToADeviceThatAsksForNoneOnce_data() { eachVerb({{"asks for none", {}}}); }
    void aDigestLoginSendsAWriteToADeviceThatAsksForNoneOnce()
    {
        QFETCH(bool, blocking);
        QFETCH(int, verb);
        MisbehavingServer server;
        Bench bench;
        bench.add(QStringLiteral("wall"), digestEndpoint(server.address()));
        const Verb& wanted = verbs[std::size_t(verb)];
        QCOMPARE(bench.ask(requestOf(wanted, QStringLiteral("wall")), blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 1);
        QCOMPARE(server.received()[0].body.isEmpty(), wanted.body.isEmpty() && !wanted.multipart);
    }

    void aDigestLoginNeverSendsAnEmptyBodyInItsPlace_data() { eachVerb({{"asks for a login", {}}}); }
    void aDigestLoginNeverSendsAnEmptyBodyInItsPlace()
    {
        QFETCH(bool, blocking);
        QFETCH(int, verb);
        MisbehavingServer server(Mode::Digest);
        Bench bench;
        bench.add(QStringLiteral("wall"), digestEndpoint(server.address()));
        const Verb& wanted = verbs[std::size_t(verb)];
        const HttpRequest asked = requestOf(wanted, QStringLiteral("wall"));
        QCOMPARE(bench.ask(asked, blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 2);
        for (const MisbehavingServer::Received& received : server.received()) {
            QCOMPARE(received.body.isEmpty(), wanted.body.isEmpty() && !wanted.multipart);
        }
        QVERIFY(!server.received()[0].headers.contains("authorization"));
        QVERIFY(server.received()[1].headers.contains("authorization"));
        // The next one carries the answer from the start.
        QCOMPARE(bench.ask(asked, blocking).state, State::Success);
        QCOMPARE(server.deliveries(), 3);
    }

    void challengesAreBounded_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<QByteArray>("challenge");
        QTest::addColumn<int>("deliveries");
        for (const bool blocking : {true, false}) {
            const char* const way = blocking ? "blocking" : "non-blocking";
            QTest::addRow("stale for ever, %s", way)
                << blocking << QByteArray("Digest realm=r, nonce=n, qop=auth, stale=true") << 3;
            QTest::addRow("refused, %s", way)
                << blocking << QByteArray("Digest realm=r, nonce=n, qop=auth") << 2;
            QTest::addRow("another scheme, %s", way) << blocking << QByteArray("Basic realm=r") << 1;
        }
    }
    void challengesAreBounded()
    {
        QFETCH(bool, blocking);
        QFETCH(QByteArray, challenge);
        QFETCH(int, deliveries);
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 401 Who\r\nWWW-Authenticate: " + challenge +
                      "\r\nContent-Length: 2\r\n\r\n{}");
        Bench bench;
        bench.add(QStringLiteral("wall"), digestEndpoint(server.address()));
        const HttpReply answered =
            bench.ask(request(QStringLiteral("wall"), HttpMethod::Put, "{\"a\":1}"), blocking);
        QCOMPARE(answered.state, State::HttpFailure);
        QCOMPARE(answered.status, 401);
        QCOMPARE(server.deliveries(), deliveries);
        for (const MisbehavingServer::Received& received : server.received()) {
            QCOMPARE(received.body, QByteArray("{\"a\":1}"));
        }
    }

    void aWrongPasswordIsTriedOnceThoughEachChallengeIsNew_data() { bothWays(); }
    void aWrongPasswordIsTriedOnceThoughEachChallengeIsNew()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Scripted);
        for (int i = 0; i < 4; ++i) {
            server.addScript({"HTTP/1.1 401 Who\r\nWWW-Authenticate: Digest realm=r, nonce=n" +
                              QByteArray::number(i) +
                              ", qop=auth\r\nConnection: close\r\nContent-Length: 2\r\n\r\n{}"});
        }
        Bench bench;
        bench.add(QStringLiteral("wall"), digestEndpoint(server.address()));
        const HttpReply answered =
            bench.ask(request(QStringLiteral("wall"), HttpMethod::Put, "{\"a\":1}"), blocking);
        QCOMPARE(answered.status, 401);
        QCOMPARE(server.deliveries(), 2);
    }

    void aConnectionThatTheCallerWantsClosedIsNotKept_data() { bothWays(); }
    void aConnectionThatTheCallerWantsClosedIsNotKept()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        Bench bench;
        HttpRequest asked = request(server.address(), HttpMethod::Put, "{}");
        asked.headers.insert(QStringLiteral("connection"), QStringLiteral("Close"));
        for (int i = 1; i <= 3; ++i) {
            QCOMPARE(bench.ask(asked, blocking).state, State::Success);
            QCOMPARE(server.connections(), i);
        }
    }

    void aReplyWhoseEndCannotBeTrustedReplacesNoFile_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<QByteArray>("text");
        for (const bool blocking : {true, false}) {
            const char* const way = blocking ? "blocking" : "non-blocking";
            const auto row = [&](const char* name, const QByteArray& text) {
                QTest::addRow("%s, %s", name, way) << blocking << text;
            };
            row("a part",
                "HTTP/1.1 206 Partial\r\nContent-Range: bytes 0-1/9\r\nContent-Length: 2\r\n\r\n{}");
            row("two lengths", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\nContent-Length: 2\r\n\r\n{}");
            row("a length and chunks", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nTransfer-Encoding: "
                                       "chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n");
            row("a coding that is not undone", "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n{}");
            row("a length beyond 2^63", "HTTP/1.1 200 OK\r\nContent-Length: 9223372036854775810\r\n\r\n{}");
            row("a status line among the headers",
                "HTTP/1.1 500 No\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}");
            row("a status line in the trailer", "HTTP/1.1 500 No\r\nTransfer-Encoding: "
                                                "chunked\r\n\r\n2\r\n{}\r\n0\r\nHTTP/1.1 200 OK\r\n\r\n");
        }
    }
    void aReplyWhoseEndCannotBeTrustedReplacesNoFile()
    {
        QFETCH(bool, blocking);
        QFETCH(QByteArray, text);
        MisbehavingServer server(Mode::Raw);
        server.setRaw(text);
        Bench bench;
        HttpRequest asked = request(server.address());
        QVERIFY(bench.ask(asked, blocking).state != State::Success);
        QTemporaryDir directory;
        asked.downloadPath = directory.filePath(QStringLiteral("old.bin"));
        QFile old(asked.downloadPath);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        QVERIFY(bench.ask(asked, blocking).state != State::Success);
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("old"));
    }

    void silentDevicesLeaveRoomForOthers()
    {
        std::vector<std::unique_ptr<MisbehavingServer>> silent;
        MisbehavingServer healthy;
        Bench bench;
        std::atomic<int> settled{0};
        for (int device = 0; device < 12; ++device) {
            silent.push_back(std::make_unique<MisbehavingServer>(Mode::Stall));
            for (int i = 0; i < 64; ++i) {
                HttpRequest asked = request(silent.back()->address());
                asked.expectedTime = 60000;
                bench.engine.start(asked, [&settled](const HttpReply&) { ++settled; });
            }
        }
        for (int i = 0; i < 10; ++i) {
            QCOMPARE(bench.ask(request(healthy.address()), false).state, State::Success);
        }
        QCOMPARE(settled.load(), 0);
        bench.engine.stop();
        QCOMPARE(settled.load(), 12 * 64);
    }

    void theCommonLimitIsThatOfTheApplicationAndTold_data()
    {
        QTest::addColumn<bool>("daemon");
        QTest::newRow("normal") << false;
        QTest::newRow("daemon") << true;
    }
    void theCommonLimitIsThatOfTheApplicationAndTold()
    {
        QFETCH(bool, daemon);
        const RequestLimits before = requestLimits();
        QVERIFY(before.normal >= 16 && before.daemon >= 16);
        RequestLimits limits{40, 40};
        (daemon ? limits.daemon : limits.normal) = 4;
        setRequestLimits(limits);
        const auto restore = qScopeGuard([] { setRequestLimits({}); });
        QCOMPARE(requestLimits().normal, limits.normal);
        QCOMPARE(requestLimits().daemon, limits.daemon);
        const LogCollector log;
        std::vector<std::unique_ptr<MisbehavingServer>> silent;
        MisbehavingServer healthy;
        Bench bench;
        std::atomic<int> settled{0};
        const auto begin = [&](const MisbehavingServer& server) {
            HttpRequest asked = request(server.address());
            asked.expectedTime = 60000;
            asked.daemon = daemon;
            bench.engine.start(asked, [&settled](const HttpReply&) { ++settled; });
        };
        // Half of what is left for each, and one in any case.
        for (int device = 0; device < 3; ++device) {
            silent.push_back(std::make_unique<MisbehavingServer>(Mode::Stall));
            for (int i = 0; i < 8; ++i) {
                begin(*silent.back());
            }
        }
        HttpRequest asked = request(healthy.address());
        asked.daemon = daemon;
        QCOMPARE(bench.ask(asked, false).state, State::Success);
        int connections = 0;
        for (const auto& server : silent) {
            QVERIFY(server->waitForDeliveries(1));
            connections += server->connections();
        }
        QVERIFY2(connections >= 3 && connections <= 4, qPrintable(QString::number(connections)));
        const QString told =
            QStringLiteral("tessel.http.warning: requests wait for others: 2 are under way, and "
                           "the limit for all devices together is 4; setRequestLimits() changes "
                           "it");
        QCOMPARE(log.lines().filter(QStringLiteral(".warning: ")), QStringList(told));

        // A higher limit holds for what begins from then on.
        setRequestLimits({40, 40});
        begin(*silent[0]);
        QVERIFY(silent[0]->waitForDeliveries(8));
        QCOMPARE(settled.load(), 0);
        bench.engine.stop();
        QCOMPARE(settled.load(), 3 * 8 + 1);
        setRequestLimits({-1, -1});
        QCOMPARE(requestLimits().normal, before.normal);
        QCOMPARE(requestLimits().daemon, before.daemon);
    }

    void anExchangeThatBeginsAsItsDeviceIsRemovedIsAborted()
    {
        MisbehavingServer server;
        DeviceRegistry registry;
        DeviceEndpoint endpoint;
        endpoint.address = server.address();
        registry.add(QStringLiteral("wall"), endpoint);
        const std::shared_ptr<const Device> device = registry.find(QStringLiteral("wall"));
        QVERIFY(registry.remove(QStringLiteral("wall")));
        ConnectionPool pool(smallLimits());
        const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, "{}");
        QCOMPARE(pool.exchange(asked, device, std::chrono::steady_clock::now()).state, State::Aborted);
        QCOMPARE(server.deliveries(), 0);
    }
};

QTEST_GUILESS_MAIN(TestEngineReuse)
#include "tst_engine_reuse.moc"
