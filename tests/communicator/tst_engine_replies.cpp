// SPDX-License-Identifier: MIT
#include "communicator/http/timelimit.h"
#include "enginebench.h"

#include <closedport.h>

Q_DECLARE_METATYPE(Mode)

class TestEngineReplies : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

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
        const ClosedPort closed;
        Bench bench;
        const HttpReply reply = bench.ask(request(closed.address()), blocking);
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

    void noLimitStandsForTenSeconds();
    void everyFaultEndsInItsState_data();
    void everyFaultEndsInItsState();
    void everyReplyTextEndsInItsState_data();
    void everyReplyTextEndsInItsState();
};

void TestEngineReplies::everyFaultEndsInItsState_data()
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

void TestEngineReplies::everyFaultEndsInItsState()
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

void TestEngineReplies::everyReplyTextEndsInItsState_data()
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

void TestEngineReplies::everyReplyTextEndsInItsState()
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

void TestEngineReplies::noLimitStandsForTenSeconds()
{
    HttpRequest asked;
    for (const int limit : {0, -1}) {
        asked.expectedTime = limit;
        QCOMPARE(timeLimit(asked).count(), 10000);
    }
    asked.expectedTime = 3000;
    QCOMPARE(timeLimit(asked).count(), 3000);
}

QTEST_GUILESS_MAIN(TestEngineReplies)
#include "tst_engine_replies.moc"
