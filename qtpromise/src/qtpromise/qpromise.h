// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISE_H
#define QTPROMISE_QPROMISE_H

#include "qpromise_p.h"
#include "qpromisehelpers_p.h"
#include "qpromiseresolver.h"

#include <QVector>

#include <chrono>
#include <memory>

namespace QtPromise {

/// The common base of promises of a value and of void.
///
/// A promise is a handle on a state that is pending until it is fulfilled with a value or rejected with a
/// reason, once and for all. Copies are handles on the same state, and handles are equal if they share it.
/// Any thread may use the state through its own handle; a handle must be used by only one thread at a time.
///
/// A handler runs at most once, on the thread that attached it, from that thread's event queue and never from
/// inside the call that attaches it; handlers of one thread run in the order in which they were attached. If
/// the thread has ended by then, the handler is dropped, and the promise returned for it stays pending. If
/// the thread has no event dispatcher, the handler runs on the thread that settles the promise, with a
/// warning in the log category `tessel.promise`. A handler may be a nullptr (the outcome is passed on), must
/// be copyable, and may return a promise or a QFuture, whose outcome is then adopted.
template <typename T>
class QPromiseBase
{
public:
    using Type = T; ///< the type of the value

    /// Calls `executor` at once, with (resolve) if it declares one argument, else with (resolve, reject). An
    /// exception that it throws rejects the promise unless it is already settled.
    template <typename F, QtPromisePrivate::Requires<QtPromisePrivate::Executor<T, F>::isValid> = 0>
    QPromiseBase(F executor); // NOLINT(google-explicit-constructor)

    QPromiseBase(const QPromiseBase<T>&) = default; ///< another handle of the same state
    /// A moved-from handle can only be assigned to or destroyed.
    QPromiseBase(QPromiseBase<T>&&) noexcept = default;
    virtual ~QPromiseBase() = default;

    QPromiseBase<T>& operator=(const QPromiseBase<T>&) = default;     ///< as the copy constructor
    QPromiseBase<T>& operator=(QPromiseBase<T>&&) noexcept = default; ///< as the move constructor

    bool operator==(const QPromiseBase<T>& other) const
    {
        return m_state == other.m_state;
    } ///< the same state
    bool operator!=(const QPromiseBase<T>& other) const
    {
        return m_state != other.m_state;
    } ///< different states

    /// Exchanges the states of the two handles.
    void swap(QPromiseBase<T>& other) noexcept { m_state.swap(other.m_state); }

    bool isFulfilled() const { return m_state->outcome().isFulfilled(); } ///< settled with a value
    bool isRejected() const { return m_state->outcome().isRejected(); }   ///< settled with a reason
    bool isPending() const { return m_state->outcome().isPending(); }     ///< not settled yet

    /// Calls `fulfilled` with the value (or without, if it declares no argument) or `rejected` with the
    /// reason. The returned promise is settled with the result or exception of the called handler. The
    /// argument of `rejected` acts like that of a catch clause by const reference: a reason that it does not
    /// catch is passed on; without an argument it catches all. It runs inside the catch block, so `throw;`
    /// works in it.
    template <typename TFulfilled, typename TRejected>
    auto then(const TFulfilled& fulfilled, const TRejected& rejected) const -> QPromise<
        typename QtPromisePrivate::FulfilledHandler<T, typename std::decay<TFulfilled>::type>::Result>;

    /// The same; a rejection is passed on.
    template <typename TFulfilled>
    auto then(TFulfilled&& fulfilled) const -> QPromise<
        typename QtPromisePrivate::FulfilledHandler<T, typename std::decay<TFulfilled>::type>::Result>;

    /// The same as `then(nullptr, rejected)`.
    template <typename TRejected>
    QPromise<T> fail(TRejected&& rejected) const;

    /// Calls `handler()` on either outcome and awaits its result. The returned promise has the outcome of
    /// this one, or the failure of the handler.
    template <typename THandler>
    QPromise<T> finally(THandler handler) const;

    /// Like finally(), but only on fulfilment, and `handler` may take the value.
    template <typename THandler>
    QPromise<T> tap(THandler handler) const;

    /// Like finally(), but only on a rejection that `handler` catches, see then(). The handler returns void,
    /// or a promise or future of void.
    template <typename THandler>
    QPromise<T> tapFail(THandler handler) const;

    /// Returns a promise with this one's outcome, or a rejection with `error` if it is still pending after
    /// `msec` milliseconds. The timer runs on the calling thread, which needs an event loop, and ends with
    /// the promise.
    /// @warning Nothing is cancelled.
    template <typename E = QPromiseTimeoutException>
    QPromise<T> timeout(int msec, E&& error = E{}) const;
    /// As above.
    template <typename E = QPromiseTimeoutException>
    QPromise<T> timeout(std::chrono::milliseconds msec, E&& error = E{}) const;

