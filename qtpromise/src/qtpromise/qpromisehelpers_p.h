// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISEHELPERS_P_H
#define QTPROMISE_QPROMISEHELPERS_P_H

#include "qpromise_p.h"
#include "qpromiseconnections.h"
#include "qpromiseresolver.h"

#include <QVariant>
#include <QVector>

#include <cstddef>
#include <iterator>

namespace QtPromisePrivate {

/// A promise that is fulfilled from the start.
template <typename T, typename... V>
QtPromise::QPromise<T> resolved(V&&... value)
{
    const Deferred<T> deferred;
    deferred.settler->fulfil(std::forward<V>(value)...);
    return deferred.promise();
}

// ---------------------------------------------------------------------------------------------------------------------
// all
// ---------------------------------------------------------------------------------------------------------------------

/// The combined result of several promises of T, made from their values.
template <typename T>
struct AllResult
{
    using Type = QVector<T>;

    static Outcome<Type> of(const std::vector<std::shared_ptr<const T>>& values)
    {
        QVector<T> result;
        result.reserve(static_cast<int>(values.size()));
        for (const std::shared_ptr<const T>& value : values) {
            result.append(*value);
        }
        return Outcome<Type>::fulfilled(std::move(result));
    }
};

template <>
struct AllResult<void>
{
    using Type = void;

    static Outcome<void> of(const std::vector<std::shared_ptr<const void>>&)
    {
        return Outcome<void>::fulfilled();
    }
};

/// Collects the outcomes of several promises of T. Handlers without an event dispatcher run on any thread.
template <typename T>
class Collector
{
public:
    using Result = typename AllResult<T>::Type;

    Collector(std::size_t count, SettlerPtr<Result> settler)
        : m_values(count)
        , m_pending(count)
        , m_settler(std::move(settler))
    {}

