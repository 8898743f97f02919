// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_PROXY_PROXYDEVICES_H
#define COMMUNICATOR_PROXY_PROXYDEVICES_H

#include "communicator/deviceendpoint.h"
#include "communicator/devices/deviceregistry.h"
#include "communicator/events/eventchannels.h"
#include "communicator/events/proxyeventqueue.h"
#include "communicator/proxy/engineslot.h"

#include <functional>
#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The devices that the application added, with their event streams and what the proxy announces of them. May
/// be used from any thread.
class ProxyDevices
{
public:
    /// @p wakeUp is called, on any thread, when events begin to wait in events().
    ProxyDevices(std::shared_ptr<DeviceRegistry> registry, EngineSlot& engines, std::function<void()> wakeUp);

    /// Whether devices are asked for events.
    void setEvents(bool wanted);
    /// @return false when the key or the endpoint is invalid, which is logged.
    bool add(const QString& deviceKey, const DeviceEndpoint& endpoint);
    /// @return whether the device was known.
    bool remove(const QString& deviceKey);
    /// Takes the streams out, which end with the last pointer to them. The transport must be closed.
    std::shared_ptr<EventChannels> takeChannels();

    ProxyEventQueue& events() { return m_events; }

private:
    std::shared_ptr<EventChannels> channels();

    const std::shared_ptr<DeviceRegistry> m_registry;
    EngineSlot& m_engines;
    ProxyEventQueue m_events;
    /// Held while a device changes, so that streams and events see the changes in order.
    std::mutex m_changeMutex;
    std::mutex m_mutex;                        ///< guards m_channels
    std::shared_ptr<EventChannels> m_channels; ///< null while no events are wanted
};

} // namespace Krelm::Communicator::HttpDevice

#endif
