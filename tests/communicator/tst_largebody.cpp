// SPDX-License-Identifier: MIT
//
// Bodies and parts that no QByteArray holds. Their values share one text, so that only the transport's copy
// is large.
#include "misbehavingserver.h"

#include <logcollector.h>

#include <communicator/httpmutilpartpackage.h>
#include <communicator/httpproxy.h>

#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <limits>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpMutilPartPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using State = HttpJsonPackage::HttpSimpleState;

namespace {

// The maximum memory that the tests use, and as much again for other programs.
constexpr qint64 wantedMemory = qint64(6) << 30;

qint64 availableMemory()
{
    QFile info(QStringLiteral("/proc/meminfo"));
    if (!info.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray& line : info.readAll().split('\n')) {
        if (line.startsWith("MemAvailable:")) {
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
        }
    }
    return 0;
}

// More than 2 GiB as JSON, 2 MiB in memory.
QVariantList largeValue()
{
    const QVariant text = QString(1 << 20, QLatin1Char('x'));
    QVariantList list;
    for (int i = 0; i < 2049; ++i) {
        list << text;
    }
    return list;
}

// The log lines below do not matter.
QStringList warnings(const LogCollector& log)
{
    return log.lines().filter(QStringLiteral(".warning: "));
}

} // namespace

Q_DECLARE_METATYPE(std::function<void(HttpJsonPackage&)>)

#define SKIP_WHEN_MEMORY_IS_SHORT()                                                                          \
    if (availableMemory() < wantedMemory)                                                                    \
    QSKIP("needs 6 GiB of free memory")

