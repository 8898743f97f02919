// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICES_DEVICEREGISTRY_H
#define COMMUNICATOR_DEVICES_DEVICEREGISTRY_H

#include "communicator/deviceendpoint.h"
#include "communicator/http/digestlogin.h"

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

/// Where a device is and how one logs in there; never changes. A device that gets another address is another
/// Device.
struct Device
{
    QString key;
    DeviceEndpoint endpoint;
    QByteArray baseUrl;   ///< without a trailing slash
    QByteArray authority; ///< host and port as `Host` names them
    bool isTls = false;
    bool hasClearLogin = false;          ///< the login travels in clear, and not only within this machine
    std::shared_ptr<DigestLogin> digest; ///< null: another login, or none
    /// Set when the device is removed: an exchange that has just begun then ends like one under way.
    mutable std::atomic<bool> isRemoved{false};
    /// When the device last answered an exchange.
    mutable std::atomic<std::chrono::steady_clock::time_point> lastAnswer{};
};

/// What device keys stand for: the devices that were added, and keys that are addresses themselves.
/// May be used from any thread.
class DeviceRegistry
{
public:
    enum class Change { Refused, Added, Replaced };

    /// Makes a device known or gives it another endpoint. Refused when the key or the endpoint is invalid; @p
    /// reason then says why, without a secret.
    Change add(const QString& deviceKey, const DeviceEndpoint& endpoint, QString& error);
    /// @return whether the device was known.
    bool remove(const QString& deviceKey);
    /// The keys of the added devices, sorted.
    QStringList keys() const;
    /// The added devices.
    QList<std::shared_ptr<const Device>> devices() const;
    /// The device that @p deviceKey stands for, null when it stands for none. The same key gives the same
    /// pointer until its endpoint changes.
    std::shared_ptr<const Device> find(const QString& deviceKey) const;

private:
    mutable std::mutex m_mutex; ///< guards all below
    QMap<QString, std::shared_ptr<const Device>> m_added;
    /// Keys that were made known once. One that was removed since is no address, whatever it looks like: its
    /// requests must not go out to another port or without the login.
    QSet<QString> m_everAdded;
    mutable QHash<QString, std::shared_ptr<const Device>> m_addresses; ///< keys that are addresses, bounded
};

} // namespace Krelm::Communicator::HttpDevice

#endif
