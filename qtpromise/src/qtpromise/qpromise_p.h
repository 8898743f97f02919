// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISE_P_H
#define QTPROMISE_QPROMISE_P_H

#include "qpromiseexceptions.h"
#include "qpromiseglobal.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QLoggingCategory>
#include <QObject>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <vector>

QT_BEGIN_NAMESPACE
template <typename T>
class QFuture;
QT_END_NAMESPACE

namespace QtPromise {
template <typename T>
class QPromiseBase;
template <typename T>
class QPromise;
} // namespace QtPromise

namespace QtPromisePrivate {

inline const QLoggingCategory& promiseLog()
{
    static const QLoggingCategory category("tessel.promise");
    return category;
}

// ---------------------------------------------------------------------------------------------------------------------
// Delivery to the thread of a handler
// ---------------------------------------------------------------------------------------------------------------------

/// Runs its call when it is destroyed: after delivery, or when the queue that holds it is discarded with its
/// thread.
class CallEvent final : public QEvent
{
public:
    explicit CallEvent(std::function<void()> call)
        : QEvent(QEvent::None)
        , m_call(std::move(call))
    {
        m_complete.store(true, std::memory_order_release);
    }

    ~CallEvent() override
    {
        // Pairs with the store above, so that the hand-over does not depend on the internal synchronisation
        // of Qt's event queue.
        if (m_complete.load(std::memory_order_acquire)) {
            m_call();
        }
    }

    CallEvent(const CallEvent&) = delete;
    CallEvent& operator=(const CallEvent&) = delete;

private:
    std::function<void()> m_call;
    std::atomic<bool> m_complete{false};
};

/// Reaches an object of another thread that dies with that thread. The mutex guards the pointer: while it is
/// held, the object is alive or the pointer is null.
template <typename Object>
struct Link
{
    std::mutex mutex;
    Object* object = nullptr;
};

/// Receives the calls posted to a thread. A child of the thread's event dispatcher, so it is destroyed on
/// that thread.
class CallReceiver final : public QObject
{
public:
    using LinkPtr = std::shared_ptr<Link<CallReceiver>>;

    /// The link to the calling thread's receiver; null if the thread has no event dispatcher.
    static LinkPtr ofCurrentThread()
    {
        CallReceiver*& receiver = current();
        if (!receiver) {
            QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
            if (!dispatcher) {
                return nullptr;
            }
            receiver = new CallReceiver(dispatcher);
        }
        return receiver->m_link;
    }

    /// Posts `call`, or drops it if the thread of the receiver has ended.
    static void post(Link<CallReceiver>& link, std::function<void()> call)
    {
        // A dropped call is released after the lock: it is an argument, and those outlive the locals.
        const std::lock_guard<std::mutex> lock(link.mutex);
        if (link.object) {
            QCoreApplication::postEvent(link.object, new CallEvent(std::move(call)));
        }
    }

    ~CallReceiver() override
    {
        if (current() == this) {
            current() = nullptr;
        }
        const std::lock_guard<std::mutex> lock(m_link->mutex);
        m_link->object = nullptr;
    }

    Q_DISABLE_COPY(CallReceiver)

private:
    explicit CallReceiver(QObject* parent)
        : QObject(parent)
        , m_link(std::make_shared<Link<CallReceiver>>())
    {
        m_link->object = this;
    }

    static CallReceiver*& current()
    {
        static thread_local CallReceiver* receiver = nullptr;
        return receiver;
    }

    const LinkPtr m_link;
};

/// The thread on which a handler was attached, which is where it runs.
class HandlerThread
{
public:
    static HandlerThread current() { return HandlerThread(); }

