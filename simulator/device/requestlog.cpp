// SPDX-License-Identifier: MIT
#include <simulator/device/requestlog.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

// Paths come from the network, so their memory is limited.
constexpr std::size_t maxPaths = 65536;
constexpr std::size_t maxPathLength = 256;
constexpr std::size_t maxEntryBytes = 32U << 20;

std::size_t bytesOf(const RequestLog::Entry& entry)
{
    return sizeof(entry) + entry.path.size() + entry.query.size() + entry.body.size() +
           entry.contentType.size() + entry.mistake.size();
}

} // namespace

RequestLog::RequestLog(std::size_t size)
    : m_size(size)
{}

void RequestLog::begin(const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    ++m_counts.requests;
    m_counts.peakInFlight = std::max(m_counts.peakInFlight, ++m_counts.inFlight);
    const auto it = m_byPath.find(path);
    if (it != m_byPath.end()) {
        ++it->second;
    } else if (m_byPath.size() < maxPaths && path.size() <= maxPathLength) {
        m_byPath.emplace(path, 1);
    }
}

void RequestLog::end()
{
    const std::lock_guard lock(m_mutex);
    --m_counts.inFlight;
}

void RequestLog::add(Entry entry)
{
    const std::lock_guard lock(m_mutex);
    m_entryBytes += bytesOf(entry);
    m_entries.push_back(std::move(entry));
    while (m_entries.size() > m_size || m_entryBytes > maxEntryBytes) {
        m_entryBytes -= bytesOf(m_entries.front());
        m_entries.pop_front();
    }
}

RequestLog::Counts RequestLog::counts() const
{
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

std::uint64_t RequestLog::count(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_byPath.find(path);
    return it == m_byPath.end() ? 0 : it->second;
}

std::unordered_map<std::string, std::uint64_t> RequestLog::countsByPath() const
{
    const std::lock_guard lock(m_mutex);
    return m_byPath;
}

std::vector<RequestLog::Entry> RequestLog::entries() const
{
    const std::lock_guard lock(m_mutex);
    return {m_entries.begin(), m_entries.end()};
}

void RequestLog::reset()
{
    const std::lock_guard lock(m_mutex);
    m_counts = {0, m_counts.inFlight, m_counts.inFlight};
    m_byPath.clear();
    m_entries.clear();
    m_entryBytes = 0;
}

} // namespace Tessel::Simulator
