// SPDX-License-Identifier: MIT
#include "communicator/http/headername.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/transferlimits.h"
#include "communicator/loginscheme.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using Headers = QMap<QString, QString>;
using Login = DeviceEndpoint::Login;
Q_DECLARE_METATYPE(Headers)

namespace {

std::shared_ptr<const Device> deviceWith(Login login)
{
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("wall.test:81");
    endpoint.login = login;
    endpoint.user = QStringLiteral("ad\u00e4");
    endpoint.secret = QStringLiteral("s\u00e9");
    DeviceRegistry registry;
    registry.add(QStringLiteral("wall"), endpoint);
    return registry.find(QStringLiteral("wall"));
}

} // namespace

class TestRequestHead : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aHeadIsWrittenToTheByte_data()
    {
        QTest::addColumn<Headers>("headers");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<qint64>("length");
        QTest::addColumn<QByteArray>("rest");
        const QByteArray host = "Host: wall.test:81\r\n";
        const QByteArray accept = "Accept: */*\r\n";
        const auto row = [](const char* name, const Headers& headers, const char* type, qint64 length,
                            const QByteArray& rest) {
            QTest::newRow(name) << headers << QByteArray(type) << length << rest;
        };
        row("nothing", {}, "", -1, host + accept);
        row("an empty body", {}, "", 0, host + accept + "Content-Length: 0\r\n");
        row("a body", {}, "", 12, host + accept + "Content-Length: 12\r\n");
        row("a form", {}, "form", 12, host + accept + "Content-Type: form\r\nContent-Length: 12\r\n");
        row("a form's type is not the caller's", {{"X-A", "1"}, {"content-TYPE", "own"}, {"x-b", "2"}},
            "form", 1, host + accept + "X-A: 1\r\nx-b: 2\r\nContent-Type: form\r\nContent-Length: 1\r\n");
        row("the caller's type", {{"content-TYPE", "own"}}, "", 1,
            host + accept + "content-TYPE: own\r\nContent-Length: 1\r\n");
        row("the caller's host", {{"hOST", "other"}, {"X", "1"}}, "", -1, accept + "X: 1\r\nhOST: other\r\n");
        row("the caller's accept", {{"aCCEPT", "a/b"}, {"X", "1"}}, "", -1, host + "X: 1\r\naCCEPT: a/b\r\n");
        row("values", {{"A", QStringLiteral(" \u00e9 ")}, {"B", " "}}, "", -1,
            host + accept + "A: \xc3\xa9\r\nB:\r\n");
    }
    void aHeadIsWrittenToTheByte()
    {
        QFETCH(Headers, headers);
        QFETCH(QByteArray, contentType);
        QFETCH(qint64, length);
        QFETCH(QByteArray, rest);
        RequestHead head;
        head.method = "PUT";
        head.target = "/a?b";
        head.headers = headers;
        head.contentType = contentType;
        head.contentLength = length;
        QByteArray authorization = "of an earlier request";
        QCOMPARE(writeHead(head, *deviceWith(Login::None), authorization),
                 "PUT /a?b HTTP/1.1\r\n" + rest + "\r\n");
        QCOMPARE(authorization, QByteArray());
    }

    void theLoginIsThatOfTheDevice_data()
    {
        QTest::addColumn<int>("login");
        QTest::addColumn<QByteArray>("authorization");
        const QMap<Login, QByteArray> authorizations{
            {Login::Basic, "Basic " + QByteArray("ad\xc3\xa4:s\xc3\xa9").toBase64()},
            {Login::Bearer, "Bearer s\xc3\xa9"},
            {Login::Digest, {}}, // nothing before the device's challenge
        };
        for (const LoginScheme& scheme : loginSchemes) {
            QVERIFY2(authorizations.contains(scheme.login), scheme.name);
            QTest::newRow(scheme.name) << int(scheme.login) << authorizations.value(scheme.login);
        }
    }
    void theLoginIsThatOfTheDevice()
    {
        QFETCH(int, login);
        QFETCH(QByteArray, authorization);
        const auto device = deviceWith(static_cast<Login>(login));
        RequestHead head;
        head.method = "GET";
        head.target = "/";
        QByteArray sent;
        const QByteArray line = authorization.isEmpty() ? "" : "Authorization: " + authorization + "\r\n";
        QCOMPARE(writeHead(head, *device, sent),
                 "GET / HTTP/1.1\r\nHost: wall.test:81\r\n" + line + "Accept: */*\r\n\r\n");
        QCOMPARE(sent, authorization);
        // The caller can supply its own instead.
        head.headers = {{"X", "1"}, {"authORIZATION", "own"}};
        QCOMPARE(writeHead(head, *device, sent),
                 QByteArray("GET / HTTP/1.1\r\nHost: wall.test:81\r\n"
                            "Accept: */*\r\nX: 1\r\nauthORIZATION: own\r\n\r\n"));
        QCOMPARE(sent, QByteArray());
    }

    void namesCompareWithoutRegardToCase_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("same");
        QTest::newRow("as it is") << QByteArray("accept") << true;
        QTest::newRow("capitals") << QByteArray("ACCEPT") << true;
        QTest::newRow("another of its length") << QByteArray("except") << false;
        QTest::newRow("its beginning") << QByteArray("acc") << false;
        QTest::newRow("with more behind it") << QByteArray("accepted") << false;
        QTest::newRow("nothing") << QByteArray() << false;
    }
    void namesCompareWithoutRegardToCase()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, same);
        QCOMPARE(isNamed(std::string_view(name.constData(), std::size_t(name.size())), "accept"), same);
        QCOMPARE(isNamed(QString::fromLatin1(name), "accept"), same);
        const Headers headers{{"A", "1"}, {QString::fromLatin1(name), "2"}, {"Z", "3"}};
        QCOMPARE(findHeader(headers, QStringLiteral("accept")) != headers.cend(), same);
    }

    void headersThatCannotBeSentAreRefused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("error");
        const QString tooLong = QStringLiteral("a header's name or value is too long");
        const QString invalid =
            QStringLiteral("a header's name or value contains characters that cannot be sent");
        const QString plain = QStringLiteral("1");
        const auto row = [&](const char* label, const QString& name, const QString& value,
                             const QString& error) { QTest::newRow(label) << name << value << error; };
        row("a plain one", "X-A", plain, {});
        row("all that a name may hold", "!#$%&'*+-.^_`|~09AZaz", plain, {});
        row("no value", "X", {}, {});
        row("a value with blanks and letters of any kind", "X", QStringLiteral("a \u00e9 ~"), {});
        row("the longest name", QString(maxHeaderLength, 'a'), plain, {});
        row("a longer name", QString(maxHeaderLength + 1, 'a'), plain, tooLong);
        row("the longest value", "X", QString(maxHeaderLength, 'a'), {});
        row("a longer value", "X", QString(maxHeaderLength + 1, 'a'), tooLong);
        row("no name", {}, plain, invalid);
        for (const QChar c : QStringLiteral("()<>@,;:\\\"/[]?={} \t\u007f\u0080\u00e9")) {
            row(qPrintable(QStringLiteral("%1 in a name").arg(c.unicode(), 0, 16)), QStringLiteral("X") + c,
                plain, invalid);
        }
        for (const int c : {0, 9, 10, 13, 0x1f, 0x7f}) {
            row(qPrintable(QStringLiteral("%1 in a value").arg(c, 0, 16)), "X",
                QStringLiteral("a") + QChar(c), invalid);
        }
        row("a length", "content-LENGTH", plain, invalid);
        row("a coding", "transfer-ENCODING", plain, invalid);
    }
    void headersThatCannotBeSentAreRefused()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        QFETCH(QString, error);
        QCOMPARE(errorOfHeaders({{name, value}}), error);
        QCOMPARE(errorOfHeaders({{"A", "1"}, {name, value}, {"z", "1"}}), error);
    }
};

QTEST_GUILESS_MAIN(TestRequestHead)
#include "tst_requesthead.moc"
