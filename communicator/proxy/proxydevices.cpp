// SPDX-License-Identifier: MIT
#include "communicator/proxy/proxydevices.h"

#include "communicator/events/connectionboard.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/logging.h"

#include <utility>

namespace Krelm::Communicator::HttpDevice {

ProxyDevices::ProxyDevices(std::shared_ptr<DeviceRegistry> registry, EngineSlot& engines,
                           std::function<void()> wakeUp)
    : m_registry(std::move(registry))
    , m_engines(engines)
    , m_events(std::move(wakeUp))
{
    m_events.onDelivered([this] {
        if (const std::shared_ptr<EventChannels> open = channels()) {
            open->resume();
        }
    });
}

void ProxyDevices::setEvents(bool wanted)
{
    // Destroyed without a lock, since this waits for the loop, where an observer may be changing the devices.
    std::shared_ptr<EventChannels> closed;
    std::shared_ptr<EventChannels> open;
    const std::lock_guard<std::mutex> devicesLock(m_changeMutex);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (wanted && !m_channels && !Lifecycle::isClosed()) {
            open = m_channels =
                std::make_shared<EventChannels>(m_engines.loop(), m_events, ConnectionBoard::ofProcess());
        } else if (!wanted) {
            closed.swap(m_channels);
        }
    }
    if (closed) {
        closed->closeAll(); // before whatever is opened next
    }
    if (open) {
        const bool isReopened = std::exchange(m_hadEvents, true); // and nobody knows what happened meanwhile
        for (const std::shared_ptr<const Device>& device : m_registry->devices()) {
            open->open(device, {}, isReopened);
        }
    }
}

bool ProxyDevices::add(const QString& deviceKey, const DeviceEndpoint& endpoint)
{
    std::shared_ptr<EventChannels> open; // destroyed without the lock, as in setEvents()
    std::unique_lock<std::mutex> lock(m_changeMutex);
    const auto [change, error] = m_registry->add(deviceKey, endpoint);
    if (change == DeviceRegistry::Change::Refused) {
        lock.unlock(); // the application's handler of log messages may change devices, too
        qCWarning(httpLog, "device %s refused: %s", qPrintable(printableKey(deviceKey)), qPrintable(error));
        return false;
    }
    const std::shared_ptr<const Device> device = m_registry->find(deviceKey);
    std::vector<ProxyEvent> announced;
    if (change == DeviceRegistry::Change::Added) {
        announced.emplace_back();
    }
    if (change == DeviceRegistry::Change::Replaced) {
        m_engines.dropReplaced(deviceKey);
    }
    open = channels();
    if (open) {
        open->open(device, std::move(announced));
    } else {
        m_events.push(announced);
    }
    lock.unlock();
    if (device->hasClearLogin) {
        qCWarning(httpLog, "device %s: the login travels in clear; use an https address",
                  qPrintable(printableKey(deviceKey)));
    }
    return true;
}

bool ProxyDevices::remove(const QString& deviceKey)
{
    std::shared_ptr<EventChannels> open; // destroyed without the lock, as in setEvents()
    const std::lock_guard<std::mutex> lock(m_changeMutex);
    if (!m_registry->remove(deviceKey)) {
        return false;
    }
    m_engines.abort(deviceKey);
    std::vector<ProxyEvent> announced{{ProxyEvent::Kind::Logout, deviceKey, {}, nullptr}, {}};
    open = channels();
    if (open) {
        open->close(deviceKey, std::move(announced));
    } else {
        m_events.push(announced);
    }
    return true;
}

void ProxyDevices::readFailed(const QString& deviceKey)
{
    if (const std::shared_ptr<EventChannels> open = channels()) {
        open->readFailed(deviceKey);
    }
}

std::shared_ptr<EventChannels> ProxyDevices::channels()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_channels;
}

std::shared_ptr<EventChannels> ProxyDevices::takeChannels()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_channels, nullptr);
}

} // namespace Krelm::Communicator::HttpDevice
