// SPDX-License-Identifier: MIT
#include "communicator/exchangeid.h"
#include "communicator/exchangeobserver.h"
#include "communicator/http/exchangereport.h"
#include "communicator/http/refusal.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/timelimit.h"
#include "communicator/runtime/logging.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

class TestExchangeReport : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void exchangesAreCountedFromTheBeginningOfTheProcess()
    {
        static quint64 counted = 0; // of this function, however often it runs
        QCOMPARE(exchangesBegun(), counted);
        beginExchange();
        QCOMPARE(exchangesBegun(), ++counted);
    }

    void aTimeLimitThatPassedIsNamed()
    {
        HttpRequest request;
        request.expectedTime = 250;
        QCOMPARE(timeOutError(request), QStringLiteral("no complete reply within 250 ms"));
        for (const int none : {0, -1}) {
            request.expectedTime = none;
            QCOMPARE(timeOutError(request), QStringLiteral("no complete reply within 10000 ms"));
        }
        request.expectedTime = 1;
        QCOMPARE(timeLimit(request).count(), std::chrono::milliseconds::rep(1));
    }

    void whatAKeyMayHideIsMasked_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("printed");
        QTest::newRow("plain") << QStringLiteral("wall:80") << QStringLiteral("wall:80");
        QTest::newRow("login") << QStringLiteral("u:p@q@wall") << QStringLiteral("***@wall");
        QTest::newRow("query") << QStringLiteral("wall?a=1?b") << QStringLiteral("wall?***");
        QTest::newRow("both") << QStringLiteral("u@wall?a") << QStringLiteral("***@wall?***");
        QTest::newRow("nothing else") << QStringLiteral("@?") << QStringLiteral("***@?***");
        QTest::newRow("a query alone") << QStringLiteral("?a") << QStringLiteral("?***");
        QTest::newRow("line ends") << QStringLiteral("a\r\nb") << QStringLiteral("a??b");
    }
    void whatAKeyMayHideIsMasked()
    {
        QFETCH(QString, key);
        QFETCH(QString, printed);
        QCOMPARE(printableKey(key), printed);
    }

    void anAbortIsNamed()
    {
        QCOMPARE(abortedError(), QStringLiteral("the transport was stopped or the device was removed"));
    }

    void methodsHaveTheirVerbs()
    {
        QCOMPARE(QByteArray(verbOf(HttpMethod::Get)), QByteArray("GET"));
        QCOMPARE(QByteArray(verbOf(HttpMethod::Put)), QByteArray("PUT"));
        QCOMPARE(QByteArray(verbOf(HttpMethod::Post)), QByteArray("POST"));
        QCOMPARE(QByteArray(verbOf(HttpMethod::Delete)), QByteArray("DELETE"));
    }
};

QTEST_GUILESS_MAIN(TestExchangeReport)
#include "tst_exchangereport.moc"
