// SPDX-License-Identifier: MIT
#include "communicator/devices/deviceaddress.h"
#include "communicator/http/requesturl.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using Values = QMap<QString, QString>;

class TestRequestUrl : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void targetsAreExpandedAndEncoded_data();
    void targetsAreExpandedAndEncoded();
    void targetsReachToTheirBound();
    void addressesAreTakenOrRefused_data();
    void addressesAreTakenOrRefused();
};

void TestRequestUrl::targetsAreExpandedAndEncoded_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Values>("placeHolders");
    QTest::addColumn<Values>("parameters");
    QTest::addColumn<QByteArray>("target");
    const auto row = [](const char* name, const char* path, const Values& placeHolders,
                        const Values& parameters, const char* target) {
        QTest::newRow(name) << QString::fromUtf8(path) << placeHolders << parameters << QByteArray(target);
    };
    const auto id = [](const char* value) {
        return Values{{QStringLiteral("id"), QString::fromUtf8(value)}};
    };
    const Values none;
    row("plain", "/api/v1/device/hw", none, none, "/api/v1/device/hw");
    row("placeholder", "/api/v1/screen/{id}/name", id("7"), none, "/api/v1/screen/7/name");
    row("placeholder twice", "/{id}/{id}", id("7"), none, "/7/7");
    row("two placeholders", "/{id}/{cid}",
        {{QStringLiteral("id"), QStringLiteral("1")}, {QStringLiteral("cid"), QStringLiteral("2")}}, none,
        "/1/2");
    row("value with a slash", "/x/{id}", id("a/b"), none, "/x/a%2Fb");
    row("value with a question mark", "/x/{id}", id("a?b#c%d"), none, "/x/a%3Fb%23c%25d");
    row("value with a blank and an umlaut", "/x/{id}", id("a \xc3\xbc"), none, "/x/a%20%C3%BC");
    row("value that looks like a placeholder", "/x/{id}", id("{id}"), none, "/x/%7Bid%7D");
    row("value of two dots", "/x/{id}/y", id(".."), none, "/x/../y");
    row("empty value", "/x/{id}/y", id(""), none, "/x//y");
    row("name without a value", "/x/{cid}", id("7"), none, "/x/%7Bcid%7D");
    row("value without a name", "/x", id("7"), none, "/x");
    row("brace that never closes", "/x/{id", id("7"), none, "/x/%7Bid");
    row("brace within braces", "/x/{{id}}", id("7"), none, "/x/%7B7%7D");
    row("blank at the end", "/api/v1/device/hw/enterhwmode ", none, none, "/api/v1/device/hw/enterhwmode%20");
    row("encoded already", "/x%20y/%zz", none, none, "/x%20y/%25zz");
    row("percent at the end", "/a%", none, none, "/a%25");
    row("percent and one digit", "/a%4", none, none, "/a%254");
    row("percent before an encoded character", "/%%41%4%", none, none, "/%25%41%254%25");
    row("percent before what has to be encoded", "/a%\xc3\xbc%4\xc3\xbc", none, none,
        "/a%25%C3%BC%254%C3%BC");
    row("all that a path may hold", "/aZ09-._~!$&'()*+,;=:@/?", none, none, "/aZ09-._~!$&'()*+,;=:@/?");
    row("value of what a path may hold", "/{id}", id("aZ09-._~!$&'()*+,;=:@/?"), none,
        "/aZ09-._~%21%24%26%27%28%29%2A%2B%2C%3B%3D%3A%40%2F%3F");
    row("encoded in all digits", "/%09%af%AF%0a%9F", none, none, "/%09%af%AF%0a%9F");
    row("half encoded", "/%0g%g0%/0%:0%@0%G0%`0%a", none, none, "/%250g%25g0%25/0%25:0%25@0%25G0%25%600%25a");
    row("digits that are not encoded", "/\"00^ab", none, none, "/%2200%5Eab");
    row("all letters", "/azAZ09-._~", none, none, "/azAZ09-._~");
    row("placeholder in front", "{id}/x", id("7"), none, "/7/x");
    row("percent behind a placeholder", "/{id}%zz/%41", id("7"), none, "/7%25zz/%41");
    row("fragment", "/x#y", none, none, "/x%23y");
    row("no slash in front", "@evil.example/x", none, none, "/@evil.example/x");
    row("backslash and quotes", "/a\\b\"<>", none, none, "/a%5Cb%22%3C%3E");
    row("line end", "/a\r\nb", none, none, "/a%0D%0Ab");
    row("one parameter", "/x", none, {{QStringLiteral("a"), QStringLiteral("1")}}, "/x?a=1");
    row("parameters in order", "/x", none,
        {{QStringLiteral("b"), QStringLiteral("2")}, {QStringLiteral("a"), QStringLiteral("1")}},
        "/x?a=1&b=2");
    row("parameter value encoded", "/x", none, {{QStringLiteral("a b"), QStringLiteral("&=+/ ?")}},
        "/x?a%20b=%26%3D%2B%2F%20%3F");
    row("parameter without a value", "/x", none, {{QStringLiteral("a"), QString()}}, "/x?a=");
    row("query in the path", "/x?y=1", none, {{QStringLiteral("a"), QStringLiteral("1")}}, "/x?y=1&a=1");
}