    void add(std::size_t index, const Outcome<T>& outcome)
    {
        if (outcome.isRejected()) {
            m_settler->rejectWith(outcome.reason());
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_values[index] = outcome.value();
            if (--m_pending != 0) {
                return;
            }
        }
        m_settler->settleWith([this] { return AllResult<T>::of(m_values); });
    }

private:
    std::mutex m_mutex;
    std::vector<std::shared_ptr<const T>> m_values; // guarded by m_mutex until all have arrived
    std::size_t m_pending;                          // guarded by m_mutex
    const SettlerPtr<Result> m_settler;
};

/// A promise of the values of all `promises`, in their order; rejected with the first one rejected.
template <typename T, typename Sequence>
QtPromise::QPromise<typename AllResult<T>::Type> allOf(const Sequence& promises)
{
    const auto count = static_cast<std::size_t>(std::distance(std::begin(promises), std::end(promises)));
    const Deferred<typename AllResult<T>::Type> deferred;
    if (count == 0) {
        deferred.settler->settle(AllResult<T>::of({}));
    }
    const auto collector = std::make_shared<Collector<T>>(count, deferred.settler);
    std::size_t index = 0;
    for (const auto& promise : promises) {
        PromiseAccess::state(promise)->observeHere(
            [collector, index](const Outcome<T>& outcome) { collector->add(index, outcome); });
        ++index;
    }
    return deferred.promise();
}

// ---------------------------------------------------------------------------------------------------------------------
// Sequences
// ---------------------------------------------------------------------------------------------------------------------

template <typename Sequence>
using ItemOf = typename std::decay<decltype(*std::begin(std::declval<const Sequence&>()))>::type;

// The result types below are class templates because the member functions of QPromise<T> name them for every
// T; a T that is not a sequence must fail only when the member is called.

template <typename Sequence, typename F>
struct MapTraits
{
    using Result =
        Unwrapped<decltype(std::declval<F&>()(std::declval<const ItemOf<Sequence>&>(), std::declval<int>()))>;
};

/// The result type of mapping an item of a sequence with F.
template <typename Sequence, typename F>
using MapResult = typename MapTraits<Sequence, F>::Result;

/// Calls `functor(item, index)` for all items at once. A call that throws rejects its own part of the result.
template <typename Sequence, typename F>
auto callForEach(const Sequence& sequence, const F& functor)
    -> QtPromise::QPromise<typename AllResult<MapResult<Sequence, F>>::Type>
{
    std::vector<QtPromise::QPromise<MapResult<Sequence, F>>> results;
    int index = 0;
    for (const auto& item : sequence) {
        F call = functor;
        results.push_back(attemptCall([&]() -> decltype(call(item, index)) { return call(item, index); }));
        ++index;
    }
    return allOf<MapResult<Sequence, F>>(results);
}

template <typename Sequence, typename F>
QtPromise::QPromise<Sequence> filterSequence(const Sequence& sequence, const F& functor)
{
    static_assert(std::is_convertible<MapResult<Sequence, F>, bool>::value, "A filter gives bool");
    return callForEach(sequence, functor).then([sequence](const QVector<MapResult<Sequence, F>>& kept) {
        Sequence result;
        auto keep = kept.begin();
        for (const auto& item : sequence) {
            if (*keep++) {
                result.push_back(item);
            }
        }
        return result;
    });
}

template <typename Sequence, typename F, typename... Input>
struct ReduceTraits;

template <typename Sequence, typename F>
struct ReduceTraits<Sequence, F>
{
    using Result = Unwrapped<ItemOf<Sequence>>;
};

template <typename Sequence, typename F, typename Input>
struct ReduceTraits<Sequence, F, Input>
{
    using Result = Unwrapped<decltype(std::declval<F&>()(std::declval<const Unwrapped<Input>&>(),
                                                         std::declval<const Unwrapped<ItemOf<Sequence>>&>(),
                                                         std::declval<int>()))>;
};

/// The result type of reducing a sequence with F, starting from an Input or from the first item.
template <typename Sequence, typename F, typename... Input>
using ReduceResult = typename ReduceTraits<Sequence, F, Input...>::Result;

/// A promise of `value`, which may already be a promise.
template <typename R, typename Value>
QtPromise::QPromise<R> promiseOf(const Value& value)
{
    return attemptCall([&]() -> const Value& { return value; });
}

/// Calls `functor(accumulator, item, index)` once `item` is available, and returns its result.
template <typename A, typename Item, typename F>
struct ReduceStep
{
    static auto run(F& functor, const A& accumulator, const Item& item, int index)
        -> decltype(functor(accumulator, item, index))
    {
        return functor(accumulator, item, index);
    }
};

template <typename A, typename X, typename F>
struct ReduceStep<A, QtPromise::QPromise<X>, F>
{
    static auto run(F& functor, const A& accumulator, const QtPromise::QPromise<X>& item, int index)
    {
        return item.then([functor, accumulator, index](const X& value) mutable {
            return functor(accumulator, value, index);
        });
    }
};

/// Chains one step per item of [item, end), each of which waits for the previous one.
template <typename R, typename Iterator, typename F>
QtPromise::QPromise<R> reduceRange(QtPromise::QPromise<R> accumulator, Iterator item, Iterator end, int index,
                                   F functor)
{
    using Item = typename std::decay<decltype(*item)>::type;
    for (; item != end; ++item, ++index) {
        accumulator = accumulator.then([functor, value = Item(*item), index](const R& current) mutable {
            return ReduceStep<R, Item, F>::run(functor, current, value, index);
        });
    }
    return accumulator;
}

template <typename Sequence, typename F, typename Input>
QtPromise::QPromise<ReduceResult<Sequence, F, Input>> reduceSequence(const Sequence& sequence,
                                                                     const F& functor, const Input& initial)
{
    using R = ReduceResult<Sequence, F, Input>;
    return reduceRange<R>(promiseOf<R>(initial), std::begin(sequence), std::end(sequence), 0, functor);
}

template <typename Sequence, typename F>
QtPromise::QPromise<ReduceResult<Sequence, F>> reduceSequence(const Sequence& sequence, const F& functor)
{
    using R = ReduceResult<Sequence, F>;
    auto item = std::begin(sequence);
    const auto end = std::end(sequence);
    Q_ASSERT_X(item != end, "reduce", "an empty sequence needs an initial value");
    const QtPromise::QPromise<R> first = promiseOf<R>(*item);
    return reduceRange<R>(first, ++item, end, 1, functor);
}

// ---------------------------------------------------------------------------------------------------------------------
// Signals
// ---------------------------------------------------------------------------------------------------------------------

/// The type of a promise settled by a signal, which is that of the signal's first argument.
template <typename Signal>
using SignalValue = RemoveCvRef<typename ArgsOfMember<Signal>::first>;

/// The slot of a signal that settles a promise with the signal's first argument, if it has one.
template <typename Value, typename Settle>
struct SettlingSlot
{
    QtPromise::QPromiseConnections connections;
    Settle settle;