    /// Posts `call` to the thread. If the thread has ended, or has no event dispatcher while the application
    /// closes, the call is dropped. If it has none otherwise, the call runs at once on the calling thread,
    /// with a warning.
    void run(std::function<void()> call) const
    {
        if (m_receiver) {
            CallReceiver::post(*m_receiver, std::move(call));
            return;
        }
        // Attached without an event dispatcher; the thread may have created one since.
        QThread* const thread = m_thread.data();
        if (!thread || thread->isFinished()) {
            return;
        }
        if (QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance(thread)) {
            QCoreApplication::postEvent(dispatcher, new CallEvent(std::move(call)));
            return;
        }
        if (QCoreApplication::closingDown()) {
            return;
        }
        qCWarning(promiseLog,
                  "A promise handler was attached on a thread that has no event dispatcher; it runs on "
                  "the thread that settles the promise");
        call();
    }

private:
    HandlerThread()
        : m_thread(QThread::currentThread())
        , m_receiver(CallReceiver::ofCurrentThread())
    {}

    QPointer<QThread> m_thread;
    CallReceiver::LinkPtr m_receiver;
};

/// Posts `call` to the queue of the calling thread. It must not throw.
template <typename F>
void qtpromise_defer(F&& call)
{
    HandlerThread::current().run(std::forward<F>(call));
}

/// A single-shot timer of the thread that started it. Ends when it fires, when it is cancelled, or with its
/// thread.
class CallTimer final : public QObject
{
public:
    using LinkPtr = std::shared_ptr<Link<CallTimer>>;

    /// Calls `call` on the calling thread after `delay`; never if that thread has no event dispatcher.
    static LinkPtr start(std::chrono::milliseconds delay, std::function<void()> call)
    {
        QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
        if (!dispatcher) {
            qCWarning(promiseLog,
                      "A promise timer needs a thread with an event dispatcher; it will not fire");
            return std::make_shared<Link<CallTimer>>();
        }
        return (new CallTimer(dispatcher, delay, std::move(call)))->m_link;
    }

    /// Stops the timer and releases its call; may be called from any thread.
    static void cancel(Link<CallTimer>& link)
    {
        std::unique_ptr<CallTimer> own; // outlives the lock, which the destructor takes again
        const std::lock_guard<std::mutex> lock(link.mutex);
        if (!link.object) {
            return;
        }
        if (link.object->thread() == QThread::currentThread()) {
            own.reset(link.object);
        } else {
            link.object->deleteLater();
        }
        link.object = nullptr;
    }

    ~CallTimer() override { unlink(); }

    Q_DISABLE_COPY(CallTimer)

protected:
    void timerEvent(QTimerEvent* event) override
    {
        killTimer(event->timerId());
        unlink();
        deleteLater();
        const std::function<void()> call = std::move(m_call);
        call();
    }

private:
    CallTimer(QObject* parent, std::chrono::milliseconds delay, std::function<void()> call)
        : QObject(parent)
        , m_call(std::move(call))
        , m_link(std::make_shared<Link<CallTimer>>())
    {
        m_link->object = this;
        startTimer(delay);
    }

    void unlink()
    {
        const std::lock_guard<std::mutex> lock(m_link->mutex);
        m_link->object = nullptr;
    }

    std::function<void()> m_call;
    const LinkPtr m_link;
};

/// One thread that waits for one promise. wake() may come from any thread, and after the wait has ended.
class Waiter
{
public:
    Waiter()
        : m_dispatcher(QAbstractEventDispatcher::instance())
    {}

    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    void wake()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_settled = true;
        m_changed.notify_all();
        if (m_dispatcher) {
            m_dispatcher->wakeUp();
        }
    }

    /// Processes events of the calling thread until wake() is called or the application ends, after which no
    /// more events are delivered. Re-entrant: any code of the thread may run. Returns whether wake() was
    /// called.
    bool run()
    {
        processEvents(QEventLoop::AllEvents);
        // Every settling wakes the event dispatcher, but an object that a nested event loop leaves to be
        // deleted later does not, and its end may be what settles the promise. Nor does the application's
        // closing.
        QTimer deferredDeletes;
        if (m_dispatcher) {
            deferredDeletes.start(flushInterval());
        }
        while (!isSettled() && !QCoreApplication::closingDown()) {
            processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        }
        if (!isSettled()) { // what was posted before may settle the promise
            processEvents(QEventLoop::AllEvents);
        }

        const std::lock_guard<std::mutex> lock(m_mutex);
        m_dispatcher = nullptr;
        return m_settled;
    }

private:
    static constexpr std::chrono::milliseconds flushInterval() { return std::chrono::milliseconds(20); }