void TestRequestUrl::targetsAreExpandedAndEncoded()
{
    QFETCH(QString, path);
    QFETCH(Values, placeHolders);
    QFETCH(Values, parameters);
    QFETCH(QByteArray, target);
    QCOMPARE(requestTarget(path, placeHolders, parameters), target);
}

void TestRequestUrl::targetsReachToTheirBound()
{
    constexpr int bound = 4 << 20;
    const auto text = [](int size) { return QString(size, QLatin1Char('x')); };
    const QString id = QStringLiteral("id");
    for (const int tooMuch : {0, 1}) {
        const int size = tooMuch == 0 ? bound : 0;
        QCOMPARE(requestTarget(QLatin1Char('/') + text(bound - 1 + tooMuch), {}, {}).size(), size);
        QCOMPARE(requestTarget(QStringLiteral("{id}"), {{id, text(bound - 1 + tooMuch)}}, {}).size(), size);
        QCOMPARE(requestTarget(QStringLiteral("/{id}"), {{id, text(bound - 2 + tooMuch)}}, {{id, {}}}).size(),
                 0);
        QCOMPARE(requestTarget(QStringLiteral("/"), {}, {{id, text(bound - 5 + tooMuch)}}).size(), size);
        QCOMPARE(requestTarget(QStringLiteral("/"), {}, {{text(bound - 3 + tooMuch), {}}}).size(), size);
    }
    // What is too long before it is encoded is not encoded.
    QCOMPARE(requestTarget(QLatin1Char('/') + text(bound), {}, {}), QByteArray());
    QCOMPARE(requestTarget(QStringLiteral("/{id}"), {{id, text(bound + 1)}}, {}), QByteArray());
}

void TestRequestUrl::addressesAreTakenOrRefused_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("url");
    const auto row = [](const char* address, const char* url) {
        QTest::newRow(*address == '\0' ? "empty" : address) << QString::fromUtf8(address) << QByteArray(url);
    };
    row("192.168.0.10", "http://192.168.0.10");
    row("192.168.0.10:8080", "http://192.168.0.10:8080");
    row("wall-1.local", "http://wall-1.local");
    row("http://wall", "http://wall");
    row("HTTPS://wall:443", "https://wall:443");
    row("[::1]", "http://[::1]");
    row("https://[fe80::1%25eth0]:8443", "https://[fe80::1%25eth0]:8443");
    for (const char* refused : {"",           ":80",          "http://",
                                "http:///",   "http://wall/", "wall/path",
                                "user@wall",  "user:pw@wall", "http://user:pw@wall",
                                "wall:0",     "wall:65536",   "wall:x",
                                "wall:",      "ftp://wall",   "::1",
                                "[::1",       "wall?x",       "wall#x",
                                "wa ll",      "wall\n",       "-wall",
                                "w\xc3\xa4nd"}) {
        row(refused, "");
    }
}

void TestRequestUrl::addressesAreTakenOrRefused()
{
    QFETCH(QString, address);
    QFETCH(QByteArray, url);
    QCOMPARE(baseUrlOfAddress(address), url);
}

QTEST_GUILESS_MAIN(TestRequestUrl)
#include "tst_requesturl.moc"
