// SPDX-License-Identifier: MIT
#include "communicator/events/proxyeventqueue.h"

#include <iterator>

namespace Krelm::Communicator::HttpDevice {

ProxyEventQueue::ProxyEventQueue(std::function<void()> wakeUp)
    : m_wakeUp(std::move(wakeUp))
{}

void ProxyEventQueue::push(ProxyEvent event)
{
    std::vector<ProxyEvent> batch;
    batch.push_back(std::move(event));
    push(batch);
}

void ProxyEventQueue::push(std::vector<ProxyEvent>& batch)
{
    for (const ProxyEvent& event : batch) {
        if (event.quota) {
            event.quota->m_events += 1;
            event.quota->m_bytes += static_cast<size_t>(event.data.size());
        }
    }
    bool wakeUp = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_waiting.empty()) {
            m_waiting.swap(batch);
        } else {
            m_waiting.insert(m_waiting.end(), std::make_move_iterator(batch.begin()),
                             std::make_move_iterator(batch.end()));
        }
        wakeUp = !m_wakeUpSent && !m_waiting.empty();
        m_wakeUpSent = m_wakeUpSent || wakeUp;
    }
    batch.clear();
    if (wakeUp) {
        m_wakeUp();
    }
}

void ProxyEventQueue::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waiting.clear();
    m_wakeUpSent = false;
}

void ProxyEventQueue::repeatWakeUp()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_wakeUpSent = !m_waiting.empty();
        if (!m_wakeUpSent) {
            return;
        }
    }
    m_wakeUp();
}

// Appends the waiting events to the batch. Returns whether the receiver of the next event needs a wake-up for
// the events after it.
bool ProxyEventQueue::takeWaiting()
{
    if (m_position == m_batch.size()) {
        m_batch.clear();
        m_position = 0;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_batch.empty()) {
        m_batch.swap(m_waiting);
    } else {
        m_batch.insert(m_batch.end(), std::make_move_iterator(m_waiting.begin()),
                       std::make_move_iterator(m_waiting.end()));
        m_waiting.clear();
    }
    m_wakeUpSent = m_batch.size() - m_position > 1;
    return m_wakeUpSent;
}

void ProxyEventQueue::deliver(const std::function<void(const ProxyEvent&)>& receive)
{
    if (takeWaiting()) {
        m_wakeUp();
    }
    if (m_position == m_batch.size()) {
        return;
    }
    // A receiver that runs its own event loop re-enters here and continues with the same batch.
    while (m_position < m_batch.size()) {
        const ProxyEvent event = std::move(m_batch[m_position++]);
        receive(event);
        if (event.quota) {
            event.quota->m_events -= 1;
            event.quota->m_bytes -= static_cast<size_t>(event.data.size());
        }
    }
    if (m_delivered) {
        m_delivered();
    }
}

} // namespace Krelm::Communicator::HttpDevice
