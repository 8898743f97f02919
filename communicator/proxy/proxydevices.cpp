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
    const std::lock_guard<std::mutex> devicesLock(m_changeMutex);
    std::shared_ptr<EventChannels> open;
    std::shared_ptr<EventChannels>
        closed; // destroyed without m_mutex, since it waits for the loop, which may need it
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (wanted && !m_channels && !Lifecycle::isClosed()) {
            open = m_channels =
                std::make_shared<EventChannels>(m_engines.loop(), m_events, ConnectionBoard::ofProcess());
        } else if (!wanted) {
            closed.swap(m_channels);
        }
    }
    if (open) {
        for (const std::shared_ptr<const Device>& device : m_registry->devices()) {
            open->open(device, {});
        }
    }
}

bool ProxyDevices::add(const QString& deviceKey, const DeviceEndpoint& endpoint)
{
    const std::lock_guard<std::mutex> lock(m_changeMutex);
    const auto [change, error] = m_registry->add(deviceKey, endpoint);
    if (change == DeviceRegistry::Change::Refused) {
        qCWarning(httpLog, "device %s refused: %s", qPrintable(printableKey(deviceKey)), qPrintable(error));
        return false;
    }
    if (const auto device = m_registry->find(deviceKey); device && device->hasClearLogin) {
        qCWarning(httpLog, "device %s: the login travels in clear; use an https address",
                  qPrintable(printableKey(deviceKey)));
    }
    std::vector<ProxyEvent> announced;
    if (change == DeviceRegistry::Change::Added) {
        announced.emplace_back();
    }
    if (const std::shared_ptr<EventChannels> open = channels()) {
        open->open(m_registry->find(deviceKey), std::move(announced));
    } else {
        m_events.push(announced);
    }
    return true;
}

bool ProxyDevices::remove(const QString& deviceKey)
{
    const std::lock_guard<std::mutex> lock(m_changeMutex);
    if (!m_registry->remove(deviceKey)) {
        return false;
    }
    m_engines.abort(deviceKey);
    std::vector<ProxyEvent> announced{{ProxyEvent::Kind::Logout, deviceKey, {}, nullptr}, {}};
    if (const std::shared_ptr<EventChannels> open = channels()) {
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