    /// Delays a fulfilment by `msec` milliseconds; a rejection is passed on at once. The timer runs on the
    /// calling thread.
    QPromise<T> delay(int msec) const;
    /// As above.
    QPromise<T> delay(std::chrono::milliseconds msec) const;

    /// Blocks until the promise is settled, and returns it. Meanwhile it processes the events of the calling
    /// thread, including deferred deletes, so any slot, timer or handler of the thread may run.
    /// @warning There is no time limit; see timeout(). Handlers of this promise may not have run on return;
    /// to wait for a handler, wait for the promise returned by then().
    ///
    /// The wait ends when the QCoreApplication is destroyed: it then returns a promise rejected with
    /// QPromiseCanceledException, and this one stays pending.
    QPromise<T> wait() const;

    /// A promise rejected with `error`, see QPromiseReject.
    template <typename E>
    static QPromise<T> reject(E&& error);

protected:
    /// @cond private
    friend struct QtPromisePrivate::PromiseAccess;

    using StatePtr = std::shared_ptr<QtPromisePrivate::PromiseState<T>>;

    explicit QPromiseBase(StatePtr state)
        : m_state(std::move(state))
    {}

    StatePtr m_state;
    /// @endcond
};

/// A promise of a value of type T, which may be move-only.
template <typename T>
class QPromise : public QPromiseBase<T>
{
public:
    /// From an executor or from a QPromiseBase<T>.
    template <typename F, QtPromisePrivate::Requires<std::is_constructible<QPromiseBase<T>, F&&>::value> = 0>
    QPromise(F&& executor) // NOLINT(google-explicit-constructor, bugprone-forwarding-reference-overload)
        : QPromiseBase<T>(std::forward<F>(executor))
    {}

    /// Converts the value to U: by implicit conversion (static_cast between enumerations and numbers), else
    /// through QVariant; rejected with QPromiseConversionException if that fails. `void` discards the value.
    template <typename U>
    QPromise<U> convert() const;

    /// Calls `functor(item, index)` for each item of the sequence, awaits the results of the calls, and
    /// returns the sequence.
    template <typename Functor>
    QPromise<T> each(Functor functor) const;

    /// The items for which `functor(item, index)` returns true, or a promise of true, in order.
    template <typename Functor>
    QPromise<T> filter(Functor functor) const;

    /// The results of `functor(item, index)` for all items, in order.
    template <typename Functor>
    auto map(Functor functor) const -> QPromise<QVector<QtPromisePrivate::MapResult<T, Functor>>>;

    /// Calls `functor(accumulator, item, index)` for one item after another, each after the previous call is
    /// settled, and returns the last result. The first accumulator is `initial`, a value or a promise.
    template <typename Functor, typename Input>
    auto reduce(Functor functor, Input initial) const
        -> QPromise<QtPromisePrivate::ReduceResult<T, Functor, Input>>;

    /// As above; the first accumulator is the first item. The sequence must not be empty.
    template <typename Functor>
    auto reduce(Functor functor) const -> QPromise<QtPromisePrivate::ReduceResult<T, Functor>>;

    static QPromise<T> resolve(const T& value); ///< a promise fulfilled with a copy of `value`
    static QPromise<T> resolve(T&& value);      ///< a promise fulfilled with `value`

    /// See QtPromise::all().
    template <template <typename, typename...> class Sequence, typename... Args>
    Q_DECL_DEPRECATED static QPromise<QVector<T>> all(const Sequence<QPromise<T>, Args...>& promises)
    {
        return QtPromisePrivate::allOf<T>(promises);
    }
};

/// A promise without a value.
template <>
class QPromise<void> : public QPromiseBase<void>
{
public:
    /// From an executor or from a QPromiseBase<void>.
    template <typename F,
              QtPromisePrivate::Requires<std::is_constructible<QPromiseBase<void>, F&&>::value> = 0>
    QPromise(F&& executor) // NOLINT(google-explicit-constructor, bugprone-forwarding-reference-overload)
        : QPromiseBase<void>(std::forward<F>(executor))
    {}

    static QPromise<void> resolve(); ///< a fulfilled promise

    /// See QtPromise::all().
    template <template <typename, typename...> class Sequence, typename... Args>
    Q_DECL_DEPRECATED static QPromise<void> all(const Sequence<QPromise<void>, Args...>& promises)
    {
        return QtPromisePrivate::allOf<void>(promises);
    }
};

} // namespace QtPromise

#include "qpromise.inl"

#endif // QTPROMISE_QPROMISE_H
