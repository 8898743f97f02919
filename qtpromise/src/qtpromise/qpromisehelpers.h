// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISEHELPERS_H
#define QTPROMISE_QPROMISEHELPERS_H

#include "qpromise.h"

namespace QtPromise {

/// A promise fulfilled with `value`; for a QFuture, a promise that adopts its outcome, from the event loop of
/// the calling thread.
template <typename T>
QPromise<QtPromisePrivate::Unwrapped<T>> resolve(T&& value)
{
    return QtPromisePrivate::attemptCall([&]() -> T&& { return std::forward<T>(value); });
}

/// The same promise.
template <typename T>
QPromise<T> resolve(QPromise<T> promise)
{
    return promise;
}

/// A fulfilled promise without a value.
inline QPromise<void> resolve()
{
    return QPromise<void>::resolve();
}

/// Fulfilled with the values of all `promises`, in their order, once all are fulfilled; rejected with the
/// reason of the first one rejected. For an empty sequence the promise is fulfilled.
template <typename T, template <typename, typename...> class Sequence, typename... Args>
QPromise<QVector<T>> all(const Sequence<QPromise<T>, Args...>& promises)
{
    return QtPromisePrivate::allOf<T>(promises);
}

/// Fulfilled once all `promises` are fulfilled; otherwise the same.
template <template <typename, typename...> class Sequence, typename... Args>
QPromise<void> all(const Sequence<QPromise<void>, Args...>& promises)
{
    return QtPromisePrivate::allOf<void>(promises);
}

/// Calls `functor(args...)` at once and returns a promise of its result or exception.
template <typename Functor, typename... Args>
auto attempt(Functor&& functor, Args&&... args)
    -> QPromise<QtPromisePrivate::Unwrapped<decltype(functor(std::forward<Args>(args)...))>>
{
    return QtPromisePrivate::attemptCall([&]() -> decltype(functor(std::forward<Args>(args)...)) {
        return functor(std::forward<Args>(args)...);
    });
}

/// Fulfilled by the first emission of `signal`, with its first argument if it has one; rejected with
/// QPromiseContextException if `sender` is destroyed first. Settles inside the emission.
template <typename Sender, typename Signal>
auto connect(const Sender* sender, Signal signal) -> QPromise<QtPromisePrivate::SignalValue<Signal>>
{
    using T = QtPromisePrivate::SignalValue<Signal>;
    return QtPromisePrivate::promiseOfSignals<T>(sender, [&](const QPromiseConnections& connections,
                                                             const QPromiseResolve<T>& resolve,
                                                             const QPromiseReject<T>&) {
        QtPromisePrivate::connectSettling(connections, sender, signal, resolve);
    });
}

/// The same, but also rejected if `rejecter` emits `rejecting` first, with the signal's first argument, or
/// with QPromiseUndefinedException if it has none.
template <typename FSender, typename FSignal, typename RSender, typename RSignal>
auto connect(const FSender* resolver, FSignal resolving, const RSender* rejecter, RSignal rejecting)
    -> QPromise<QtPromisePrivate::SignalValue<FSignal>>
{
    using T = QtPromisePrivate::SignalValue<FSignal>;
    return QtPromisePrivate::promiseOfSignals<T>(resolver, [&](const QPromiseConnections& connections,
                                                               const QPromiseResolve<T>& resolve,
                                                               const QPromiseReject<T>& reject) {
        QtPromisePrivate::connectSettling(connections, resolver, resolving, resolve);
        QtPromisePrivate::connectSettling(connections, rejecter, rejecting, reject);
    });
}

/// The same, with both signals from one sender.
template <typename Sender, typename FSignal, typename RSignal>
auto connect(const Sender* sender, FSignal resolving, RSignal rejecting)
    -> QPromise<QtPromisePrivate::SignalValue<FSignal>>
{
    return connect(sender, resolving, sender, rejecting);
}

/// See QPromise::each(); the calls come from the event queue of the calling thread.
template <typename Sequence, typename Functor>
QPromise<Sequence> each(const Sequence& sequence, Functor&& functor)
{
    return QPromise<Sequence>::resolve(sequence).each(std::forward<Functor>(functor));
}

/// See QPromise::map(); `functor` is called for all items before this returns.
template <typename Sequence, typename Functor>
QPromise<QVector<QtPromisePrivate::MapResult<Sequence, Functor>>> map(const Sequence& sequence,
                                                                      Functor functor)
{
    return QtPromisePrivate::callForEach(sequence, functor);
}

/// See QPromise::filter(); `functor` is called for all items before this returns.
template <typename Sequence, typename Functor>
QPromise<Sequence> filter(const Sequence& sequence, Functor functor)
{
    return QtPromisePrivate::filterSequence(sequence, functor);
}

/// See QPromise::reduce(). The items may be promises. The result for an empty sequence is `initial`.
template <typename T, template <typename, typename...> class Sequence, typename... Args, typename Functor,
          typename Input>
auto reduce(const Sequence<T, Args...>& sequence, Functor functor, Input initial)
    -> QPromise<QtPromisePrivate::ReduceResult<Sequence<T, Args...>, Functor, Input>>
{
    return QtPromisePrivate::reduceSequence(sequence, functor, initial);
}

/// See QPromise::reduce(). The items may be promises. The sequence must not be empty.
template <typename T, template <typename, typename...> class Sequence, typename... Args, typename Functor>
QPromise<QtPromisePrivate::Unwrapped<T>> reduce(const Sequence<T, Args...>& sequence, Functor functor)
{
    return QtPromisePrivate::reduceSequence(sequence, functor);
}

/// See resolve().
template <typename... Args>
Q_DECL_DEPRECATED auto qPromise(Args&&... args) -> decltype(resolve(std::forward<Args>(args)...))
{
    return resolve(std::forward<Args>(args)...);
}

/// See all().
template <typename... Args>
Q_DECL_DEPRECATED auto qPromiseAll(Args&&... args) -> decltype(all(std::forward<Args>(args)...))
{
    return all(std::forward<Args>(args)...);
}

} // namespace QtPromise

#endif // QTPROMISE_QPROMISEHELPERS_H
