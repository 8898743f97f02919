// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EXCHANGEID_H
#define COMMUNICATOR_EXCHANGEID_H

#include <communicator/ihttpversiontrigger.h>

#include <QtGlobal>

#include <memory>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// Names one exchange for as long as the process runs; never given twice. 0 names none.
using ExchangeId = quint64;

COMMUNICATOR_EXPORT ExchangeId beginExchange();

/// The exchanges that were begun on behalf of something, such as a call of the library: those that an
/// ExchangeScope put here. May be used from any thread.
class COMMUNICATOR_EXPORT ExchangeIds
{
public:
    ExchangeIds();
    ~ExchangeIds();

    /// All of them, in the order in which they began.
    std::vector<ExchangeId> all() const;
    /// The one that began last; 0 when there is none.
    ExchangeId latest() const;
    /// Whether @p id is one of them.
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

/// Collects the exchanges that begin on the thread that made it, while it lives: blocking ones, those that
/// are only started, and those that an event loop on that thread begins meanwhile. What continues later, such
/// as in a promise's handler, needs a scope there. Scopes may be nested, and each then collects; several may
/// collect into one ExchangeIds, on different threads too. An id is collected before anything of its exchange
/// is told. Has to be destroyed on its thread, before @p ids.
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
    ExchangeScope* m_outer; ///< the one that began before on this thread
    Q_DISABLE_COPY_MOVE(ExchangeScope)
};

/// Gives the next exchange its id, and the id to the scopes on the calling thread. HttpProxy does so for each
/// of its requests; whoever asks an HttpEngine directly does it for theirs. May be called from any thread.
COMMUNICATOR_EXPORT ExchangeId beginExchange();

/// Whether a scope on the calling thread collects for something that was cancelled, so that nothing is to be
/// sent. May be called from any thread.
COMMUNICATOR_EXPORT bool isCancelledHere();

/// How many exchanges began in this process, blocking or not. Of the built-in transport, each is told to the
/// observers once, when it ends. May be called from any thread.
COMMUNICATOR_EXPORT quint64 exchangesBegun();

} // namespace Krelm::Communicator::HttpDevice

#endif
