// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <stdexcept>

using namespace QtPromise;

class TestPromiseFinallyTap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void finallyRunsOnEitherOutcomeAndKeepsIt()
    {
        int calls = 0;
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).finally([&] { ++calls; }), 0), 1);
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(2).finally([&] { ++calls; }), 0), 2);
        QVERIFY(settles(QtPromise::QPromise<void>::resolve().finally([&] { ++calls; })));
        QCOMPARE(calls, 3);
    }

    void finallyIgnoresTheReturnValue()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).finally([] { return QString("ignored"); }), 0),
                 1);
    }

    void finallyAwaitsAReturnedPromise()
    {
        Pending<QString> gate;
        const auto promise = QtPromise::QPromise<int>::resolve(1).finally([&] { return gate.promise; });
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::sendPostedEvents();
        }
        QVERIFY(promise.isPending());
        (*gate.resolve)(QString());
        QCOMPARE(valueOf(promise, 0), 1);
    }

    void aFailureInFinallyReplacesTheOutcome()
    {
        const auto throwing = [] { throw QString("thrown"); };
        const auto rejecting = [] { return QtPromise::QPromise<void>::reject(QString("rejected")); };
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::resolve(1).finally(throwing), QString()),
                 QString("thrown"));
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(1).finally(throwing), QString()),
                 QString("thrown"));
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::resolve(1).finally(rejecting), QString()),
                 QString("rejected"));
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(1).finally(rejecting), QString()),
                 QString("rejected"));
    }

    void finallyAndTapAndTapFailTakeTwoPasses()
    {
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::resolve(1).finally([] {})), 2);
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::resolve(1).tap([] {})), 2);
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::reject(1).tapFail([] {})), 2);
    }

    void tapSeesTheValueAndKeepsIt()
    {
        int seen = 0;
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(5).tap([&](int value) { seen = value; }), 0), 5);
        QCOMPARE(seen, 5);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(5).tap([] { return 9; }), 0), 5);
        QVERIFY(settles(QtPromise::QPromise<void>::resolve().tap([] {})));
    }

    void tapIsSkippedByARejection()
    {
        bool called = false;
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(3).tap([&](int) { called = true; }), 0), 3);
        QVERIFY(!called);
    }

    void tapAwaitsAndItsFailureReplacesTheOutcome()
    {
        Pending<void> gate;
        const auto promise = QtPromise::QPromise<int>::resolve(1).tap([&] { return gate.promise; });
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::sendPostedEvents();
        }
        QVERIFY(promise.isPending());
        (*gate.reject)(QString("gate"));
        QCOMPARE(reasonOf(promise, QString()), QString("gate"));
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::resolve(1).tap([](int) { throw QString("thrown"); }),
                          QString()),
                 QString("thrown"));
    }

    void tapFailSeesTheReasonAndKeepsIt()
    {
        int seen = 0;
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(5).tapFail([&](int reason) { seen = reason; }), 0),
                 5);
        QCOMPARE(seen, 5);
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(5).tapFail([] {}), 0), 5);
    }

    void tapFailIsSkippedByFulfilment()
    {
        bool called = false;
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(3).tapFail([&] { called = true; }), 0), 3);
        QVERIFY(!called);
    }

    void tapFailThatDoesNotMatchIsSkipped()
    {
        bool called = false;
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(3).tapFail(
                              [&](const std::exception&) { called = true; }),
                          0),
                 3);
        QVERIFY(!called);
    }

    void tapFailAwaitsAndItsFailureReplacesTheReason()
    {
        Pending<void> gate;
        const auto promise = QtPromise::QPromise<int>::reject(1).tapFail([&] { return gate.promise; });
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::sendPostedEvents();
        }
        QVERIFY(promise.isPending());
        (*gate.resolve)();
        QCOMPARE(reasonOf(promise, 0), 1);
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(1).tapFail([](int) { throw QString("thrown"); }),
                          QString()),
                 QString("thrown"));
    }

    void rethrowingInsideTapFailKeepsTheReason()
    {
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(1).tapFail([] { throw; }), 0), 1);
    }
};

QTEST_GUILESS_MAIN(TestPromiseFinallyTap)
#include "tst_promise_finally_tap.moc"