    void processEvents(QEventLoop::ProcessEventsFlags flags)
    {
        if (m_dispatcher) {
            QCoreApplication::processEvents(flags);
        } else if (flags.testFlag(QEventLoop::WaitForMoreEvents)) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait_for(lock, flushInterval(), [this] { return m_settled; });
        }
        // processEvents() leaves out the deferred deletes of its own loop level.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    bool isSettled()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_settled;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_settled = false; // guarded by m_mutex
    QAbstractEventDispatcher*
        m_dispatcher; // guarded by m_mutex against other threads; only the waiting thread writes
};

// ---------------------------------------------------------------------------------------------------------------------
// The state of a promise
// ---------------------------------------------------------------------------------------------------------------------

/// A rejection reason, shared by all promises to which it is passed on. The counter of std::exception_ptr is
/// in the C++ runtime; this one synchronises the destruction of a reason with every thread that has read it.
using Reason = std::shared_ptr<const std::exception_ptr>;

inline Reason makeReason(std::exception_ptr error)
{
    return std::make_shared<const std::exception_ptr>(std::move(error));
}

inline Reason currentReason()
{
    return makeReason(std::current_exception());
}

/// Stores `error` itself if it is a std::exception_ptr, else one copy of it; a string literal decays to its
/// pointer.
template <typename E, Requires<!std::is_same<RemoveCvRef<E>, std::exception_ptr>::value> = 0>
Reason reasonFrom(E&& error)
{
    try {
        throw static_cast<const typename std::decay<E>::type&>(error);
    } catch (...) {
        return currentReason();
    }
}

inline Reason reasonFrom(std::exception_ptr error)
{
    return makeReason(error ? std::move(error)
                            : std::make_exception_ptr(QtPromise::QPromiseUndefinedException()));
}

/// The outcome of a promise so far. Copies share the value and the reason.
template <typename T>
class Outcome
{
public:
    Outcome() = default; // pending

    template <typename... V>
    static Outcome fulfilled(V&&... value)
    {
        Outcome outcome;
        outcome.m_state = State::Fulfilled;
        outcome.m_value = Store<T>::make(std::forward<V>(value)...);
        return outcome;
    }

    static Outcome rejected(const Reason& reason)
    {
        Outcome outcome;
        outcome.m_state = State::Rejected;
        outcome.m_reason = reason;
        return outcome;
    }

    bool isPending() const { return m_state == State::Pending; }
    bool isFulfilled() const { return m_state == State::Fulfilled; }
    bool isRejected() const { return m_state == State::Rejected; }

    /// Of a fulfilled promise; null for a promise of void.
    const std::shared_ptr<const T>& value() const { return m_value; }
    /// Of a rejected promise.
    const Reason& reason() const { return m_reason; }

private:
    enum class State { Pending, Fulfilled, Rejected };

    template <typename U, typename = void>
    struct Store
    {
        template <typename V>
        static std::shared_ptr<const U> make(V&& value)
        {
            return std::make_shared<U>(std::forward<V>(value));
        }
    };

    template <typename Dummy>
    struct Store<void, Dummy>
    {
        static std::shared_ptr<const void> make() { return nullptr; }
    };

    State m_state = State::Pending;
    std::shared_ptr<const T> m_value;
    Reason m_reason;
};

/// Releases `object`. A release from inside another one is deferred until that one is complete, so that a
/// long chain of promises that keep each other alive is not destroyed recursively.
inline void releaseInTurn(std::shared_ptr<void> object)
{
    static thread_local std::vector<std::shared_ptr<void>>* current = nullptr;
    if (current) {
        current->push_back(std::move(object));
        return;
    }
    std::vector<std::shared_ptr<void>> waiting;
    current = &waiting;
    object.reset();
    while (!waiting.empty()) {
        object = std::move(waiting.back());
        waiting.pop_back();
        object.reset();
    }
    current = nullptr;
}

template <typename T>
class Settler;

