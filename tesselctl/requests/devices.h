// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_DEVICES_H
#define TESSELCTL_REQUESTS_DEVICES_H

#include "tesselctl/terminal/expected.h"

#include <communicator/deviceendpoint.h>

#include <QString>
#include <QStringList>

#include <vector>

namespace TesselCtl {

/// What the command line says of devices. It names where a secret is and never holds one.
struct DeviceSettings
{
    QStringList devices;    ///< `address` or `name=address`
    QString login;          ///< empty, or one of loginNames()
    QString user;           ///< for those of loginNamesWithUser()
    QString secretVariable; ///< environment variable that holds password or token
    QString secretFile;     ///< file whose first line is password or token
    QString caFile;         ///< see DeviceEndpoint
    QString pinnedKey;      ///< see DeviceEndpoint
    bool insecure = false;  ///< accept any certificate
};

/// What --login takes.
QStringList loginNames();

/// Those of loginNames() that need --user.
QStringList loginNamesWithUser();

/// A device under the name that output and trace use.
struct Device
{
    QString name; ///< the key in the transport
    Krelm::Communicator::HttpDevice::DeviceEndpoint endpoint;
};

/// Reads the devices, asking for the secret on the terminal where nothing else gives it. @return at least
/// one, or what is wrong with the settings.
Expected<std::vector<Device>> readDevices(const DeviceSettings& settings);

/// Makes the devices known to the transport.
Expected<void> addDevices(const std::vector<Device>& devices);

/// Makes the transport forget all devices: what is under way ends soon, as aborted. May be called from any
/// thread.
void forgetDevices();

} // namespace TesselCtl

#endif
