// SPDX-License-Identifier: MIT
#include "communicator/events/eventchannels.h"

#include <map>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

struct EventChannels::Streams
{
    explicit Streams(IoLoop& loop)
        : connector(std::in_place, loop)
    {}
    std::optional<Connector> connector; ///< none once the channels are closed
    std::map<QString, EventStream> byDevice;
    std::atomic<int> paused{0};
};

EventChannels::EventChannels(std::shared_ptr<IoLoop> loop, ProxyEventQueue& proxyEvents,
                             const EventTimings& timings)
    : m_loop(std::move(loop))
    , m_proxyEvents(proxyEvents)
    , m_timings(timings)
    , m_streams(std::make_shared<Streams>(*m_loop))
{}

EventChannels::~EventChannels()
{
    m_loop->run([this] {
        m_streams->byDevice.clear();
        m_streams->connector.reset();
    });
}

void EventChannels::open(std::shared_ptr<const Device> device, std::vector<ProxyEvent> announced)
{
    m_loop->post(
        [this, streams = m_streams, device = std::move(device), announced = std::move(announced)]() mutable {
            if (!streams->connector) {
                return;
            }
            m_proxyEvents.push(announced);
            QByteArray lastEventId;
            const auto old = streams->byDevice.find(device->key);
            if (old != streams->byDevice.end()) {
                // With another login it is still the same device; with another address it may not be.
                if (old->second.device().baseUrl == device->baseUrl) {
                    lastEventId = old->second.lastEventId();
                }
                streams->byDevice.erase(old);
            }
            streams->byDevice.try_emplace(device->key, *m_loop, *streams->connector, device, m_proxyEvents,
                                          streams->paused, m_timings, lastEventId);
        });
}

void EventChannels::close(const QString& deviceKey, std::vector<ProxyEvent> announced)
{
    m_loop->post([this, streams = m_streams, deviceKey, announced = std::move(announced)]() mutable {
        if (!streams->connector) {
            return;
        }
        streams->byDevice.erase(deviceKey);
        m_proxyEvents.push(announced);
    });
}

void EventChannels::resume()
{
    if (m_streams->paused > 0) {
        m_loop->post([streams = m_streams] {
            for (auto& stream : streams->byDevice) {
                stream.second.resume();
            }
        });
    }
}

} // namespace Krelm::Communicator::HttpDevice
