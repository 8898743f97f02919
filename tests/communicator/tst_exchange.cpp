// SPDX-License-Identifier: MIT
#include "enginebench.h"

#include "communicator/exchangeobserver.h"
#include "communicator/http/exchange.h"
#include "communicator/http/requesthead.h"
#include "socketends.h"

#include <QTemporaryDir>
#include <QUrl>

using Step = Exchange::Step;
using Status = Connection::Status;

namespace {

std::shared_ptr<const Device> device(bool digest = false)
{
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("wall.test");
    if (digest) {
        endpoint.login = DeviceEndpoint::Login::Digest;
        endpoint.user = QStringLiteral("admin");
        endpoint.secret = QStringLiteral("secret");
    }
    DeviceRegistry registry;
    registry.add(QStringLiteral("wall"), endpoint);
    return registry.find(QStringLiteral("wall"));
}

QByteArray headOf(const char* verb, const QByteArray& rest = {})
{
    return QByteArray(verb) + " /api/v1/x HTTP/1.1\r\nHost: wall.test\r\nAccept: */*\r\n" + rest + "\r\n";
}

const QByteArray goodReply = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}";
const QByteArray challenge = "HTTP/1.1 401 Who\r\nWWW-Authenticate: Digest realm=r, nonce=n\r\n";

/// An exchange with the record of its end and its progress reports.
class Watched
{
public:
    Watched()
    {
        setExchangeObserver([this](const ExchangeRecord& told) {
            record = told;
            ++records;
        });
    }
    ~Watched()
    {
        setExchangeObserver({});
        setProgressObserver({});
    }
    Step feed(const QByteArray& text, bool isReused = false)
    {
        return exchange.received({Status::Moved, std::size_t(text.size())}, text.constData(), isReused);
    }
    Step lose(Status how = Status::Closed, bool isReused = false)
    {
        return exchange.received({how, 0}, nullptr, isReused);
    }
    State::HttpSimpleState prepare(const HttpRequest& asked, bool digest = false)
    {
        return exchange.prepare(asked, device(digest), std::chrono::steady_clock::now());
    }

    /// Performs @p asked on @p connection. @return the first @p size bytes of the request.
    QByteArray heard(const HttpRequest& asked, const std::shared_ptr<const Device>& to,
                     Connection& connection, const SocketEnds& ends, int size)
    {
        exchange.prepare(asked, to, std::chrono::steady_clock::now());
        exchange.send(connection);
        const QByteArray request = ends.hear(size);
        feed(goodReply);
        exchange.finish();
        return request;
    }

    Exchange exchange{smallLimits()};
    ExchangeRecord record;
    int records = 0;
};

} // namespace

Q_DECLARE_METATYPE(HttpRequest)

