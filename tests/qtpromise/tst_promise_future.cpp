// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <QFutureInterface>
#include <QThread>
#include <QUnhandledException>
#include <QtConcurrent>

#include <future>
#include <stdexcept>

using namespace QtPromise;

namespace {

class Failure : public QException
{
public:
    void raise() const override { throw *this; }
    Failure* clone() const override { return new Failure(*this); }
};

QFuture<int> finished(int value)
{
    QFutureInterface<int> interface;
    interface.reportStarted();
    interface.reportFinished(&value);
    return interface.future();
}

QFuture<int> cancelled()
{
    QFutureInterface<int> interface;
    interface.reportStarted();
    interface.reportCanceled();
    interface.reportFinished();
    return interface.future();
}

} // namespace

class TestPromiseFuture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resolveOfAFutureIsPendingOnReturn()
    {
        const auto promise = QtPromise::resolve(finished(1));
        QVERIFY((std::is_same<decltype(promise), const QtPromise::QPromise<int>>::value));
        QVERIFY(promise.isPending());
        QCOMPARE(valueOf(promise, 0), 1);
        QVERIFY(QtPromise::resolve(cancelled()).isPending());
    }

    void aFutureOfVoidGivesAPromiseOfVoid()
    {
        const auto promise = QtPromise::resolve(QtConcurrent::run([] {}));
        QVERIFY((std::is_same<decltype(promise), const QtPromise::QPromise<void>>::value));
        QVERIFY(settles(promise));
        QVERIFY(promise.isFulfilled());
    }

    void aRunningFutureFulfils()
    {
        QCOMPARE(valueOf(QtPromise::resolve(QtConcurrent::run([] { return 5; })), 0), 5);
    }

    void anExceptionOfAFutureKeepsItsType()
    {
        QVERIFY(
            (rejectsWith<Failure>(QtPromise::resolve(QtConcurrent::run([]() -> int { throw Failure(); })))));
        QVERIFY((rejectsWith<Failure>(QtPromise::resolve(QtConcurrent::run([] { throw Failure(); })))));
        QVERIFY((rejectsWith<QPromiseTimeoutException>(
            QtPromise::resolve(QtConcurrent::run([] { throw QPromiseTimeoutException(); })))));
    }

    void aForeignExceptionOfAFutureBecomesUnhandled()
    {
        QVERIFY((rejectsWith<QUnhandledException>(
            QtPromise::resolve(QtConcurrent::run([] { throw std::runtime_error("x"); })))));
    }

    void aCancelledFutureRejectsWithCanceled()
    {
        QVERIFY((rejectsWith<QPromiseCanceledException>(QtPromise::resolve(cancelled()))));
        QVERIFY((rejectsWith<QPromiseCanceledException>(QtPromise::resolve(QFuture<void>()))));
    }

    void aFutureThatFinishesWithoutResultRejectsWithCanceled()
    {
        QFutureInterface<int> interface;
        interface.reportStarted();
        interface.reportFinished();
        QVERIFY((rejectsWith<QPromiseCanceledException>(QtPromise::resolve(interface.future()))));
    }

    void handlersMayReturnFutures()
    {
        const QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(1);
        const auto future = [](int value) { return QtConcurrent::run([value] { return value + 1; }); };
        const auto chained = promise.then(future);
        QVERIFY((std::is_same<decltype(chained), const QtPromise::QPromise<int>>::value));
        QCOMPARE(valueOf(chained, 0), 2);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::reject(1).fail([] { return finished(3); }), 0), 3);
        QCOMPARE(valueOf(QtPromise::attempt([] { return finished(4); }), 0), 4);
        QCOMPARE(
            valueOf(QtPromise::map(QVector<int>{5}, [](int v, int) { return finished(v); }), QVector<int>()),
            QVector<int>{5});
    }

    void finallyAndTapsAndEachAwaitFutures()
    {
        const auto failing = [] { return QtConcurrent::run([] { throw Failure(); }); };
        QVERIFY((rejectsWith<Failure>(QtPromise::QPromise<int>::resolve(1).finally(failing))));
        QVERIFY((rejectsWith<Failure>(QtPromise::QPromise<int>::resolve(1).tap(failing))));
        QVERIFY((rejectsWith<Failure>(QtPromise::QPromise<int>::reject(1).tapFail(failing))));
        QVERIFY(
            (rejectsWith<Failure>(QtPromise::each(QVector<int>{1}, [&](int, int) { return failing(); }))));
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).finally([] { return finished(2); }), 0), 1);
    }

    void aThreadThatEndsBeforeTheFutureLeavesThePromisePending()
    {
        QFutureInterface<int> interface;
        interface.reportStarted();
        std::promise<QtPromise::QPromise<int>> handedOver;
        const std::unique_ptr<QThread> worker(
            QThread::create([&] { handedOver.set_value(QtPromise::resolve(interface.future())); }));
        worker->start();
        QVERIFY(worker->wait(20000));
        const int value = 1;
        interface.reportFinished(&value);
        QCoreApplication::sendPostedEvents();
        QVERIFY(handedOver.get_future().get().isPending());
    }
};

QTEST_GUILESS_MAIN(TestPromiseFuture)
#include "tst_promise_future.moc"
