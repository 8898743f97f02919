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
        QString reason;
        QVERIFY(registry.find(key));
        DeviceEndpoint other = endpoint("https://wall.lan");
        QCOMPARE(registry.add(key, other, reason), Change::Added);
        const std::shared_ptr<const Device> added = registry.find(key);
        QCOMPARE(added->baseUrl, QByteArray("https://wall.lan"));
        QVERIFY(!added->isRemoved);
        QVERIFY(registry.remove(key));
        QVERIFY(added->isRemoved);
        QVERIFY(!registry.find(key));
        QVERIFY(!registry.remove(key));
        QCOMPARE(registry.add(key, other, reason), Change::Added);
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
            QString reason;
            QCOMPARE(int(registry.add(QStringLiteral("wall"), trusting, reason)), change);
            QCOMPARE(reason.contains(QStringLiteral("https://")), change == int(Change::Refused));
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
            QString reason;
            QCOMPARE(registry.add(QStringLiteral("wall"), given, reason), Change::Added);
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
        QString reason;
        const LoginScheme* const scheme = loginScheme(given.login);
        const bool runsOut = scheme != nullptr && scheme->runsOut;
        QCOMPARE(registry.add(QStringLiteral("wall"), given, reason),
                 runsOut ? Change::Added : Change::Refused);
        QVERIFY2(runsOut || reason.contains(QLatin1String("renews")), qPrintable(reason));
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
        QString reason;
        QCOMPARE(registry.add(QStringLiteral("wall"), given, reason), Change::Added);
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
        QCOMPARE(registry.add(QStringLiteral("colon"), given, reason) == Change::Added,
                 scheme.takesColonInUser);
        QVERIFY(scheme.takesColonInUser || reason.contains(QLatin1String(scheme.name)));
        given.user.clear();
        given.secret.clear();
        QCOMPARE(registry.add(QStringLiteral("no secret"), given, reason) == Change::Added,
                 !scheme.needsSecret);
        QVERIFY(!scheme.needsSecret || reason.contains(QLatin1String(scheme.name)));
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
        QString reason;
        QCOMPARE(registry.add(QStringLiteral("wall"), given, reason), Change::Refused);
        QCOMPARE(reason,
                 QStringLiteral("unknown login %1; use an enumerator of DeviceEndpoint::Login").arg(value));
        QVERIFY(!registry.find(QStringLiteral("wall")));
    }
};

QTEST_GUILESS_MAIN(TestDeviceRegistry)
#include "tst_deviceregistry.moc"
