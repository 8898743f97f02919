// SPDX-License-Identifier: MIT
#include "communicator/http/digestlogin.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

namespace {

const QString user = QStringLiteral("Mufasa");
const QString password = QStringLiteral("Circle of Life");
const QByteArray target = "/dir/index.html";

/// The value of @p name in a list of parameters, without quotes.
QByteArray parameter(const QByteArray& authorization, const char* name)
{
    const QRegularExpression form(
        QStringLiteral("[ ,]%1=(?:\"((?:[^\"\\\\]|\\\\.)*)\"|([^,]*))").arg(QLatin1String(name)));
    const QRegularExpressionMatch match = form.match(QString::fromUtf8(authorization));
    return (match.captured(1) + match.captured(2)).toUtf8();
}

QByteArray hex(const QByteArray& text, QCryptographicHash::Algorithm algorithm)
{
    return QCryptographicHash::hash(text, algorithm).toHex();
}

} // namespace

class TestDigestLogin : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void nothingIsSaidBeforeTheDeviceAsks()
    {
        DigestLogin login(user, password);
        QCOMPARE(login.authorization("GET", target), QByteArray());
    }

    // The device computes the same from the fields of RFC 7616, "The Authorization Header Field".
    void theAnswerIsWhatTheDeviceComputes_data()
    {
        QTest::addColumn<QString>("challenge");
        QTest::addColumn<bool>("sha256");
        QTest::addColumn<bool>("session");
        QTest::addColumn<bool>("qop");
        const auto row = [](const char* name, const char* rest, bool sha256, bool session, bool qop) {
            QTest::newRow(name) << QStringLiteral(
                                       "Digest realm=\"http-auth@example.org\", nonce=\"7ypf/xlj9XX\"") +
                                       QLatin1String(rest)
                                << sha256 << session << qop;
        };
        row("without anything", "", false, false, false);
        row("MD5", ", algorithm=MD5, qop=\"auth\"", false, false, true);
        row("MD5 without qop", ", algorithm=MD5", false, false, false);
        row("MD5-sess", ", algorithm=MD5-sess, qop=\"auth, auth-int\"", false, true, true);
        row("SHA-256", ", algorithm=SHA-256, qop=\"auth-int,auth\", opaque=\"FQhe\"", true, false, true);
        row("blanks around what is offered", ", algorithm=MD5, qop=\"auth-int, auth ,x\"", false, false,
            true);
        row("SHA-256-sess", ", algorithm=sha-256-SESS, qop=auth", true, true, true);
    }
    void theAnswerIsWhatTheDeviceComputes()
    {
        QFETCH(QString, challenge);
        QFETCH(bool, sha256);
        QFETCH(bool, session);
        QFETCH(bool, qop);
        DigestLogin login(user, password);
        QVERIFY(login.takeChallenge(challenge, {}));
        const QByteArray answer = login.authorization("PUT", target);
        const auto algorithm = sha256 ? QCryptographicHash::Sha256 : QCryptographicHash::Md5;
        const QByteArray nonce = "7ypf/xlj9XX";
        const QByteArray client = parameter(answer, "cnonce");
        QByteArray secret = hex("Mufasa:http-auth@example.org:Circle of Life", algorithm);
        if (session) {
            secret = hex(secret + ':' + nonce + ':' + client, algorithm);
        }
        const QByteArray request = hex("PUT:" + target, algorithm);
        const QByteArray expected =
            hex(qop ? secret + ':' + nonce + ":00000001:" + client + ":auth:" + request
                    : secret + ':' + nonce + ':' + request,
                algorithm);
        QVERIFY(answer.startsWith("Digest username=\"Mufasa\", "));
        QCOMPARE(parameter(answer, "response"), expected);
        QCOMPARE(parameter(answer, "realm"), QByteArray("http-auth@example.org"));
        QCOMPARE(parameter(answer, "uri"), target);
        QCOMPARE(parameter(answer, "nonce"), nonce);
        QCOMPARE(parameter(answer, "algorithm"), parameter(challenge.toLatin1(), "algorithm"));
        QCOMPARE(parameter(answer, "qop"), qop ? QByteArray("auth") : QByteArray());
        QCOMPARE(parameter(answer, "nc"), qop ? QByteArray("00000001") : QByteArray());
        QCOMPARE(client.isEmpty(), !qop && !session);
        QCOMPARE(parameter(answer, "opaque"),
                 challenge.contains("opaque") ? QByteArray("FQhe") : QByteArray());
        QVERIFY(!answer.contains("Circle"));
    }

    // RFC 7616, 3.9.1, with our own client nonce.
    void theCounterRisesWithEachAnswer()
    {
        DigestLogin login(user, password);
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=n, qop=auth"), {}));
        for (int i = 1; i <= 17; ++i) {
            QCOMPARE(parameter(login.authorization("GET", target), "nc"),
                     QByteArray::number(i, 16).rightJustified(8, '0'));
        }
        const QString next = QStringLiteral("Digest realm=r, nonce=m, qop=auth, stale=true");
        QVERIFY(login.takeChallenge(next, {}));
        QCOMPARE(parameter(login.authorization("GET", target), "nc"), QByteArray("00000001"));
        QVERIFY(login.takeChallenge(next, {})); // another request got the same one
        QCOMPARE(parameter(login.authorization("GET", target), "nc"), QByteArray("00000002"));
    }

    void theClientsNonceIsNewEachTime()
    {
        DigestLogin login(user, password);
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=n, qop=auth"), {}));
        QVERIFY(parameter(login.authorization("GET", target), "cnonce") !=
                parameter(login.authorization("GET", target), "cnonce"));
    }

    void theStrongestChallengeThatIsKnownIsAnswered_data()
    {
        QTest::addColumn<QString>("challenges");
        QTest::addColumn<QByteArray>("nonce");
        const auto row = [](const char* name, const char* challenges, const char* nonce) {
            QTest::newRow(name) << QString::fromLatin1(challenges) << QByteArray(nonce);
        };
        row("SHA-256 before MD5", "Digest realm=r, nonce=a, algorithm=SHA-256, Digest realm=r, nonce=b", "a");
        row("MD5 before SHA-256", "Digest realm=r, nonce=a, Digest realm=r, nonce=b, algorithm=SHA-256", "b");
        row("an unknown one first", "Digest realm=r, nonce=a, algorithm=SHA-512-256, Digest realm=r, nonce=b",
            "b");
        row("another scheme first", "Basic realm=\"x, y\", Digest realm=r, nonce=a", "a");
        row("another scheme last", "Digest realm=r, nonce=a, Basic realm=\"nonce=z\"", "a");
        row("a scheme with a token", "Negotiate, digest realm=r, nonce=a", "a");
        row("a scheme with a text", "Negotiate oYG/+w==, Digest realm=r, nonce=a", "a");
        row("a scheme with a text behind it", "Digest realm=r, nonce=a, Negotiate oYG/+w==", "a");
        row("one that wants the body hashed",
            "Digest realm=r, nonce=a, qop=\"auth-int\", Digest realm=r, nonce=b", "b");
        row("the first of two", "Digest realm=r, nonce=a, Digest realm=r, nonce=b", "a");
        row("the first of two strong ones",
            "Digest realm=r, nonce=a, algorithm=SHA-256, Digest realm=r, nonce=b, algorithm=SHA-256", "a");
        row("blanks around the sign", "Digest realm \t= \t\"r\" ,\t nonce =a , Basic realm=x", "a");
        row("a name that is none", "Digest realm=r, \x7f=b, nonce=a", "");
        row("escapes", "Digest realm=\"a \\\"b\\\"\", nonce=\"a\"", "a");
    }
    void theStrongestChallengeThatIsKnownIsAnswered()
    {
        QFETCH(QString, challenges);
        QFETCH(QByteArray, nonce);
        DigestLogin login(user, password);
        QCOMPARE(login.takeChallenge(challenges, {}), !nonce.isEmpty());
        QCOMPARE(parameter(login.authorization("GET", target), "nonce"), nonce);
    }

    void whatCannotBeAnsweredIsLeftAlone_data()
    {
        QTest::addColumn<QString>("challenges");
        for (const char* text :
             {"", "Basic realm=x", "Digest", "Digest realm=r", "Digest realm=r, nonce=\"\"",
              "Digest realm=r, nonce=n, algorithm=SHA-512-256", "Digest realm=r, nonce=n, qop=auth-int",
              "\"\"\"", "=,=,=", "Digest =", "nonce=n", "Digest nonce=n, qop=\"auth-int"}) {
            QTest::newRow(text) << QString::fromLatin1(text);
        }
    }
    void whatCannotBeAnsweredIsLeftAlone()
    {
        QFETCH(QString, challenges);
        DigestLogin login(user, password);
        QVERIFY(!login.takeChallenge(challenges, {}));
        QCOMPARE(login.authorization("GET", target), QByteArray());
    }

    void aRefusedPasswordIsNotTriedAgain()
    {
        DigestLogin login(user, password);
        const QString challenge = QStringLiteral("Digest realm=r, nonce=n, qop=auth");
        QVERIFY(login.takeChallenge(challenge, {}));
        const QByteArray answer = login.authorization("GET", target);
        QVERIFY(!login.takeChallenge(challenge, answer));
        QVERIFY(login.takeChallenge(challenge + QStringLiteral(", stale=true"), answer));
        QVERIFY(login.takeChallenge(challenge + QStringLiteral(", STALE=TRUE"), answer));
        QVERIFY(!login.takeChallenge(challenge + QStringLiteral(", stale=false"), answer));
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=m, qop=auth"), answer));
    }

    void aNewNonceIsNoReasonToTryARefusedPasswordAgain()
    {
        DigestLogin login(user, password);
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=a, qop=auth"), {}));
        const QByteArray first = login.authorization("GET", target);
        const QByteArray other = login.authorization("GET", target);
        const QString next = QStringLiteral("Digest realm=r, nonce=b, qop=auth");
        QVERIFY(!login.takeChallenge(next, first, true));
        // What was answered meanwhile has run out by now.
        QVERIFY(login.takeChallenge(next, other, true));
        const QByteArray second = login.authorization("GET", target);
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=c, qop=auth, stale=true"), second,
                                    true));
    }

    void theNameIsHashedWhenTheDeviceWantsThat()
    {
        DigestLogin login(user, password);
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=n, qop=auth, userhash=true"), {}));
        const QByteArray answer = login.authorization("GET", target);
        QCOMPARE(parameter(answer, "username"), hex("Mufasa:r", QCryptographicHash::Md5));
        QCOMPARE(parameter(answer, "userhash"), QByteArray("true"));
        QVERIFY(!answer.contains("Mufasa"));
    }

    void quotesAndBackslashesAreEscaped()
    {
        DigestLogin login(QStringLiteral("a\"b\\c"), password);
        QVERIFY(login.takeChallenge(QStringLiteral("Digest realm=r, nonce=n"), {}));
        QVERIFY(login.authorization("GET", target).contains("username=\"a\\\"b\\\\c\""));
    }
};

QTEST_GUILESS_MAIN(TestDigestLogin)
#include "tst_digestlogin.moc"
