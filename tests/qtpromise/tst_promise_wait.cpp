// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <QEventLoop>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <ctime>
#include <thread>

using namespace QtPromise;

class TestPromiseWait : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void waitReturnsTheSamePromiseSettled()
    {
        const QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(1).delay(1);
        const QtPromise::QPromise<int> waited = promise.wait();
        QVERIFY(waited == promise);
        QVERIFY(waited.isFulfilled());
        QVERIFY(QtPromise::QPromise<int>::resolve(1).delay(1).then([](int) { throw 1; }).wait().isRejected());
    }

    void waitOnASettledPromiseProcessesNothing()
    {
        bool ran = false;
        QtPromise::QPromise<void>::resolve().then([&] { ran = true; });
        QtPromise::QPromise<int>::resolve(1).wait();
        QVERIFY(!ran);
        QCoreApplication::sendPostedEvents();
        QVERIFY(ran);
    }

    void aHandlerHasRunOnceItsOwnPromiseIsWaitedFor()
    {
        int value = 0;
        QtPromise::QPromise<int>::resolve(1).delay(1).then([&](int v) { value = v; }).wait();
        QCOMPARE(value, 1);
    }

    void settlingOnAnotherThreadEndsTheWait()
    {
        Pending<int> pending;
        std::thread settling([&] { (*pending.resolve)(1); });
        pending.promise.wait();
        QVERIFY(pending.promise.isFulfilled());
        settling.join();
    }

    void waitRunsTimersAndHandlersOfTheThread()
    {
        QStringList seen;
        Pending<void> pending;
        QtPromise::QPromise<void>::resolve().then([&] { seen << "handler"; });
        QTimer::singleShot(1, [&] {
            seen << "timer";
            (*pending.resolve)();
        });
        pending.promise.wait();
        QCOMPARE(seen, (QStringList{"handler", "timer"}));
    }

    void waitIsReentrant()
    {
        bool inner = false;
        const QtPromise::QPromise<void> outer = QtPromise::QPromise<void>::resolve().then(
            [&] { inner = QtPromise::QPromise<int>::resolve(1).delay(1).wait().isFulfilled(); });
        outer.wait();
        QVERIFY(inner);
        QVERIFY(outer.isFulfilled());
    }

    void anOuterWaitThatIsSettledInsideAnInnerOneEnds()
    {
        Pending<void> outer;
        bool outerSettledFirst = false;
        QTimer::singleShot(0, [&] {
            Pending<void> inner;
            QTimer::singleShot(0, [&] {
                (*outer.resolve)();
                QTimer::singleShot(0, [&] {
                    outerSettledFirst = outer.promise.isFulfilled();
                    (*inner.resolve)();
                });
            });
            inner.promise.wait();
        });
        outer.promise.wait();
        QVERIFY(outerSettledFirst);
    }

    void waitFlushesDeferredDeletes()
    {
        QPointer<QObject> before = new QObject;
        before->deleteLater();
        QPointer<QObject> released = new QObject;
        QtPromise::QPromise<int>::resolve(1).delay(1).finally([&] { released->deleteLater(); }).wait();
        QVERIFY(before.isNull());
        QVERIFY(released.isNull());
    }

    void waitFlushesDeferredDeletesInsideAnEventLoop()
    {
        bool gone = false;
        QEventLoop loop;
        QTimer::singleShot(0, [&] {
            QPointer<QObject> released = new QObject;
            QtPromise::QPromise<int>::resolve(1).delay(1).finally([&] { released->deleteLater(); }).wait();
            gone = released.isNull();
            loop.quit();
        });
        loop.exec();
        QVERIFY(gone);
    }

    void aDeferredDeleteThatSettlesThePromiseEndsTheWait()
    {
        auto* const sender = new QObject;
        const QtPromise::QPromise<QString> promise = QtPromise::connect(sender, &QObject::objectNameChanged);
        QTimer::singleShot(0, [&] {
            sender->deleteLater();
            // Takes the wake-up that the deferred delete posted, and leaves the delete to the wait: the time
            // is that of a turn in which nothing but the wake-up happens.
            QEventLoop nested;
            QTimer::singleShot(1, &nested, &QEventLoop::quit);
            nested.exec();
        });
        promise.wait();
        QVERIFY(promise.isRejected());
    }

    void waitSleepsWhileNothingHappens()
    {
        const QtPromise::QPromise<void> promise = QtPromise::QPromise<void>::resolve().delay(400);
        const std::clock_t before = std::clock();
        promise.wait();
        const double seconds = double(std::clock() - before) / CLOCKS_PER_SEC;
        QVERIFY2(seconds < 0.3, qPrintable(QString::number(seconds))); // a busy loop takes the whole 0.4
    }

    void waitOnAThreadWithoutEventDispatcherEnds()
    {
        Pending<int> pending;
        std::atomic<bool> waiting{false};
        bool fulfilled = false;
        std::thread waiter([&] {
            const QtPromise::QPromise<int> promise = pending.promise;
            waiting = true;
            fulfilled = promise.wait().isFulfilled();
        });
        QTRY_VERIFY(waiting);
        (*pending.resolve)(1);
        waiter.join();
        QVERIFY(fulfilled);
    }

    void waitOnAQThreadEnds()
    {
        Pending<int> pending;
        std::atomic<bool> fulfilled{false};
        const std::unique_ptr<QThread> thread(QThread::create(
            [&] { fulfilled = QtPromise::QPromise<int>(pending.promise).wait().isFulfilled(); }));
        thread->start();
        (*pending.resolve)(1);
        QVERIFY(thread->wait(20000));
        QVERIFY(fulfilled);
    }
};

QTEST_GUILESS_MAIN(TestPromiseWait)
#include "tst_promise_wait.moc"
