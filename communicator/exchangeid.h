// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EXCHANGEID_H
#define COMMUNICATOR_EXCHANGEID_H

#include <communicator/ihttpversiontrigger.h>

#include <QtGlobal>

#include <memory>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// Identifies an exchange, uniquely within the process; 0 means none.
using ExchangeId = quint64;

COMMUNICATOR_EXPORT ExchangeId beginExchange();

/// The ids that ExchangeScope objects have collected, such as those of the exchanges of one library call. May
/// be used from any thread.
class COMMUNICATOR_EXPORT ExchangeIds
{
public:
    ExchangeIds();
    ~ExchangeIds();

    /// All ids, in the order in which the exchanges began.
    std::vector<ExchangeId> all() const;
    /// The id of the exchange that began last, or 0 if there is none.
    ExchangeId latest() const;
    /// Whether @p id was collected.
    bool contains(ExchangeId id) const;

    /// Ends them at once with `Aborted`, on whatever threads they are, and every exchange that is begun on
    /// the same behalf from now on, without sending it: an operation of another thread returns as soon as it
    /// can.
    /// @warning What had gone out may have been executed by the device.
    void cancel();
    /// Whether cancel() was called.
    bool isCancelled() const;

private:
    friend ExchangeId beginExchange();
    friend bool isCancelledHere();
    class Private;
    const std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(ExchangeIds)
};

/// While it lives, collects the ids of all exchanges that begin on the thread that created it: blocking and
/// non-blocking ones, including those begun by an event loop on that thread. Code that continues later, such
/// as a promise's handler, needs a scope of its own. Scopes can be nested, in which case each of them
/// collects, and several scopes, even on different threads, can collect into one ExchangeIds. An id is
/// collected before its exchange is first reported to observers. A scope must be destroyed on its own thread,
/// before @p ids.
class COMMUNICATOR_EXPORT ExchangeScope
{
public:
    /// Collects into @p ids from now on.
    explicit ExchangeScope(ExchangeIds& ids);
    ~ExchangeScope();

private:
    friend ExchangeId beginExchange();
    friend bool isCancelledHere();
    ExchangeIds& m_ids;
    ExchangeScope* m_outer; ///< the enclosing scope on this thread, or null
    Q_DISABLE_COPY_MOVE(ExchangeScope)
};

/// Returns the id of a new exchange, after adding it to the scopes on the calling thread. HttpProxy calls
/// this for each request; code that uses an HttpEngine directly must call it itself. May be called from any
/// thread.
COMMUNICATOR_EXPORT ExchangeId beginExchange();

/// Whether a scope on the calling thread collects for something that was cancelled, so that nothing is to be
/// sent. May be called from any thread.
COMMUNICATOR_EXPORT bool isCancelledHere();

/// The number of exchanges that have begun in this process, blocking and non-blocking. With the built-in
/// transport, observers are called once for each of them, when it finishes, and before that for each time
/// that a read was answered by a busy device and is repeated. May be called from any thread.
COMMUNICATOR_EXPORT quint64 exchangesBegun();

} // namespace Krelm::Communicator::HttpDevice

#endif
