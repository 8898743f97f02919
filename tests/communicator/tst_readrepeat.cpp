// SPDX-License-Identifier: MIT
#include "communicator/http/readrepeat.h"
#include "communicator/requestlimits.h"

#include <QtTest>

#include <algorithm>
#include <set>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;
using State = IHttpVersionTrigger;
using Clock = std::chrono::steady_clock;

namespace {

HttpRequest read(int repeats = 0, HttpMethod method = HttpMethod::Get)
{
    HttpRequest request;
    request.method = method;
    request.repeats = repeats;
    request.expectedTime = 3600000;
    return request;
}

HttpReply busy(int status = 503, const QString& wait = {}, State::HttpSimpleState state = State::HttpFailure)
{
    HttpReply reply;
    reply.state = state;
    reply.status = status;
    if (!wait.isEmpty()) {
        reply.headers.insert(QStringLiteral("Retry-After"), wait);
    }
    return reply;
}

} // namespace

class TestReadRepeat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        RequestLimits limits;
        limits.repeatReads = true;
        setRequestLimits(limits);
    }
    void cleanup() { setRequestLimits({}); }

    void aReadIsRepeatedAfterAWhileThatGrows_data()
    {
        QTest::addColumn<int>("repeats");
        QTest::addColumn<QString>("asked");
        QTest::addColumn<int>("least");
        QTest::addColumn<int>("most");
        QTest::newRow("first") << 0 << QString() << 100 << 125;
        QTest::newRow("second") << 1 << QString() << 200 << 250;
        QTest::newRow("third") << 2 << QString() << 400 << 500;
        QTest::newRow("fourth") << 3 << QString() << 800 << 1000;
        QTest::newRow("fifth") << 4 << QString() << 1600 << 1850;
        QTest::newRow("sixth") << 5 << QString() << 3200 << 3450;
        QTest::newRow("seventh") << 6 << QString() << 5000 << 5250;
        QTest::newRow("eighth") << 7 << QString() << 5000 << 5250;
        QTest::newRow("hundredth") << 99 << QString() << 5000 << 5250;
        QTest::newRow("the device asks for more") << 0 << QStringLiteral("2") << 2000 << 2250;
        QTest::newRow("the device asks for less") << 5 << QStringLiteral("2") << 3200 << 3450;
    }
    void aReadIsRepeatedAfterAWhileThatGrows()
    {
        QFETCH(int, repeats);
        QFETCH(QString, asked);
        QFETCH(int, least);
        QFETCH(int, most);
        std::set<qint64> waits;
        for (int i = 0; i < 6000; ++i) { // so many that none of them is left out
            waits.insert(repeatAfter(read(repeats), busy(503, asked), Clock::now()).value().count());
        }
        QCOMPARE(*waits.begin(), qint64(least));
        QCOMPARE(*waits.rbegin(), qint64(most));
    }

    void onlyAReadThatABusyDeviceRefusedIsRepeated_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("isRepeated");
        const auto row = [](const char* name, HttpMethod method, int status, State::HttpSimpleState state,
                            bool isRepeated) {
            QTest::newRow(name) << int(method) << status << int(state) << isRepeated;
        };
        row("unavailable", HttpMethod::Get, 503, State::HttpFailure, true);
        row("too many", HttpMethod::Get, 429, State::HttpFailure, true);
        row("another failure", HttpMethod::Get, 500, State::HttpFailure, false);
        row("not found", HttpMethod::Get, 404, State::HttpFailure, false);
        row("a reply that was cut", HttpMethod::Get, 503, State::Broken, false);
        row("PUT", HttpMethod::Put, 503, State::HttpFailure, false);
        row("POST", HttpMethod::Post, 503, State::HttpFailure, false);
        row("DELETE", HttpMethod::Delete, 503, State::HttpFailure, false);
    }
    void onlyAReadThatABusyDeviceRefusedIsRepeated()
    {
        QFETCH(int, method);
        QFETCH(int, status);
        QFETCH(int, state);
        QFETCH(bool, isRepeated);
        const auto wait = repeatAfter(read(0, HttpMethod(method)),
                                      busy(status, {}, State::HttpSimpleState(state)), Clock::now());
        QCOMPARE(wait.has_value(), isRepeated);
    }

    void theTimeLimitHoldsForAllAttempts()
    {
        HttpRequest asked = read();
        asked.expectedTime = 60000;
        QVERIFY(repeatAfter(asked, busy(), Clock::now()));
        QVERIFY(repeatAfter(asked, busy(), Clock::now() - 30s));
        QVERIFY(!repeatAfter(asked, busy(), Clock::now() - 59900ms));
        QVERIFY(!repeatAfter(asked, busy(503, QStringLiteral("60")), Clock::now()));
    }

    void nothingIsRepeatedUnlessItIsWanted()
    {
        setRequestLimits({});
        QVERIFY(!repeatAfter(read(), busy(), Clock::now()));
    }
};

QTEST_GUILESS_MAIN(TestReadRepeat)
#include "tst_readrepeat.moc"
