// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_REQUESTLOG_H
#define SIMULATOR_DEVICE_REQUESTLOG_H

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tessel::Simulator {

/// Counts requests and keeps the latest ones. May be used from any thread.
class RequestLog
{
public:
    static constexpr std::size_t bodyBytes = 64U << 10; ///< the stored part of each body

    struct Entry
    {
        std::string method;
        std::string path;
        std::string query;
        std::string contentType;
        std::string body;
        std::uint64_t bodySize = 0;
        int status = 0;
        std::string mistake; ///< empty: none
    };
    struct Counts
    {
        std::uint64_t requests = 0;
        int inFlight = 0;
        int peakInFlight = 0;
    };

    explicit RequestLog(std::size_t size);

    bool keepsEntries() const { return m_size > 0; }

    void begin(const std::string& path);
    void end();
    void add(Entry entry);

    Counts counts() const;
    std::uint64_t count(const std::string& path) const;
    std::unordered_map<std::string, std::uint64_t> countsByPath() const;
    std::vector<Entry> entries() const;
    /// Clears everything except the requests in flight.
    void reset();

private:
    const std::size_t m_size;
    mutable std::mutex m_mutex; ///< guards all members below
    Counts m_counts;
    std::unordered_map<std::string, std::uint64_t> m_byPath;
    std::deque<Entry> m_entries;
    std::size_t m_entryBytes = 0;
};

} // namespace Tessel::Simulator

#endif