/// The state shared by all handles of a promise. All members may be called from any thread.
///
/// The outcome is written once, under the mutex, and never changes after that. A caller that finds the
/// promise pending, under the mutex, adds an observer that settle() will run, so no observer is lost and none
/// runs twice. Observers run without the mutex, on the thread that settles or attaches, and do not throw.
template <typename T>
class PromiseState
{
public:
    using Observer = std::function<void(const Outcome<T>&)>;

    PromiseState() = default;
    ~PromiseState()
    {
        if (!m_listeners.empty()) {
            releaseInTurn(std::make_shared<std::vector<Listener>>(std::move(m_listeners)));
        }
    }
    PromiseState(const PromiseState&) = delete;
    PromiseState& operator=(const PromiseState&) = delete;

    Outcome<T> outcome() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_outcome;
    }

    /// Calls `observer` once, when the promise is settled, or at once if it already is.
    void observe(Observer observer)
    {
        Listener listener{std::move(observer), nullptr};
        const Outcome<T> outcome = keepWhilePending(listener);
        if (!outcome.isPending()) {
            listener.observer(outcome);
        }
    }

    /// Settles `follower` with this promise's outcome, at once if there already is one.
    void lead(std::shared_ptr<Settler<T>> follower)
    {
        Listener listener{nullptr, std::move(follower)};
        const Outcome<T> outcome = keepWhilePending(listener);
        if (!outcome.isPending()) {
            listener.follower->settle(outcome);
        }
    }

    /// Like observe(), but calls `handler` on the thread that is current now, and never from inside this
    /// call.
    template <typename Handler>
    void observeHere(Handler handler)
    {
        const HandlerThread thread = HandlerThread::current();
        observe([thread, handler = std::move(handler)](const Outcome<T>& outcome) mutable {
            thread.run([handler = std::move(handler), outcome]() mutable { handler(outcome); });
        });
    }

    /// Only a Settler calls this, and only once.
    void settle(const Outcome<T>& outcome)
    {
        // The last is the next. A follower's listeners run before those after the follower, as if it were
        // settled by a call from here; nested calls would exhaust the stack for a long chain.
        std::vector<Listener> waiting;
        const auto settleOne = [&](PromiseState& state) {
            std::vector<Listener> listeners = state.take(outcome);
            waiting.insert(waiting.end(), std::make_move_iterator(listeners.rbegin()),
                           std::make_move_iterator(listeners.rend()));
        };
        settleOne(*this);
        while (!waiting.empty()) {
            const Listener next = std::move(waiting.back());
            waiting.pop_back();
            if (!next.follower) {
                next.observer(outcome);
            } else if (const auto state = next.follower->claim()) {
                settleOne(*state);
            }
        }
    }

private:
    /// An observer, or the settler of a promise that settles as this one does.
    struct Listener
    {
        Observer observer;
        std::shared_ptr<Settler<T>> follower;
    };

    /// Moves `listener` in if the promise is pending. Returns the outcome.
    Outcome<T> keepWhilePending(Listener& listener)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_outcome.isPending()) {
            m_listeners.push_back(std::move(listener));
        }
        return m_outcome;
    }

    /// Stores the outcome and returns the listeners.
    std::vector<Listener> take(const Outcome<T>& outcome)
    {
        std::vector<Listener> listeners;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_outcome = outcome;
        listeners.swap(m_listeners);
        return listeners;
    }

    mutable std::mutex m_mutex;
    Outcome<T> m_outcome;              // guarded by m_mutex
    std::vector<Listener> m_listeners; // guarded by m_mutex
};

/// The right to settle a promise, shared by all copies of its resolvers. It keeps the state alive until it is
/// used; if it is never used, the promise stays pending and its state is destroyed with the last handle. Any
/// thread may use it.
template <typename T>
class Settler
{
public:
    explicit Settler(std::shared_ptr<PromiseState<T>> state)
        : m_state(std::move(state))
    {}

    Settler(const Settler&) = delete;
    Settler& operator=(const Settler&) = delete;

