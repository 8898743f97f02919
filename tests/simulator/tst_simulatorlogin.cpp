// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QtTest>

using namespace Tessel::Simulator;

Q_DECLARE_METATYPE(Tessel::Simulator::Login)

namespace {

const QByteArray hw = "/api/v1/device/hw";

QByteArray basic(const QByteArray& user, const QByteArray& password)
{
    return "Authorization: Basic " + (user + ':' + password).toBase64() + "\r\n";
}

QByteArray bearer(const QByteArray& token)
{
    return "Authorization: Bearer " + token + "\r\n";
}

/// One answer to a digest challenge; tests change its members before it is written.
struct Answer
{
    QByteArray user = "admin";
    QByteArray password = "wall";
    QByteArray method = "GET";
    QByteArray uri = hw;
    QByteArray nonce;
    QByteArray algorithm = "SHA-256";
    QByteArray count = "00000001";
    QByteArray realm = "tessel-sim";
    QByteArray qop = "auth";

    QByteArray header() const
    {
        const auto kind = algorithm == "SHA-256" ? QCryptographicHash::Sha256 : QCryptographicHash::Md5;
        const auto hash = [kind](const QByteArray& text) {
            return QCryptographicHash::hash(text, kind).toHex();
        };
        const QByteArray response = hash(hash(user + ':' + realm + ':' + password) + ':' + nonce + ':' +
                                         count + ":c:" + qop + ':' + hash(method + ':' + uri));
        return "Authorization: Digest username=\"" + user + "\", realm=\"" + realm + "\", nonce=\"" + nonce +
               "\", uri=\"" + uri + "\", algorithm=" + algorithm + ", qop=" + qop + ", nc=" + count +
               ", cnonce=\"c\", response=\"" + response + "\"\r\n";
    }
};

QByteArray nonceIn(const HttpReply& reply)
{
    static const QRegularExpression nonce(QStringLiteral("nonce=\"([^\"]+)\""));
    return nonce.match(QString::fromLatin1(reply.headers.value("www-authenticate"))).captured(1).toLatin1();
}

} // namespace

class TestSimulatorLogin : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    void start(Login login, int tokenLifetime = 0, int nonceLifetime = 300000)
    {
        Options options;
        options.login = login;
        options.user = QStringLiteral("admin");
        options.secret = QStringLiteral("wall");
        options.tokenLifetime = tokenLifetime;
        options.nonceLifetime = nonceLifetime;
        options.control = true;
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }
    HttpReply get(const QByteArray& headers = {}, const QByteArray& target = hw) const
    {
        return HttpClient(m_simulator->port()).request("GET", target, {}, headers);
    }
    HttpReply control(const QByteArray& verb, const QByteArray& path, const QByteArray& body = {}) const
    {
        return HttpClient(m_simulator->port()).request(verb, "/sim" + path, body);
    }
    Answer answer() const
    {
        Answer made;
        made.nonce = nonceIn(get());
        return made;
    }

