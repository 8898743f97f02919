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
    /// @p board is told where each stream is, and says what is reported when events may have been missed.
    EventChannels(std::shared_ptr<IoLoop> loop, ProxyEventQueue& proxyEvents, ConnectionBoard& board,
                  const EventTimings& timings = {});
    /// Closes all streams.
    ~EventChannels();

    /// Opens the stream of @p device, or opens it anew where the device has another endpoint now; @p
    /// announced follows what the streams have told so far.
    void open(std::shared_ptr<const Device> device, std::vector<ProxyEvent> announced);
    /// Closes the stream of @p deviceKey; @p announced follows its last event.
    void close(const QString& deviceKey, std::vector<ProxyEvent> announced);
    /// To be called when the queue has delivered a batch: streams that were paused go on.
    void resume();

private:
    struct Streams;
    const std::shared_ptr<IoLoop> m_loop;
    ProxyEventQueue& m_proxyEvents;
    const std::shared_ptr<Streams> m_streams; ///< touched on the loop's thread only, but for `paused`
};

} // namespace Krelm::Communicator::HttpDevice

#endif