    /// Settles with the result of `make()`. The first call wins; a later one does not call `make`.
    template <typename Make>
    void settleWith(Make&& make)
    {
        if (const std::shared_ptr<PromiseState<T>> state = claim()) {
            state->settle(outcomeOf(make));
        }
    }

    /// The promise to settle, for the first caller; null for a later one. Only the first touches m_state.
    std::shared_ptr<PromiseState<T>> claim()
    {
        if (m_used.exchange(true)) {
            return nullptr;
        }
        return std::move(m_state);
    }

    void settle(const Outcome<T>& outcome)
    {
        settleWith([&] { return outcome; });
    }

    template <typename... V>
    void fulfil(V&&... value)
    {
        settleWith([&] { return Outcome<T>::fulfilled(std::forward<V>(value)...); });
    }

    template <typename E>
    void reject(E&& error)
    {
        settleWith([&] { return Outcome<T>::rejected(reasonFrom(std::forward<E>(error))); });
    }

    void rejectWith(const Reason& reason) { settle(Outcome<T>::rejected(reason)); }

private:
    /// If copying a value or a reason throws, the promise is rejected with that exception.
    template <typename Make>
    static Outcome<T> outcomeOf(Make& make)
    {
        try {
            return make();
        } catch (...) {
            return Outcome<T>::rejected(currentReason());
        }
    }

    std::atomic<bool> m_used{false};
    std::shared_ptr<PromiseState<T>> m_state;
};

template <typename T>
using SettlerPtr = std::shared_ptr<Settler<T>>;

/// Converts between handles and states, for the functions of this namespace.
struct PromiseAccess
{
    template <typename T>
    static QtPromise::QPromise<T> promise(std::shared_ptr<PromiseState<T>> state)
    {
        return QtPromise::QPromiseBase<T>(std::move(state));
    }

    template <typename T>
    static const std::shared_ptr<PromiseState<T>>& state(const QtPromise::QPromiseBase<T>& promise)
    {
        return promise.m_state;
    }
};

/// A pending promise, together with the right to settle it.
template <typename T>
struct Deferred
{
    const std::shared_ptr<PromiseState<T>> state = std::make_shared<PromiseState<T>>();
    const SettlerPtr<T> settler = std::make_shared<Settler<T>>(state);

    QtPromise::QPromise<T> promise() const { return PromiseAccess::promise(state); }
};

// ---------------------------------------------------------------------------------------------------------------------
// Handlers
// ---------------------------------------------------------------------------------------------------------------------

/// The type of the promise for a result of type T, which is X for a promise or future of X.
template <typename T>
struct Unwrap
{
    using Type = T;
};

template <typename X>
struct Unwrap<QtPromise::QPromise<X>>
{
    using Type = X;
};

template <typename X>
struct Unwrap<QFuture<X>>
{
    using Type = X;
};

template <typename T>
using Unwrapped = typename Unwrap<typename std::decay<T>::type>::Type;

/// Settles a promise of T with a result of type Result; specialised for results that are not plain values.
template <typename T, typename Result>
struct SettleWithResult
{
    static_assert(
        std::is_convertible<Result, T>::value,
        "A handler must return what converts to the type of the promise, or a promise or future of it");

    template <typename F>
    static void of(const SettlerPtr<T>& settler, F& call)
    {
        settler->fulfil(call());
    }
};

template <typename T>
struct SettleWithResult<T, void>
{
    static_assert(std::is_void<T>::value, "A handler of a promise with a value must return one");

    template <typename F>
    static void of(const SettlerPtr<T>& settler, F& call)
    {
        call();
        settler->fulfil();
    }
};

template <typename T>
struct SettleWithResult<T, QtPromise::QPromise<T>>
{
    template <typename F>
    static void of(const SettlerPtr<T>& settler, F& call)
    {
        const QtPromise::QPromise<T> promise = call();
        PromiseAccess::state(promise)->lead(settler);
    }
};

/// Settles with the result or exception of `call()`; a returned promise or future is adopted.
template <typename T, typename F>
void settleByCall(const SettlerPtr<T>& settler, F&& call)
{
    try {
        SettleWithResult<T, typename std::decay<decltype(call())>::type>::of(settler, call);
    } catch (...) {
        settler->rejectWith(currentReason());
    }
}

