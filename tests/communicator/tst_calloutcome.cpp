// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include <communicator/calloutcome.h>
#include <communicator/exchangeobserver.h>
#include <communicator/httpproxy.h>

#include <closedport.h>

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QtTest>

#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Mode = MisbehavingServer::Mode;

namespace {

QByteArray reply(const char* status, const QByteArray& body)
{
    return QByteArray("HTTP/1.1 ") + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n\r\n" + body;
}

void get(const QString& deviceKey)
{
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/api/v1/x/{id}"));
    package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("7"));
    HttpProxy::getInstance()->getSync(deviceKey, &package);
}

} // namespace

class TestCallOutcome : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false")); }

    void anOutcomeSaysWhatFailedAndWhy_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("succeeded");
        QTest::addColumn<QString>("why");
        const auto row = [](const char* name, const QByteArray& answer, State::HttpSimpleState state,
                            int status, int code, const char* message, bool succeeded, const char* why) {
            QTest::newRow(name) << answer << int(state) << status << code << QString::fromUtf8(message)
                                << succeeded << QString::fromUtf8(why);
        };
        row("succeeds", reply("200 OK", R"({"code":0,"message":"All steps succeeded","data":{}})"),
            State::Success, 200, 0, "All steps succeeded", true, "succeeded");
        row("no envelope", reply("200 OK", "[1]"), State::Success, 200, 0, "", true,
            "succeeded, but the reply is not a JSON object");
        row("refused by code", reply("200 OK", R"({"code":3,"message":"out of range"})"), State::Success, 200,
            3, "out of range", false, "the device refused it: out of range (code 3)");
        row("refused without a message", reply("200 OK", R"({"code":-1})"), State::Success, 200, -1, "",
            false, "the device refused it (code -1)");
        row("refused by a code that is no number", reply("200 OK", R"({"code":"x"})"), State::Success, 200,
            -1, "", false, "the device refused it (code -1)");
        row("an error with a code that is no number", reply("502 Bad", R"({"code":"x"})"), State::HttpFailure,
            502, 0, "", false, "502");
        row("refused by status and code", reply("400 Bad", R"({"code":5,"message":"no"})"),
            State::HttpFailure, 400, 5, "no", false, "the device refused it: no (code 5)");
        row("an error page", reply("502 Bad", "<html>"), State::HttpFailure, 502, 0, "", false, "502");
        row("an error with a message", reply("500 Oops", R"({"message":"overheated"})"), State::HttpFailure,
            500, 0, "overheated", false, ": overheated");
        row("cut", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n{", State::Broken, 200, 0, "", false, "");
    }
    void anOutcomeSaysWhatFailedAndWhy()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, state);
        QFETCH(int, status);
        QFETCH(int, code);
        QFETCH(QString, message);
        QFETCH(bool, succeeded);
        QFETCH(QString, why);
        MisbehavingServer server(Mode::Raw);
        server.setRaw(answer);
        CallOutcome outcome;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x/7"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        const auto exchanges = outcome.exchanges();
        QCOMPARE(exchanges.size(), 1);
        const ExchangeOutcome& one = exchanges.first();
        QCOMPARE(one.id, outcome.ids().latest());
        QCOMPARE(one.deviceKey, server.address());
        QCOMPARE(one.verb, QByteArray("GET"));
        QCOMPARE(one.path, QByteArray("/api/v1/x/7"));
        QVERIFY(one.milliseconds >= 0);
        QCOMPARE(outcome.hasFailed(), !succeeded);
        const bool isFine = succeeded && !one.isUnreadable;
        QCOMPARE(outcome.text(), isFine ? QStringLiteral("all exchanges succeeded") : one.text());
        const QString start = QStringLiteral("GET /api/v1/x/7 on ") + server.address() + QStringLiteral(": ");
        QVERIFY2(one.text().startsWith(start) && one.text().size() > start.size(), qPrintable(one.text()));
        for (const ExchangeOutcome& checked : {one, ExchangeOutcome::of(package)}) {
            QCOMPARE(int(checked.state), state);
            QCOMPARE(checked.status, state == State::Broken ? checked.status : status);
            QCOMPARE(checked.code, code);
            QCOMPARE(checked.message, message);
            QCOMPARE(checked.succeeded(), succeeded);
        }
        QVERIFY2(one.text().contains(why), qPrintable(one.text()));
    }

    void everyFailureHasAReasonForPeople_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("why");
        const auto row = [](State::HttpSimpleState state, const char* why) {
            QTest::newRow(why) << int(state) << QString::fromLatin1(why);
        };
        row(State::Success, "succeeded");
        row(State::InvalidRequest, "the request could not be sent");
        row(State::HostNotFound, "the host name has no address");
        row(State::Unreachable, "no connection to the device");
        row(State::TimedOut, "no reply in time");
        row(State::Broken, "the reply is incomplete or not HTTP");
        row(State::HttpFailure, "the device answered with an error");
        row(State::LimitExceeded, "the reply is too large");
        row(State::TlsFailure, "no trusted TLS session");
        row(State::FileFailure, "a file could not be read or written");
        row(State::Aborted, "the request was cancelled, the device removed or the transport stopped");
    }
    void everyFailureHasAReasonForPeople()
    {
        QFETCH(int, state);
        QFETCH(QString, why);
        ExchangeOutcome outcome;
        outcome.deviceKey = QStringLiteral("wall");
        outcome.path = "/x";
        outcome.state = State::HttpSimpleState(state);
        QCOMPARE(outcome.text(), QStringLiteral("/x on wall: ") + why);
        QCOMPARE(outcome.succeeded(), state == State::Success);
    }

    void aTextPrefersWhatTheDeviceSaid_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("why");
        const auto row = [](const char* name, State::HttpSimpleState state, int status, int code,
                            const char* message, const char* reason, const char* why) {
            QTest::newRow(name) << int(state) << status << code << QString::fromLatin1(message)
                                << QString::fromLatin1(reason) << QString::fromLatin1(why);
        };
        row("a code", State::HttpFailure, 400, 3, "too high", "r",
            "the device refused it: too high (code 3)");
        row("a code alone", State::Success, 200, 3, "", "", "the device refused it (code 3)");
        row("a reason and a message", State::HttpFailure, 500, 0, "too hot", "r", "r: too hot");
        row("a reason alone", State::Broken, 200, 0, "", "r", "r");
        row("a status and a message", State::HttpFailure, 500, 0, "too hot", "", "HTTP status 500: too hot");
        row("a status alone", State::HttpFailure, 500, 0, "", "", "HTTP status 500");
        row("a status of a success", State::Success, 200, 0, "done", "", "succeeded");
        row("nothing", State::TimedOut, 0, 0, "", "", "no reply in time");
    }
    void aTextPrefersWhatTheDeviceSaid()
    {
        QFETCH(int, state);
        QFETCH(int, status);
        QFETCH(int, code);
        QFETCH(QString, message);
        QFETCH(QString, reason);
        QFETCH(QString, why);
        ExchangeOutcome outcome;
        outcome.deviceKey = QStringLiteral("wall");
        outcome.verb = "PUT";
        outcome.path = "/x";
        outcome.state = State::HttpSimpleState(state);
        outcome.status = status;
        outcome.code = code;
        outcome.message = message;
        outcome.reason = reason;
        QCOMPARE(outcome.text(), QStringLiteral("PUT /x on wall: ") + why);
    }

    void whatAnObserverLearnedIsKept()
    {
        ExchangeRecord record;
        record.id = 7;
        record.deviceKey = QStringLiteral("wall");
        record.verb = "PUT";
        record.path = "/x?y=1";
        record.state = State::HttpFailure;
        record.status = 500;
        record.milliseconds = 12;
        record.reason = QStringLiteral("why");
        record.reply = R"({"code":3,"message":"no"})";
        const ExchangeOutcome outcome = ExchangeOutcome::of(record);
        QCOMPARE(outcome.id, ExchangeId(7));
        QCOMPARE(outcome.deviceKey, QStringLiteral("wall"));
        QCOMPARE(outcome.verb, QByteArray("PUT"));
        QCOMPARE(outcome.path, QByteArray("/x?y=1"));
        QCOMPARE(outcome.state, State::HttpFailure);
        QCOMPARE(outcome.status, 500);
        QCOMPARE(outcome.milliseconds, qint64(12));
        QCOMPARE(outcome.reason, QStringLiteral("why"));
        QCOMPARE(outcome.code, 3);
        QCOMPARE(outcome.message, QStringLiteral("no"));
    }

    void aPackageTellsWhatWasAskedOfWhom()
    {
        HttpJsonPackage package(nullptr);
        package.setDevkey(QStringLiteral("wall"));
        package.setUrl(QStringLiteral("/x/{id}"));
        const ExchangeOutcome outcome = ExchangeOutcome::of(package);
        QCOMPARE(outcome.deviceKey, QStringLiteral("wall"));
        QCOMPARE(outcome.path, QByteArray("/x/%7Bid%7D"));
    }

    void aLongReplyIsNoEnvelope_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("code");
        QTest::newRow("as long as one may be") << 65536 << 3;
        QTest::newRow("longer") << 65537 << 0;
    }
    void aLongReplyIsNoEnvelope()
    {
        QFETCH(int, size);
        QFETCH(int, code);
        ExchangeRecord record;
        record.reply = QByteArray(R"({"code":3})").leftJustified(size, ' ');
        QCOMPARE(ExchangeOutcome::of(record).code, code);
    }

    // An observer does not wait for the calls of others, so one that collects outcomes itself may be done
    // while another thread is still telling them. Of use under the sanitizers.
    void anObserverMayCollectOutcomes()
    {
        ExchangeRecord other;
        other.reply = "{\"code\":3,\"data\":\"" + QByteArray(60000, 'x') + "\"}";
        std::atomic<int> begun{0};
        int refused = 0;
        const ObserverHandle observer = addExchangeObserver([&](const ExchangeRecord& record) {
            if (record.id != 0) {
                ++begun; // and the collector is told next
                return;
            }
            std::thread thread;
            {
                CallOutcome outcome;
                other.id = beginExchange();
                const int before = begun;
                thread = std::thread([&] { tellObservers(other); });
                const QDeadlineTimer deadline(30000);
                while (!deadline.hasExpired() &&
                       (begun == before || (refused == 0 && !outcome.hasFailed()))) {
                    std::this_thread::yield();
                }
                refused += outcome.hasFailed() ? 1 : 0;
            }
            thread.join();
        });
        for (int round = 0; round < 200; ++round) {
            tellObservers(ExchangeRecord());
        }
        QVERIFY(refused >= 1);
    }

    void aDeviceThatIsNotThereHasAReason()
    {
        const ClosedPort closed;
        CallOutcome outcome;
        get(closed.address());
        QCOMPARE(outcome.exchanges().size(), 1);
        QCOMPARE(outcome.exchanges().first().state, State::Unreachable);
        QCOMPARE(outcome.exchanges().first().path, QByteArray("/api/v1/x/7"));
        QVERIFY(!outcome.exchanges().first().reason.isEmpty());
    }

    void aDownloadWithoutADestinationSaysSo()
    {
        MisbehavingServer server;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getFileDownloadSync(server.address(), &package);
        const ExchangeOutcome outcome = ExchangeOutcome::of(package);
        QCOMPARE(outcome.state, State::FileFailure);
        QCOMPARE(outcome.reason, QStringLiteral("the download has no destination"));
        QCOMPARE(server.deliveries(), 0);
    }

    void aCallThatSendsNothingSaysSo()
    {
        const CallOutcome outcome;
        QVERIFY(!outcome.hasFailed());
        QVERIFY(outcome.exchanges().isEmpty());
        QCOMPARE(
            outcome.text(),
            QStringLiteral("nothing was sent: a cache answered, or the operation refused its arguments"));
    }

    void whatDoesNotWaitIsToldOnceItEnded()
    {
        MisbehavingServer server(Mode::Stall);
        CallOutcome outcome;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        package.setExpectedTime(60000);
        QSignalSpy done(&package, &HttpJsonPackage::readyRead);
        HttpProxy::getInstance()->put(server.address(), &package);
        QVERIFY(server.waitForDeliveries(1));
        QCOMPARE(outcome.text(), QStringLiteral("an exchange is still under way"));
        QVERIFY(!outcome.hasFailed());
        outcome.ids().cancel();
        QTRY_COMPARE(done.size(), 1);
        QVERIFY(outcome.hasFailed());
        QCOMPARE(outcome.exchanges().first().state, State::Aborted);
        QVERIFY2(outcome.text().contains(QLatin1String("cancelled")), qPrintable(outcome.text()));
    }

    void oneThatIsStillUnderWayIsToldThoughAnotherEnded()
    {
        MisbehavingServer server;
        CallOutcome outcome;
        get(server.address());
        QCOMPARE(outcome.text(), QStringLiteral("all exchanges succeeded"));
        server.setMode(Mode::Stall);
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        package.setExpectedTime(60000);
        QSignalSpy done(&package, &HttpJsonPackage::readyRead);
        HttpProxy::getInstance()->put(server.address(), &package);
        QCOMPARE(outcome.text(), QStringLiteral("an exchange is still under way"));
        outcome.ids().cancel();
        QTRY_COMPARE(done.size(), 1);
    }

    void onlyWhatTheThreadBeginsWhileItLivesBelongsToIt()
    {
        MisbehavingServer server;
        get(server.address());
        CallOutcome outer;
        {
            CallOutcome inner;
            get(server.address());
            QCOMPARE(inner.exchanges().size(), 1);
        }
        std::thread(get, server.address()).join();
        QCOMPARE(outer.exchanges().size(), 1);
        get(server.address());
        QCOMPARE(outer.exchanges().size(), 2);
    }

    void theLastFailureIsTheOneThatIsTold()
    {
        MisbehavingServer server(Mode::RawKeepAlive);
        CallOutcome outcome;
        for (const char* message : {"first", "second"}) {
            server.setRaw(reply("200 OK", QByteArray(R"({"code":1,"message":")") + message + "\"}"));
            get(server.address());
        }
        server.setRaw(reply("200 OK", "{}"));
        get(server.address());
        QCOMPARE(outcome.exchanges().size(), 3);
        QVERIFY(outcome.text().endsWith(QLatin1String("second (code 1)")));
    }

    void theLatestOperationIsKnownAfterwards()
    {
        MisbehavingServer server(Mode::Raw);
        server.setRaw("HTTP/1.1 503 Busy\r\nRetry-After: 120\r\nContent-Length: 0\r\n\r\n");
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x/{id}"));
        package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("a b"));
        package.addParameters(QStringLiteral("q"), QStringLiteral("1"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        const OperationOutcome last = OperationOutcome::last();
        QVERIFY(last.isFinished());
        QVERIFY(last.hasFailed());
        QCOMPARE(last.exchanges().size(), 1);
        for (const ExchangeOutcome& one : {last.exchanges().first(), ExchangeOutcome::of(package)}) {
            QCOMPARE(one.id, last.ids().front());
            QCOMPARE(one.deviceKey, server.address());
            QCOMPARE(one.verb, QByteArray("GET"));
            QCOMPARE(one.path, QByteArray("/api/v1/x/a%20b?q=1"));
            QCOMPARE(one.state, State::HttpFailure);
            QCOMPARE(one.status, 503);
            QCOMPARE(one.retryAfter, qint64(120000));
            QCOMPARE(one.reason, QStringLiteral("HTTP status 503"));
            QVERIFY(one.milliseconds >= 0);
        }
    }

    void whatDoesNotWaitIsKnownByItsPackage()
    {
        const ClosedPort closed;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        QSignalSpy done(&package, &HttpJsonPackage::readyRead);
        HttpProxy::getInstance()->put(closed.address(), &package);
        const OperationOutcome last = OperationOutcome::last();
        QTRY_COMPARE(done.size(), 1);
        const ExchangeOutcome one = ExchangeOutcome::of(package);
        QCOMPARE(one.id, last.ids().front());
        QCOMPARE(one.verb, QByteArray("PUT"));
        QCOMPARE(one.state, State::Unreachable);
        QVERIFY(!one.reason.isEmpty());
        QCOMPARE(one.text(), last.text());
    }

    void anOutcomeOutlivesItsPackage()
    {
        MisbehavingServer server(Mode::Stall);
        {
            HttpJsonPackage package(nullptr);
            package.setUrl(QStringLiteral("/api/v1/x"));
            HttpProxy::getInstance()->put(server.address(), &package);
        }
        const OperationOutcome last = OperationOutcome::last();
        QVERIFY(server.waitForDeliveries(1));
        QVERIFY(!last.isFinished());
        HttpProxy::getInstance()->cancelAll(server.address());
        QTRY_VERIFY(last.isFinished());
        QCOMPARE(last.exchanges().first().state, State::Aborted);
    }

    void aLongReplyIsNotKept()
    {
        const QByteArray filler(1 << 20, 'x');
        MisbehavingServer server(Mode::Raw);
        server.setRaw(reply("200 OK", "{\"code\":3,\"data\":\"" + filler + "\"}"));
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        QCOMPARE(OperationOutcome::last().exchanges().first().state, State::Success);
        QCOMPARE(OperationOutcome::last().exchanges().first().code, 0);
    }

    void noOperationHasNoOutcome()
    {
        QVERIFY(OperationOutcome().ids().empty());
        QVERIFY(OperationOutcome().isFinished());
        std::thread([] {
            QVERIFY(OperationOutcome::last().ids().empty());
            QVERIFY(OperationOutcome::last().text().startsWith(QLatin1String("nothing was sent")));
        }).join();
    }

    void theLatestThousandAreKept()
    {
        CallOutcome outcome;
        for (int i = 0; i < 1001; ++i) {
            get(QStringLiteral("no address %1").arg(i));
        }
        QCOMPARE(outcome.exchanges().size(), 1000);
        QCOMPARE(outcome.exchanges().first().deviceKey, QStringLiteral("no address 1"));
    }
};

QTEST_GUILESS_MAIN(TestCallOutcome)
#include "tst_calloutcome.moc"
