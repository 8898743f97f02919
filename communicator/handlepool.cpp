// SPDX-License-Identifier: MIT
#include "communicator/handlepool.h"

#include "communicator/descriptorbudget.h"
#include "communicator/exchangereport.h"

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr size_t MaximumIdlePerLane = 16;
// A session holds a connection and the two ends of libcurl's wake-up pair.
constexpr size_t DescriptorsPerSession = 3;
constexpr int PollMilliseconds = 1000; // libcurl returns earlier for its own timers
constexpr std::chrono::seconds LeaveTime{2};

} // namespace

BlockingSession::BlockingSession(const TransferLimits& limits)
    : m_multi(curl_multi_init())
    , m_transfer(limits)
{
    curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, 1L);
}

BlockingSession::~BlockingSession()
{
    curl_multi_cleanup(m_multi);
}

HttpReply BlockingSession::perform(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                                   std::chrono::steady_clock::time_point started)
{
    const auto prepared = m_transfer.prepare(request, device, timeLimit(request), started);
    if (prepared != IHttpVersionTrigger::Success) {
        return m_transfer.finish(prepared, {});
    }
    curl_multi_add_handle(m_multi, m_transfer.easy());
    int running = 1;
    while (!m_aborted) {
        curl_multi_perform(m_multi, &running);
        if (running == 0) {
            break;
        }
        curl_multi_poll(m_multi, nullptr, 0, PollMilliseconds, nullptr);
    }
    int queued = 0;
    const CURLMsg* const message = curl_multi_info_read(m_multi, &queued);
    const bool ended = message != nullptr;
    const CURLcode code = ended ? message->data.result : CURLE_ABORTED_BY_CALLBACK;
    curl_multi_remove_handle(m_multi, m_transfer.easy());
    return ended ? m_transfer.finish(code) : m_transfer.finish(IHttpVersionTrigger::Aborted, abortedReason());
}

void BlockingSession::abort()
{
    m_aborted = true;
    curl_multi_wakeup(m_multi);
}

HandlePool::HandlePool(const TransferLimits& limits)
    : m_limits(limits)
    , m_maximumIdle(descriptorBudget(2, DescriptorsPerSession))
{}

HttpReply HandlePool::exchange(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                               std::chrono::steady_clock::time_point started)
{
    const Sessions::iterator entry = acquire(device, request.daemon);
    HttpReply reply = entry->session.perform(request, device, started);
    release(entry);
    return reply;
}

HandlePool::Sessions::iterator HandlePool::acquire(const std::shared_ptr<const Device>& device, bool daemon)
{
    Sessions fresh;
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto idle = m_lanes.find({device.get(), daemon});
    if (idle != m_lanes.end() && !idle->second.empty()) {
        const Sessions::iterator entry = idle->second.back();
        idle->second.pop_back();
        m_active.splice(m_active.end(), m_idle, entry);
        return entry;
    }
    lock.unlock();
    fresh.emplace_back(m_limits, device, daemon);
    lock.lock();
    if (m_closed) {
        fresh.front().session.abort();
    }
    m_active.splice(m_active.end(), fresh);
    return std::prev(m_active.end());
}

void HandlePool::release(Sessions::iterator entry)
{
    Sessions dropped; // destroyed after the lock is free: closing connections takes time
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed || entry->session.isAborted()) {
        dropped.splice(dropped.end(), m_active, entry);
        m_left.notify_all();
        return;
    }
    std::vector<Sessions::iterator>& lane = m_lanes[entry->lane()];
    if (lane.size() >= MaximumIdlePerLane) {
        dropped.splice(dropped.end(), m_active, entry);
        return;
    }
    lane.push_back(entry);
    m_idle.splice(m_idle.end(), m_active, entry);
    if (m_idle.size() > m_maximumIdle) {
        dropOldest(dropped);
    }
}

void HandlePool::dropOldest(Sessions& dropped)
{
    const auto lane = m_lanes.find(m_idle.front().lane());
    lane->second.erase(lane->second.begin());
    if (lane->second.empty()) {
        m_lanes.erase(lane);
    }
    dropped.splice(dropped.end(), m_idle, m_idle.begin());
}

void HandlePool::abort(const QString& deviceKey)
{
    Sessions dropped;
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Entry& entry : m_active) {
        if (entry.device->key == deviceKey) {
            entry.session.abort();
        }
    }
    for (auto entry = m_idle.begin(); entry != m_idle.end();) {
        const auto next = std::next(entry);
        if (entry->device->key == deviceKey) {
            m_lanes.erase(entry->lane());
            dropped.splice(dropped.end(), m_idle, entry);
        }
        entry = next;
    }
}

void HandlePool::close()
{
    Sessions dropped;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_closed = true;
    m_lanes.clear();
    dropped.splice(dropped.end(), m_idle);
    for (Entry& entry : m_active) {
        entry.session.abort();
    }
    m_left.wait_for(lock, LeaveTime, [this] { return m_active.empty(); });
}

} // namespace Krelm::Communicator::HttpDevice
