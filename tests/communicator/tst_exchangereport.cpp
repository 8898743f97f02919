// SPDX-License-Identifier: MIT
#include "communicator/exchangeid.h"
#include "communicator/exchangeobserver.h"
#include "communicator/http/exchangereport.h"
#include "communicator/http/refusal.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/timelimit.h"
#include "communicator/runtime/logging.h"

#include <logcollector.h>

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

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
        QCOMPARE(cancelledError(), QStringLiteral("the application cancelled the request"));
    }

    void anExchangeIsOneLineAndAFailureAnother_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("place"); // as the warning names it
        const auto row = [](const char* name, const char* path, const char* target,
                            State::HttpSimpleState state, const char* place) {
            QTest::newRow(name) << QString::fromLatin1(path) << QByteArray(target) << int(state)
                                << QString::fromLatin1(place);
        };
        row("a success", "/x", "/sent", State::Success, "");
        row("a failure", "/x", "/sent", State::Broken, "/sent");
        row("nothing was sent", "/x/{id}", "", State::TimedOut, "/x/a%20b?q=1");
        row("no path", "", "", State::InvalidRequest, "(no path)");
    }
    void anExchangeIsOneLineAndAFailureAnother()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, target);
        QFETCH(int, state);
        QFETCH(QString, place);
        HttpRequest request;
        request.id = 7;
        request.deviceKey = QStringLiteral("me:secret@wall");
        request.method = HttpMethod::Put;
        request.path = path;
        request.placeHolders.insert(QStringLiteral("id"), QStringLiteral("a b"));
        request.parameters.insert(QStringLiteral("q"), QStringLiteral("1"));
        ExchangeSummary summary;
        summary.started = std::chrono::steady_clock::now() - std::chrono::hours(1);
        summary.target = target;
        summary.status = 201;
        summary.state = State::HttpSimpleState(state);
        summary.bytesSent = 3;
        summary.bytesReceived = 4;
        summary.error = QStringLiteral("why");
        summary.reply = "body";
        std::vector<ExchangeRecord> records;
        const ObserverHandle observer =
            addExchangeObserver([&records](const ExchangeRecord& record) { records.push_back(record); });
        const LogCollector log;
        reportExchange(request, summary);

        const QByteArray sent = target.isEmpty() && !path.isEmpty() ? QByteArray("/x/a%20b?q=1") : target;
        QCOMPARE(records.size(), std::size_t(1));
        const ExchangeRecord& record = records[0];
        QCOMPARE(record.id, ExchangeId(7));
        QCOMPARE(record.deviceKey, QStringLiteral("***@wall"));
        QCOMPARE(record.verb, QByteArray("PUT"));
        QCOMPARE(record.path, sent);
        QCOMPARE(record.status, 201);
        QCOMPARE(int(record.state), state);
        QVERIFY(record.milliseconds >= 3600000 && record.milliseconds < 7200000);
        QCOMPARE(record.bytesSent, qint64(3));
        QCOMPARE(record.bytesReceived, qint64(4));
        QCOMPARE(record.reason, QStringLiteral("why"));
        QCOMPARE(record.reply, QByteArray("body"));

        QStringList lines;
        if (!place.isEmpty()) {
            lines << QStringLiteral("tessel.http.warning: PUT ***@wall ") + place + QStringLiteral(": why");
        }
        lines << QStringLiteral("tessel.http.info: #7 PUT ***@wall %1: status 201, state %2, %3 ms, "
                                "3 bytes out, 4 in")
                     .arg(QString::fromLatin1(sent))
                     .arg(state)
                     .arg(record.milliseconds);
        QCOMPARE(log.lines(), lines);
    }

    void whatNobodyWantsToKnowIsNotTold()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.http.info=false"));
        QVERIFY(!isExchangeObserved());
        reportExchange({}, {});
        QVERIFY(!isExchangeObserved());
        int told = 0;
        const ObserverHandle observer = addExchangeObserver([&told](const ExchangeRecord&) { ++told; });
        QVERIFY(isExchangeObserved());
        reportExchange({}, {});
        QCOMPARE(told, 1);
    }

    void progressSaysWhoseItIs()
    {
        HttpRequest request;
        request.id = 7;
        request.deviceKey = QStringLiteral("me:secret@wall");
        request.method = HttpMethod::Post;
        std::vector<ExchangeProgress> told;
        const ObserverHandle observer =
            addProgressObserver([&told](const ExchangeProgress& progress) { told.push_back(progress); });
        reportProgress(request, "/x", {1, 2, 3, 4});
        QCOMPARE(told.size(), std::size_t(1));
        QCOMPARE(told[0].id, ExchangeId(7));
        QCOMPARE(told[0].deviceKey, QStringLiteral("***@wall"));
        QCOMPARE(told[0].verb, QByteArray("POST"));
        QCOMPARE(told[0].path, QByteArray("/x"));
        QCOMPARE(told[0].bytesSent, qint64(1));
        QCOMPARE(told[0].bytesToSend, qint64(2));
        QCOMPARE(told[0].bytesReceived, qint64(3));
        QCOMPARE(told[0].bytesToReceive, qint64(4));
    }

    void whatWasNotSentIsReportedWithItsState()
    {
        std::vector<ExchangeRecord> records;
        const ObserverHandle observer =
            addExchangeObserver([&records](const ExchangeRecord& record) { records.push_back(record); });
        const LogCollector log;
        const auto started = std::chrono::steady_clock::now() - std::chrono::hours(1);
        const HttpReply reply = failWithoutSending({}, State::Aborted, QStringLiteral("why"), started);
        QCOMPARE(reply.state, State::Aborted);
        QCOMPARE(reply.status, 0);
        QCOMPARE(records.size(), std::size_t(1));
        QCOMPARE(records[0].state, State::Aborted);
        QCOMPARE(records[0].reason, QStringLiteral("why"));
        QVERIFY(records[0].milliseconds >= 3600000);
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