private Q_SLOTS:
    void withoutALoginNobodyNeedsOne()
    {
        start(Login::None);
        QCOMPARE(get().status, 200);
        QCOMPARE(get(bearer("anything")).status, 200);
        QCOMPARE(control("POST", "/token").status, 409);
    }

    void aChallengeNamesItsScheme_data()
    {
        QTest::addColumn<Login>("login");
        QTest::addColumn<QByteArray>("begin");
        QTest::newRow("basic") << Login::Basic << QByteArray("Basic realm=\"tessel-sim\", charset=\"UTF-8\"");
        QTest::newRow("digest")
            << Login::Digest
            << QByteArray("Digest realm=\"tessel-sim\", algorithm=SHA-256, qop=\"auth\", nonce=\"");
        QTest::newRow("bearer") << Login::Bearer << QByteArray("Bearer realm=\"tessel-sim\"");
    }

    void aChallengeNamesItsScheme()
    {
        QFETCH(Login, login);
        QFETCH(QByteArray, begin);
        start(login);
        for (const char* target : {"/api/v1/device/hw", "/api/v1/events", "/nowhere", "/%zz"}) {
            const HttpReply reply = get({}, target);
            QCOMPARE(reply.status, 401);
            QVERIFY(reply.isEnvelope());
            QCOMPARE(reply.code(), 401);
            QVERIFY2(reply.headers.value("www-authenticate").startsWith(begin),
                     reply.headers.value("www-authenticate").constData());
        }
        QVERIFY(!EventReader(m_simulator->port()).isOpen());
        QCOMPARE(m_simulator->requestCount(), quint64(5));
        // The control interface has no login: it is no part of the device.
        QCOMPARE(control("GET", "").status, 200);
    }

    void aRequestThatMayNotPassChangesNothing()
    {
        start(Login::Basic);
        m_simulator->addFault([] {
            Fault fault;
            fault.status = 418;
            return fault;
        }());
        HttpClient client(m_simulator->port());
        const QByteArray before = m_simulator->value(QStringLiteral("/api/v1/device/log/level"));
        QCOMPARE(client.put("/api/v1/device/log/level", "{\"level\":6}").status, 401);
        QCOMPARE(m_simulator->value(QStringLiteral("/api/v1/device/log/level")), before);
        // Nor does it use up a fault, and its connection stays.
        QCOMPARE(client.request("GET", hw, {}, basic("admin", "wall")).status, 418);
    }

    void aBodyThatNobodyWantsIsNotAskedFor()
    {
        start(Login::Basic);
        HttpClient client(m_simulator->port());
        client.send("PUT " + hw +
                    " HTTP/1.1\r\nHost: t\r\nExpect: 100-continue\r\nContent-Length: 9\r\n\r\n");
        QCOMPARE(client.readReply().status, 401);
        QVERIFY(client.endsSoon());
    }

    void basicTakesUserAndPassword_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<bool>("passes");
        QTest::newRow("right") << basic("admin", "wall") << true;
        QTest::newRow("any case") << QByteArray("authorization: bASIC ") +
                                         QByteArray("admin:wall").toBase64() + "\r\n"
                                  << true;
        QTest::newRow("password") << basic("admin", "wrong") << false;
        QTest::newRow("longer") << basic("admin", "walls") << false;
        QTest::newRow("shorter") << basic("admin", "wal") << false;
        QTest::newRow("user") << basic("root", "wall") << false;
        QTest::newRow("case") << basic("Admin", "wall") << false;
        QTest::newRow("nothing") << basic("", "") << false;
        QTest::newRow("no base64") << QByteArray("Authorization: Basic admin:wall\r\n") << false;
        QTest::newRow("bare") << QByteArray("Authorization: Basic\r\n") << false;
        QTest::newRow("empty") << QByteArray("Authorization:\r\n") << false;
        QTest::newRow("scheme") << bearer("wall") << false;
    }

    void basicTakesUserAndPassword()
    {
        QFETCH(QByteArray, header);
        QFETCH(bool, passes);
        start(Login::Basic);
        QCOMPARE(get(header).status, passes ? 200 : 401);
    }

    void twoLoginsAreNone()
    {
        start(Login::Basic);
        QCOMPARE(get(basic("admin", "wall") + basic("admin", "wall")).status, 400);
    }

    void bearerTakesItsToken_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<bool>("passes");
        QTest::newRow("right") << bearer("wall") << true;
        QTest::newRow("wrong") << bearer("walls") << false;
        QTest::newRow("empty") << bearer("") << false;
        QTest::newRow("scheme") << basic("admin", "wall") << false;
    }

    void bearerTakesItsToken()
    {
        QFETCH(QByteArray, header);
        QFETCH(bool, passes);
        start(Login::Bearer);
        const HttpReply reply = get(header);
        QCOMPARE(reply.status, passes ? 200 : 401);
        QCOMPARE(EventReader(m_simulator->port(), {}, header).isOpen(), passes);
    }

    void aTokenRunsOut()
    {
        start(Login::Bearer, 300);
        QCOMPARE(get(bearer("wall")).status, 200);
        QTRY_COMPARE(get(bearer("wall")).status, 401);
        QVERIFY(get(bearer("wall"))
                    .headers.value("www-authenticate")
                    .contains(R"(error="invalid_token", error_description="the token has expired")"));
        QCOMPARE(control("GET", "/token").object().value(QStringLiteral("expiresIn")).toInt(-1), 0);
        // A new one is given out, and runs out in turn.
        const QJsonObject given = control("POST", "/token").object();
        const QByteArray token = given.value(QStringLiteral("token")).toString().toLatin1();
        QVERIFY(given.value(QStringLiteral("expiresIn")).toInt() > 0);
        QVERIFY(token.size() >= 32);
        QCOMPARE(get(bearer(token)).status, 200);
        QCOMPARE(get(bearer("wall")).status, 401);
        QTRY_COMPARE(get(bearer(token)).status, 401);
    }

    void aTokenIsReplacedAtOnce()
    {
        start(Login::Bearer);
        QCOMPARE(control("GET", "/token").object().value(QStringLiteral("expiresIn")).toInt(), -1);
        EventReader stream(m_simulator->port(), {}, bearer("wall"));
        QVERIFY(stream.isOpen());
        QCOMPARE(control("POST", "/token", R"({"token":"next"})").status, 200);
        QCOMPARE(get(bearer("wall")).status, 401);
        QCOMPARE(get(bearer("next")).status, 200);
        QVERIFY(m_simulator->waitForEventStreams(1));
        m_simulator->pushEvent("{}");
        QCOMPARE(stream.next().id, quint64(1)); // an open stream stays
        QCOMPARE(control("DELETE", "/token").status, 200);
        QCOMPARE(get(bearer("next")).status, 401);
        const QByteArray token = m_simulator->replaceToken().toLatin1();
        QCOMPARE(get(bearer(token)).status, 200);
        m_simulator->expireToken();
        QCOMPARE(get(bearer(token)).status, 401);
    }

    void whatIsNoTokenIsRefused_data()
    {
        QTest::addColumn<QByteArray>("body");
        for (const char* body : {"x", "7", "[]", R"({"token":7})", R"({"token":"a b"})", R"({"token":"a\n"})",
                                 R"({"token":"ü"})", R"({"tokens":"a"})", R"({"token":"a","more":1})"}) {
            QTest::newRow(body) << QByteArray(body);
        }
    }

    void whatIsNoTokenIsRefused()
    {
        QFETCH(QByteArray, body);
        start(Login::Bearer);
        const HttpReply reply = control("POST", "/token", body);
        QCOMPARE(reply.status, 400);
        QVERIFY(
            reply.envelope().value(QStringLiteral("message")).toString().contains(QLatin1String("token")));
        QCOMPARE(get(bearer("wall")).status, 200);
    }

    void digestTakesARightAnswer_data()
    {
        QTest::addColumn<QByteArray>("algorithm");
        QTest::newRow("SHA-256") << QByteArray("SHA-256");
        QTest::newRow("MD5") << QByteArray("MD5");
    }

    void digestTakesARightAnswer()
    {
        QFETCH(QByteArray, algorithm);
        start(Login::Digest);
        Answer made = answer();
        made.algorithm = algorithm;
        for (const char* count : {"00000001", "00000002", "00000005", "00000004", "00000400"}) {
            made.count = count;
            QCOMPARE(get(made.header()).status, 200);
        }
        made.uri = "/api/v1/events";
        made.count = "00000401";
        QVERIFY(EventReader(m_simulator->port(), {}, made.header()).isOpen());
    }

    void digestRefusesAWrongAnswer_data()
    {
        QTest::addColumn<QByteArray>("member");
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("user") << QByteArray("user") << QByteArray("root");
        QTest::newRow("password") << QByteArray("password") << QByteArray("wrong");
        QTest::newRow("method") << QByteArray("method") << QByteArray("PUT");
        QTest::newRow("uri") << QByteArray("uri") << QByteArray("/api/v1/device/input");
        QTest::newRow("realm") << QByteArray("realm") << QByteArray("elsewhere");
        QTest::newRow("qop") << QByteArray("qop") << QByteArray("auth-int");
        QTest::newRow("no count") << QByteArray("count") << QByteArray("00000000");
        QTest::newRow("short count") << QByteArray("count") << QByteArray("1");
        QTest::newRow("count") << QByteArray("count") << QByteArray("0000000g");
        QTest::newRow("algorithm") << QByteArray("algorithm") << QByteArray("SHA-512");
    }

    void digestRefusesAWrongAnswer()
    {
        QFETCH(QByteArray, member);
        QFETCH(QByteArray, value);
        start(Login::Digest);
        Answer made = answer();
        (member == "user"       ? made.user
         : member == "password" ? made.password
         : member == "method"   ? made.method
         : member == "uri"      ? made.uri
         : member == "realm"    ? made.realm
         : member == "qop"      ? made.qop
         : member == "count"    ? made.count
                                : made.algorithm) = value;
        const HttpReply reply = get(made.header());
        QCOMPARE(reply.status, 401);
        QVERIFY(!reply.headers.value("www-authenticate").contains("stale"));
        QVERIFY(!nonceIn(reply).isEmpty());
    }

    void digestRefusesWhatIsMalformed_data()
    {
        QTest::addColumn<QByteArray>("value");
        for (const char* value :
             {"", "x", "=", "username", "username=", "username=\"admin", "username=\"admin\\", "a=b c=d",
              ",,,", "username=admin, username=admin", "nonce=\"\", nc=00000001"}) {
            QTest::newRow(value) << QByteArray(value);
        }
    }

    void digestRefusesWhatIsMalformed()
    {
        QFETCH(QByteArray, value);
        start(Login::Digest);
        QCOMPARE(get("Authorization: Digest " + value + "\r\n").status, 401);
    }

    void aNonceRunsOutAndSaysSo()
    {
        start(Login::Digest, 0, 300);
        Answer made = answer();
        QCOMPARE(get(made.header()).status, 200);
        QTest::qWait(350);
        made.count = "00000002";
        const HttpReply reply = get(made.header());
        QCOMPARE(reply.status, 401);
        QVERIFY(reply.headers.value("www-authenticate").contains("stale=true"));
        made.nonce = nonceIn(reply);
        made.count = "00000001";
        QCOMPARE(get(made.header()).status, 200);
    }

    void aCountIsTakenOnce()
    {
        start(Login::Digest);
        const Answer made = answer();
        QCOMPARE(get(made.header()).status, 200);
        const HttpReply reply = get(made.header());
        QCOMPARE(reply.status, 401);
        QVERIFY(reply.headers.value("www-authenticate").contains("stale=true"));
    }

    void aRestartForgetsTheNonces()
    {
        start(Login::Digest);
        Answer made = answer();
        QCOMPARE(get(made.header()).status, 200);
        QCOMPARE(control("POST", "/restart").status, 200);
        made.count = "00000002";
        const HttpReply reply = get(made.header());
        QCOMPARE(reply.status, 401);
        QVERIFY(reply.headers.value("www-authenticate").contains("stale=true"));
    }

    void aFloodOfChallengesLeavesRoomForAnAnswer()
    {
        start(Login::Digest);
        Answer used = answer();
        QCOMPARE(get(used.header()).status, 200);
        HttpClient flood(m_simulator->port());
        for (int i = 0; i < 6000; ++i) {
            QCOMPARE(flood.get(hw).status, 401);
        }
        // A nonce in use is not what makes room.
        used.count = "00000002";
        QCOMPARE(get(used.header()).status, 200);
        QCOMPARE(get(answer().header()).status, 200);
    }
};

QTEST_GUILESS_MAIN(TestSimulatorLogin)
#include "tst_simulatorlogin.moc"