/// A promise of the result or exception of `call()`.
template <typename F>
auto attemptCall(F&& call) -> QtPromise::QPromise<Unwrapped<decltype(call())>>
{
    const Deferred<Unwrapped<decltype(call())>> deferred;
    settleByCall(deferred.settler, std::forward<F>(call));
    return deferred.promise();
}

/// Calls a fulfilment handler, with the value if it declares an argument.
template <typename T, typename F, bool TakesValue = ArgsOf<F>::count != 0>
struct FulfilledCall
{
    static auto call(F& handler, const Outcome<T>&) -> decltype(handler()) { return handler(); }
};

template <typename T, typename F>
struct FulfilledCall<T, F, true>
{
    static auto call(F& handler, const Outcome<T>& outcome) -> decltype(handler(*outcome.value()))
    {
        return handler(*outcome.value());
    }
};

/// The outcome after a fulfilment: the handler's result, or the same value if the handler is a nullptr.
template <typename T, typename F>
struct FulfilledHandler
{
    using Call = FulfilledCall<T, F>;
    using Result = Unwrapped<decltype(Call::call(std::declval<F&>(), std::declval<const Outcome<T>&>()))>;

    static void settle(const SettlerPtr<Result>& settler, F& handler, const Outcome<T>& outcome)
    {
        settleByCall(settler, [&]() -> decltype(Call::call(handler, outcome)) {
            return Call::call(handler, outcome);
        });
    }
};

template <typename T>
struct FulfilledHandler<T, std::nullptr_t>
{
    using Result = T;

    static void settle(const SettlerPtr<T>& settler, std::nullptr_t, const Outcome<T>& outcome)
    {
        settler->settle(outcome);
    }
};

/// Passes a rejection to a handler if its argument catches it: `call(invoke)` runs inside the catch block,
/// where invoke() calls the handler; `skip()` runs if the argument does not catch the reason.
template <typename F, typename Error = typename std::decay<typename ArgsOf<F>::first>::type>
struct RejectedCall
{
    template <typename Call, typename Skip>
    static void dispatch(F& handler, const Reason& reason, Call&& call, Skip&& skip)
    {
        try {
            std::rethrow_exception(*reason);
        } catch (const Error& error) {
            call([&]() -> decltype(handler(error)) { return handler(error); });
        } catch (...) {
            skip();
        }
    }
};

template <typename F>
struct RejectedCall<F, void>
{
    template <typename Call, typename Skip>
    static void dispatch(F& handler, const Reason& reason, Call&& call, Skip&&)
    {
        try {
            std::rethrow_exception(*reason);
        } catch (...) {
            call([&]() -> decltype(handler()) { return handler(); });
        }
    }
};

/// The outcome after a rejection, for a promise of R.
template <typename R, typename F>
struct RejectedHandler
{
    static void settle(const SettlerPtr<R>& settler, F& handler, const Reason& reason)
    {
        RejectedCall<F>::dispatch(
            handler, reason, [&](auto&& invoke) { settleByCall(settler, invoke); },
            [&] { settler->rejectWith(reason); });
    }
};

template <typename R>
struct RejectedHandler<R, std::nullptr_t>
{
    static void settle(const SettlerPtr<R>& settler, std::nullptr_t, const Reason& reason)
    {
        settler->rejectWith(reason);
    }
};

/// Awaits the result of `call()`, then settles with `outcome`, or with the failure of the call.
template <typename T, typename F>
void settleAfterCall(const SettlerPtr<T>& settler, const Outcome<T>& outcome, F&& call)
{
    using Awaited = Unwrapped<decltype(call())>;
    PromiseAccess::state(attemptCall(call))->observeHere([settler, outcome](const Outcome<Awaited>& awaited) {
        if (awaited.isRejected()) {
            settler->rejectWith(awaited.reason());
        } else {
            settler->settle(outcome);
        }
    });
}

} // namespace QtPromisePrivate

#endif // QTPROMISE_QPROMISE_P_H
