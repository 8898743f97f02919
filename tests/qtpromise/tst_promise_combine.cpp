// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <list>
#include <vector>

using namespace QtPromise;

namespace {

struct NoDefault
{
    explicit NoDefault(int v)
        : value(v)
    {}
    int value;
};

} // namespace

class TestPromiseCombine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resolveOfAValueIsFulfilledOnReturn()
    {
        const int constant = 2;
        int lvalue = 3;
        QVERIFY(QtPromise::resolve(1).isFulfilled());
        QCOMPARE(valueOf(QtPromise::resolve(constant), 0), 2);
        QCOMPARE(valueOf(QtPromise::resolve(lvalue), 0), 3);
        QVERIFY((std::is_same<decltype(QtPromise::resolve(constant)), QtPromise::QPromise<int>>::value));
        QVERIFY(QtPromise::resolve().isFulfilled());
    }

    void resolveOfAPromiseIsThatPromise()
    {
        QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(1);
        const QtPromise::QPromise<int> constant = promise;
        QVERIFY(QtPromise::resolve(promise) == promise);
        QVERIFY(QtPromise::resolve(constant) == promise);
        QVERIFY(QtPromise::resolve(QtPromise::QPromise<int>(promise)) == promise);
    }

    void allOfNothingIsFulfilledOnReturn()
    {
        QVERIFY(all(QVector<QtPromise::QPromise<int>>()).isFulfilled());
        QVERIFY(all(QVector<QtPromise::QPromise<void>>()).isFulfilled());
    }

    void allOfSettledInputsIsPendingForOnePass()
    {
        const auto promise = all(QVector<QtPromise::QPromise<int>>{QtPromise::QPromise<int>::resolve(1),
                                                                   QtPromise::QPromise<int>::resolve(2)});
        QVERIFY(promise.isPending());
        QCOMPARE(passesToSettle(promise), 1);
    }

    void allKeepsTheOrderOfTheInputs()
    {
        Pending<int> one;
        Pending<int> two;
        const auto promise = all(QVector<QtPromise::QPromise<int>>{one.promise, two.promise});
        (*two.resolve)(2);
        QCoreApplication::sendPostedEvents();
        QVERIFY(promise.isPending());
        (*one.resolve)(1);
        QCOMPARE(valueOf(promise, QVector<int>()), (QVector<int>{1, 2}));
    }

    void allTakesAnySequence()
    {
        const QtPromise::QPromise<int> one = QtPromise::QPromise<int>::resolve(1);
        const QVector<int> expected{1, 1};
        QCOMPARE(valueOf(all(QVector<QtPromise::QPromise<int>>{one, one}), QVector<int>()), expected);
        QCOMPARE(valueOf(all(QList<QtPromise::QPromise<int>>{one, one}), QVector<int>()), expected);
        QCOMPARE(valueOf(all(std::vector<QtPromise::QPromise<int>>{one, one}), QVector<int>()), expected);
        QCOMPARE(valueOf(all(std::list<QtPromise::QPromise<int>>{one, one}), QVector<int>()), expected);
        QVERIFY(settles(all(std::list<QtPromise::QPromise<void>>{QtPromise::QPromise<void>::resolve()})));
    }

    void theFirstRejectionInTimeWins()
    {
        Pending<int> one;
        Pending<int> two;
        Pending<int> three;
        const auto promise = all(QVector<QtPromise::QPromise<int>>{one.promise, two.promise, three.promise});
        (*three.reject)(3);
        (*one.reject)(1);
        QCOMPARE(reasonOf(promise, 0), 3);
        (*two.resolve)(2);
        QCoreApplication::sendPostedEvents();
        QVERIFY(promise.isRejected());

        Pending<void> none;
        const auto empty =
            all(QVector<QtPromise::QPromise<void>>{QtPromise::QPromise<void>::resolve(), none.promise});
        (*none.reject)(4);
        QCOMPARE(reasonOf(empty, 0), 4);
    }

    void allNeedsNoDefaultConstructor()
    {
        const auto sum =
            all(std::vector<QtPromise::QPromise<NoDefault>>{
                    QtPromise::QPromise<NoDefault>::resolve(NoDefault(1)),
                    QtPromise::QPromise<NoDefault>::resolve(NoDefault(2))})
                .then([](const QVector<NoDefault>& v) { return v.first().value + v.last().value; });
        QCOMPARE(valueOf(sum, 0), 3);
    }

    void deprecatedNamesStillWork()
    {
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        const QVector<QtPromise::QPromise<int>> promises{qPromise(1),
                                                         qPromise(QtPromise::QPromise<int>::resolve(2))};
        QVERIFY(qPromise().isFulfilled());
        QCOMPARE(valueOf(qPromiseAll(promises), QVector<int>()), (QVector<int>{1, 2}));
        QCOMPARE(valueOf(QtPromise::QPromise<int>::all(promises), QVector<int>()), (QVector<int>{1, 2}));
        QVERIFY(QtPromise::QPromise<void>::all(QVector<QtPromise::QPromise<void>>()).isFulfilled());
        QT_WARNING_POP
    }

    void attemptCallsAtOnce()
    {
        bool called = false;
        const QtPromise::QPromise<int> promise = attempt([&] {
            called = true;
            return 1;
        });
        QVERIFY(called);
        QVERIFY(promise.isFulfilled());
        QVERIFY(attempt([] {}).isFulfilled());
    }

    void attemptPassesItsArguments()
    {
        QCOMPARE(valueOf(attempt([](int a, const QString& b) { return b.repeated(a); }, 2, QString("ab")),
                         QString()),
                 QString("abab"));
    }

    void attemptRejectsOnAThrow()
    {
        const QtPromise::QPromise<int> promise = attempt([]() -> int { throw QString("thrown"); });
        QVERIFY(promise.isRejected());
        QCOMPARE(reasonOf(promise, QString()), QString("thrown"));
    }

    void attemptAdoptsAPromise()
    {
        Pending<int> inner;
        const QtPromise::QPromise<int> promise = attempt([&] { return inner.promise; });
        QVERIFY(promise.isPending());
        (*inner.resolve)(1);
        QVERIFY(promise.isFulfilled());
        QVERIFY(attempt([] { return QtPromise::QPromise<int>::reject(1); }).isRejected());
    }
};

QTEST_GUILESS_MAIN(TestPromiseCombine)
#include "tst_promise_combine.moc"
