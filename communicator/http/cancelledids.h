// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CANCELLEDIDS_H
#define COMMUNICATOR_HTTP_CANCELLEDIDS_H

#include "communicator/exchangeid.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The exchanges that were cancelled last. An exchange that is about to begin looks here once others can see
/// it, so that a cancellation just before is not lost. May be used from any thread.
class CancelledIds
{
public:
    void add(ExchangeId id)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_any = true;
        m_ids.push_back(id);
        if (m_ids.size() > maxIds) {
            m_ids.pop_front();
        }
    }
    bool contains(ExchangeId id) const
    {
        if (!m_any) {
            return false; // as in most processes, at no cost
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::find(m_ids.begin(), m_ids.end(), id) != m_ids.end();
    }

private:
    /// More than are cancelled between the beginning of an exchange and its lookup here.
    static constexpr std::size_t maxIds = 4096;
    std::atomic<bool> m_any{false};
    mutable std::mutex m_mutex; ///< guards all below
    std::deque<ExchangeId> m_ids;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
