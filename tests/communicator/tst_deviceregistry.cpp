// SPDX-License-Identifier: MIT
#include "communicator/devices/deviceaddress.h"
#include "communicator/devices/deviceregistry.h"
#include "communicator/http/requesthead.h"
#include <communicator/loginscheme.h>

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using Change = DeviceRegistry::Change;

namespace {

DeviceEndpoint endpoint(const char* address)
{
    DeviceEndpoint endpoint;
    endpoint.address = QLatin1String(address);
    return endpoint;
}

} // namespace

Q_DECLARE_METATYPE(DeviceEndpoint)

class TestDeviceRegistry : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void onlyWhatLooksLikeAnAddressIsOne_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("url");
        const auto row = [](const char* key, const char* url) {
            QTest::newRow(key) << QString::fromLatin1(key) << QByteArray(url);
        };
        row("wall-1", "");
        row("wall", "");
        row("", "");
        row("localhost", "http://localhost");
        row("LocalHost", "http://LocalHost");
        row("localhost:8080", "http://localhost:8080");
        row("wall:8080", "http://wall:8080");
        row("http://wall", "http://wall");
        row("https://wall", "https://wall");
        row("wall.lan", "http://wall.lan");
        row("192.168.0.10", "http://192.168.0.10");
        row("[::1]", "http://[::1]");
        row("user@wall.lan", "");
        row("wall.lan/path", "");
        row("wall.lan?token=1", "");
    }
    void onlyWhatLooksLikeAnAddressIsOne()
    {
        QFETCH(QString, key);
        QFETCH(QByteArray, url);
        DeviceRegistry registry;
        const std::shared_ptr<const Device> device = registry.find(key);
        QCOMPARE(device != nullptr, !url.isEmpty());
        QCOMPARE(device ? device->baseUrl : QByteArray(), url);
        QCOMPARE(device ? device->endpoint.address : key, key);
    }

    void aKeyThatWasRemovedIsNoAddress()
    {
        const QString key = QStringLiteral("127.0.0.1:8080");
        DeviceRegistry registry;
        QVERIFY(registry.find(key));
        DeviceEndpoint other = endpoint("https://wall.lan");
        QCOMPARE(registry.add(key, other).change, Change::Added);
        const std::shared_ptr<const Device> added = registry.find(key);
        QCOMPARE(added->baseUrl, QByteArray("https://wall.lan"));
        QVERIFY(!added->isRemoved);
        QVERIFY(registry.remove(key));
        QVERIFY(added->isRemoved);
        QVERIFY(!registry.find(key));
        QVERIFY(!registry.remove(key));
        QCOMPARE(registry.add(key, other).change, Change::Added);
        QVERIFY(!registry.find(key)->isRemoved);
    }

    void hostAndPortAreNamedAsRequestsNameThem_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("authority");
        QTest::addColumn<bool>("tls");
        const auto row = [](const char* address, const char* authority, bool tls) {
            QTest::newRow(address) << QString::fromLatin1(address) << QByteArray(authority) << tls;
        };
        row("wall.lan", "wall.lan", false);
        row("wall.lan:80", "wall.lan", false);
        row("wall.lan:8080", "wall.lan:8080", false);
        row("wall.lan:443", "wall.lan:443", false);
        row("https://wall.lan", "wall.lan", true);
        row("https://wall.lan:443", "wall.lan", true);
        row("https://wall.lan:80", "wall.lan:80", true);
        row("http://[fe80::80]", "[fe80::80]", false);
        row("[fe80::1%25eth0]:8080", "[fe80::1]:8080", false);
    }
    void hostAndPortAreNamedAsRequestsNameThem()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, authority);
        QFETCH(bool, tls);
        DeviceRegistry registry;
        const std::shared_ptr<const Device> device = registry.find(address);
        QVERIFY(device);
        QCOMPARE(device->authority, authority);
        QCOMPARE(device->isTls, tls);
    }

    void trustNeedsTls_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<int>("change");
        QTest::newRow("none") << QString() << int(Change::Refused);
        QTest::newRow("http") << QStringLiteral("http://") << int(Change::Refused);
        QTest::newRow("https") << QStringLiteral("https://") << int(Change::Added);
    }
    void trustNeedsTls()
    {
        QFETCH(QString, scheme);
        QFETCH(int, change);
        const QString address = scheme + QStringLiteral("wall.lan");
        std::vector<DeviceEndpoint> endpoints(3);
        endpoints[0].caFile = QStringLiteral("ca.pem");
        endpoints[1].pinnedKey = QStringLiteral("sha256//AAAA");
        endpoints[2].requireTls = true;
        for (DeviceEndpoint& trusting : endpoints) {
            trusting.address = address;
            DeviceRegistry registry;
            const DeviceRegistry::AddResult result = registry.add(QStringLiteral("wall"), trusting);
            QCOMPARE(int(result.change), change);
            QCOMPARE(result.error.contains(QStringLiteral("https://")), change == int(Change::Refused));
            QCOMPARE(registry.find(QStringLiteral("wall")) != nullptr, change == int(Change::Added));
        }
    }

    void aLoginThatTravelsInClearIsKnown_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("clear");
        for (const char* address :
             {"wall.lan", "http://192.168.0.10:8080", "localhost.lan", "127.0.0.1.lan", "[::2]"}) {
            QTest::newRow(address) << QString::fromLatin1(address) << true;
        }
        for (const char* address :
             {"https://wall.lan", "127.0.0.1", "127.1.2.3:80", "localhost:8080", "[::1]:1"}) {
            QTest::newRow(address) << QString::fromLatin1(address) << false;
        }
    }
    void aLoginThatTravelsInClearIsKnown()
    {
        QFETCH(QString, address);
        QFETCH(bool, clear);
        using Login = DeviceEndpoint::Login;
        for (const Login login : {Login::None, Login::Basic, Login::Digest, Login::Bearer}) {
            DeviceEndpoint given;
            given.address = address;
            given.login = login;
            given.user = QStringLiteral("admin");
            given.secret = QStringLiteral("secret");
            DeviceRegistry registry;
            QCOMPARE(registry.add(QStringLiteral("wall"), given).change, Change::Added);
            const std::shared_ptr<const Device> device = registry.find(QStringLiteral("wall"));
            QCOMPARE(device->hasClearLogin, clear && login != Login::None);
            QCOMPARE(device->digest != nullptr, login == Login::Digest);
        }
    }

    void eachLoginSchemeTakesWhatItsStandardAllows()
    {
        QByteArrayList all;
        for (const LoginScheme& scheme : loginSchemes) {
            QByteArray text = scheme.name;
            text += scheme.takesUser ? " user" : "";
            text += scheme.takesColonInUser ? " colon" : "";
            text += scheme.needsSecret ? " secret" : "";
            text += scheme.answersAChallenge ? " challenge" : "";
            text += scheme.runsOut ? " renewed" : "";
            all += text;
        }
        QCOMPARE(all, (QByteArrayList{"basic user", "digest user colon challenge",
                                      "bearer colon secret renewed"}));
    }

    void onlyALoginThatRunsOutIsRenewed_data()
    {
        QTest::addColumn<int>("login");
        QTest::newRow("none") << int(DeviceEndpoint::Login::None);
        for (const LoginScheme& scheme : loginSchemes) {
            QTest::newRow(scheme.name) << int(scheme.login);
        }
    }
    void onlyALoginThatRunsOutIsRenewed()
    {
        QFETCH(int, login);
        DeviceEndpoint given = endpoint("127.0.0.1:1");
        given.login = static_cast<DeviceEndpoint::Login>(login);
        given.user = QStringLiteral("admin");
        given.secret = QStringLiteral("secret");
        given.renewSecret = [](const QString&) { return QString(); };
        DeviceRegistry registry;
        const LoginScheme* const scheme = loginScheme(given.login);
        const bool runsOut = scheme != nullptr && scheme->runsOut;
        const DeviceRegistry::AddResult result = registry.add(QStringLiteral("wall"), given);
        QCOMPARE(result.change, runsOut ? Change::Added : Change::Refused);
        QVERIFY2(runsOut || result.error.contains(QLatin1String("renews")), qPrintable(result.error));
    }

    void everyLoginSchemeIsTakenWithWhatItNeedsAndGoesOutUnderItsName_data()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const LoginScheme& scheme : loginSchemes) {
            QTest::newRow(scheme.name) << index++;
        }
    }
    void everyLoginSchemeIsTakenWithWhatItNeedsAndGoesOutUnderItsName()
    {
        QFETCH(int, index);
        const LoginScheme& scheme = loginSchemes[static_cast<std::size_t>(index)];
        QCOMPARE(loginScheme(scheme.login), &scheme);
        QCOMPARE(loginSchemeNamed(scheme.name), &scheme);
        DeviceEndpoint given = endpoint("127.0.0.1:1");
        given.login = scheme.login;
        given.user = scheme.takesUser ? QStringLiteral("admin") : QString();
        given.secret = QStringLiteral("secret");
        DeviceRegistry registry;
        QCOMPARE(registry.add(QStringLiteral("wall"), given).change, Change::Added);
        const std::shared_ptr<const Device> device = registry.find(QStringLiteral("wall"));
        QCOMPARE(device->digest != nullptr, scheme.answersAChallenge);
        if (device->digest) {
            QVERIFY(device->digest->takeChallenge(QStringLiteral("Digest realm=r, nonce=n, qop=auth"), {}));
        }
        RequestHead head;
        head.method = "GET";
        head.target = "/";
        QByteArray authorization;
        QVERIFY(writeHead(head, *device, authorization).contains("\r\nAuthorization: " + authorization));
        QVERIFY2(authorization.toLower().startsWith(QByteArray(scheme.name) + ' '), authorization);

        given.user = QStringLiteral("a:b");
        DeviceRegistry::AddResult result = registry.add(QStringLiteral("colon"), given);
        QCOMPARE(result.change == Change::Added, scheme.takesColonInUser);
        QVERIFY(scheme.takesColonInUser || result.error.contains(QLatin1String(scheme.name)));
        given.user.clear();
        given.secret.clear();
        result = registry.add(QStringLiteral("no secret"), given);
        QCOMPARE(result.change == Change::Added, !scheme.needsSecret);
        QVERIFY(!scheme.needsSecret || result.error.contains(QLatin1String(scheme.name)));
    }

    void whatIsRefusedSaysWhyAndHow_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<DeviceEndpoint>("given");
        QTest::addColumn<QString>("wanted");
        const auto row = [](const char* name, const QString& key, const DeviceEndpoint& given,
                            const char* wanted) {
            QTest::newRow(name) << key << given << QString::fromLatin1(wanted);
        };
        const QString key = QStringLiteral("wall");
        const DeviceEndpoint plain = endpoint("wall.lan");
        const DeviceEndpoint tls = endpoint("https://wall.lan");
        const char* const badKey = "the key is empty or contains a control character";
        row("no key", {}, plain, badKey);
        row("a control character in the key", QStringLiteral("a\tb"), plain, badKey);
        row("no address", key, endpoint(""),
            "the address must have the form http(s)://host[:port] or host[:port]");
        DeviceEndpoint given = plain;
        given.requireTls = true;
        row("TLS", key, given, "TLS is required; the address must begin with https://");
        const char* const trust = "a CA file or a pinned key requires an address that begins with https://";
        given = plain;
        given.caFile = QStringLiteral("ca.pem");
        row("a CA file", key, given, trust);
        given = plain;
        given.pinnedKey = QStringLiteral("sha256//AAAA");
        row("a pinned key", key, given, trust);
        const char* const badLogin = "the login contains a control character";
        given = plain;
        given.user = QStringLiteral("a\nb");
        row("a control character in the user", key, given, badLogin);
        given = plain;
        given.secret = QStringLiteral("a\u0085b");
        row("a control character in the secret", key, given, badLogin);
        given = plain;
        given.login = DeviceEndpoint::Login::Basic;
        given.user = QStringLiteral("a:b");
        row("a colon in the user", key, given, "the user must not contain ':' with a basic login");
        given = plain;
        given.login = DeviceEndpoint::Login::Bearer;
        row("no secret", key, given, "a bearer login needs a secret");
        given = tls;
        given.pinnedKey = QStringLiteral("AAAA");
        row("no pin", key, given, "a pinned key must start with sha256//");
        given.pinnedKey = QStringLiteral("sha256//AAAA");
        given.caFile = QStringLiteral("ca.pem");
        given.requireTls = true;
        row("nothing wrong", key, given, "");
    }
    void whatIsRefusedSaysWhyAndHow()
    {
        QFETCH(QString, key);
        QFETCH(DeviceEndpoint, given);
        QFETCH(QString, wanted);
        DeviceRegistry registry;
        const DeviceRegistry::AddResult result = registry.add(key, given);
        QCOMPARE(result.change, wanted.isEmpty() ? Change::Added : Change::Refused);
        QCOMPARE(result.error, wanted);
        QCOMPARE(registry.find(key) != nullptr, wanted.isEmpty());
    }

    void aDeviceThatIsAddedAgainIsReplaced()
    {
        DeviceRegistry registry;
        QCOMPARE(registry.add(QStringLiteral("wall"), endpoint("a.lan")).change, Change::Added);
        QCOMPARE(registry.add(QStringLiteral("wall"), endpoint("b.lan")).change, Change::Replaced);
        QCOMPARE(registry.add(QStringLiteral("other"), endpoint("c.lan")).change, Change::Added);
        QCOMPARE(registry.find(QStringLiteral("wall"))->endpoint.address, QStringLiteral("b.lan"));
        QCOMPARE(registry.keys(), (QStringList{"other", "wall"}));
        QCOMPARE(registry.devices().size(), 2);
    }

    void anAddressKeepsItsDeviceWhileFewAreUsed()
    {
        const DeviceRegistry registry;
        const auto address = [](int i) { return QStringLiteral("h%1.lan").arg(i); };
        const std::shared_ptr<const Device> first = registry.find(address(0));
        for (int i = 1; i < 4096; ++i) {
            registry.find(address(i));
        }
        QCOMPARE(registry.find(address(0)), first);
        registry.find(address(4096));
        QVERIFY(registry.find(address(0)) != first);
    }

    void anAddressHasAHostAndAPort_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("url");
        const auto row = [](const char* name, const QString& address, const QByteArray& url) {
            QTest::newRow(name) << address << url;
        };
        const QString longest(254, 'h');
        row("the longest host", longest, "http://" + longest.toLatin1());
        row("a longer one", longest + 'h', "");
        row("begins with a dash", QStringLiteral("-a"), "");
        row("ends with a dash", QStringLiteral("a-"), "");
        row("an underscore", QStringLiteral("a_b-c.d"), "http://a_b-c.d");
        row("no host", QStringLiteral("http://:80"), "");
        row("another scheme", QStringLiteral("ftp://a"), "");
        row("a scheme in capitals", QStringLiteral("HTTPS://a"), "https://a");
        row("port 0", QStringLiteral("a:0"), "");
        row("port 1", QStringLiteral("a:1"), "http://a:1");
        row("zeros before the port", QStringLiteral("a:00080"), "http://a:80");
        row("port 65535", QStringLiteral("a:65535"), "http://a:65535");
        row("port 65536", QStringLiteral("a:65536"), "");
        row("six digits", QStringLiteral("a:000080"), "");
        row("no port", QStringLiteral("a:"), "");
        row("the shortest IPv6", QStringLiteral("[::]"), "http://[::]");
        row("a shorter one", QStringLiteral("[:]"), "");
        row("the longest IPv6", '[' + QString(45, 'f') + ']', "http://[" + QByteArray(45, 'f') + ']');
        row("a longer one in brackets", '[' + QString(46, 'f') + ']', "");
        row("a zone", QStringLiteral("[fe80::1%25eth0]"), "http://[fe80::1%25eth0]");
        row("an empty zone", QStringLiteral("[fe80::1%25]"), "");
        row("the longest zone", "[::1%25" + QString(16, 'z') + ']',
            "http://[::1%25" + QByteArray(16, 'z') + ']');
        row("a longer zone", "[::1%25" + QString(17, 'z') + ']', "");
        row("a line end", QStringLiteral("a\n"), "");
        row("a letter beyond ASCII that looks like one", QString(QChar(0x017F)), "");
        row("something before", QStringLiteral(" a"), "");
    }
    void anAddressHasAHostAndAPort()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, url);
        QCOMPARE(baseUrlOfAddress(address), url);
    }

    void thisMachineIsKnownByItsAddress_data()
    {
        QTest::addColumn<bool>("loopback");
        const auto row = [](const char* url, bool loopback) { QTest::newRow(url) << loopback; };
        row("http://localhost", true);
        row("https://LOCALHOST:1", true);
        row("http://127.0.0.1", true);
        row("http://127.255.255.255:65535", true);
        row("http://[::1]", true);
        row("http://127.0.0.1234", false);
        row("http://127.0.0", false);
        row("http://127.0.0.0.1", false);
        row("http://1127.0.0.1", false);
        row("http://localhost.lan", false);
        row("http://localhost:", false);
        row("http://[::11]", false);
        row("ftp://localhost", false);
        row("xhttp://localhost", false);
        row("localhost", false);
    }
    void thisMachineIsKnownByItsAddress()
    {
        QFETCH(bool, loopback);
        QCOMPARE(isLoopback(QTest::currentDataTag()), loopback);
    }

    void anUnknownLoginIsRefusedAndNeverTakenForNone()
    {
        QVERIFY(!loginScheme(DeviceEndpoint::Login::None));
        QVERIFY(!loginSchemeNamed(""));
        QVERIFY(!loginSchemeNamed("none"));
        QVERIFY(!loginSchemeNamed("Basic"));
        // Each enumerator but None is a scheme; the first value after them is none.
        int value = 1;
        while (loginScheme(static_cast<DeviceEndpoint::Login>(value))) {
            ++value;
        }
        QCOMPARE(std::size_t(value - 1), loginSchemes.size());
        DeviceEndpoint given = endpoint("127.0.0.1:1");
        given.login = static_cast<DeviceEndpoint::Login>(value);
        DeviceRegistry registry;
        const DeviceRegistry::AddResult result = registry.add(QStringLiteral("wall"), given);
        QCOMPARE(result.change, Change::Refused);
        QCOMPARE(result.error,
                 QStringLiteral("unknown login %1; use an enumerator of DeviceEndpoint::Login").arg(value));
        QVERIFY(!registry.find(QStringLiteral("wall")));
    }
};

QTEST_GUILESS_MAIN(TestDeviceRegistry)
#include "tst_deviceregistry.moc"
