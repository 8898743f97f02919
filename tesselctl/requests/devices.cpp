// SPDX-License-Identifier: MIT
#include "tesselctl/requests/devices.h"

#include "tesselctl/requests/secret.h"
#include "tesselctl/terminal/printable.h"

#include <communicator/httpproxy.h>
#include <communicator/loginscheme.h>
#include <operations/suggestion.h>

#include <QRegularExpression>

#include <algorithm>
#include <optional>
#include <utility>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Krelm::Communicator::HttpDevice::LoginScheme;
using Krelm::Communicator::HttpDevice::loginSchemeNamed;
using Krelm::Communicator::HttpDevice::loginSchemes;

using Tessel::Operations::didYouMean;

namespace {

/// The words for what an error names: options of the command line, or members of the devices file.
struct Naming
{
    QString before; ///< what precedes a name, such as "--"
    QString operator()(const char* name) const { return before + QLatin1String(name); }
};

/// A login and what identifies a device, wherever they were given.
struct Trust
{
    QString login;
    QString user;
    bool hasSecret;
    QString caFile;
    QString pinnedKey;
    bool insecure;
};

Expected<void> checkLogin(const Trust& given, const Naming& name)
{
    if (given.login.isEmpty()) {
        if (given.user.isEmpty() && !given.hasSecret) {
            return {};
        }
        return Error{QStringLiteral("%1, %2 and %3 need %4")
                         .arg(name("user"), name("secret-env"), name("secret-file"), name("login"))};
    }
    const LoginScheme* const scheme = loginSchemeNamed(given.login.toStdString());
    if (!scheme) {
        return Error{
            QStringLiteral("unknown %1 \"%2\"; use %3")
                .arg(name("login"), printable(given.login), loginNames().join(QStringLiteral(" or ")))};
    }
    if (scheme->takesUser && given.user.isEmpty()) {
        return Error{QStringLiteral("%1 %2 needs %3").arg(name("login"), given.login, name("user"))};
    }
    if (!scheme->takesUser && !given.user.isEmpty()) {
        return Error{QStringLiteral("%1 %2 takes no %3").arg(name("login"), given.login, name("user"))};
    }
    if (!scheme->takesColonInUser && given.user.contains(QLatin1Char(':'))) {
        return Error{QStringLiteral("%1 must not contain ':' with %2 %3")
                         .arg(name("user"), name("login"), given.login)};
    }
    return {};
}

/// Everything but the address and the secret.
Expected<DeviceEndpoint> endpointWith(const Trust& given, const Naming& name)
{
    if (const Expected<void> login = checkLogin(given, name); !login) {
        return Error{login.error()};
    }
    if (!given.pinnedKey.isEmpty() && !given.pinnedKey.startsWith(QLatin1String("sha256//"))) {
        return Error{QStringLiteral("%1 must be sha256//BASE64").arg(name("pinned-key"))};
    }
    DeviceEndpoint endpoint;
    if (const LoginScheme* const scheme = loginSchemeNamed(given.login.toStdString())) {
        endpoint.login = scheme->login;
    }
    endpoint.user = given.user;
    endpoint.caFile = given.caFile;
    endpoint.pinnedKey = given.pinnedKey;
    endpoint.verifyTls = !given.insecure;
    return endpoint;
}

/// Whether a device can have @p address.
Expected<void> checkAddress(const QString& address, const DeviceEndpoint& endpoint, const Naming& name)
{
    // The text is not repeated: a password may precede the @.
    if (address.contains(QLatin1Char('@'))) {
        return Error{QStringLiteral("the address must not contain credentials; use %1 and %2")
                         .arg(name("login"), name("user"))};
    }
    const bool isTls = address.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
    if (!isTls && !(endpoint.caFile + endpoint.pinnedKey).isEmpty()) {
        return Error{QStringLiteral("%1 and %2 need an address that begins with https://, not \"%3\"")
                         .arg(name("ca-file"), name("pinned-key"), printable(address))};
    }
    const int authority = address.indexOf(QLatin1String("://"));
    if (address.indexOf(QLatin1Char('/'), authority < 0 ? 0 : authority + 3) >= 0) {
        return Error{
            QStringLiteral("the address \"%1\" must end with the host or the port, without a slash or path")
                .arg(printable(address))};
    }
    return {};
}

const Naming option{QStringLiteral("--")};

Trust trustOf(const DeviceSettings& settings)
{
    return {settings.login,  settings.user,      !(settings.secretVariable + settings.secretFile).isEmpty(),
            settings.caFile, settings.pinnedKey, settings.insecure};
}

bool isGiven(const Trust& trust)
{
    return !(trust.login + trust.user + trust.caFile + trust.pinnedKey).isEmpty() || trust.hasSecret ||
           trust.insecure;
}

/// A device given by its address.
Expected<Device> readDevice(const QString& text, DeviceEndpoint endpoint)
{
    const int equals = text.indexOf(QLatin1Char('='));
    const QString name = equals < 0 ? text : text.left(equals);
    endpoint.address = text.mid(equals + 1);
    if (name.isEmpty() || endpoint.address.isEmpty()) {
        return Error{
            QStringLiteral("--device must be ADDRESS or NAME=ADDRESS, not \"%1\"").arg(printable(text))};
    }
    if (const Expected<void> usable = checkAddress(endpoint.address, endpoint, option); !usable) {
        return Error{usable.error()};
    }
    return Device{name, endpoint};
}

bool isPattern(const QString& text)
{
    return text.contains(QLatin1Char('*')) || text.contains(QLatin1Char('?'));
}

bool isGroup(const QString& text)
{
    return text.startsWith(QLatin1Char('@'));
}

/// Whether @p text could be the name of a device, rather than an address.
bool isBareWord(const QString& text)
{
    return text != QLatin1String("localhost") && std::none_of(text.begin(), text.end(), [](QChar one) {
               return one == QLatin1Char('.') || one == QLatin1Char(':') || one == QLatin1Char('/');
           });
}

/// The devices of a command, put together from what --device says.
class DeviceReader
{
public:
    DeviceReader(const DeviceSettings& settings, const KnownDevices& known)
        : m_settings(settings)
        , m_known(known)
    {}

