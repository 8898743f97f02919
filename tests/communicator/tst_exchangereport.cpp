// SPDX-License-Identifier: MIT
#include "communicator/exchangeid.h"
#include "communicator/exchangeobserver.h"
#include "communicator/http/exchangereport.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/timelimit.h"

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
