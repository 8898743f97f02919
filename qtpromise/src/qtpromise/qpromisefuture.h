// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISEFUTURE_H
#define QTPROMISE_QPROMISEFUTURE_H

#include "qpromise.h"

#include <QFuture>
#include <QFutureWatcher>

namespace QtPromisePrivate {

/// Fulfils with the result of a finished future.
template <typename T>
struct FutureResult
{
    static void fulfil(const SettlerPtr<T>& settler, const QFuture<T>& future)
    {
        if (future.resultCount() == 0) { // finished without a result, so result() would crash
            throw QtPromise::QPromiseCanceledException();
        }
        settler->fulfil(future.result());
    }
};

template <>
struct FutureResult<void>
{
    static void fulfil(const SettlerPtr<void>& settler, const QFuture<void>&) { settler->fulfil(); }
};

/// A returned future is adopted through a watcher on the calling thread, which needs an event loop.
template <typename T>
struct SettleWithResult<T, QFuture<T>>
{
    template <typename F>
    static void of(const SettlerPtr<T>& settler, F& call)
    {
        const QFuture<T> future = call();
        // Ends with its thread if the future does not finish before.
        auto* const watcher = new QFutureWatcher<T>(QAbstractEventDispatcher::instance());
        QObject::connect(watcher, &QFutureWatcherBase::finished, watcher, [settler, watcher] {
            watcher->deleteLater();
            settle(settler, watcher->future());
        });
        watcher->setFuture(future);
    }

private:
    static void settle(const SettlerPtr<T>& settler, QFuture<T> future)
    {
        try {
            if (future.isCanceled()) {
                future.waitForFinished(); // throws the exception that cancelled it, if there is one
                throw QtPromise::QPromiseCanceledException();
            }
            FutureResult<T>::fulfil(settler, future);
        } catch (...) {
            settler->rejectWith(currentReason());
        }
    }
};

} // namespace QtPromisePrivate

#endif // QTPROMISE_QPROMISEFUTURE_H
