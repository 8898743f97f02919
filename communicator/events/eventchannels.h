// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_EVENTCHANNELS_H
#define COMMUNICATOR_EVENTS_EVENTCHANNELS_H

#include "communicator/events/eventstream.h"

#include <QMap>

#include <atomic>
#include <memory>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The event streams of all devices, one per device, on the loop's thread. May be used from any thread.
class EventChannels
{
public:
    /// @p board stores the state of each stream, and lists what to report when events may have been missed.
    EventChannels(std::shared_ptr<IoLoop> loop, ProxyEventQueue& proxyEvents, ConnectionBoard& board,
                  const EventTimings& timings = {});
    /// Closes all streams; on the loop's thread after the caller has returned.
    ~EventChannels();

    /// Opens the stream of @p device, or reopens it if its endpoint has changed. @p announced is queued after
    /// the events that the streams have delivered so far. With @p owesReport the change events are reported
    /// once the stream is open, because it follows one that is forgotten.
    void open(std::shared_ptr<const Device> device, std::vector<ProxyEvent> announced,
              bool owesReport = false);
    /// Closes the stream of @p deviceKey; @p announced is queued after its last event.
    void close(const QString& deviceKey, std::vector<ProxyEvent> announced);
    /// Closes all streams, without waiting for that; later calls do nothing.
    void closeAll();
    /// Has the change events of @p deviceKey reported later, because the application could not read what an
    /// event told it to read. Does nothing for a device without a stream.
    void readFailed(const QString& deviceKey);
    /// Call this after the queue has delivered a batch, so that paused streams resume.
    void resume();

private:
    struct Streams;
    const std::shared_ptr<IoLoop> m_loop;
    ProxyEventQueue& m_proxyEvents;
    const std::shared_ptr<Streams> m_streams; ///< used on the loop's thread only, except for `paused`
};

} // namespace Krelm::Communicator::HttpDevice

#endif