    void operator()(const Value& value) const
    {
        connections.disconnect();
        settle(value);
    }
};

template <typename Settle>
struct SettlingSlot<void, Settle>
{
    QtPromise::QPromiseConnections connections;
    Settle settle;

    void operator()() const
    {
        connections.disconnect();
        settle();
    }
};

template <typename Sender, typename Signal, typename Settle>
void connectSettling(const QtPromise::QPromiseConnections& connections, const Sender* sender, Signal signal,
                     const Settle& settle)
{
    connections << QObject::connect(sender, signal,
                                    SettlingSlot<SignalValue<Signal>, Settle>{connections, settle});
}

/// A promise whose resolvers `wire(connections, resolve, reject)` connects to signals.
template <typename T, typename Wire>
QtPromise::QPromise<T> promiseOfSignals(const QObject* resolvingSender, Wire wire)
{
    const QtPromise::QPromiseConnections connections;
    const QtPromise::QPromise<T> promise(
        [&](const QtPromise::QPromiseResolve<T>& resolve, const QtPromise::QPromiseReject<T>& reject) {
            wire(connections, resolve, reject);
            connectSettling(connections, resolvingSender, &QObject::destroyed,
                            [reject](QObject*) { reject(QtPromise::QPromiseContextException()); });
        });
    // A sender on another thread may have emitted before everything was connected.
    if (!promise.isPending()) {
        connections.disconnect();
    }
    return promise;
}

// ---------------------------------------------------------------------------------------------------------------------
// convert
// ---------------------------------------------------------------------------------------------------------------------

template <typename T>
using IsNumeric = std::integral_constant<bool, std::is_enum<T>::value || std::is_arithmetic<T>::value>;

/// Between an enumeration and a number or another enumeration, which needs an explicit conversion.
template <typename T, typename U>
using IsEnumConversion = std::integral_constant<bool, IsNumeric<T>::value && IsNumeric<U>::value>;

/// Converts a value of T to U through QVariant.
template <typename T, typename U,
          bool ByLanguage =
              std::is_convertible<T, U>::value || IsEnumConversion<T, U>::value || std::is_void<U>::value>
struct Conversion
{
    static U of(const T& value)
    {
        QVariant variant = QVariant::fromValue(value);
        const int type = qMetaTypeId<U>();
        if (!variant.canConvert(type) || !variant.convert(type)) {
            throw QtPromise::QPromiseConversionException();
        }
        return variant.template value<U>();
    }
};

template <typename T, typename U>
struct Conversion<T, U, true>
{
    static U of(const T& value) { return static_cast<U>(value); }
};

template <typename T>
struct Conversion<T, QVariant, false>
{
    static QVariant of(const T& value) { return QVariant::fromValue(value); }
};

template <typename T>
struct Conversion<T, QVariant, true>
{
    static QVariant of(const T& value) { return QVariant::fromValue(value); }
};

} // namespace QtPromisePrivate

#endif // QTPROMISE_QPROMISEHELPERS_P_H
