// SPDX-License-Identifier: MIT
#include "tesselctl/requests/devices.h"

#include "tesselctl/requests/secret.h"
#include "tesselctl/terminal/printable.h"

#include <communicator/httpproxy.h>
#include <communicator/loginscheme.h>

#include <algorithm>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Krelm::Communicator::HttpDevice::LoginScheme;
using Krelm::Communicator::HttpDevice::loginSchemeNamed;
using Krelm::Communicator::HttpDevice::loginSchemes;

namespace {

Expected<void> checkLogin(const DeviceSettings& settings)
{
    if (settings.login.isEmpty()) {
        if ((settings.user + settings.secretVariable + settings.secretFile).isEmpty()) {
            return {};
        }
        return Error{QStringLiteral("--user, --secret-env and --secret-file need --login")};
    }
    const LoginScheme* const scheme = loginSchemeNamed(settings.login.toStdString());
    if (!scheme) {
        return Error{QStringLiteral("unknown --login \"%1\"; use %2")
                         .arg(printable(settings.login), loginNames().join(QStringLiteral(" or ")))};
    }
    if (scheme->takesUser && settings.user.isEmpty()) {
        return Error{QStringLiteral("--login %1 needs --user").arg(settings.login)};
    }
    if (!scheme->takesUser && !settings.user.isEmpty()) {
        return Error{QStringLiteral("--login %1 takes no --user").arg(settings.login)};
    }
    if (!scheme->takesColonInUser && settings.user.contains(QLatin1Char(':'))) {
        return Error{QStringLiteral("--user must not contain ':' with --login %1").arg(settings.login)};
    }
    return {};
}

/// Everything that the options say of all devices, but for the secret.
Expected<DeviceEndpoint> readEndpoint(const DeviceSettings& settings)
{
    if (const Expected<void> login = checkLogin(settings); !login) {
        return Error{login.error()};
    }
    if (!settings.pinnedKey.isEmpty() && !settings.pinnedKey.startsWith(QLatin1String("sha256//"))) {
        return Error{QStringLiteral("--pinned-key must be sha256//BASE64")};
    }
    DeviceEndpoint endpoint;
    if (const LoginScheme* const scheme = loginSchemeNamed(settings.login.toStdString())) {
        endpoint.login = scheme->login;
    }
    endpoint.user = settings.user;
    endpoint.caFile = settings.caFile;
    endpoint.pinnedKey = settings.pinnedKey;
    endpoint.verifyTls = !settings.insecure;
    return endpoint;
}

Expected<Device> readDevice(const QString& text, DeviceEndpoint endpoint)
{
    const int equals = text.indexOf(QLatin1Char('='));
    const QString name = equals < 0 ? text : text.left(equals);
    endpoint.address = text.mid(equals + 1);
    // The text is not repeated: a password may precede the @.
    if (endpoint.address.contains(QLatin1Char('@'))) {
        return Error{QStringLiteral("the address must not contain credentials; use --login and --user")};
    }
    if (name.isEmpty() || endpoint.address.isEmpty()) {
        return Error{
            QStringLiteral("--device must be ADDRESS or NAME=ADDRESS, not \"%1\"").arg(printable(text))};
    }
    const bool isTls = endpoint.address.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
    if (!isTls && !(endpoint.caFile + endpoint.pinnedKey).isEmpty()) {
        return Error{
            QStringLiteral("--ca-file and --pinned-key need an address that begins with https://, not \"%1\"")
                .arg(printable(endpoint.address))};
    }
    return Device{name, endpoint};
}

} // namespace

QStringList loginNames()
{
    QStringList names;
    for (const LoginScheme& scheme : loginSchemes) {
        names << QLatin1String(scheme.name);
    }
    return names;
}

QStringList loginNamesWithUser()
{
    QStringList names;
    for (const LoginScheme& scheme : loginSchemes) {
        if (scheme.takesUser) {
            names << QLatin1String(scheme.name);
        }
    }
    return names;
}

Expected<std::vector<Device>> readDevices(const DeviceSettings& settings)
{
    const Expected<DeviceEndpoint> endpoint = readEndpoint(settings);
    if (!endpoint) {
        return Error{endpoint.error()};
    }
    if (settings.devices.isEmpty()) {
        return Error{QStringLiteral("no device given; use --device ADDRESS or --device NAME=ADDRESS")};
    }
    std::vector<Device> devices;
    for (const QString& text : settings.devices) {
        const Expected<Device> device = readDevice(text, *endpoint);
        if (!device) {
            return Error{device.error()};
        }
        const auto hasItsName = [&](const Device& one) { return one.name == device->name; };
        if (std::any_of(devices.begin(), devices.end(), hasItsName)) {
            return Error{QStringLiteral("device %1 is given twice").arg(printable(device->name))};
        }
        devices.push_back(*device);
    }
    if (endpoint->login == DeviceEndpoint::Login::None) {
        return devices;
    }
    const Expected<QString> secret = readSecret(settings.secretVariable, settings.secretFile);
    if (!secret) {
        return Error{secret.error()};
    }
    for (Device& device : devices) {
        device.endpoint.secret = *secret;
    }
    return devices;
}

Expected<void> addDevices(const std::vector<Device>& devices)
{
    for (const Device& device : devices) {
        if (!HttpProxy::getInstance()->addDevice(device.name, device.endpoint)) {
            return Error{
                QStringLiteral("invalid device %1; use HOST[:PORT] or http(s)://HOST[:PORT] as address")
                    .arg(printable(device.name))};
        }
    }
    return {};
}

void forgetDevices()
{
    HttpProxy* const proxy = HttpProxy::getInstance();
    for (const QString& device : proxy->devices()) {
        proxy->removeDevice(device);
    }
}

} // namespace TesselCtl
