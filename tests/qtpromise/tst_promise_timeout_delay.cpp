// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <logcollector.h>

#include <QElapsedTimer>

#include <chrono>
#include <thread>

using namespace QtPromise;

class TestPromiseTimeoutDelay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPendingPromiseTimesOut()
    {
        Pending<int> pending;
        QVERIFY((rejectsWith<QPromiseTimeoutException>(pending.promise.timeout(1))));
        QVERIFY(
            (rejectsWith<QPromiseTimeoutException>(pending.promise.timeout(std::chrono::milliseconds(1)))));
        QVERIFY(pending.promise.isPending());
    }

    void aTimeoutGivesTheNamedError()
    {
        Pending<int> pending;
        const QString error = QStringLiteral("late");
        QCOMPARE(reasonOf(pending.promise.timeout(1, error), QString()), error);
        QCOMPARE(reasonOf(pending.promise.timeout(std::chrono::milliseconds(1), 42), 0), 42);
    }

    void aLiteralErrorDecaysToItsPointer()
    {
        Pending<void> pending;
        const char* const reason = reasonOf<const char*>(pending.promise.timeout(1, "late"), nullptr);
        QCOMPARE(QByteArray(reason), QByteArray("late"));
    }

    void aSettledPromiseSettlesTheTimeoutAtOnce()
    {
        const QtPromise::QPromise<int> input = QtPromise::QPromise<int>::resolve(1);
        const QtPromise::QPromise<int> output = input.timeout(10);
        QVERIFY(output.isFulfilled());
        QVERIFY(output != input);
        QVERIFY(QtPromise::QPromise<int>::reject(1).timeout(10).isRejected());
    }

    void theInputSettlesTheTimeoutSynchronously()
    {
        Pending<int> fulfilled;
        const QtPromise::QPromise<int> one = fulfilled.promise.timeout(60000);
        (*fulfilled.resolve)(3);
        QVERIFY(one.isFulfilled());
        QCOMPARE(valueOf(one, 0), 3);

        Pending<int> rejected;
        const QtPromise::QPromise<int> two = rejected.promise.timeout(60000);
        (*rejected.reject)(4);
        QCOMPARE(reasonOf(two, 0), 4);
    }

    void settlingStopsTheTimerAndReleasesTheError()
    {
        const auto error = std::make_shared<int>(1);
        Pending<int> pending;
        const QtPromise::QPromise<int> output = pending.promise.timeout(600000, error);
        QVERIFY(error.use_count() > 1);
        (*pending.resolve)(1);
        QCOMPARE(error.use_count(), 1L);
    }

    void settlingOnAnotherThreadStopsTheTimer()
    {
        const auto error = std::make_shared<int>(1);
        Pending<int> pending;
        const QtPromise::QPromise<int> output = pending.promise.timeout(600000, error);
        std::thread([&] { (*pending.resolve)(1); }).join();
        QVERIFY(output.isFulfilled());
        QTRY_COMPARE(error.use_count(), 1L);
    }

    void aFiredTimeoutReleasesTheOutput()
    {
        const auto captured = std::make_shared<int>(1);
        Pending<int> pending;
        {
            const QtPromise::QPromise<int> output = pending.promise.timeout(1).tapFail([captured] {});
            QVERIFY(settles(output));
        }
        QTRY_COMPARE(captured.use_count(), 1L);
        (*pending.resolve)(1); // after the timer, without effect
    }

    void aTimerThatFiresFirstWins()
    {
        Pending<int> pending;
        const QtPromise::QPromise<int> output = pending.promise.timeout(1);
        QVERIFY(settles(output));
        (*pending.resolve)(1);
        QVERIFY(output.isRejected());
        QVERIFY(pending.promise.isFulfilled());
    }

    void aTimeoutOfAPromiseThatNobodyCanSettleStillFires()
    {
        QVERIFY((rejectsWith<QPromiseTimeoutException>(
            QtPromise::QPromise<int>([](const QPromiseResolve<int>&) {}).timeout(1))));
    }

    void delayHoldsFulfilmentBack()
    {
        QElapsedTimer elapsed;
        elapsed.start();
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).delay(40), 0), 1);
        QVERIFY(elapsed.elapsed() >= 36); // coarse timers: 5 percent
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(2).delay(std::chrono::milliseconds(1)), 0), 2);
    }

    void delayPassesARejectionAtOnce()
    {
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::reject(1).delay(600000)), 1);
    }

    void delayOfZeroIsAsynchronous()
    {
        const QtPromise::QPromise<void> promise = QtPromise::QPromise<void>::resolve().delay(0);
        QVERIFY(promise.isPending());
        QVERIFY(settles(promise));
        QVERIFY(promise.isFulfilled());
    }

    void delayStartsWhenTheInputFulfils()
    {
        Pending<int> pending;
        const QtPromise::QPromise<int> promise = pending.promise.delay(1);
        QCoreApplication::processEvents();
        QVERIFY(promise.isPending());
        (*pending.resolve)(1);
        QVERIFY(settles(promise));
    }

    void aTimeoutWithoutEventDispatcherFollowsItsInput()
    {
        const LogCollector log;
        Pending<int> pending;
        bool pendingBefore = false;
        bool fulfilledAfter = false;
        std::thread([&] {
            const QtPromise::QPromise<int> output = pending.promise.timeout(1);
            pendingBefore = output.isPending();
            (*pending.resolve)(1);
            fulfilledAfter = output.isFulfilled();
        }).join();
        QVERIFY(pendingBefore);
        QVERIFY(fulfilledAfter);
        QCOMPARE(log.lines(),
                 QStringList{"tessel.promise.warning: A promise timer needs a thread with an event "
                             "dispatcher; it will not fire"});
    }
};

QTEST_GUILESS_MAIN(TestPromiseTimeoutDelay)
#include "tst_promise_timeout_delay.moc"