class TestLargeBody : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aJsonBodyBeyondTwoGibibytesFails_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::newRow("blocking") << true;
        QTest::newRow("non-blocking") << false;
    }
    void aJsonBodyBeyondTwoGibibytesFails()
    {
        SKIP_WHEN_MEMORY_IS_SHORT();
        QFETCH(bool, blocking);
        const MisbehavingServer server;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        package.setRequestWithJsonObj(largeValue());
        QVERIFY(package.requestData().isEmpty());
        const LogCollector log;
        if (blocking) {
            HttpProxy::getInstance()->putSync(server.address(), &package);
        } else {
            QSignalSpy answered(&package, &HttpJsonPackage::readyRead);
            QVERIFY(!HttpProxy::getInstance()->put(server.address(), &package));
            QVERIFY(answered.wait());
            QCOMPARE(answered.count(), 1);
        }
        QCOMPARE(package.getSimpleState(), State::InvalidRequest);
        QCOMPARE(warnings(log), QStringList("tessel.http.warning: PUT " + server.address() +
                                            " /api/v1/x: the body is longer than 2 GiB, the limit for JSON"));
        QCOMPARE(server.deliveries(), 0);
    }

    void aPartBeyondTwoGibibytesFails_data()
    {
        QTest::addColumn<bool>("json");
        QTest::newRow("JSON") << true;
        QTest::newRow("text") << false;
    }
    void aPartBeyondTwoGibibytesFails()
    {
        SKIP_WHEN_MEMORY_IS_SHORT();
        QFETCH(bool, json);
        const MisbehavingServer server;
        HttpMutilPartPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        // Three bytes of UTF-8 for each unit.
        package.setHttpMultiPartData(
            {{QStringLiteral("part"),
              json ? QVariant(largeValue()) : QVariant(QString(720000000, QChar(0x20ac)))}});
        const LogCollector log;
        HttpProxy::getInstance()->putMutilPartSync(server.address(), &package);
        QCOMPARE(package.getSimpleState(), State::InvalidRequest);
        QCOMPARE(warnings(log), QStringList("tessel.http.warning: PUT " + server.address() + " /api/v1/x: " +
                                            (json ? "a part is longer than 2 GiB, the limit for JSON"
                                                  : "a text part is too long to be sent")));
        QCOMPARE(server.deliveries(), 0);
    }

    void whatIsTooLongForTheHeadFails_data()
    {
        using Fill = std::function<void(HttpJsonPackage&)>;
        QTest::addColumn<Fill>("fill");
        QTest::addColumn<bool>("sent");
        // Each byte of a name or value may take three in the path and the query.
        const auto row = [](const char* name, bool sent, const Fill& fill) {
            QTest::newRow(name) << fill << sent;
        };
        const QString most(4 << 20, QLatin1Char('x'));
        const QString encoded(2 << 20, QLatin1Char('/'));
        row("query", false, [=](HttpJsonPackage& p) { p.addParameters(QStringLiteral("a"), most); });
        row("query, encoded", false,
            [=](HttpJsonPackage& p) { p.addParameters(QStringLiteral("a"), encoded); });
        row("name in the query", false, [=](HttpJsonPackage& p) { p.addParameters(most, QString()); });
        row("more than libcurl takes", false,
            [=](HttpJsonPackage& p) { p.addParameters(QStringLiteral("a"), most + most); });
        row("path", false, [=](HttpJsonPackage& p) { p.setUrl("/" + most); });
        row("longer path", false, [=](HttpJsonPackage& p) { p.setUrl("/" + most + most); });
        row("placeholder", false, [=](HttpJsonPackage& p) {
            p.setUrl(QStringLiteral("/{id}"));
            p.addPlaceHolders(QStringLiteral("id"), most + "x");
        });
        row("placeholder, many times", false, [=](HttpJsonPackage& p) {
            p.setUrl(QStringLiteral("/{id}").repeated(100000));
            p.addPlaceHolders(QStringLiteral("id"), QString(100000, QLatin1Char('x')));
        });
        row("header value", false, [](HttpJsonPackage& p) {
            p.setRequestHeader({{"X-A", QString((1 << 20) + 1, QLatin1Char('x'))}});
        });
        row("header name", false, [](HttpJsonPackage& p) {
            p.setRequestHeader({{QString((1 << 20) + 1, QLatin1Char('x')), "1"}});
        });
        row("a long query", true, [](HttpJsonPackage& p) {
            p.addParameters(QStringLiteral("a"), QString(1 << 14, QLatin1Char('x')));
        });
    }
    // Encoded and put together some of these would be larger than any QByteArray.
    void whatIsTooLongForTheHeadFails()
    {
        QFETCH(std::function<void(HttpJsonPackage&)>, fill);
        QFETCH(bool, sent);
        const MisbehavingServer server;
        HttpJsonPackage before(nullptr);
        before.setUrl(QStringLiteral("/before"));
        HttpProxy::getInstance()->putSync(server.address(), &before);
        QCOMPARE(server.deliveries(), 1);
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        fill(package);
        const LogCollector log;
        HttpProxy::getInstance()->putSync(server.address(), &package);
        QCOMPARE(package.getSimpleState(), sent ? State::Success : State::InvalidRequest);
        QCOMPARE(warnings(log).size(), sent ? 0 : 1);
        QCOMPARE(server.deliveries(), sent ? 2 : 1);
    }

    void theLongestTimeLimitIsNoShortOne_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::newRow("blocking") << true;
        QTest::newRow("non-blocking") << false;
    }
    void theLongestTimeLimitIsNoShortOne()
    {
        QFETCH(bool, blocking);
        const MisbehavingServer server;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        package.setExpectedTime(std::numeric_limits<int>::max());
        if (blocking) {
            HttpProxy::getInstance()->putSync(server.address(), &package);
        } else {
            QSignalSpy answered(&package, &HttpJsonPackage::readyRead);
            QVERIFY(HttpProxy::getInstance()->put(server.address(), &package));
            QVERIFY(answered.wait());
        }
        QCOMPARE(package.getSimpleState(), State::Success);
    }

    void aByteArrayWithoutTextFails()
    {
        SKIP_WHEN_MEMORY_IS_SHORT();
        HttpJsonPackage package(nullptr);
        package.setRequestWithJsonObj(QVariantList{QByteArray(1200000000, 'x')});
        QVERIFY(package.requestData().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestLargeBody)
#include "tst_largebody.moc"
