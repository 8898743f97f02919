// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <functional>
#include <stdexcept>

using namespace QtPromise;

namespace {

int doubled(const int& value)
{
    return value * 2;
}

struct Functor
{
    int operator()(int value) const { return value + 100; }
};

QtPromise::QPromise<int> failing(const QString& reason)
{
    return QtPromise::QPromise<int>::reject(reason);
}

} // namespace

class TestPromiseThen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aHandlerNeverRunsInsideThen()
    {
        bool ran = false;
        QtPromise::QPromise<int>::resolve(1).then([&](int) { ran = true; });
        QVERIFY(!ran);
        QCoreApplication::sendPostedEvents();
        QVERIFY(ran);
    }

    void handlersRunInTheOrderOfRegistration()
    {
        QVector<int> order;
        Pending<int> pending;
        for (int i = 0; i < 5; ++i) {
            pending.promise.then([&order, i](int) { order << i; });
        }
        (*pending.resolve)(0);
        for (int i = 5; i < 8; ++i) {
            pending.promise.then([&order, i](int) { order << i; });
        }
        QCoreApplication::sendPostedEvents();
        QCOMPARE(order, (QVector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    }

    void eachHandlerRunsOnce()
    {
        int calls = 0;
        Pending<int> pending;
        pending.promise.then([&](int) { ++calls; });
        (*pending.resolve)(0);
        (*pending.resolve)(1);
        for (int i = 0; i < 3; ++i) {
            QCoreApplication::sendPostedEvents();
        }
        QCOMPARE(calls, 1);
    }

    void aHandlerTakesOnePass()
    {
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::resolve(1).then([](int) {})), 1);
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::resolve(1).then(
                     [](int) { return QtPromise::QPromise<int>::resolve(2); })),
                 1);
        QCOMPARE(passesToSettle(QtPromise::QPromise<int>::reject(1).fail([] { return 2; })), 1);
    }

    void aHandlerPostedFromAPassRunsInTheNext()
    {
        bool inner = false;
        QtPromise::QPromise<void>::resolve().then(
            [&] { QtPromise::QPromise<void>::resolve().then([&] { inner = true; }); });
        QCoreApplication::sendPostedEvents();
        QVERIFY(!inner);
        QCoreApplication::sendPostedEvents();
        QVERIFY(inner);
    }

    void lambdasFunctionsFunctorsAndStdFunctionsAreHandlers()
    {
        const QtPromise::QPromise<int> one = QtPromise::QPromise<int>::resolve(1);
        const std::function<int(int)> function = [](int value) { return value + 10; };
        Functor lvalue;
        const Functor constant;
        QCOMPARE(valueOf(one.then([](int value) { return value; }), 0), 1);
        QCOMPARE(valueOf(one.then(doubled), 0), 2);
        QCOMPARE(valueOf(one.then(&doubled), 0), 2);
        QCOMPARE(valueOf(one.then(function), 0), 11);
        QCOMPARE(valueOf(one.then(lvalue), 0), 101);
        QCOMPARE(valueOf(one.then(constant), 0), 101);
        QCOMPARE(valueOf(one.then(Functor()), 0), 101);
        QCOMPARE(valueOf(one.then(std::bind(doubled, 21)), 0), 42);
    }

    void noexceptHandlersAreAccepted()
    {
        QCOMPARE(
            valueOf(QtPromise::QPromise<int>::resolve(1).then([](int value) noexcept { return value + 1; }),
                    0),
            2);
        QCOMPARE(valueOf(failing("x").fail([](const QString&) noexcept { return 3; }), 0), 3);
    }

    void mutableHandlersDoNotChangeTheirOriginal()
    {
        int seen = 0;
        auto counter = [calls = 0, &seen](int) mutable { seen = ++calls; };
        QtPromise::QPromise<int>::resolve(1).then(counter);
        QtPromise::QPromise<int>::resolve(1).then(counter);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(seen, 1);
    }

    void aHandlerTakesTheValueByValueReferenceOrConversion()
    {
        const QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(3);
        QCOMPARE(valueOf(promise.then([](int value) { return value; }), 0), 3);
        QCOMPARE(valueOf(promise.then([](const int& value) { return value; }), 0), 3);
        QCOMPARE(valueOf(promise.then([](double value) { return value; }), 0.0), 3.0);
        QCOMPARE(valueOf(promise.then([] { return 9; }), 0), 9);
    }

    void nullptrPassesTheOutcomeThrough()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).then(nullptr), 0), 1);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).then(nullptr, [] { return 2; }), 0), 1);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(1).then([](int) { return 3; }, nullptr), 0), 3);
        QCOMPARE(reasonOf(failing("x").then(nullptr, nullptr), QString()), QString("x"));
        QCOMPARE(reasonOf(failing("x").then([](int) { return 3; }, nullptr), QString()), QString("x"));
    }

    void theResultTypeComesFromTheFulfilledHandler()
    {
        const QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(1);
        static const QString text = QStringLiteral("text");
        const auto none = promise.then([](int) {});
        const auto stripped = promise.then([](int) -> const QString& { return text; });
        const auto unwrapped = promise.then([](int) { return QtPromise::QPromise<double>::resolve(1.5); });
        QVERIFY((std::is_same<decltype(none), const QtPromise::QPromise<void>>::value));
        QVERIFY((std::is_same<decltype(stripped), const QtPromise::QPromise<QString>>::value));
        QVERIFY((std::is_same<decltype(unwrapped), const QtPromise::QPromise<double>>::value));
        QCOMPARE(valueOf(stripped, QString()), text);
        QCOMPARE(valueOf(unwrapped, 0.0), 1.5);
    }

    void aReturnedPromiseIsAdopted()
    {
        Pending<int> inner;
        const auto outer = QtPromise::QPromise<void>::resolve().then([&] { return inner.promise; });
        QCoreApplication::sendPostedEvents();
        QVERIFY(outer.isPending());
        (*inner.resolve)(5);
        QVERIFY(outer.isFulfilled());
        QCOMPARE(valueOf(outer, 0), 5);
        QCOMPARE(
            reasonOf(QtPromise::QPromise<void>::resolve().then([] { return failing("inner"); }), QString()),
            QString("inner"));
    }

    void aThrowingHandlerRejects()
    {
        QCOMPARE(
            reasonOf(QtPromise::QPromise<int>::resolve(1).then([](int) -> int { throw QString("thrown"); }),
                     QString()),
            QString("thrown"));
        QCOMPARE(reasonOf(failing("first").fail([]() -> int { throw QString("second"); }), QString()),
                 QString("second"));
    }

    void aRejectionSkipsFulfilledHandlers()
    {
        bool called = false;
        QCOMPARE(
            reasonOf(failing("x").then([&](int) { called = true; }).then([&] { called = true; }), QString()),
            QString("x"));
        QVERIFY(!called);
    }

    void aPromiseOfVoidCallsItsHandlerWithoutArgument()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<void>::resolve().then([] { return 4; }), 0), 4);
    }

    void failReturnsToFulfilment()
    {
        QCOMPARE(valueOf(failing("x").fail([](const QString& reason) { return reason.size() + 1; }), 0), 2);
        QCOMPARE(valueOf(failing("x").fail([] { return QtPromise::QPromise<int>::resolve(6); }), 0), 6);
        QVERIFY(settles(QtPromise::QPromise<void>::reject(1).fail([] {})));
    }

    void aFailHandlerReturnsWhatConverts()
    {
        QCOMPARE(valueOf(failing("x").fail([] { return short(7); }), 0), 7);
        QCOMPARE(valueOf(QtPromise::QPromise<QString>::reject(1).fail([] { return "text"; }), QString()),
                 QString("text"));
    }

    void aFailHandlerCatchesItsTypeAndBases()
    {
        const auto promise = QtPromise::QPromise<int>::reject(std::out_of_range("x"));
        QCOMPARE(valueOf(promise.fail([](const std::out_of_range&) { return 1; }), 0), 1);
        QCOMPARE(valueOf(promise.fail([](const std::exception&) { return 2; }), 0), 2);
        QCOMPARE(valueOf(promise.fail([](std::logic_error) { return 3; }), 0), 3);
    }

    void aFailHandlerDoesNotConvert()
    {
        const auto promise = QtPromise::QPromise<int>::reject(short(1));
        QVERIFY(settles(promise.fail([](int) { return 0; })));
        QVERIFY((rejectsWith<short>(promise.fail([](int) { return 0; }))));
    }

    void anUnmatchedRejectionGoesToTheNextFail()
    {
        QString path;
        const auto promise = failing("x")
                                 .fail([&](const std::exception&) {
                                     path += "exception ";
                                     return 1;
                                 })
                                 .fail([&](const QString&) {
                                     path += "string ";
                                     return 2;
                                 })
                                 .fail([&] {
                                     path += "any";
                                     return 3;
                                 });
        QCOMPARE(valueOf(promise, 0), 2);
        QCOMPARE(path, QString("string "));
    }

    void rethrowingInsideAFailHandlerKeepsTheReason()
    {
        QCOMPARE(reasonOf(failing("x").fail([]() -> int { throw; }), QString()), QString("x"));
        QCOMPARE(reasonOf(failing("x").fail([](const QString&) -> int { throw; }), QString()), QString("x"));
    }

    void currentExceptionIsTheReason()
    {
        const auto promise =
            failing("x").fail([] { return QtPromise::QPromise<int>::reject(std::current_exception()); });
        QCOMPARE(reasonOf(promise, QString()), QString("x"));
    }

    void thenOnAConstPromiseCompiles()
    {
        const QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(1);
        QCOMPARE(valueOf(promise.then([](int value) { return value + 1; }, [] { return 0; }), 0), 2);
    }

    void aDeferredCallRunsFromTheEventQueue()
    {
        bool ran = false;
        QtPromisePrivate::qtpromise_defer([&] { ran = true; });
        QVERIFY(!ran);
        QCoreApplication::sendPostedEvents();
        QVERIFY(ran);
    }

    void anEventFilterCannotSwallowAHandler()
    {
        struct Swallow : QObject
        {
            bool eventFilter(QObject*, QEvent*) override { return true; }
        } swallow;
        bool ran = false;
        QtPromise::QPromise<void>::resolve().then([&] { ran = true; });
        QCoreApplication::instance()->installEventFilter(&swallow);
        QCoreApplication::sendPostedEvents();
        QVERIFY(ran);
    }
};

QTEST_GUILESS_MAIN(TestPromiseThen)
#include "tst_promise_then.moc"
