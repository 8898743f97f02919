// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_DEVICES_H
#define TESSELCTL_REQUESTS_DEVICES_H

#include "tesselctl/terminal/expected.h"

#include <communicator/deviceendpoint.h>

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace TesselCtl {

/// What the command line says of devices. It names where a secret is and never holds one.
struct DeviceSettings
{
    QStringList devices; ///< `address`, `name=address`, or names, patterns and `@group` of the devices file
    QString file;        ///< the devices file; empty for the usual one
    QString login;       ///< empty, or one of loginNames()
    QString user;        ///< for those of loginNamesWithUser()
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

/// A device as the devices file has it. It names where a secret is and never holds one.
struct DeviceEntry
{
    QString name;
    QString address;
    QString site;
    QStringList groups;
    QString login;      ///< empty, or one of loginNames()
    QString user;       ///< for those of loginNamesWithUser()
    QString secretFile; ///< absolute path of the file whose first line is password or token
    QString caFile;     ///< absolute path; see DeviceEndpoint
    QString pinnedKey;  ///< see DeviceEndpoint
    bool insecure = false;
    QString comment;
};

/// Whether a device of the devices file can be called @p name: `--device` has to tell it from the rest.
Expected<void> checkDeviceName(const QString& name);

/// The endpoint of a device of the devices file, without its secret; or what is wrong with it.
Expected<Krelm::Communicator::HttpDevice::DeviceEndpoint> endpointOf(const DeviceEntry& entry);

/// The devices of the devices file, or why it cannot be read. Asked at most once, and only if necessary.
using KnownDevices = std::function<Expected<std::vector<DeviceEntry>>()>;

/// Reads the devices, asking for the secret on the terminal where nothing else gives it. Logins and trust of
/// the settings are for devices given by address, those of @p known have their own. @return at least one, or
/// what is wrong with the settings.
Expected<std::vector<Device>> readDevices(const DeviceSettings& settings, const KnownDevices& known = {});

/// Makes the devices known to the transport.
Expected<void> addDevices(const std::vector<Device>& devices);

/// Makes the transport forget all devices: what is under way ends soon, as aborted. May be called from any
/// thread.
void forgetDevices();

} // namespace TesselCtl

#endif
