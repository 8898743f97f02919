// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <logcollector.h>

#include <QEventLoop>
#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

using namespace QtPromise;

namespace {

const char* const noDispatcher = "tessel.promise.warning: A promise handler was attached on a thread that "
                                 "has no event dispatcher; it runs on "
                                 "the thread that settles the promise";

/// Runs `task` on a new QThread until it returns.
void runOnThread(const std::function<void()>& task)
{
    const std::unique_ptr<QThread> thread(QThread::create(task));
    thread->start();
    thread->wait();
}

} // namespace

class TestPromiseThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aHandlerRunsOnTheThreadThatAttachedIt()
    {
        Pending<QString> pending;
        QThread* ranOn = nullptr;
        QString received;
        const auto done = pending.promise.then([&](const QString& value) {
            ranOn = QThread::currentThread();
            received = value;
        });
        std::thread settling([&] { (*pending.resolve)(QString("across")); });
        QVERIFY(settles(done));
        settling.join();
        QVERIFY(ranOn == thread());
        QCOMPARE(received, QString("across"));
    }

    void aReasonReachesTheThreadThatAttachedTheHandler()
    {
        Pending<int> pending;
        std::thread settling([&] { (*pending.reject)(QString("across")); });
        QCOMPARE(reasonOf(pending.promise, QString()), QString("across"));
        settling.join();
    }

    void aHandlerOfAnotherThreadRunsInItsEventLoop()
    {
        Pending<int> pending;
        QSemaphore attached;
        std::atomic<bool> ranThere{false};
        const std::unique_ptr<QThread> worker(QThread::create([&] {
            QEventLoop loop;
            QtPromise::QPromise<int>(pending.promise).then([&](int) {
                ranThere = QThread::currentThread() == worker.get();
                loop.quit();
            });
            attached.release();
            loop.exec();
        }));
        worker->start();
        attached.acquire();
        (*pending.resolve)(1);
        QVERIFY(worker->wait(20000));
        QVERIFY(ranThere);
    }

    void anUndeliveredHandlerRunsWhileItsThreadEnds()
    {
        std::atomic<QThread*> ranOn{nullptr};
        const std::unique_ptr<QThread> worker(QThread::create([&] {
            QtPromise::QPromise<int>::resolve(1).then([&](int) { ranOn = QThread::currentThread(); });
        }));
        worker->start();
        QVERIFY(worker->wait(20000));
        QVERIFY(ranOn == worker.get());
    }

    void aHandlerOfAFinishedThreadIsSkipped()
    {
        Pending<int> pending;
        bool ran = false;
        std::unique_ptr<QtPromise::QPromise<void>> chained;
        const std::unique_ptr<QThread> worker(QThread::create([&] {
            chained =
                std::make_unique<QtPromise::QPromise<void>>(pending.promise.then([&](int) { ran = true; }));
        }));
        worker->start();
        QVERIFY(worker->wait(20000));
        (*pending.resolve)(1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(!ran);
        QVERIFY(chained->isPending());
    }

    void aHandlerOfADeletedThreadIsSkipped()
    {
        Pending<int> pending;
        bool ran = false;
        runOnThread([&] { pending.promise.then([&](int) { ran = true; }); });
        (*pending.resolve)(1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(!ran);
    }

    void aHandlerOfAnEndedForeignThreadIsSkipped()
    {
        Pending<int> pending;
        bool ran = false;
        std::thread([&] { pending.promise.then([&](int) { ran = true; }); }).join();
        (*pending.resolve)(1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(!ran);
    }

    void aHandlerWithoutEventDispatcherRunsOnTheSettlingThreadWithAWarning()
    {
        const LogCollector log;
        Pending<int> pending;
        QSemaphore attached;
        QSemaphore checked;
        QThread* ranOn = nullptr;
        std::thread foreign([&] {
            pending.promise.then([&](int) { ranOn = QThread::currentThread(); });
            attached.release();
            checked.acquire();
        });
        attached.acquire();
        (*pending.resolve)(1);
        QVERIFY(ranOn == thread()); // inside the call that settles
        checked.release();
        foreign.join();
        QCOMPARE(log.lines(), QStringList{noDispatcher});
    }

    void aHandlerOfASettledPromiseWithoutEventDispatcherWarnsOnce()
    {
        const LogCollector log;
        std::thread([] { QtPromise::QPromise<int>::resolve(1).then([](int) {}); }).join();
        QCOMPARE(log.lines(), QStringList{noDispatcher});
    }

    void aForeignThreadThatMakesAnEventLoopLaterReceivesItsHandlers()
    {
        Pending<int> pending;
        QSemaphore ready;
        std::atomic<bool> ranThere{false};
        std::thread foreign([&] {
            QThread* const self = QThread::currentThread();
            QEventLoop* running = nullptr;
            pending.promise.then([&, self](int) {
                ranThere = QThread::currentThread() == self;
                running->quit();
            });
            QEventLoop loop; // gives the thread its event dispatcher
            running = &loop;
            ready.release();
            loop.exec();
        });
        ready.acquire();
        (*pending.resolve)(1);
        foreign.join();
        QVERIFY(ranThere);
    }

    void twoThreadsMaySettleAtTheSameTime()
    {
        for (int round = 0; round < 200; ++round) {
            Pending<QString> pending;
            std::atomic<int> ready{0};
            const auto settle = [&](const QString& value) {
                ++ready;
                while (ready < 2) {
                }
                (*pending.resolve)(value);
            };
            std::thread one(settle, QString("same value"));
            std::thread two(settle, QString("same value"));
            one.join();
            two.join();
            QVERIFY(pending.promise.isFulfilled());
        }
    }

    void attachingWhileAnotherThreadSettlesLosesNoHandler()
    {
        int calls = 0;
        for (int round = 0; round < 200; ++round) {
            Pending<QString> pending;
            std::atomic<bool> go{false};
            std::thread settling([&] {
                while (!go) {
                }
                (*pending.resolve)(QString("value"));
            });
            go = true;
            for (int i = 0; i < 5; ++i) {
                pending.promise.then([&](const QString&) { ++calls; });
            }
            settling.join();
        }
        QCoreApplication::sendPostedEvents();
        QCOMPARE(calls, 1000);
    }

    void settlingWhileTheHandlersThreadEndsIsSafe()
    {
        for (int round = 0; round < 100; ++round) {
            Pending<QString> pending;
            QSemaphore attached;
            const auto calls = std::make_shared<std::atomic<int>>(0);
            const std::unique_ptr<QThread> worker(QThread::create([&, calls] {
                QtPromise::QPromise<QString>(pending.promise).then([calls](const QString&) { ++*calls; });
                attached.release();
            }));
            worker->start();
            attached.acquire();
            (*pending.resolve)(QString("value"));
            QVERIFY(worker->wait(20000));
            QVERIFY(*calls <= 1);
        }
    }

    void aTimeoutWhoseThreadEndsIsSafe()
    {
        for (int round = 0; round < 50; ++round) {
            Pending<int> pending;
            QSemaphore armed;
            std::unique_ptr<QtPromise::QPromise<int>> output;
            const std::unique_ptr<QThread> worker(QThread::create([&] {
                output = std::make_unique<QtPromise::QPromise<int>>(
                    QtPromise::QPromise<int>(pending.promise).timeout(600000, QString("late")));
                armed.release();
            }));
            worker->start();
            armed.acquire();
            (*pending.resolve)(1);
            QVERIFY(worker->wait(20000));
            QVERIFY(output->isFulfilled());
        }
    }

    void handlersOfManyThreadsShareTheValue()
    {
        Pending<QString> pending;
        std::atomic<const QString*> first{nullptr};
        std::atomic<int> same{0};
        std::atomic<int> attached{0};
        std::vector<std::unique_ptr<QThread>> workers;
        for (int i = 0; i < 4; ++i) {
            workers.emplace_back(QThread::create([&] {
                const auto done =
                    QtPromise::QPromise<QString>(pending.promise).then([&](const QString& value) {
                        const QString* expected = nullptr;
                        if (first.compare_exchange_strong(expected, &value) || expected == &value) {
                            ++same;
                        }
                    });
                ++attached;
                done.wait();
            }));
            workers.back()->start();
        }
        QTRY_COMPARE(int(attached), 4);
        (*pending.resolve)(QString("shared"));
        for (const auto& worker : workers) {
            QVERIFY(worker->wait(20000));
        }
        QCOMPARE(int(same), 4);
    }

    void theLastHandleMayEndOnAnyThread()
    {
        for (int round = 0; round < 50; ++round) {
            Pending<QString> pending;
            auto handle = std::make_unique<QtPromise::QPromise<QString>>(std::move(pending.promise));
            const auto read = handle->then([](const QString& value) { return int(value.size()); });
            const auto failed = QtPromise::QPromise<QString>::reject(QString("reason %1").arg(round));
            auto reason = std::make_unique<QtPromise::QPromise<QString>>(failed);
            std::thread ending([&] {
                (*pending.resolve)(QString("value %1").arg(round));
                handle.reset();
                reason.reset();
            });
            QVERIFY(valueOf(read, 0) > 0);
            ending.join();
            QVERIFY(!reasonOf(failed, QString()).isEmpty());
        }
    }

    void allGathersFromManyThreads()
    {
        std::vector<Pending<QString>> inputs(8);
        QVector<QtPromise::QPromise<QString>> promises;
        for (const auto& input : inputs) {
            promises.push_back(input.promise);
        }
        const auto gathered = all(promises);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            threads.emplace_back([&, i] { (*inputs[i].resolve)(QString::number(i)); });
        }
        const QVector<QString> expected{"0", "1", "2", "3", "4", "5", "6", "7"};
        const QVector<QString> values = valueOf(gathered, QVector<QString>());
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(values, expected);
    }
};

QTEST_GUILESS_MAIN(TestPromiseThreads)
#include "tst_promise_threads.moc"
