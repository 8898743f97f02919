// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICEREGISTRY_H
#define COMMUNICATOR_DEVICEREGISTRY_H

#include "communicator/deviceendpoint.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// Where a device is and how one logs in there; never changes. A device that gets another address is another
/// Device.
struct Device
{
    QString key;
    DeviceEndpoint endpoint;
    QByteArray baseUrl; ///< without a trailing slash
    bool hasLogin = false;
};

/// What device keys stand for: the devices that were added, and keys that are addresses themselves.
/// May be used from any thread.
class DeviceRegistry
{
public:
    enum class Change { Refused, Added, Replaced };

    /// Makes a device known or gives it another endpoint. Refused when the key or the endpoint is invalid; @p
    /// reason then says why, without a secret.
    Change add(const QString& deviceKey, const DeviceEndpoint& endpoint, QString& reason);
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
    mutable std::mutex m_mutex; ///< guards both maps
    QMap<QString, std::shared_ptr<const Device>> m_added;
    mutable QHash<QString, std::shared_ptr<const Device>> m_addresses; ///< keys that are addresses, bounded
};

} // namespace Krelm::Communicator::HttpDevice

#endif
