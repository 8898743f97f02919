// SPDX-License-Identifier: MIT
// The members of the promise classes; included by qpromise.h only.

namespace QtPromise {

template <typename T>
template <typename F, QtPromisePrivate::Requires<QtPromisePrivate::Executor<T, F>::isValid>>
QPromiseBase<T>::QPromiseBase(F executor)
    : m_state(std::make_shared<QtPromisePrivate::PromiseState<T>>())
{
    const auto settler = std::make_shared<QtPromisePrivate::Settler<T>>(m_state);
    try {
        QtPromisePrivate::Executor<T, F>::run(executor, settler);
    } catch (...) {
        settler->rejectWith(QtPromisePrivate::currentReason());
    }
}

template <typename T>
template <typename TFulfilled, typename TRejected>
auto QPromiseBase<T>::then(const TFulfilled& fulfilled, const TRejected& rejected) const
    -> QPromise<typename QtPromisePrivate::FulfilledHandler<T, typename std::decay<TFulfilled>::type>::Result>
{
    using Fulfilled = typename std::decay<TFulfilled>::type;
    using Rejected = typename std::decay<TRejected>::type;
    using Handler = QtPromisePrivate::FulfilledHandler<T, Fulfilled>;
    using Result = typename Handler::Result;

    // Not captured by plain copy, which would keep the constness of the arguments.
    const QtPromisePrivate::Deferred<Result> deferred;
    m_state->observeHere(
        [settler = deferred.settler, onFulfilled = Fulfilled(fulfilled),
         onRejected = Rejected(rejected)](const QtPromisePrivate::Outcome<T>& outcome) mutable {
            if (outcome.isFulfilled())
                Handler::settle(settler, onFulfilled, outcome);
            else
                QtPromisePrivate::RejectedHandler<Result, Rejected>::settle(settler, onRejected,
                                                                            outcome.reason());
        });
    return deferred.promise();
}

template <typename T>
template <typename TFulfilled>
auto QPromiseBase<T>::then(TFulfilled&& fulfilled) const
    -> QPromise<typename QtPromisePrivate::FulfilledHandler<T, typename std::decay<TFulfilled>::type>::Result>
{
    return then(fulfilled, nullptr);
}

template <typename T>
template <typename TRejected>
QPromise<T> QPromiseBase<T>::fail(TRejected&& rejected) const
{
    return then(nullptr, rejected);
}

template <typename T>
template <typename THandler>
QPromise<T> QPromiseBase<T>::finally(THandler handler) const
{
    const QtPromisePrivate::Deferred<T> deferred;
    m_state->observeHere(
        [settler = deferred.settler, handler](const QtPromisePrivate::Outcome<T>& outcome) mutable {
            QtPromisePrivate::settleAfterCall(settler, outcome, handler);
        });
    return deferred.promise();
}

template <typename T>
template <typename THandler>
QPromise<T> QPromiseBase<T>::tap(THandler handler) const
{
    using Call = QtPromisePrivate::FulfilledCall<T, THandler>;

    const QtPromisePrivate::Deferred<T> deferred;
    m_state->observeHere([settler = deferred.settler,
                          handler](const QtPromisePrivate::Outcome<T>& outcome) mutable {
        if (outcome.isRejected()) {
            settler->settle(outcome);
            return;
        }
        QtPromisePrivate::settleAfterCall(settler, outcome, [&]() -> decltype(Call::call(handler, outcome)) {
            return Call::call(handler, outcome);
        });
    });
    return deferred.promise();
}

template <typename T>
template <typename THandler>
QPromise<T> QPromiseBase<T>::tapFail(THandler handler) const
{
    const QtPromisePrivate::Deferred<T> deferred;
    m_state->observeHere(
        [settler = deferred.settler, handler](const QtPromisePrivate::Outcome<T>& outcome) mutable {
            if (outcome.isFulfilled()) {
                settler->settle(outcome);
                return;
            }
            QtPromisePrivate::RejectedCall<THandler>::dispatch(
                handler, outcome.reason(),
                [&](auto&& invoke) {
                    static_assert(std::is_void<QtPromisePrivate::Unwrapped<decltype(invoke())>>::value,
                                  "A handler of tapFail must return void, QPromise<void> or QFuture<void>");
                    QtPromisePrivate::settleAfterCall(settler, outcome, invoke);
                },
                [&] { settler->settle(outcome); });
        });
    return deferred.promise();
}

template <typename T>
template <typename E>
QPromise<T> QPromiseBase<T>::timeout(int msec, E&& error) const
{
    return timeout(std::chrono::milliseconds(msec), std::forward<E>(error));
}

template <typename T>
template <typename E>
QPromise<T> QPromiseBase<T>::timeout(std::chrono::milliseconds msec, E&& error) const
{
    using Error = typename std::decay<E>::type;

    const QtPromisePrivate::Deferred<T> deferred;
    const QtPromisePrivate::SettlerPtr<T> settler = deferred.settler;
    if (isPending()) {
        const auto timer = QtPromisePrivate::CallTimer::start(
            msec, [settler, reason = Error(std::forward<E>(error))] { settler->reject(reason); });
        m_state->observe([settler, timer](const QtPromisePrivate::Outcome<T>& outcome) {
            QtPromisePrivate::CallTimer::cancel(*timer);
            settler->settle(outcome);
        });
    } else {
        settler->settle(m_state->outcome());
    }
    return deferred.promise();
}

template <typename T>
QPromise<T> QPromiseBase<T>::delay(int msec) const
{
    return delay(std::chrono::milliseconds(msec));
}

template <typename T>
QPromise<T> QPromiseBase<T>::delay(std::chrono::milliseconds msec) const
{
    return tap([msec] {
        return QPromise<void>([msec](const QPromiseResolve<void>& resolve) {
            QtPromisePrivate::CallTimer::start(msec, resolve);
        });
    });
}

template <typename T>
QPromise<T> QPromiseBase<T>::wait() const
{
    const QPromise<T> self(*this);
    if (self.isPending()) {
        const auto waiter = std::make_shared<QtPromisePrivate::Waiter>();
        self.m_state->observe([waiter](const QtPromisePrivate::Outcome<T>&) { waiter->wake(); });
        if (!waiter->run())
            return QPromise<T>::reject(QPromiseCanceledException());
    }
    return self;
}

template <typename T>
template <typename E>
QPromise<T> QPromiseBase<T>::reject(E&& error)
{
    const QtPromisePrivate::Deferred<T> deferred;
    deferred.settler->reject(std::forward<E>(error));
    return deferred.promise();
}

template <typename T>
template <typename U>
QPromise<U> QPromise<T>::convert() const
{
    return this->then([](const T& value) -> U { return QtPromisePrivate::Conversion<T, U>::of(value); });
}

template <typename T>
template <typename Functor>
QPromise<T> QPromise<T>::each(Functor functor) const
{
    return this->tap(
        [functor](const T& sequence) { return QtPromisePrivate::callForEach(sequence, functor); });
}

template <typename T>
template <typename Functor>
QPromise<T> QPromise<T>::filter(Functor functor) const
{
    return this->then(
        [functor](const T& sequence) { return QtPromisePrivate::filterSequence(sequence, functor); });
}

template <typename T>
template <typename Functor>
auto QPromise<T>::map(Functor functor) const -> QPromise<QVector<QtPromisePrivate::MapResult<T, Functor>>>
{
    return this->then(
        [functor](const T& sequence) { return QtPromisePrivate::callForEach(sequence, functor); });
}

template <typename T>
template <typename Functor, typename Input>
auto QPromise<T>::reduce(Functor functor, Input initial) const
    -> QPromise<QtPromisePrivate::ReduceResult<T, Functor, Input>>
{
    return this->then([functor, initial](const T& sequence) {
        return QtPromisePrivate::reduceSequence(sequence, functor, initial);
    });
}

template <typename T>
template <typename Functor>
auto QPromise<T>::reduce(Functor functor) const -> QPromise<QtPromisePrivate::ReduceResult<T, Functor>>
{
    return this->then(
        [functor](const T& sequence) { return QtPromisePrivate::reduceSequence(sequence, functor); });
}

template <typename T>
QPromise<T> QPromise<T>::resolve(const T& value)
{
    return QtPromisePrivate::resolved<T>(value);
}

template <typename T>
QPromise<T> QPromise<T>::resolve(T&& value)
{
    return QtPromisePrivate::resolved<T>(std::move(value));
}

inline QPromise<void> QPromise<void>::resolve()
{
    return QtPromisePrivate::resolved<void>();
}

} // namespace QtPromise
