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

QString faultOfLogin(const DeviceSettings& settings)
{
    if (settings.login.isEmpty()) {
        return (settings.user + settings.secretVariable + settings.secretFile).isEmpty()
                   ? QString()
                   : QStringLiteral("a user or secret needs --login");
    }
    const LoginScheme* const scheme = loginSchemeNamed(settings.login.toStdString());
    if (!scheme) {
        return QStringLiteral("unknown --login %1; use %2")
            .arg(printable(settings.login), loginNames().join(QStringLiteral(" or ")));
    }
    if (scheme->takesUser && settings.user.isEmpty()) {
        return QStringLiteral("--login %1 needs --user").arg(settings.login);
    }
    if (!scheme->takesUser && !settings.user.isEmpty()) {
        return QStringLiteral("--login %1 takes no --user").arg(settings.login);
    }
    if (!scheme->takesColonInUser && settings.user.contains(QLatin1Char(':'))) {
        return QStringLiteral("--user must not contain ':' with --login %1").arg(settings.login);
    }
    return {};
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

std::vector<Device> readDevices(const DeviceSettings& settings, Console& console)
{
    QString problem = faultOfLogin(settings);
    if (problem.isEmpty() && !settings.pinnedKey.isEmpty() &&
        !settings.pinnedKey.startsWith(QLatin1String("sha256//"))) {
        problem = QStringLiteral("--pinned-key reads sha256//BASE64");
    }
    if (problem.isEmpty() && settings.devices.isEmpty()) {
        problem = QStringLiteral("no device is given; say --device ADDRESS or --device NAME=ADDRESS");
    }
    DeviceEndpoint endpoint;
    if (const LoginScheme* const scheme = loginSchemeNamed(settings.login.toStdString())) {
        endpoint.login = scheme->login;
    }
    endpoint.user = settings.user;
    endpoint.caFile = settings.caFile;
    endpoint.pinnedKey = settings.pinnedKey;
    endpoint.verifyTls = !settings.insecure;

    std::vector<Device> devices;
    for (const QString& text : settings.devices) {
        if (!problem.isEmpty()) {
            break;
        }
        const int equals = text.indexOf(QLatin1Char('='));
        endpoint.address = text.mid(equals + 1);
        const QString name = equals < 0 ? text : text.left(equals);
        // The text is not repeated: what stands before the @ may be a password.
        if (endpoint.address.contains(QLatin1Char('@'))) {
            problem = QStringLiteral("the address must not contain credentials; use --login and --user");
        } else if (name.isEmpty() || endpoint.address.isEmpty()) {
            problem = QStringLiteral("\"%1\" is neither ADDRESS nor NAME=ADDRESS").arg(printable(text));
        } else if (std::any_of(devices.begin(), devices.end(),
                               [&](const Device& one) { return one.name == name; })) {
            problem = QStringLiteral("device %1 is given twice").arg(printable(name));
        }
        devices.push_back({name, endpoint});
    }
    QString secret;
    if (problem.isEmpty() && endpoint.login != DeviceEndpoint::Login::None) {
        const Expected<QString> read = readSecret(settings.secretVariable, settings.secretFile);
        problem = read.error();
        secret = read ? *read : QString();
    }
    if (!problem.isEmpty()) {
        console.error(problem);
        return {};
    }
    for (Device& device : devices) {
        device.endpoint.secret = secret;
    }
    return devices;
}

bool addDevices(const std::vector<Device>& devices, Console& console)
{
    for (const Device& device : devices) {
        if (!HttpProxy::getInstance()->addDevice(device.name, device.endpoint)) {
            console.error(
                QStringLiteral(
                    "device %1 cannot be used; an address reads http(s)://HOST[:PORT] or HOST[:PORT]")
                    .arg(printable(device.name)));
            return false;
        }
    }
    return true;
}

void forgetDevices()
{
    HttpProxy* const proxy = HttpProxy::getInstance();
    for (const QString& device : proxy->devices()) {
        proxy->removeDevice(device);
    }
}

} // namespace TesselCtl
