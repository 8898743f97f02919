// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISEEXCEPTIONS_H
#define QTPROMISE_QPROMISEEXCEPTIONS_H

#include <QException>

namespace QtPromise {

/// The reason of a promise created from a QFuture that was cancelled without an exception, and of a wait that
/// was interrupted by the end of the application.
class QPromiseCanceledException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseCanceledException* clone() const override { return new QPromiseCanceledException(*this); }
};

/// The reason if the object whose signal would have resolved the promise is destroyed first.
class QPromiseContextException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseContextException* clone() const override { return new QPromiseContextException(*this); }
};

/// The reason if QPromise::convert() cannot convert a value.
class QPromiseConversionException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseConversionException* clone() const override { return new QPromiseConversionException(*this); }
};

/// The default reason of QPromiseBase::timeout().
class QPromiseTimeoutException : public QException
{
public:
    /// Throws a copy.
    void raise() const override { throw *this; }
    /// A copy that the caller owns.
    QPromiseTimeoutException* clone() const override { return new QPromiseTimeoutException(*this); }
};

/// The reason of a rejection without a given reason.
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
