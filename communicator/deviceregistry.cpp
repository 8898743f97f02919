// SPDX-License-Identifier: MIT
#include "communicator/deviceregistry.h"

#include "communicator/deviceaddress.h"

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr int MaximumRememberedAddresses = 4096;

bool hasControlCharacter(const QString& text)
{
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

QString faultOf(const QString& deviceKey, const DeviceEndpoint& endpoint, const QByteArray& baseUrl)
{
    using Login = DeviceEndpoint::Login;
    if (deviceKey.isEmpty() || hasControlCharacter(deviceKey)) {
        return QStringLiteral("the key is empty or holds a control character");
    }
    if (baseUrl.isEmpty()) {
        return QStringLiteral("the address does not read as http(s)://host[:port] or host[:port]");
    }
    if (hasControlCharacter(endpoint.user) || hasControlCharacter(endpoint.secret)) {
        return QStringLiteral("the login holds a control character");
    }
    // RFC 7617, 2: the first colon ends the user name.
    if (endpoint.login == Login::Basic && endpoint.user.contains(QLatin1Char(':'))) {
        return QStringLiteral("a user name for Basic cannot hold a colon");
    }
    if (endpoint.login == Login::Bearer && endpoint.secret.isEmpty()) {
        return QStringLiteral("Bearer needs a token");
    }
    if (!endpoint.pinnedKey.isEmpty() && !endpoint.pinnedKey.startsWith(QLatin1String("sha256//"))) {
        return QStringLiteral("a pinned key starts with sha256//");
    }
    return {};
}

} // namespace

DeviceRegistry::Change DeviceRegistry::add(const QString& deviceKey, const DeviceEndpoint& endpoint,
                                           QString& reason)
{
    const QByteArray baseUrl = baseUrlOfAddress(endpoint.address);
    reason = faultOf(deviceKey, endpoint, baseUrl);
    if (!reason.isEmpty()) {
        return Change::Refused;
    }
    auto device = std::make_shared<Device>();
    device->key = deviceKey;
    device->endpoint = endpoint;
    device->baseUrl = baseUrl;
    device->hasLogin = endpoint.login != DeviceEndpoint::Login::None;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool known = m_added.contains(deviceKey);
    m_added.insert(deviceKey, std::move(device));
    return known ? Change::Replaced : Change::Added;
}

bool DeviceRegistry::remove(const QString& deviceKey)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_added.remove(deviceKey) > 0;
}

QStringList DeviceRegistry::keys() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_added.keys();
}

QList<std::shared_ptr<const Device>> DeviceRegistry::devices() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_added.values();
}

std::shared_ptr<const Device> DeviceRegistry::find(const QString& deviceKey) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto added = m_added.constFind(deviceKey);
    if (added != m_added.cend()) {
        return *added;
    }
    const auto remembered = m_addresses.constFind(deviceKey);
    if (remembered != m_addresses.cend()) {
        return *remembered;
    }
    const QByteArray baseUrl = baseUrlOfAddress(deviceKey);
    if (baseUrl.isEmpty()) {
        return nullptr;
    }
    auto device = std::make_shared<Device>();
    device->key = deviceKey;
    device->endpoint.address = deviceKey;
    device->baseUrl = baseUrl;
    if (m_addresses.size() >= MaximumRememberedAddresses) {
        m_addresses.clear();
    }
    m_addresses.insert(deviceKey, device);
    return device;
}

} // namespace Krelm::Communicator::HttpDevice
