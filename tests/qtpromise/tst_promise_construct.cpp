// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <QTimer>

#include <list>
#include <stdexcept>
#include <type_traits>

using namespace QtPromise;

namespace {

int sharedCalls = 0;

void fulfilWithSeven(const QPromiseResolve<int>& resolve)
{
    resolve(7);
}

void rejectWithText(const QPromiseResolve<int>&, const QPromiseReject<int>& reject)
{
    reject(QString("no"));
}

} // namespace

class TestPromiseConstruct : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theExecutorRunsInsideTheConstructor()
    {
        bool ran = false;
        const QtPromise::QPromise<void> promise([&](const QPromiseResolve<void>&) { ran = true; });
        QVERIFY(ran);
        QVERIFY(promise.isPending());
    }

    void anExecutorOfOneArgumentReceivesTheResolver()
    {
        const QtPromise::QPromise<int> promise([](const QPromiseResolve<int>& resolve) { resolve(3); });
        QVERIFY(promise.isFulfilled());
        QCOMPARE(valueOf(promise, 0), 3);
    }

    void anExecutorOfTwoArgumentsReceivesBothResolvers()
    {
        const QtPromise::QPromise<int> promise(
            [](const QPromiseResolve<int>&, const QPromiseReject<int>& reject) { reject(QString("no")); });
        QVERIFY(promise.isRejected());
        QCOMPARE(reasonOf(promise, QString()), QString("no"));
    }

    void aGenericExecutorReceivesBothResolvers()
    {
        const QtPromise::QPromise<int> promise([](auto resolve, auto) { resolve(4); });
        QCOMPARE(valueOf(promise, 0), 4);
    }

    void resolversArriveByValueConstReferenceOrRvalue()
    {
        QVERIFY(QtPromise::QPromise<void>([](QPromiseResolve<void> resolve) { resolve(); }).isFulfilled());
        QVERIFY(
            QtPromise::QPromise<void>([](const QPromiseResolve<void>& resolve) { resolve(); }).isFulfilled());
        QVERIFY(QtPromise::QPromise<void>([](QPromiseResolve<void>&& resolve) { resolve(); }).isFulfilled());
    }

    void theReturnValueOfAnExecutorIsIgnored()
    {
        QVERIFY(QtPromise::QPromise<int>([](const QPromiseResolve<int>&) { return 5; }).isPending());
    }

    void functionsAndFunctionPointersAndStdFunctionsConvertImplicitly()
    {
        const QtPromise::QPromise<int> fromFunction = fulfilWithSeven;
        const QtPromise::QPromise<int> fromPointer = &fulfilWithSeven;
        const QtPromise::QPromise<int> fromTwo = rejectWithText;
        const std::function<void(const QPromiseResolve<int>&)> function = fulfilWithSeven;
        const QtPromise::QPromise<int> fromStd = function;
        QVERIFY(fromFunction.isFulfilled());
        QVERIFY(fromPointer.isFulfilled());
        QVERIFY(fromTwo.isRejected());
        QVERIFY(fromStd.isFulfilled());
    }

    void aNoexceptExecutorIsAccepted()
    {
        QVERIFY(QtPromise::QPromise<int>([](const QPromiseResolve<int>& resolve) noexcept {
                    resolve(1);
                }).isFulfilled());
    }

    void anExceptionFromTheExecutorRejects()
    {
        const QtPromise::QPromise<int> promise([](const QPromiseResolve<int>&) { throw QString("thrown"); });
        QVERIFY(promise.isRejected());
        QCOMPARE(reasonOf(promise, QString()), QString("thrown"));
    }

    void anExceptionAfterSettlingIsDropped()
    {
        const QtPromise::QPromise<int> promise([](const QPromiseResolve<int>& resolve) {
            resolve(1);
            throw QString("thrown");
        });
        QCOMPARE(valueOf(promise, 0), 1);
    }

    void theFirstSettleWins()
    {
        const QtPromise::QPromise<int> fulfilled(
            [](const QPromiseResolve<int>& resolve, const QPromiseReject<int>& reject) {
                const QPromiseResolve<int> copy = resolve;
                copy(1);
                resolve(2);
                reject(3);
            });
        QCOMPARE(valueOf(fulfilled, 0), 1);

        const QtPromise::QPromise<int> rejected(
            [](const QPromiseResolve<int>& resolve, const QPromiseReject<int>& reject) {
                reject(1);
                reject(2);
                resolve(3);
            });
        QCOMPARE(reasonOf(rejected, 0), 1);
    }

    void anUnsettledResolverKeepsThePromiseAlive()
    {
        int received = 0;
        std::unique_ptr<QPromiseResolve<int>> resolve;
        QtPromise::QPromise<int>([&](const QPromiseResolve<int>& r) {
            resolve = std::make_unique<QPromiseResolve<int>>(r);
        }).then([&](int value) { received = value; });
        (*resolve)(8);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(received, 8);
    }

    void settlingReleasesThePromise()
    {
        const auto value = std::make_shared<int>(1);
        Pending<std::shared_ptr<int>> pending;
        {
            const QtPromise::QPromise<std::shared_ptr<int>> promise = std::move(pending.promise);
            (*pending.resolve)(value);
            QCOMPARE(value.use_count(), 2L);
        }
        // The resolver still exists, as it would in a connection that is never cut.
        QVERIFY(pending.resolve);
        QCOMPARE(value.use_count(), 1L);
    }

    void aPromiseWhoseResolversAreGoneStaysPending()
    {
        Pending<int> pending;
        pending.resolve.reset();
        pending.reject.reset();
        QCoreApplication::sendPostedEvents();
        QVERIFY(pending.promise.isPending());
    }

    void aPromiseWhoseResolversAreGoneIsFreedWithItsHandlers()
    {
        const auto captured = std::make_shared<int>(1);
        {
            Pending<int> pending;
            const QtPromise::QPromise<int> child = pending.promise.finally([captured] {}).tap([captured] {});
            pending.promise.then([captured] {}).fail([captured] {});
            QVERIFY(captured.use_count() > 1);
        }
        QCOMPARE(captured.use_count(), 1L);
    }

    void aReasonIsAnyCopyableType()
    {
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(42), 0), 42);
        QVERIFY((rejectsWith<std::runtime_error>(QtPromise::QPromise<int>::reject(std::runtime_error("x")))));
        QVERIFY(
            (rejectsWith<std::shared_ptr<int>>(QtPromise::QPromise<void>::reject(std::make_shared<int>(1)))));
    }

    void anExceptionPointerGivesTheExceptionThatItHolds()
    {
        std::exception_ptr lvalue = std::make_exception_ptr(QString("held"));
        const std::exception_ptr constant = lvalue;
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(lvalue), QString()), QString("held"));
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(constant), QString()), QString("held"));
        QCOMPARE(
            reasonOf(QtPromise::QPromise<int>::reject(std::make_exception_ptr(QString("held"))), QString()),
            QString("held"));
    }

    void aNullExceptionPointerBecomesUndefined()
    {
        QVERIFY((
            rejectsWith<QPromiseUndefinedException>(QtPromise::QPromise<int>::reject(std::exception_ptr()))));
    }

    void aStringLiteralIsRejectedAsItsPointer()
    {
        const QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::reject("literal");
        QVERIFY((rejectsWith<const char*>(promise)));
        QVERIFY(!(rejectsWith<QString>(promise)));
        QVERIFY(!(rejectsWith<std::string>(promise)));
    }

    void rejectingWithoutReasonGivesUndefined()
    {
        const QtPromise::QPromise<int> promise(
            [](const QPromiseResolve<int>&, const QPromiseReject<int>& reject) { reject(); });
        QVERIFY((rejectsWith<QPromiseUndefinedException>(promise)));
    }

    void aValueWhoseCopyThrowsRejects()
    {
        struct Thrower
        {
            Thrower() = default;
            Thrower(const Thrower&) { throw QString("copy"); }
        };
        const Thrower thrower;
        Pending<Thrower> pending;
        (*pending.resolve)(thrower);
        QVERIFY(pending.promise.isRejected());
        bool caught = false;
        pending.promise.then(nullptr, [&](const QString& reason) -> QtPromise::QPromise<Thrower> {
            caught = reason == QLatin1String("copy");
            throw;
        });
        QCoreApplication::sendPostedEvents();
        QVERIFY(caught);
    }

    void aResolverOfVoidServesAsASlot()
    {
        const QtPromise::QPromise<void> promise(
            [](const QPromiseResolve<void>& resolve) { QTimer::singleShot(0, resolve); });
        QVERIFY(settles(promise));
        QVERIFY(promise.isFulfilled());
    }

    void aResolverServesAsASlotOfASignalWithItsValue()
    {
        QObject sender;
        const QtPromise::QPromise<QString> promise([&](const QPromiseResolve<QString>& resolve) {
            connect(&sender, &QObject::objectNameChanged, resolve);
        });
        sender.setObjectName("named");
        QCOMPARE(valueOf(promise, QString()), QString("named"));
    }

    void aRejecterServesAsASlot()
    {
        QObject sender;
        const QtPromise::QPromise<void> promise(
            [&](const QPromiseResolve<void>&, const QPromiseReject<void>& reject) {
                connect(&sender, &QObject::objectNameChanged, reject);
            });
        sender.setObjectName("named");
        QCOMPARE(reasonOf(promise, QString()), QString("named"));
    }

    void aResolvedValueConvertsImplicitly()
    {
        const QtPromise::QPromise<QString> promise(
            [](const QPromiseResolve<QString>& resolve) { resolve("text"); });
        QCOMPARE(valueOf(promise, QString()), QString("text"));
    }

    void handlesAreEqualIfTheyShareTheState()
    {
        const QtPromise::QPromise<int> one = QtPromise::QPromise<int>::resolve(1);
        const QtPromise::QPromise<int> copy = one;
        const QtPromise::QPromise<int> other = QtPromise::QPromise<int>::resolve(1);
        QVERIFY(one == copy);
        QVERIFY(!(one != copy));
        QVERIFY(one != other);
        QVERIFY(!(one == other));
    }

    void aHandleIsAssignedAndMovedAndSwapped()
    {
        QtPromise::QPromise<int> one = QtPromise::QPromise<int>::resolve(1);
        QtPromise::QPromise<int> two = QtPromise::QPromise<int>::resolve(2);
        const QtPromise::QPromise<int> first = one;
        const QtPromise::QPromise<int> second = two;
        one.swap(two);
        QVERIFY(one == second);
        QVERIFY(two == first);
        QtPromise::QPromise<int> moved = std::move(one);
        QVERIFY(moved == second);
        one = two;
        QVERIFY(one == first);
        one = std::move(moved);
        QVERIFY(one == second);
    }

    void aHandleOfTheBaseConvertsToThePromise()
    {
        const QPromiseBase<int> base = QPromiseBase<int>::reject(1);
        const QtPromise::QPromise<int> promise = base;
        QVERIFY(promise == base);
        QVERIFY((std::is_same<QPromiseBase<int>::Type, int>::value));
    }

    void promisesAreReassignedInALoop()
    {
        QtPromise::QPromise<int> promise = QtPromise::QPromise<int>::resolve(0);
        for (int i = 0; i < 5; ++i) {
            promise = promise.then([](int value) { return value + 1; });
        }
        QCOMPARE(valueOf(promise, 0), 5);
    }

    void anInitializerListOfPromisesIsIterable()
    {
        int pending = 0;
        for (const auto& promise : {QtPromise::QPromise<int>::resolve(1),
                                    QtPromise::QPromise<int>([](const QPromiseResolve<int>&) {})}) {
            pending += promise.isPending() ? 1 : 0;
        }
        QCOMPARE(pending, 1);
    }

    void staticResolveAndRejectAreSettledOnReturn()
    {
        QVERIFY(QtPromise::QPromise<int>::resolve(1).isFulfilled());
        QVERIFY(QtPromise::QPromise<void>::resolve().isFulfilled());
        QVERIFY(QPromiseBase<int>::reject(1).isRejected());
        QVERIFY(QtPromise::QPromise<void>::reject(1).isRejected());
        QVERIFY(!QtPromise::QPromise<void>::reject(1).isPending());
    }

    void aSettledPromiseDropsItsHandlers()
    {
        const auto captured = std::make_shared<int>(1);
        Pending<int> pending;
        pending.promise.then([captured](int) { ++sharedCalls; }, [captured] { ++sharedCalls; });
        (*pending.resolve)(1);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(sharedCalls, 1);
        QCOMPARE(captured.use_count(), 1L);
    }
};

QTEST_GUILESS_MAIN(TestPromiseConstruct)
#include "tst_promise_construct.moc"
