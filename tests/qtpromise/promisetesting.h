// SPDX-License-Identifier: MIT
#ifndef TESTS_QTPROMISE_PROMISETESTING_H
#define TESTS_QTPROMISE_PROMISETESTING_H

#include <QtPromise>

#include <QCoreApplication>
#include <QTest>

#include <functional>
#include <memory>

/// Runs the event loop until `promise` is settled; false if that takes far too long.
template <typename T>
bool settles(const QtPromise::QPromise<T>& promise)
{
    return QTest::qWaitFor([&] { return !promise.isPending(); }, 20000);
}

/// The value of `promise`, or `otherwise` if it is not fulfilled.
template <typename T>
T valueOf(const QtPromise::QPromise<T>& promise, const T& otherwise)
{
    const auto value = std::make_shared<T>(otherwise);
    settles(promise.then([value](const T& v) { *value = v; }, [] {}));
    return *value;
}

/// The reason of `promise` if it is an E, else `otherwise`.
template <typename E, typename T>
E reasonOf(const QtPromise::QPromise<T>& promise, const E& otherwise)
{
    const auto reason = std::make_shared<E>(otherwise);
    settles(promise.then([](const T&) {}, [reason](const E& e) { *reason = e; }).fail([] {}));
    return *reason;
}

template <typename E>
E reasonOf(const QtPromise::QPromise<void>& promise, const E& otherwise)
{
    const auto reason = std::make_shared<E>(otherwise);
    settles(promise.fail([reason](const E& e) { *reason = e; }).fail([] {}));
    return *reason;
}

/// Whether `promise` ends rejected with an E.
template <typename E, typename T>
bool rejectsWith(const QtPromise::QPromise<T>& promise)
{
    const auto matched = std::make_shared<bool>(false);
    settles(promise.tapFail([matched](const E&) { *matched = true; }));
    return *matched;
}

/// The passes over the posted events that it takes to settle `promise`.
template <typename T>
int passesToSettle(const QtPromise::QPromise<T>& promise)
{
    int passes = 0;
    while (promise.isPending() && passes < 20) {
        QCoreApplication::sendPostedEvents();
        ++passes;
    }
    return passes;
}

/// A pending promise and its resolvers.
template <typename T>
struct Pending
{
    using Resolve = QtPromise::QPromiseResolve<T>;
    using Reject = QtPromise::QPromiseReject<T>;

    std::unique_ptr<Resolve> resolve;
    std::unique_ptr<Reject> reject;
    QtPromise::QPromise<T> promise = QtPromise::QPromise<T>([this](const Resolve& r, const Reject& j) {
        resolve = std::make_unique<Resolve>(r);
        reject = std::make_unique<Reject>(j);
    });
};

#endif // TESTS_QTPROMISE_PROMISETESTING_H
