// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "enginebench.h"

class TestEngineRequests : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void aKeyThatIsNoAddressSendsNothing_data();
    void aKeyThatIsNoAddressSendsNothing();
    void whatCannotBeSentIsRefusedBeforeAnythingLeaves_data();
    void whatCannotBeSentIsRefusedBeforeAnythingLeaves();
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
    void theLoginGoesOutAsItsKindDemands_data();
    void theLoginGoesOutAsItsKindDemands();
};

void TestEngineRequests::aKeyThatIsNoAddressSendsNothing_data()
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

void TestEngineRequests::aKeyThatIsNoAddressSendsNothing()
{
    QFETCH(QString, key);
    QFETCH(bool, blocking);
    Bench bench;
    QString reason;
    const ObserverHandle observer =
        addExchangeObserver([&reason](const ExchangeRecord& record) { reason = record.reason; });
    const HttpReply reply = bench.ask(request(key), blocking);
    QCOMPARE(reply.state, State::InvalidRequest);
    QCOMPARE(reply.status, 0);
    QCOMPARE(reason, QStringLiteral("the device key is neither known nor an address such as host:port"));
}

void TestEngineRequests::whatCannotBeSentIsRefusedBeforeAnythingLeaves_data()
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

void TestEngineRequests::whatCannotBeSentIsRefusedBeforeAnythingLeaves()
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

void TestEngineRequests::requestsGoOutAsTheyWereMade_data()
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

void TestEngineRequests::requestsGoOutAsTheyWereMade()
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

void TestEngineRequests::aShapeDoesNotLeakIntoTheNextRequest()
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

void TestEngineRequests::theLoginGoesOutAsItsKindDemands_data()
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

void TestEngineRequests::theLoginGoesOutAsItsKindDemands()
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

QTEST_GUILESS_MAIN(TestEngineRequests)
#include "tst_engine_requests.moc"
