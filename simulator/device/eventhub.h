// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_EVENTHUB_H
#define SIMULATOR_DEVICE_EVENTHUB_H

#include <simulator/text/envelope.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Tessel::Simulator {

/// Where events go: one open stream.
class EventSink
{
public:
    virtual ~EventSink() = default;
    /// Takes frames of the stream. Must not block and must not call back into the hub.
    virtual void deliver(const SharedText& frame) = 0;
};

/// Numbers events, keeps the latest and hands each as one shared frame (WHATWG HTML, server-sent events) to
/// all streams. Ids are `epoch:sequence`: the epoch names one life of the device, the sequence counts its
/// events from 1. Operations may be called from any thread.
class EventHub
{
public:
    explicit EventHub(std::size_t historySize);

    /// Sends @p data, line by line as it is. @return the sequence number of the event.
    std::uint64_t publish(std::string_view data);
    /// Sends a comment, which keeps silent streams alive.
    void heartbeat();

    /// Opens a stream: first the id after which it goes on, then what it missed after @p lastId, if it says
    /// so, then everything new. When it missed events that are not kept any more, or names an id that this
    /// life of the device never gave away, a `gap` event says so and all that is kept follows.
    void subscribe(EventSink& sink, std::string_view lastId);
    /// Begins another life: another epoch, nothing kept. Streams should be closed first.
    void startAnew();
    /// What all ids of this life begin with.
    std::string epoch() const;
    void unsubscribe(EventSink& sink);

    int streams() const;
    bool waitForStreams(int count, std::chrono::milliseconds timeout) const;

private:
    const std::size_t m_historySize;
    mutable std::mutex m_mutex; ///< guards everything below
    mutable std::condition_variable m_streamsChanged;
    std::unordered_set<EventSink*> m_sinks;
    std::deque<std::pair<std::uint64_t, SharedText>> m_history;
    std::size_t m_historyBytes = 0;
    std::string m_epoch;
    std::uint64_t m_lastId = 0;
};

} // namespace Tessel::Simulator

#endif
