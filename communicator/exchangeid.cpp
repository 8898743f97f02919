// SPDX-License-Identifier: MIT
#include "communicator/exchangeid.h"

#include <communicator/httpproxy.h>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

namespace {

std::atomic<quint64> begun{0};
thread_local ExchangeScope* innermost = nullptr;

} // namespace

class Q_DECL_HIDDEN ExchangeIds::Private
{
public:
    mutable std::mutex mutex; ///< guards ids
    std::vector<ExchangeId> ids;
    std::atomic<bool> isCancelled{false};
};

ExchangeIds::ExchangeIds()
    : d(std::make_unique<Private>())
{}

ExchangeIds::~ExchangeIds() = default;

std::vector<ExchangeId> ExchangeIds::all() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->ids;
}

ExchangeId ExchangeIds::latest() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->ids.empty() ? 0 : d->ids.back();
}

bool ExchangeIds::contains(ExchangeId id) const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return std::binary_search(d->ids.begin(), d->ids.end(), id);
}

void ExchangeIds::cancel()
{
    d->isCancelled = true; // first: what begins meanwhile is either collected already or sees this
    for (const ExchangeId id : all()) {
        HttpProxy::getInstance()->cancel(id);
    }
}

bool ExchangeIds::isCancelled() const
{
    return d->isCancelled;
}

ExchangeScope::ExchangeScope(ExchangeIds& ids)
    : m_ids(ids)
    , m_outer(innermost)
{
    innermost = this;
}

// Scopes that are members of objects need not be destroyed in reverse order.
ExchangeScope::~ExchangeScope()
{
    ExchangeScope** link = &innermost;
    while (*link != nullptr && *link != this) {
        link = &(*link)->m_outer;
    }
    Q_ASSERT_X(*link == this, "ExchangeScope",
               "destroyed on a different thread than the one that created it");
    if (*link == this) {
        *link = m_outer;
    }
}

ExchangeId beginExchange()
{
    const ExchangeId id = ++begun;
    for (const ExchangeScope* scope = innermost; scope != nullptr; scope = scope->m_outer) {
        ExchangeIds::Private& collected = *scope->m_ids.d;
        const std::lock_guard<std::mutex> lock(collected.mutex);
        // Another thread may have added a later id since, and nested scopes may share one ExchangeIds.
        const auto place = std::lower_bound(collected.ids.begin(), collected.ids.end(), id);
        if (place == collected.ids.end() || *place != id) {
            collected.ids.insert(place, id);
        }
    }
    return id;
}

bool isCancelledHere()
{
    for (const ExchangeScope* scope = innermost; scope != nullptr; scope = scope->m_outer) {
        if (scope->m_ids.d->isCancelled) {
            return true;
        }
    }
    return false;
}

quint64 exchangesBegun()
{
    return begun;
}

} // namespace Krelm::Communicator::HttpDevice