    Expected<std::vector<Device>> read()
    {
        const Expected<DeviceEndpoint> endpoint = endpointWith(trustOf(m_settings), option);
        if (!endpoint) {
            return Error{endpoint.error()};
        }
        if (m_settings.devices.isEmpty()) {
            return Error{
                QStringLiteral("no device given; use --device ADDRESS, --device NAME=ADDRESS or a device "
                               "of the devices file")};
        }
        for (const QString& text : m_settings.devices) {
            if (const Expected<void> taken = take(text, *endpoint); !taken) {
                return Error{taken.error()};
            }
        }
        if (const Expected<void> secrets = readSecrets(); !secrets) {
            return Error{secrets.error()};
        }
        std::vector<Device> devices;
        for (Chosen& one : m_chosen) {
            devices.push_back(std::move(one.device));
        }
        return devices;
    }

private:
    struct Chosen
    {
        Device device;
        const DeviceEntry* entry; ///< null: given by address
    };

    Expected<void> take(const QString& text, const DeviceEndpoint& endpoint)
    {
        if (text.contains(QLatin1Char(','))) {
            return Error{
                QStringLiteral("--device takes one device, not \"%1\"; repeat it for each: --device %2")
                    .arg(printable(text),
                         printable(text).replace(QLatin1String(","), QLatin1String(" --device ")))};
        }
        if (!text.contains(QLatin1Char('='))) {
            const Expected<std::vector<const DeviceEntry*>> entries = entriesFor(text);
            if (!entries) {
                return Error{entries.error()};
            }
            for (const DeviceEntry* const entry : *entries) {
                if (Expected<void> taken = takeEntry(*entry); !taken) {
                    return taken;
                }
            }
            if (!entries->empty()) {
                return {};
            }
        }
        const Expected<Device> device = readDevice(text, endpoint);
        if (!device) {
            return Error{device.error()};
        }
        if (find(device->name)) {
            return Error{QStringLiteral("device %1 is given twice").arg(printable(device->name))};
        }
        m_chosen.push_back({*device, nullptr});
        return {};
    }

    // Several groups may have the same device.
    Expected<void> takeEntry(const DeviceEntry& entry)
    {
        if (isGiven(trustOf(m_settings))) {
            return Error{
                QStringLiteral("options for login and TLS are for devices given by address; those of %1 "
                               "are in the devices file")
                    .arg(printable(entry.name))};
        }
        if (const Chosen* const chosen = find(entry.name)) {
            return chosen->entry
                       ? Expected<void>()
                       : Error{QStringLiteral("device %1 is given twice").arg(printable(entry.name))};
        }
        const Expected<DeviceEndpoint> endpoint = endpointOf(entry);
        if (!endpoint) {
            return Error{endpoint.error()};
        }
        m_chosen.push_back({{entry.name, *endpoint}, &entry});
        return {};
    }

