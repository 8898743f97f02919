// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_EVENTHUB_H
#define SIMULATOR_DEVICE_EVENTHUB_H

#include <simulator/text/envelope.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Tessel::Simulator {

/// An open stream that receives events.
class EventSink
{
public:
    virtual ~EventSink() = default;
    /// Sends frames on the stream. Must not block and must not call the hub.
    virtual void deliver(const SharedText& frame) = 0;
};

/// Numbers events, keeps the latest ones, and passes each to all streams as one shared frame (WHATWG HTML,
/// "Server-sent events"). May be used from any thread.
class EventHub
{
public:
    explicit EventHub(std::size_t historySize);

    /// Sends @p data unchanged, line by line.
    /// @return the id of the event, counted from 1.
    std::uint64_t publish(std::string_view data);
    /// Sends a comment, which keeps idle streams alive.
    void heartbeat();

    /// Opens a stream. It receives the events that it missed after @p lastId, if given, and then all new
    /// ones. An id that was never assigned comes from an earlier run of the device, so the stream has missed
    /// all events.
    void subscribe(EventSink& sink, std::optional<std::uint64_t> lastId);
    void unsubscribe(EventSink& sink);

    int streams() const;
    bool waitForStreams(int count, std::chrono::milliseconds timeout) const;

private:
    const std::size_t m_historySize;
    mutable std::mutex m_mutex; ///< guards all members below
    mutable std::condition_variable m_streamsChanged;
    std::unordered_set<EventSink*> m_sinks;
    std::deque<std::pair<std::uint64_t, SharedText>> m_history;
    std::size_t m_historyBytes = 0;
    std::uint64_t m_lastId = 0;
};

} // namespace Tessel::Simulator

#endif
