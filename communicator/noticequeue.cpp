// SPDX-License-Identifier: MIT
#include "communicator/noticequeue.h"

#include <iterator>

namespace Krelm::Communicator::HttpDevice {

NoticeQueue::NoticeQueue(std::function<void()> wakeUp)
    : m_wakeUp(std::move(wakeUp))
{}

void NoticeQueue::push(Notice notice)
{
    std::vector<Notice> batch;
    batch.push_back(std::move(notice));
    push(batch);
}

void NoticeQueue::push(std::vector<Notice>& batch)
{
    for (const Notice& notice : batch) {
        if (notice.backlog) {
            notice.backlog->m_events += 1;
            notice.backlog->m_bytes += static_cast<size_t>(notice.data.size());
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

void NoticeQueue::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waiting.clear();
    m_wakeUpSent = false;
}

bool NoticeQueue::nextBatch()
{
    m_batch.clear();
    m_position = 0;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_batch.swap(m_waiting);
    m_wakeUpSent = false;
    return !m_batch.empty();
}

void NoticeQueue::deliver(const std::function<void(const Notice&)>& receive)
{
    // A receiver that runs an event loop of its own comes back here: it goes on with the same batch. What
    // comes meanwhile sends a wake-up of its own, so that the event loop gets its turn between batches.
    if (m_position == m_batch.size() && !nextBatch()) {
        return;
    }
    while (m_position < m_batch.size()) {
        const Notice notice = std::move(m_batch[m_position++]);
        receive(notice);
        if (notice.backlog) {
            notice.backlog->m_events -= 1;
            notice.backlog->m_bytes -= static_cast<size_t>(notice.data.size());
        }
    }
    if (m_delivered) {
        m_delivered();
    }
}

} // namespace Krelm::Communicator::HttpDevice