    const Chosen* find(const QString& name) const
    {
        const auto found = std::find_if(m_chosen.begin(), m_chosen.end(),
                                        [&](const Chosen& one) { return one.device.name == name; });
        return found == m_chosen.end() ? nullptr : &*found;
    }

    /// The entries of the devices file that @p text means; none for an address.
    Expected<std::vector<const DeviceEntry*>> entriesFor(const QString& text)
    {
        const Expected<const std::vector<DeviceEntry>*> known = entries();
        if (!known) {
            return Error{known.error()};
        }
        const QRegularExpression pattern(QRegularExpression::wildcardToRegularExpression(text));
        std::vector<const DeviceEntry*> found;
        QStringList names;
        QStringList groups;
        for (const DeviceEntry& entry : **known) {
            names << entry.name;
            for (const QString& group : entry.groups) {
                groups << QLatin1Char('@') + group;
            }
            if (entry.name == text || (isGroup(text) && entry.groups.contains(text.mid(1))) ||
                (isPattern(text) && pattern.match(entry.name).hasMatch())) {
                found.push_back(&entry);
            }
        }
        groups.removeDuplicates();
        if (!found.empty()) {
            return found;
        }
        if (names.isEmpty() && (isGroup(text) || isPattern(text))) {
            return Error{QStringLiteral("the devices file has no devices; use --device ADDRESS, or add one: "
                                        "tesselctl devices add NAME ADDRESS")};
        }
        if (isGroup(text)) {
            return Error{QStringLiteral("no device of the devices file is in the group %1%2")
                             .arg(printable(text), didYouMean(text, groups))};
        }
        if (isPattern(text)) {
            return Error{QStringLiteral("no device of the devices file matches \"%1\"").arg(printable(text))};
        }
        if (const QString similar = didYouMean(text, names); isBareWord(text) && !similar.isEmpty()) {
            return Error{QStringLiteral("unknown device \"%1\"%2 A host of that name is written %1=%1")
                             .arg(printable(text), similar)};
        }
        return found;
    }

    Expected<const std::vector<DeviceEntry>*> entries()
    {
        if (!m_entries) {
            m_entries = m_known ? m_known() : std::vector<DeviceEntry>();
        }
        if (!*m_entries) {
            return Error{m_entries->error()};
        }
        return &**m_entries;
    }

    Expected<void> readSecrets()
    {
        std::optional<QString> ofSettings; // asked for once
        for (Chosen& one : m_chosen) {
            if (one.device.endpoint.login == DeviceEndpoint::Login::None) {
                continue;
            }
            Expected<QString> secret = QString();
            if (one.entry) {
                secret = readPrivateSecret(one.device.name, one.entry->secretFile);
            } else if (ofSettings) {
                secret = *ofSettings;
            } else {
                secret = readSecret(m_settings.secretVariable, m_settings.secretFile);
            }
            if (!secret) {
                return Error{secret.error()};
            }
            if (!one.entry) {
                ofSettings = *secret;
            }
            one.device.endpoint.secret = *secret;
        }
        return {};
    }

    const DeviceSettings& m_settings;
    const KnownDevices& m_known;
    std::optional<Expected<std::vector<DeviceEntry>>> m_entries; ///< once they were asked for
    std::vector<Chosen> m_chosen;
};

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

Expected<void> checkDeviceName(const QString& name)
{
    const auto isWrong = [](QChar one) {
        return one.isSpace() || one.unicode() < 0x20 || QStringLiteral("=,*?/").contains(one);
    };
    if (name.isEmpty() || isGroup(name) || name.startsWith(QLatin1Char('-')) ||
        std::any_of(name.begin(), name.end(), isWrong)) {
        return Error{
            QStringLiteral("\"%1\" cannot name a device; a name has no blanks, none of = , * ? / and "
                           "no @ or - at its beginning")
                .arg(printable(name))};
    }
    return {};
}

Expected<DeviceEndpoint> endpointOf(const DeviceEntry& entry)
{
    const Naming member{};
    Expected<DeviceEndpoint> endpoint = endpointWith(
        {entry.login, entry.user, !entry.secretFile.isEmpty(), entry.caFile, entry.pinnedKey, entry.insecure},
        member);
    const Expected<void> usable =
        endpoint ? checkAddress(entry.address, *endpoint, member) : Error{endpoint.error()};
    if (!usable) {
        return Error{QStringLiteral("%1 in the devices file: %2").arg(printable(entry.name), usable.error())};
    }
    (*endpoint).address = entry.address;
    return endpoint;
}

Expected<std::vector<Device>> readDevices(const DeviceSettings& settings, const KnownDevices& known)
{
    return DeviceReader(settings, known).read();
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
