// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISEEXCEPTIONS_H
#define QTPROMISE_QPROMISEEXCEPTIONS_H

#include <QException>

namespace QtPromise {

/// The reason of a promise made from a QFuture that was cancelled without an exception, and of a wait that
/// the end of the application cut off.
class QPromiseCanceledException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseCanceledException* clone() const override { return new QPromiseCanceledException(*this); }
};

/// The reason when the object whose signal would have resolved the promise is destroyed first.
class QPromiseContextException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseContextException* clone() const override { return new QPromiseContextException(*this); }
};

/// The reason when QPromise::convert() meets a value that does not convert.
class QPromiseConversionException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseConversionException* clone() const override { return new QPromiseConversionException(*this); }
};

/// The reason that QPromiseBase::timeout() gives unless the caller names another.
class QPromiseTimeoutException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseTimeoutException* clone() const override { return new QPromiseTimeoutException(*this); }
};

/// The reason of a rejection for which none was given.
class QPromiseUndefinedException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseUndefinedException* clone() const override { return new QPromiseUndefinedException(*this); }
};

} // namespace QtPromise

#endif // QTPROMISE_QPROMISEEXCEPTIONS_H
