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

private:
    friend ExchangeId beginExchange();
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
    ExchangeIds& m_ids;
    ExchangeScope* m_outer; ///< the one that began before on this thread
    Q_DISABLE_COPY_MOVE(ExchangeScope)
};

/// Gives the next exchange its id, and the id to the scopes on the calling thread. HttpProxy does so for each
/// of its requests; whoever asks an HttpEngine directly does it for theirs. May be called from any thread.
COMMUNICATOR_EXPORT ExchangeId beginExchange();

/// How many exchanges began in this process, blocking or not. Of the built-in transport, each is told to the
/// observers once, when it ends. May be called from any thread.
COMMUNICATOR_EXPORT quint64 exchangesBegun();

} // namespace Krelm::Communicator::HttpDevice

#endif
