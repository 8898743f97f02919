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

/// The devices that the application added, their event streams, and the queue of events that the proxy is to
/// deliver. Thread-safe.
class ProxyDevices
{
public:
    /// @p wakeUp is called on any thread when the queue is no longer empty.
    ProxyDevices(std::shared_ptr<DeviceRegistry> registry, EngineSlot& engines, std::function<void()> wakeUp);

    /// Opens or closes the event streams of all devices, including those added later.
    void setEvents(bool wanted);
    /// @return false if the key or the endpoint is invalid; the reason is logged.
    bool add(const QString& deviceKey, const DeviceEndpoint& endpoint);
    /// @return whether the device was known.
    bool remove(const QString& deviceKey);
    /// Has everything that is cached of a device read again, since a read that an event asked for failed.
    void readFailed(const QString& deviceKey);
    /// Hands over the streams, which close when the last pointer is released. The transport must be closed.
    std::shared_ptr<EventChannels> takeChannels();

    ProxyEventQueue& events() { return m_events; }

private:
    std::shared_ptr<EventChannels> channels();

    const std::shared_ptr<DeviceRegistry> m_registry;
    EngineSlot& m_engines;
    ProxyEventQueue m_events;
    /// Held while a device is added or removed, so that streams and events see the changes in the same order.
    std::mutex m_changeMutex;
    bool m_hadEvents = false;                  ///< events were enabled at some time; guarded by m_changeMutex
    std::mutex m_mutex;                        ///< guards m_channels
    std::shared_ptr<EventChannels> m_channels; ///< null unless events are enabled
};

} // namespace Krelm::Communicator::HttpDevice

#endif
