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

/// An open stream that receives events.
class EventSink
{
public:
    virtual ~EventSink() = default;
    /// Sends frames on the stream. Must not block and must not call the hub.
    virtual void deliver(const SharedText& frame) = 0;
};

/// Numbers events, keeps the latest ones, and passes each to all streams as one shared frame (WHATWG HTML,
/// "Server-sent events"). Ids are `epoch:sequence`: the epoch identifies one run of the device, the sequence
/// counts its events from 1. May be used from any thread.
class EventHub
{
public:
    static constexpr std::size_t maxMemory = 1000000; ///< the most events that it can be told to store

    explicit EventHub(std::size_t historySize);

    /// Sends @p data unchanged, line by line.
    /// @return the sequence number of the event.
    std::uint64_t publish(std::string_view data);
    /// Sends a comment, which keeps idle streams alive.
    void heartbeat();

    /// Opens a stream. It receives the id after which it continues, then the events that it missed after
    /// @p lastId, if given, and then all new ones. If missed events are no longer stored, or @p lastId was
    /// never assigned in this run of the device, it receives a `gap` event and then all stored events.
    void subscribe(EventSink& sink, std::string_view lastId);
    /// Begins another run, with a new epoch and no stored events. Streams should be closed first.
    void startAnew();
    /// Discards the stored events; ids continue.
    void forget();
    /// Stores the latest @p events from now on.
    void setMemory(std::size_t events);
    /// The common beginning of all ids of this run.
    std::string epoch() const;
    void unsubscribe(EventSink& sink);

    int streams() const;
    bool waitForStreams(int count, std::chrono::milliseconds timeout) const;

private:
    void trimHistory();

    mutable std::mutex m_mutex; ///< guards all members below
    std::size_t m_historySize;
    mutable std::condition_variable m_streamsChanged;
    std::unordered_set<EventSink*> m_sinks;
    std::deque<std::pair<std::uint64_t, SharedText>> m_history;
    std::size_t m_historyBytes = 0;
    std::string m_epoch;
    std::uint64_t m_lastId = 0;
};

} // namespace Tessel::Simulator

#endif
