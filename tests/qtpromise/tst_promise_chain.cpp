// SPDX-License-Identifier: MIT
// Chains so long that a call within a call for every link would exhaust the stack.
#include "promisetesting.h"

#include <QStringList>

using namespace QtPromise;

namespace {

const int links = 50000;

/// Ends with `innermost`, through as many promises that each adopt the one before.
QtPromise::QPromise<int> adoptedManyTimes(const QtPromise::QPromise<int>& innermost)
{
    QtPromise::QPromise<int> outermost = innermost;
    for (int i = 0; i < links; ++i) {
        outermost = QtPromise::QPromise<int>::resolve(0).then([outermost] { return outermost; });
    }
    QCoreApplication::sendPostedEvents();
    return outermost;
}

} // namespace

class TestPromiseChain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLongChainOfAdoptionsSettles_data()
    {
        QTest::addColumn<bool>("fulfilled");
        QTest::newRow("fulfilled") << true;
        QTest::newRow("rejected") << false;
    }
    void aLongChainOfAdoptionsSettles()
    {
        QFETCH(bool, fulfilled);
        Pending<int> pending;
        const QtPromise::QPromise<int> outermost = adoptedManyTimes(pending.promise);
        QVERIFY(outermost.isPending());
        if (fulfilled) {
            (*pending.resolve)(7);
        } else {
            (*pending.reject)(7);
        }
        QVERIFY(!outermost.isPending());
        QCOMPARE(fulfilled ? valueOf(outermost, 0) : reasonOf(outermost, 0), 7);
    }

    void aLongChainOfAdoptionsMayStayPending()
    {
        const auto held = std::make_shared<int>(1);
        {
            Pending<int> pending;
            adoptedManyTimes(pending.promise).then([held] {});
            QCOMPARE(held.use_count(), 2L);
        }
        QCOMPARE(held.use_count(), 1L);
    }

    void aLongChainOfHandlersMayStayPending()
    {
        const auto held = std::make_shared<int>(1);
        {
            Pending<int> pending;
            QtPromise::QPromise<int> last = pending.promise;
            for (int i = 0; i < links; ++i) {
                last = last.then([held](int value) { return value; });
            }
            QCOMPARE(held.use_count(), links + 1L);
        }
        QCOMPARE(held.use_count(), 1L);
    }

    void handlersBehindAnAdoptionKeepItsPlaceInTheOrder()
    {
        Pending<int> pending;
        QStringList order;
        const auto append = [&order](const char* name) { return [&order, name] { order << name; }; };
        const auto adopting = [&] {
            return QtPromise::QPromise<int>::resolve(0).then([&] { return pending.promise; });
        };

        pending.promise.then(append("first"));
        const QtPromise::QPromise<int> outer = adopting();
        QCoreApplication::sendPostedEvents();
        const QtPromise::QPromise<int> outermost =
            QtPromise::QPromise<int>::resolve(0).then([&] { return outer; });
        QCoreApplication::sendPostedEvents();
        outermost.then(append("outermost"));
        outer.then(append("outer"));
        pending.promise.then(append("between"));
        const QtPromise::QPromise<int> last = adopting();
        QCoreApplication::sendPostedEvents();
        last.then(append("last"));
        QVERIFY(order.isEmpty());

        (*pending.resolve)(1);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(order, (QStringList{"first", "outermost", "outer", "between", "last"}));
    }
};

QTEST_GUILESS_MAIN(TestPromiseChain)
#include "tst_promise_chain.moc"
