// SPDX-License-Identifier: MIT
#include "communicator/devices/deviceregistry.h"

#include "communicator/devices/deviceaddress.h"

#include <communicator/loginscheme.h>

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// A program that makes keys up must not grow.
constexpr int maxRememberedAddresses = 4096;

// Unlike in requests, the C1 controls count too: keys and logins are printed in logs and on terminals.
bool hasUnicodeControl(const QString& text)
{
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

QString errorOf(const QString& deviceKey, const DeviceEndpoint& endpoint, const QByteArray& baseUrl)
{
    if (deviceKey.isEmpty() || hasUnicodeControl(deviceKey)) {
        return QStringLiteral("the key is empty or contains a control character");
    }
    if (baseUrl.isEmpty()) {
        return QStringLiteral("the address must have the form http(s)://host[:port] or host[:port]");
    }
    const bool isTls = baseUrl.startsWith("https:");
    if (!isTls && endpoint.requireTls) {
        return QStringLiteral("TLS is required; the address must begin with https://");
    }
    // Without TLS both would have no effect, and the login would be sent in clear.
    if (!isTls && (!endpoint.caFile.isEmpty() || !endpoint.pinnedKey.isEmpty())) {
        return QStringLiteral("a CA file or a pinned key requires an address that begins with https://");
    }
    if (hasUnicodeControl(endpoint.user) || hasUnicodeControl(endpoint.secret)) {
        return QStringLiteral("the login contains a control character");
    }
    const LoginScheme* const scheme = loginScheme(endpoint.login);
    if (!scheme && endpoint.login != DeviceEndpoint::Login::None) {
        return QStringLiteral("unknown login %1; use an enumerator of DeviceEndpoint::Login")
            .arg(static_cast<int>(endpoint.login));
    }
    if (scheme && !scheme->takesColonInUser && endpoint.user.contains(QLatin1Char(':'))) {
        return QStringLiteral("the user must not contain ':' with a %1 login")
            .arg(QLatin1String(scheme->name));
    }
    if (scheme && scheme->needsSecret && endpoint.secret.isEmpty()) {
        return QStringLiteral("a %1 login needs a secret").arg(QLatin1String(scheme->name));
    }
    if (endpoint.renewSecret && !(scheme && scheme->runsOut)) {
        return QStringLiteral(
            "a function that renews the secret needs a login whose secret runs out, such as "
            "bearer");
    }
    if (!endpoint.pinnedKey.isEmpty() && !endpoint.pinnedKey.startsWith(QLatin1String("sha256//"))) {
        return QStringLiteral("a pinned key must start with sha256//");
    }
    return {};
}

// Derives the other members from the address and the login.
void complete(Device& device)
{
    device.isTls = device.baseUrl.startsWith("https:");
    device.hasClearLogin =
        !device.isTls && device.endpoint.login != DeviceEndpoint::Login::None && !isLoopback(device.baseUrl);
    device.authority = device.baseUrl.mid(device.baseUrl.indexOf("//") + 2);
    // A zone has meaning only on this machine (RFC 6874, 4). Without one nothing is removed.
    const auto zone = device.authority.indexOf("%25");
    device.authority.remove(zone, device.authority.indexOf(']') - zone);
    const char* const defaultPort = device.isTls ? ":443" : ":80";
    if (device.authority.endsWith(defaultPort)) {
        device.authority.chop(static_cast<int>(qstrlen(defaultPort)));
    }
    const LoginScheme* const scheme = loginScheme(device.endpoint.login);
    if (scheme && scheme->answersAChallenge) {
        device.digest = std::make_shared<DigestLogin>(device.endpoint.user, device.endpoint.secret);
    }
    if (device.endpoint.renewSecret) {
        device.token =
            std::make_shared<TokenLogin>(device.key, device.endpoint.secret, device.endpoint.renewSecret);
    }
}

} // namespace

DeviceRegistry::AddResult DeviceRegistry::add(const QString& deviceKey, const DeviceEndpoint& endpoint)
{
    const QByteArray baseUrl = baseUrlOfAddress(endpoint.address);
    if (const QString error = errorOf(deviceKey, endpoint, baseUrl); !error.isEmpty()) {
        return {Change::Refused, error};
    }
    auto device = std::make_shared<Device>();
    device->key = deviceKey;
    device->endpoint = endpoint;
    device->baseUrl = baseUrl;
    complete(*device);
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::shared_ptr<const Device> known = m_added.value(deviceKey);
    if (known) {
        known->isReplaced = true;
    }
    m_added.insert(deviceKey, std::move(device));
    m_everAdded.insert(deviceKey);
    m_addresses.remove(deviceKey);
    return {known ? Change::Replaced : Change::Added, {}};
}

bool DeviceRegistry::remove(const QString& deviceKey)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::shared_ptr<const Device> device = m_added.take(deviceKey);
    if (!device) {
        return false;
    }
    device->isRemoved = true;
    return true;
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
    const QByteArray baseUrl = m_everAdded.contains(deviceKey) ? QByteArray() : baseUrlOfKey(deviceKey);
    if (baseUrl.isEmpty()) {
        return nullptr;
    }
    auto device = std::make_shared<Device>();
    device->key = deviceKey;
    device->endpoint.address = deviceKey;
    device->baseUrl = baseUrl;
    complete(*device);
    if (m_addresses.size() >= maxRememberedAddresses) {
        m_addresses.clear();
    }
    m_addresses.insert(deviceKey, device);
    return device;
}

} // namespace Krelm::Communicator::HttpDevice
