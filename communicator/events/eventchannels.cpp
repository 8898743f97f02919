// SPDX-License-Identifier: MIT
#include "communicator/events/eventchannels.h"

#include <map>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

struct EventChannels::Streams
{
    Streams(IoLoop& loop, ProxyEventQueue& proxyEvents, ConnectionBoard& board, const EventTimings& timings)
        : connector(std::in_place, loop)
        , context{loop, *connector, proxyEvents, board, timings}
    {}

    /// Ends the stream of a device, with a reason.
    void close(std::map<QString, EventStream>::iterator stream, const QString& reason)
    {
        const QString deviceKey = stream->first;
        byDevice.erase(stream);
        if (auto closed = context.board.remove(deviceKey, reason)) {
            context.proxyEvents.push(ProxyEvent::of(*std::move(closed)));
        }
    }

    void closeAll()
    {
        while (!byDevice.empty()) {
            close(byDevice.begin(), QStringLiteral("the push channel was turned off"));
        }
        connector.reset();
    }

    std::optional<Connector> connector; ///< none once the channels are closed
    StreamContext context;
    std::map<QString, EventStream> byDevice;
};

EventChannels::EventChannels(std::shared_ptr<IoLoop> loop, ProxyEventQueue& proxyEvents,
                             ConnectionBoard& board, const EventTimings& timings)
    : m_loop(std::move(loop))
    , m_proxyEvents(proxyEvents)
    , m_streams(std::make_shared<Streams>(*m_loop, proxyEvents, board, timings))
{}

EventChannels::~EventChannels()
{
    // On the loop's thread a stream may be the caller, in a message of the log, so they close after it has
    // returned.
    if (m_loop->isHere()) {
        closeAll();
    } else {
        m_loop->run([this] { m_streams->closeAll(); });
    }
}

void EventChannels::closeAll()
{
    m_loop->post([streams = m_streams] { streams->closeAll(); });
}

void EventChannels::open(std::shared_ptr<const Device> device, std::vector<ProxyEvent> announced,
                         bool owesReport)
{
    m_loop->post([this, streams = m_streams, device = std::move(device), announced = std::move(announced),
                  owesReport]() mutable {
        if (!streams->connector) {
            return;
        }
        m_proxyEvents.push(announced);
        EventStream::Past past;
        past.owesReport = owesReport;
        const auto old = streams->byDevice.find(device->key);
        if (old != streams->byDevice.end()) {
            past = old->second.past();
            // With another login it is still the same device; with another address it may not be.
            if (old->second.device().baseUrl != device->baseUrl) {
                past.lastEventId.clear();
                past.owesReport = true;
            }
            streams->byDevice.erase(old);
        }
        streams->byDevice.try_emplace(device->key, streams->context, device, past);
    });
}

void EventChannels::close(const QString& deviceKey, std::vector<ProxyEvent> announced)
{
    m_loop->post([this, streams = m_streams, deviceKey, announced = std::move(announced)]() mutable {
        if (!streams->connector) {
            return;
        }
        if (const auto stream = streams->byDevice.find(deviceKey); stream != streams->byDevice.end()) {
            streams->close(stream, QStringLiteral("the device was removed"));
        }
        m_proxyEvents.push(announced);
    });
}

void EventChannels::readFailed(const QString& deviceKey)
{
    m_loop->post([streams = m_streams, deviceKey] {
        if (const auto stream = streams->byDevice.find(deviceKey); stream != streams->byDevice.end()) {
            stream->second.readFailed();
        }
    });
}

void EventChannels::resume()
{
    if (m_streams->context.paused > 0) {
        m_loop->post([streams = m_streams] {
            for (auto& stream : streams->byDevice) {
                stream.second.resume();
            }
        });
    }
}

} // namespace Krelm::Communicator::HttpDevice
