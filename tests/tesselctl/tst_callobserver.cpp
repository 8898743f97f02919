// SPDX-License-Identifier: MIT
#include "tesselctl/requests/callobserver.h"

#include <QtTest>

#include <thread>

using namespace TesselCtl;
using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

namespace {

ExchangeId beginIn(CallObserver& call)
{
    const CallObserver::Scope scope = call.collect();
    return beginExchange();
}

// All of them of one device and path.
void end(ExchangeId id, State::HttpSimpleState state)
{
    ExchangeRecord record;
    record.id = id;
    record.state = state;
    record.deviceKey = QStringLiteral("wall");
    record.path = "/api/v1/x";
    record.reason = QStringLiteral("exchange %1").arg(id);
    tellObservers(record);
}

void move(ExchangeId id, qint64 bytes)
{
    ExchangeProgress progress;
    progress.id = id;
    progress.bytesSent = bytes;
    tellObservers(progress);
}

} // namespace

class TestCallObserver : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void callsSideBySideKnowTheirOwnExchanges()
    {
        CallObserver first;
        CallObserver second;
        const ExchangeId good = beginIn(first);
        const ExchangeId bad = beginIn(second);
        move(good, 3);
        move(bad, 5);
        QCOMPARE(first.progress()->bytesSent, qint64(3));
        QCOMPARE(second.progress()->bytesSent, qint64(5));
        end(good, State::Success);
        QVERIFY(!second.latest());
        end(bad, State::TimedOut);
        QCOMPARE(first.latest()->id, good);
        QCOMPARE(second.latest()->id, bad);
        QCOMPARE(first.outcome().code, Done);
        QCOMPARE(second.outcome().code, TimedOut);
        QCOMPARE(second.outcome().error, QStringLiteral("exchange %1").arg(bad));
    }

    void whatIsOfNoCallIsNotHeard()
    {
        CallObserver call;
        const ExchangeId id = beginExchange();
        move(id, 1);
        end(id, State::Success);
        move(0, 1);
        end(0, State::Success);
        QVERIFY(!call.progress());
        QVERIFY(!call.latest());
    }

    void aCallWithoutAnExchangeFailedUnlessItSaysOtherwise()
    {
        const CallObserver call;
        QCOMPARE(call.outcome().code, Failed);
        QCOMPARE(call.outcome().error, QStringLiteral("the operation sent no request"));
        QCOMPARE(call.outcome(true).code, Done);
        QCOMPARE(call.outcome(false).code, Failed);
        QCOMPARE(call.outcome(false).error, QStringLiteral("the operation failed without sending a request"));
    }

    void aCallThatFailedAfterGoodExchangesFoundNothing()
    {
        CallObserver call;
        end(beginIn(call), State::Success);
        QCOMPARE(call.outcome(false).code, Failed);
        QCOMPARE(call.outcome(false).error,
                 QStringLiteral("the request succeeded, but the operation found nothing to return"));
    }

    void aCallThatFailedNamesItsLastFailure()
    {
        CallObserver call;
        end(beginIn(call), State::TlsFailure);
        end(beginIn(call), State::TimedOut);
        end(beginIn(call), State::Success);
        QCOMPARE(call.outcome().code, Done);
        QCOMPARE(call.outcome(true).code, Done);
        QCOMPARE(call.outcome(false).code, TimedOut);
    }

    void theWaitEndsWithTheLastExchange()
    {
        CallObserver call;
        const ExchangeId first = beginIn(call);
        const ExchangeId second = beginIn(call);
        const ExchangeId foreign = beginExchange();
        std::thread teller([=] {
            end(foreign, State::Success);
            end(second, State::Success);
            end(first, State::Success);
        });
        call.waitForAll();
        QCOMPARE(call.latest()->id, first);
        teller.join();
    }

    void theWaitIncludesWhatTheEventLoopBegins()
    {
        CallObserver call;
        const CallObserver::Scope scope = call.collect();
        ExchangeId later = 0;
        QTimer::singleShot(0, this, [&later] {
            later = beginExchange();
            end(later, State::Success);
        });
        end(beginExchange(), State::Success);
        call.waitForAll();
        QVERIFY(later != 0);
        QCOMPARE(call.latest()->id, later);
    }
};

QTEST_GUILESS_MAIN(TestCallObserver)
#include "tst_callobserver.moc"
