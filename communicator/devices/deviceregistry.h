// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICES_DEVICEREGISTRY_H
#define COMMUNICATOR_DEVICES_DEVICEREGISTRY_H

#include "communicator/deviceendpoint.h"
#include "communicator/http/digestlogin.h"
#include "communicator/http/tokenlogin.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The address, login and trust of a device. Immutable: a device whose endpoint changes gets a new Device.
struct Device
{
    QString key;
    DeviceEndpoint endpoint;
    QByteArray baseUrl;   ///< without a trailing slash
    QByteArray authority; ///< host and port, as in the `Host` header (RFC 9110)
    bool isTls = false;
    bool hasClearLogin = false;          ///< whether the login is sent in clear over a network
    std::shared_ptr<DigestLogin> digest; ///< null for any other login or none
    std::shared_ptr<TokenLogin> token;   ///< null unless the application renews the secret
    /// Set when the device is removed, so that an exchange that has just begun ends like one in flight.
    mutable std::atomic<bool> isRemoved{false};
    /// Set when the key got another endpoint: requests in flight end as usual, but connections are not kept.
    mutable std::atomic<bool> isReplaced{false};
    /// When the device last answered an exchange.
    mutable std::atomic<std::chrono::steady_clock::time_point> lastAnswer{};
};

/// Maps device keys to devices: those that were added, and keys that are addresses themselves.
/// May be used from any thread.
class DeviceRegistry
{
public:
    enum class Change { Refused, Added, Replaced };
    /// What add() did.
    struct AddResult
    {
        Change change = Change::Refused;
        QString error; ///< why it was refused, without a secret; empty otherwise
    };

    /// Makes a device known or gives it another endpoint. Refused when the key or the endpoint is invalid.
    AddResult add(const QString& deviceKey, const DeviceEndpoint& endpoint);
    /// @return whether the device was known.
    bool remove(const QString& deviceKey);
    /// The keys of the added devices, sorted.
    QStringList keys() const;
    /// The added devices.
    QList<std::shared_ptr<const Device>> devices() const;
    /// The device for @p deviceKey, or null if the key is unknown. A key returns the same pointer until its
    /// endpoint changes.
    std::shared_ptr<const Device> find(const QString& deviceKey) const;

private:
    mutable std::mutex m_mutex; ///< guards all members below
    QMap<QString, std::shared_ptr<const Device>> m_added;
    /// Keys that were added at some time. A removed key is never used as an address, whatever it looks like:
    /// its requests must not go to another port or without the login.
    QSet<QString> m_everAdded;
    mutable QHash<QString, std::shared_ptr<const Device>> m_addresses; ///< keys that are addresses, bounded
};

} // namespace Krelm::Communicator::HttpDevice

#endif
