// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <QStringList>

#include <list>
#include <vector>

using namespace QtPromise;

namespace {

using Ints = QVector<int>;

/// An item seen by a functor, and its index.
using Visits = QVector<QPair<int, int>>;

} // namespace

class TestPromiseSequence : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mapCallsForEveryItemBeforeItReturns()
    {
        Visits visits;
        const auto promise = QtPromise::map(Ints{5, 6}, [&](int value, int index) {
            visits << qMakePair(value, index);
            return QString::number(value);
        });
        QCOMPARE(visits, (Visits{{5, 0}, {6, 1}}));
        QVERIFY(promise.isPending());
        QCOMPARE(valueOf(promise, QVector<QString>()), (QVector<QString>{"5", "6"}));
    }

    void mapOfNothingIsFulfilledOnReturn()
    {
        QVERIFY(QtPromise::map(Ints(), [](int value, int) { return value; }).isFulfilled());
    }

    void mapAwaitsPromisesAndAlwaysGivesAVector()
    {
        const auto promise = QtPromise::map(std::list<int>{1, 2}, [](int value, int) {
            return QtPromise::QPromise<int>::resolve(value * 10).delay(1);
        });
        QVERIFY((std::is_same<decltype(promise), const QtPromise::QPromise<QVector<int>>>::value));
        QCOMPARE(valueOf(promise, Ints()), (Ints{10, 20}));
    }

    void mapVisitsAllItemsDespiteAThrow()
    {
        int visited = 0;
        const auto promise = QtPromise::map(Ints{1, 2, 3}, [&](int value, int) -> int {
            ++visited;
            if (value == 1) {
                throw QString("one");
            }
            return value;
        });
        QCOMPARE(visited, 3);
        QCOMPARE(reasonOf(promise, QString()), QString("one"));
    }

    void mapAcceptsAVariadicFunctor()
    {
        QCOMPARE(valueOf(QtPromise::map(Ints{1}, [](int value, ...) { return value + 1; }), Ints()), Ints{2});
        QCOMPARE(
            valueOf(QtPromise::QPromise<Ints>::resolve({1}).map([](int value, ...) { return value + 1; }),
                    Ints()),
            Ints{2});
    }

    void theMapMemberMapsTheValue()
    {
        QCOMPARE(
            valueOf(QtPromise::QPromise<QList<int>>::resolve({1, 2}).map([](int v, int i) { return v + i; }),
                    Ints()),
            (Ints{1, 3}));
    }

    void aMutableFunctorStartsAnewForEachItem()
    {
        const auto counting = [calls = 0](int, int) mutable { return ++calls; };
        QCOMPARE(valueOf(QtPromise::map(Ints{7, 7}, counting), Ints()), (Ints{1, 1}));
    }

    void filterKeepsTheOrderAndTheContainer()
    {
        const auto promise =
            QtPromise::filter(std::vector<int>{1, 2, 3, 4}, [](int value, int) { return value % 2 == 0; });
        QVERIFY((std::is_same<decltype(promise), const QtPromise::QPromise<std::vector<int>>>::value));
        QCOMPARE(valueOf(promise, std::vector<int>()), (std::vector<int>{2, 4}));
        QCOMPARE(valueOf(QtPromise::QPromise<QList<int>>::resolve({1, 2}).filter(
                             [](int, int i) { return i == 0; }),
                         QList<int>()),
                 QList<int>{1});
    }

    void filterAwaitsPromisesOfBool()
    {
        const auto promise = QtPromise::filter(Ints{1, 2}, [](int value, int) {
            return QtPromise::QPromise<bool>::resolve(value == 2).delay(1);
        });
        QCOMPARE(valueOf(promise, Ints()), Ints{2});
    }

    void filterOfNothingIsPendingOnReturn()
    {
        const auto promise = QtPromise::filter(Ints(), [](int, int) { return true; });
        QVERIFY(promise.isPending());
        QCOMPARE(valueOf(promise, Ints{1}), Ints());
    }

    void aThrowInAFilterRejects()
    {
        QCOMPARE(reasonOf(QtPromise::filter(Ints{1}, [](int, int) -> bool { throw 5; }), 0), 5);
    }

    void eachCallsAsynchronouslyAndGivesTheSequence()
    {
        Visits visits;
        const auto promise = QtPromise::each(Ints{5, 6}, [&](int value, int index) {
            visits << qMakePair(value, index);
            return QString("ignored");
        });
        QVERIFY(visits.isEmpty());
        QCOMPARE(valueOf(promise, Ints()), (Ints{5, 6}));
        QCOMPARE(visits, (Visits{{5, 0}, {6, 1}}));
    }

    void eachAwaitsAndVisitsAllDespiteAThrow()
    {
        int visited = 0;
        const auto promise = QtPromise::QPromise<Ints>::resolve({1, 2}).each([&](int value, int) {
            ++visited;
            if (value == 1) {
                throw QString("one");
            }
            return QtPromise::QPromise<void>::resolve().delay(1);
        });
        QCOMPARE(reasonOf(promise, QString()), QString("one"));
        QCOMPARE(visited, 2);

        Pending<void> gate;
        const auto gated = QtPromise::each(Ints{1}, [&](int, int) { return gate.promise; });
        for (int i = 0; i < 5; ++i) {
            QCoreApplication::sendPostedEvents();
        }
        QVERIFY(gated.isPending());
        (*gate.resolve)();
        QVERIFY(settles(gated));
    }

    void eachTakesAStringList()
    {
        QString seen;
        const QStringList names{"a", "b"};
        QCOMPARE(
            valueOf(QtPromise::each(names, [&](const QString& name, int) { seen += name; }), QStringList()),
            names);
        QCOMPARE(seen, QString("ab"));
    }

    void reduceIsSequentialFromAnInitialValue()
    {
        QString calls;
        int running = 0;
        const auto promise = QtPromise::reduce(
            Ints{1, 2, 3},
            [&](const QString& accumulator, int value, int index) {
                calls += QString("%1/%2 ").arg(value).arg(index);
                if (++running != 1) {
                    throw QString("overlap");
                }
                return QtPromise::QPromise<QString>::resolve(accumulator + QString::number(value))
                    .delay(1)
                    .tap([&] { --running; });
            },
            QString("0"));
        QVERIFY((std::is_same<decltype(promise), const QtPromise::QPromise<QString>>::value));
        QCOMPARE(valueOf(promise, QString()), QString("0123"));
        QCOMPARE(calls, QString("1/0 2/1 3/2 "));
    }

    void reduceWithoutInitialValueStartsWithTheFirstItem()
    {
        Visits visits;
        const auto promise =
            QtPromise::reduce(std::vector<int>{1, 2, 3}, [&](int accumulator, int value, int index) {
                visits << qMakePair(value, index);
                return accumulator + value;
            });
        QCOMPARE(valueOf(promise, 0), 6);
        QCOMPARE(visits, (Visits{{2, 1}, {3, 2}}));
    }

    void reduceOfNothingGivesTheInitialValueAtOnce()
    {
        const auto sum = [](int accumulator, int value, int) { return accumulator + value; };
        const auto promise = QtPromise::reduce(Ints(), sum, 4);
        QVERIFY(promise.isFulfilled());
        QCOMPARE(valueOf(promise, 0), 4);
    }

    void reduceOfOneItemGivesItAtOnce()
    {
        const auto sum = [](int accumulator, int value, int) { return accumulator + value; };
        const auto promise = QtPromise::reduce(Ints{4}, sum);
        QVERIFY(promise.isFulfilled());
        QCOMPARE(valueOf(promise, 0), 4);
    }

    void reduceTakesPromisesAsItemsAndInitialValue()
    {
        const auto sum = [](int accumulator, int value, int) { return accumulator + value; };
        const QVector<QtPromise::QPromise<int>> items{QtPromise::QPromise<int>::resolve(1).delay(1),
                                                      QtPromise::QPromise<int>::resolve(2)};
        const auto first = QtPromise::reduce(items, sum);
        QVERIFY((std::is_same<decltype(first), const QtPromise::QPromise<int>>::value));
        QCOMPARE(valueOf(first, 0), 3);
        QCOMPARE(valueOf(QtPromise::reduce(items, sum, QtPromise::QPromise<int>::resolve(10)), 0), 13);
        QCOMPARE(valueOf(QtPromise::QPromise<Ints>::resolve({1, 2}).reduce(sum), 0), 3);
        QCOMPARE(valueOf(QtPromise::QPromise<Ints>::resolve({1, 2}).reduce(sum, 5), 0), 8);
        QCOMPARE(valueOf(QtPromise::QPromise<Ints>::resolve({1, 2}).reduce(
                             sum, QtPromise::QPromise<int>::resolve(6)),
                         0),
                 9);
    }

    void reduceStopsAfterARejection()
    {
        int calls = 0;
        const auto failing = [&](int accumulator, int value, int) {
            ++calls;
            if (value == 2) {
                throw QString("two");
            }
            return accumulator + value;
        };
        QCOMPARE(reasonOf(QtPromise::reduce(Ints{1, 2, 3, 4}, failing, 0), QString()), QString("two"));
        QCOMPARE(calls, 2);

        calls = 0;
        const QVector<QtPromise::QPromise<int>> items{QtPromise::QPromise<int>::resolve(1),
                                                      QtPromise::QPromise<int>::reject(QString("item")),
                                                      QtPromise::QPromise<int>::resolve(3)};
        QCOMPARE(reasonOf(QtPromise::reduce(items, failing, 0), QString()), QString("item"));
        QCOMPARE(calls, 1);
    }
};

QTEST_GUILESS_MAIN(TestPromiseSequence)
#include "tst_promise_sequence.moc"