class TestExchange : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void aRequestAndItsReply_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("sent");
        const QByteArray none;
        QTest::newRow("GET") << int(HttpMethod::Get) << none << headOf("GET");
        QTest::newRow("GET with a body")
            << int(HttpMethod::Get) << QByteArray("{}") << headOf("GET", "Content-Length: 2\r\n") + "{}";
        QTest::newRow("PUT") << int(HttpMethod::Put) << QByteArray("{}")
                             << headOf("PUT", "Content-Length: 2\r\n") + "{}";
        QTest::newRow("PUT without a body")
            << int(HttpMethod::Put) << none << headOf("PUT", "Content-Length: 0\r\n");
        QTest::newRow("POST without a body")
            << int(HttpMethod::Post) << none << headOf("POST", "Content-Length: 0\r\n");
        QTest::newRow("DELETE") << int(HttpMethod::Delete) << none << headOf("DELETE");
    }
    void aRequestAndItsReply()
    {
        QFETCH(int, method);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, sent);
        const SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"), static_cast<HttpMethod>(method), body);
        for (int i = 1; i <= 2; ++i) {
            QCOMPARE(watched.prepare(asked), State::Success);
            QCOMPARE(watched.exchange.device()->key, QStringLiteral("wall"));
            QVERIFY(!watched.exchange.mayReceive());
            QVERIFY(!watched.exchange.keepsConnection());
            QCOMPARE(watched.exchange.send(connection), Step::GoOn);
            QVERIFY(watched.exchange.isSent());
            QVERIFY(watched.exchange.mayReceive());
            QCOMPARE(ends.held(), 0);
            QCOMPARE(ends.hear(sent.size()), sent);
            QCOMPARE(watched.lose(Status::Waiting), Step::GoOn);
            QCOMPARE(watched.feed(goodReply.left(10)), Step::GoOn);
            QVERIFY(!watched.exchange.keepsConnection());
            QCOMPARE(watched.feed(goodReply.mid(10)), Step::Ended);
            QVERIFY(watched.exchange.keepsConnection());
            const HttpReply reply = watched.exchange.finish();
            QCOMPARE(reply.state, State::Success);
            QCOMPARE(reply.body, QByteArray("{}"));
            QVERIFY(!watched.exchange.device());
            QCOMPARE(watched.records, i);
            QCOMPARE(watched.record.bytesSent, qint64(body.size()));
            QCOMPARE(watched.record.bytesReceived, qint64(2));
            QCOMPARE(watched.record.path, QByteArray("/api/v1/x"));
            QCOMPARE(watched.record.reply, QByteArray("{}"));
            QCOMPARE(watched.record.status, 200);
            QCOMPARE(watched.record.reason, QString());
        }
    }

    void theHeadOfOneReadIsNoOthers_data()
    {
        QTest::addColumn<HttpRequest>("other");
        QTest::addColumn<QByteArray>("sent");
        HttpRequest other = request(QStringLiteral("wall"), HttpMethod::Get);
        QTest::newRow("the same") << other << headOf("GET");
        other.path = QStringLiteral("/api/v1/y");
        QTest::newRow("another path") << other << headOf("GET").replace("v1/x", "v1/y");
        other = request(QStringLiteral("wall"), HttpMethod::Get);
        other.headers = {{QStringLiteral("Seven"), QStringLiteral("7")}};
        QTest::newRow("a header") << other << headOf("GET", "Seven: 7\r\n");
        other.headers.clear();
        other.parameters = {{QStringLiteral("p"), QStringLiteral("7")}};
        QTest::newRow("a parameter") << other << headOf("GET").replace("v1/x", "v1/x?p=7");
        other.parameters.clear();
        other.body = "{}";
        QTest::newRow("a body") << other << headOf("GET", "Content-Length: 2\r\n") + "{}";
        other.body.clear();
        other.method = HttpMethod::Delete;
        QTest::newRow("another verb") << other << headOf("DELETE");
    }
    void theHeadOfOneReadIsNoOthers()
    {
        QFETCH(HttpRequest, other);
        QFETCH(QByteArray, sent);
        const SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const HttpRequest plain = request(QStringLiteral("wall"), HttpMethod::Get);
        const auto sends = [&](const HttpRequest& asked, const std::shared_ptr<const Device>& to,
                               const QByteArray& expected) {
            QCOMPARE(watched.heard(asked, to, connection, ends, expected.size()), expected);
            QCOMPARE(watched.record.path, expected.split(' ').at(1));
        };
        const std::shared_ptr<const Device> wall = device();
        auto elsewhere = std::make_shared<Device>();
        elsewhere->authority = "other.test";
        for (int i = 0; i < 2; ++i) {
            sends(plain, wall, headOf("GET"));
            sends(other, wall, sent);
            sends(plain, wall, headOf("GET"));
            sends(plain, elsewhere, headOf("GET").replace("wall", "other"));
        }
    }

    void aReadHasTheTokenOfItsTime()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const auto to = std::make_shared<Device>();
        to->authority = "wall.test";
        to->endpoint.login = DeviceEndpoint::Login::Bearer;
        const auto renew = [](const QString&) { return QString(); };
        for (const char* token : {"one", "two"}) {
            to->token = std::make_shared<TokenLogin>(QStringLiteral("wall"), QLatin1String(token), renew);
            QByteArray expected = headOf("GET");
            expected.replace("Accept:", QByteArray("Authorization: Bearer ") + token + "\r\nAccept:");
            const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Get);
            QCOMPARE(watched.heard(asked, to, connection, ends, expected.size()), expected);
        }
    }

    void aLargeBodyGoesOutAsThereIsRoom()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        std::vector<ExchangeProgress> told;
        setProgressObserver([&](const ExchangeProgress& progress) { told.push_back(progress); });
        const QByteArray body(32 << 20, 'b');
        const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, body);
        QCOMPARE(watched.prepare(asked), State::Success);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        QVERIFY(!watched.exchange.mayReceive()); // nobody reads yet
        QByteArray heard;
        const QByteArray wanted = headOf("PUT", "Content-Length: 33554432\r\n") + body;
        while (!watched.exchange.isSent()) {
            heard += ends.hear(std::min(100000, int(wanted.size() - heard.size())));
            QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        }
        heard += ends.hear(wanted.size() - heard.size());
        QVERIFY(heard == wanted);
        QVERIFY(watched.exchange.mayReceive());
        qint64 before = 0;
        for (const ExchangeProgress& progress : told) {
            QVERIFY(progress.bytesSent > before);
            before = progress.bytesSent;
            QCOMPARE(progress.bytesToSend, qint64(body.size()));
            QCOMPARE(progress.bytesReceived, qint64(0));
            QCOMPARE(progress.bytesToReceive, qint64(-1));
            QCOMPARE(progress.path, QByteArray("/api/v1/x"));
        }
        QCOMPARE(before, qint64(body.size()));
        told.clear();
        QCOMPARE(watched.feed(goodReply), Step::Ended);
        QCOMPARE(told.size(), std::size_t(1));
        QCOMPARE(told[0].bytesReceived, qint64(2));
        QCOMPARE(told[0].bytesToReceive, qint64(2));
        QCOMPARE(watched.exchange.finish().state, State::Success);
        QCOMPARE(watched.record.bytesSent, qint64(body.size()));
    }

    void aReplyBeforeTheEndOfTheRequestEndsTheConnection()
    {
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, "{}");
        QCOMPARE(watched.prepare(asked), State::Success);
        QCOMPARE(watched.feed("HTTP/1.1 413 No\r\nContent-Length: 2\r\n\r\n{}"), Step::Ended);
        QVERIFY(!watched.exchange.keepsConnection());
        QCOMPARE(watched.exchange.finish().status, 413);
        QCOMPARE(watched.record.bytesSent, qint64(0));
    }

    void whatCannotLeaveAtAllGoesOutElsewhereOnce_data()
    {
        QTest::addColumn<int>("method");
        QTest::newRow("GET") << int(HttpMethod::Get);
        QTest::newRow("PUT") << int(HttpMethod::Put);
    }
    void whatCannotLeaveAtAllGoesOutElsewhereOnce()
    {
        QFETCH(int, method);
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"), static_cast<HttpMethod>(method), "{}");
        for (int i = 0; i < 2; ++i) { // each request has its own attempts
            QCOMPARE(watched.prepare(asked), State::Success);
            SocketEnds ends;
            Connection connection(ends.ours);
            ends.reset();
            QVERIFY(connection.wait(false, std::chrono::seconds(10)));
            QCOMPARE(watched.exchange.send(connection), Step::AgainFresh);
            QCOMPARE(watched.exchange.send(connection), Step::GoOn);
            QVERIFY(!watched.exchange.isSent());
            QVERIFY(watched.exchange.mayReceive()); // a reply may have come before
            QCOMPARE(watched.lose(), Step::Ended);
            QVERIFY(!watched.exchange.keepsConnection());
            QCOMPARE(watched.exchange.finish().state, State::Broken);
            QCOMPARE(watched.record.reason, QStringLiteral("the connection ended without a reply"));
        }
    }

    void aReplyMayComeThoughTheRequestCouldNotBeSent()
    {
        SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const QByteArray body(32 << 20, 'b');
        const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, body);
        QCOMPARE(watched.prepare(asked), State::Success);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        ends.reset();
        QVERIFY(connection.wait(false, std::chrono::seconds(10)));
        QCOMPARE(watched.exchange.send(connection), Step::GoOn); // a part has left: not again
        QVERIFY(!watched.exchange.isSent());
        QVERIFY(watched.exchange.mayReceive());
        QCOMPARE(watched.feed("HTTP/1.1 413 No\r\nContent-Length: 2\r\n\r\n{}"), Step::Ended);
        QVERIFY(!watched.exchange.keepsConnection());
        QCOMPARE(watched.exchange.finish().state, State::HttpFailure);
        QVERIFY(watched.record.bytesSent > 0 && watched.record.bytesSent < body.size());
        QCOMPARE(watched.record.reason, QStringLiteral("HTTP status 413"));
    }

    void aReadIsRepeatedOnceAWriteNever_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<bool>("isReused");
        QTest::addColumn<int>("repeats");
        QTest::addColumn<QString>("reason");
        const QString nothing = QStringLiteral("the connection ended without a reply");
        const QString once =
            QStringLiteral("the connection ended after the request was sent; the request is not repeated");
        QTest::newRow("GET, new") << int(HttpMethod::Get) << false << 0 << nothing;
        QTest::newRow("GET, kept") << int(HttpMethod::Get) << true << 1 << nothing;
        QTest::newRow("PUT, new") << int(HttpMethod::Put) << false << 0 << nothing;
        QTest::newRow("PUT, kept") << int(HttpMethod::Put) << true << 0 << once;
        QTest::newRow("DELETE, kept") << int(HttpMethod::Delete) << true << 0 << once;
    }
    void aReadIsRepeatedOnceAWriteNever()
    {
        QFETCH(int, method);
        QFETCH(bool, isReused);
        QFETCH(int, repeats);
        QFETCH(QString, reason);
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"), static_cast<HttpMethod>(method), "{}");
        for (const Status how : {Status::Closed, Status::Failed}) {
            const SocketEnds ends;
            Connection connection(ends.ours);
            QCOMPARE(watched.prepare(asked), State::Success);
            const QByteArray whole = headOf(verbOf(asked.method), "Content-Length: 2\r\n") + "{}";
            for (int i = 0; i < repeats; ++i) {
                QCOMPARE(watched.exchange.send(connection), Step::GoOn);
                QCOMPARE(ends.hear(whole.size()), whole);
                QCOMPARE(watched.lose(how, isReused), Step::AgainFresh);
                QVERIFY(!watched.exchange.mayReceive()); // all of it is sent again
            }
            QCOMPARE(watched.exchange.send(connection), Step::GoOn);
            QCOMPARE(ends.hear(whole.size()), whole);
            QCOMPARE(watched.lose(how, isReused), Step::Ended);
            QCOMPARE(watched.exchange.finish().state, State::Broken);
            QCOMPARE(watched.record.reason, reason);
            QCOMPARE(watched.record.bytesSent, qint64(2 * (repeats + 1)));
        }
    }

    void theEndOfTheConnectionMayEndTheReply()
    {
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"));
        for (const Status how : {Status::Closed, Status::Failed}) { // a reset may have cut it
            QCOMPARE(watched.prepare(asked), State::Success);
            QCOMPARE(watched.feed("HTTP/1.1 200 OK\r\n\r\n{}", true), Step::GoOn);
            QCOMPARE(watched.lose(how, true), Step::Ended);
            QCOMPARE(watched.exchange.finish().state, how == Status::Closed ? State::Success : State::Broken);
        }
        QCOMPARE(watched.prepare(asked), State::Success);
        QCOMPARE(watched.feed(goodReply.left(5), true), Step::GoOn);
        QCOMPARE(watched.lose(Status::Closed, true), Step::Ended); // a part of a reply came: not again
        QCOMPARE(watched.exchange.finish().state, State::Broken);
        QCOMPARE(watched.record.reason,
                 QStringLiteral("the connection ended in the middle of the reply's head"));
    }

    void aChallengeIsAnsweredWhereTheConnectionStays_data()
    {
        QTest::addColumn<QByteArray>("rest");
        QTest::addColumn<bool>("here");
        QTest::newRow("stays") << QByteArray("Content-Length: 2\r\n\r\n{}") << true;
        QTest::newRow("closes") << QByteArray("Connection: close\r\nContent-Length: 2\r\n\r\n{}") << false;
    }
    void aChallengeIsAnsweredWhereTheConnectionStays()
    {
        QFETCH(QByteArray, rest);
        QFETCH(bool, here);
        const SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, "{}");
        QCOMPARE(watched.prepare(asked, true), State::Success);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        const QByteArray first = headOf("PUT", "Content-Length: 2\r\n") + "{}";
        QCOMPARE(ends.hear(first.size()), first);
        QCOMPARE(watched.feed(challenge + rest), here ? Step::AgainHere : Step::AgainFresh);
        QVERIFY(!watched.exchange.mayReceive());
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        QByteArray second;
        while (!second.endsWith("\r\n\r\n{}")) {
            const QByteArray byte = ends.hear(1);
            QCOMPARE(byte.size(), 1);
            second += byte;
        }
        QVERIFY2(second.startsWith("PUT /api/v1/x HTTP/1.1\r\n"), second.constData());
        QVERIFY2(second.contains("\r\nAuthorization: Digest username=\"admin\""), second.constData());
        QCOMPARE(watched.feed(goodReply), Step::Ended);
        const HttpReply reply = watched.exchange.finish();
        QCOMPARE(reply.state, State::Success);
        QCOMPARE(reply.headers.size(), 1);
        QCOMPARE(watched.record.bytesSent, qint64(4)); // the body went out twice
        QCOMPARE(watched.record.bytesReceived, qint64(2));
    }

    void theEndOfTheConnectionMayEndAChallenge()
    {
        for (const Status how : {Status::Closed, Status::Failed}) {
            Watched watched;
            const HttpRequest asked = request(QStringLiteral("wall"));
            QCOMPARE(watched.prepare(asked, true), State::Success);
            QCOMPARE(watched.feed(challenge + "\r\n{}"), Step::GoOn);
            QCOMPARE(watched.lose(how), how == Status::Closed ? Step::AgainFresh : Step::Ended);
            watched.exchange.finish();
        }
    }

    void aNonceThatRanOutBetweenRequestsIsReplaced()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const std::shared_ptr<const Device> wall = device(true);
        const HttpRequest asked = request(QStringLiteral("wall"));
        const auto now = std::chrono::steady_clock::now();
        QCOMPARE(watched.exchange.prepare(asked, wall, now), State::Success);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        QCOMPARE(watched.feed(challenge + "Content-Length: 0\r\n\r\n"), Step::AgainHere);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        QCOMPARE(watched.feed(goodReply), Step::Ended);
        QCOMPARE(watched.exchange.finish().state, State::Success);
        // The next one carries the answer to the first nonce from the start, and may get another.
        const QByteArray other = "HTTP/1.1 401 Who\r\nWWW-Authenticate: Digest realm=r, nonce=m\r\n"
                                 "Content-Length: 0\r\n\r\n";
        QCOMPARE(watched.exchange.prepare(asked, wall, now), State::Success);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        QCOMPARE(watched.feed(other), Step::AgainHere);
        watched.exchange.finish();
    }

    void aChallengeMayComeThoughTheRequestCouldNotBeSent()
    {
        SocketEnds ends;
        Connection connection(ends.ours);
        Watched watched;
        const HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, QByteArray(32 << 20, 'b'));
        QCOMPARE(watched.prepare(asked, true), State::Success);
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        ends.reset();
        QVERIFY(connection.wait(false, std::chrono::seconds(10)));
        QCOMPARE(watched.exchange.send(connection), Step::GoOn);
        QVERIFY(watched.exchange.mayReceive());
        QCOMPARE(watched.feed(challenge + "Content-Length: 0\r\n\r\n"), Step::AgainFresh);
        QVERIFY(!watched.exchange.mayReceive()); // it is to be sent once more
        watched.exchange.finish();
    }

    void theTimeOfAnExchangeCountsFromItsStart()
    {
        Watched watched;
        const auto started = std::chrono::steady_clock::now() - std::chrono::seconds(90);
        const HttpRequest asked = request(QStringLiteral("wall")); // has to outlive its exchange
        QCOMPARE(watched.exchange.prepare(asked, device(), started), State::Success);
        watched.exchange.finish(State::TimedOut, {});
        QVERIFY2(watched.record.milliseconds >= 90000,
                 qPrintable(QString::number(watched.record.milliseconds)));
    }

    void whatCannotBeSentSaysWhy_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("header");
        QTest::addColumn<QString>("reason");
        const QString path = QStringLiteral("/x/{id}");
        const QString control = QStringLiteral("a placeholder contains a control character");
        const QString plain = QStringLiteral("1");
        const QString none;
        QTest::newRow("good") << path << plain << plain << none;
        QTest::newRow("no path") << none << plain << plain << QStringLiteral("the request has no path");
        for (const int c : {0, 0x0a, 0x1f, 0x7f}) {
            QTest::addRow("%x in a placeholder", c) << path << QString(QChar(c)) << plain << control;
        }
        QTest::newRow("a blank in a placeholder") << path << QStringLiteral(" \u00e9~") << plain << none;
        QTest::newRow("a header") << path << plain << QStringLiteral("\r")
                                  << QStringLiteral(
                                         "a header's name or value contains characters that cannot be sent");
        QTest::newRow("too long") << path << QString(5 << 20, 'x') << plain
                                  << QStringLiteral("path and query together are too long");
    }
    void whatCannotBeSentSaysWhy()
    {
        QFETCH(QString, path);
        QFETCH(QString, value);
        QFETCH(QString, header);
        QFETCH(QString, reason);
        HttpRequest asked = request(QStringLiteral("wall"));
        asked.path = path;
        asked.placeHolders.insert(QStringLiteral("id"), value);
        asked.headers.insert(QStringLiteral("X"), header);
        Watched watched;
        const auto state = watched.prepare(asked);
        QCOMPARE(state, reason.isEmpty() ? State::Success : State::InvalidRequest);
        if (!reason.isEmpty()) {
            QCOMPARE(watched.exchange.finish(state, {}).state, State::InvalidRequest);
            QCOMPARE(watched.record.reason, reason);
            // The reason is that of one request.
            const HttpRequest next = request(QStringLiteral("wall"));
            QCOMPARE(watched.prepare(next), State::Success);
            QCOMPARE(watched.exchange.finish(State::TimedOut, QStringLiteral("late")).state, State::TimedOut);
            QCOMPARE(watched.record.reason, QStringLiteral("late"));
        }
    }

    void aFormThatCannotBeReadSaysWhy()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("a"));
        HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put);
        asked.multipart = true;
        asked.parts.insert(QStringLiteral("a"), QUrl::fromLocalFile(path));
        Watched watched;
        QCOMPARE(watched.prepare(asked), State::FileFailure);
        QCOMPARE(watched.exchange.finish(State::FileFailure, {}).state, State::FileFailure);
        QCOMPARE(watched.record.reason, "cannot read the file " + path);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("content") == 7);
        file.close();
        QCOMPARE(watched.prepare(asked), State::Success);
        QVERIFY(file.remove());
        const SocketEnds ends;
        Connection connection(ends.ours);
        QCOMPARE(watched.exchange.send(connection), Step::Ended);
        QCOMPARE(watched.exchange.finish().state, State::FileFailure);
        QCOMPARE(watched.record.reason, "cannot read the file " + path);
    }

    void aDestinationThatCannotBeWrittenSaysWhy()
    {
        HttpRequest asked = request(QStringLiteral("wall"));
        asked.downloadPath = QStringLiteral("/dev/null");
        Watched watched;
        QCOMPARE(watched.prepare(asked), State::FileFailure);
        QCOMPARE(watched.exchange.finish(State::FileFailure, {}).state, State::FileFailure);
        QCOMPARE(watched.record.reason, QStringLiteral("cannot write the destination: not a regular file"));
    }
};

QTEST_GUILESS_MAIN(TestExchange)
#include "tst_exchange.moc"
