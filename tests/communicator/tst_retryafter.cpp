// SPDX-License-Identifier: MIT
#include "communicator/http/retryafter.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

class TestRetryAfter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void secondsAndDatesSayHowLongToWait_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<qint64>("milliseconds"); // -1: it says nothing
        const auto row = [](const char* value, qint64 milliseconds) {
            QTest::newRow(value) << QByteArray(value) << milliseconds;
        };
        const qint64 longest = longestRetryAfter.count();
        row("0", 0);
        row("2", 2000);
        row(" 120 ", 120000);
        row("007", 7000);
        row("86400", longest);
        row("86401", longest);
        row("99999999", longest);
        row("99999999999999999999999999", longest);
        row("Fri, 31 Dec 1999 23:59:59 GMT", 59000);
        row("Friday, 31-Dec-99 23:59:59 GMT", 59000);
        row("Fri Dec 31 23:59:59 1999", 59000);
        row("Sat Jan  1 00:00:30 2000", 90000);
        row("Fri, 31 Dec 1999 23:58:00 GMT", 0);
        row("Mon, 01 Jan 1900 00:00:00 GMT", 0);
        row("Wed, 31 Dec 2098 23:59:59 GMT", longest);
        row("", -1);
        row(" ", -1);
        row("-1", -1);
        row("+5", -1);
        row("1.5", -1);
        row("1e3", -1);
        row("0x10", -1);
        row("5 s", -1);
        row("5, 10", -1);
        row("soon", -1);
        row("Fri, 32 Dec 1999 23:59:59 GMT", -1);
        row("Fri, 31 Dec 1999 23:59:59 CET", -1);
        row("\xff\xfe", -1);
    }
    void secondsAndDatesSayHowLongToWait()
    {
        QFETCH(QByteArray, value);
        QFETCH(qint64, milliseconds);
        const QDateTime now(QDate(1999, 12, 31), QTime(23, 59), Qt::UTC);
        const auto wait = retryAfter(value, now.addSecs(0));
        QCOMPARE(wait ? qint64(wait->count()) : qint64(-1), milliseconds);
    }

    void aYearOfTwoDigitsIsNotLongAgo()
    {
        const QDateTime now(QDate(2026, 11, 22), QTime(12, 0), Qt::UTC);
        QCOMPARE(retryAfter("Sunday, 22-Nov-26 12:00:05 GMT", now).value().count(), 5000);
        // Half a century ago is still that year, a year more is the year to come.
        QCOMPARE(retryAfter("Sunday, 22-Nov-76 12:00:05 GMT", now).value().count(), 0);
        QCOMPARE(retryAfter("Sunday, 22-Nov-75 12:00:05 GMT", now).value(), longestRetryAfter);
    }
};

QTEST_APPLESS_MAIN(TestRetryAfter)
#include "tst_retryafter.moc"
