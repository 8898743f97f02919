// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISERESOLVER_H
#define QTPROMISE_QPROMISERESOLVER_H

#include "qpromise_p.h"

namespace QtPromise {

/// Fulfils the promise whose executor received it. All copies of it and of the QPromiseReject passed with it
/// share one right to settle: the first call wins, later ones do nothing. Any thread may call it. It keeps
/// the promise alive until it is used.
/// @warning If all copies are destroyed unused, the promise stays pending forever.
template <typename T>
class QPromiseResolve
{
public:
    /// For the library itself.
    explicit QPromiseResolve(QtPromisePrivate::SettlerPtr<T> settler)
        : m_settler(std::move(settler))
    {}

    /// Fulfils with `value`: an lvalue is copied, an rvalue moved. A promise is not adopted.
    template <typename V,
              QtPromisePrivate::Requires<!std::is_void<T>::value && std::is_convertible<V&&, T>::value> = 0>
    void operator()(V&& value) const
    {
        m_settler->fulfil(std::forward<V>(value));
    }

    /// Fulfils a promise of void.
    template <typename U = T, QtPromisePrivate::Requires<std::is_void<U>::value> = 0>
    void operator()() const
    {
        m_settler->fulfil();
    }

private:
    QtPromisePrivate::SettlerPtr<T> m_settler;
};

/// Rejects the promise whose executor received it; otherwise like QPromiseResolve.
template <typename T>
class QPromiseReject
{
public:
    /// For the library itself.
    explicit QPromiseReject(QtPromisePrivate::SettlerPtr<T> settler)
        : m_settler(std::move(settler))
    {}

    /// Rejects with a copy of `error`, which can be of any copyable type. A string literal becomes a
    /// `const char*`; a std::exception_ptr is replaced by the exception that it holds.
    template <typename E>
    void operator()(E&& error) const
    {
        m_settler->reject(std::forward<E>(error));
    }

    /// Rejects with QPromiseUndefinedException.
    void operator()() const { m_settler->reject(QPromiseUndefinedException()); }

private:
    QtPromisePrivate::SettlerPtr<T> m_settler;
};

} // namespace QtPromise

namespace QtPromisePrivate {

/// A callable that can construct a promise of T: it takes (resolve) if it declares exactly one argument, else
/// (resolve, reject). The resolvers are passed as rvalues.
template <typename T, typename F, bool TakesResolveOnly = ArgsOf<F>::count == 1>
struct Executor
{
    static constexpr bool isValid =
        IsCallable<F&, QtPromise::QPromiseResolve<T>, QtPromise::QPromiseReject<T>>::value;

    static void run(F& executor, const SettlerPtr<T>& settler)
    {
        executor(QtPromise::QPromiseResolve<T>(settler), QtPromise::QPromiseReject<T>(settler));
    }
};

template <typename T, typename F>
struct Executor<T, F, true>
{
    static constexpr bool isValid = IsCallable<F&, QtPromise::QPromiseResolve<T>>::value;

    static void run(F& executor, const SettlerPtr<T>& settler)
    {
        executor(QtPromise::QPromiseResolve<T>(settler));
    }
};

} // namespace QtPromisePrivate

#endif // QTPROMISE_QPROMISERESOLVER_H
