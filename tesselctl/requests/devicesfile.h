// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_DEVICESFILE_H
#define TESSELCTL_REQUESTS_DEVICESFILE_H

#include "tesselctl/requests/devices.h"

#include <QByteArray>

namespace TesselCtl {

/// The content of a devices file: one TOML table `[devices.NAME]` for each device. Used by one thread at a
/// time.
class DevicesFile
{
public:
    /// Where it is: @p named if that is not empty, else what the environment variable TESSELCTL_DEVICES
    /// names, else `tesselctl/devices.toml` in the user's folder of configurations.
    static QString pathFor(const QString& named);
    /// Whether @p named or the environment names a file, which has to exist then.
    static bool isNamed(const QString& named);

    /// Reads the file @p path. One that does not exist is empty, unless it has to exist. @return the content,
    /// or what is wrong with it and in which line.
    static Expected<DevicesFile> read(const QString& path, bool mustExist);

    const QString& path() const { return m_path; }
    /// The devices, in their order in the file.
    const std::vector<DeviceEntry>& devices() const { return m_devices; }

    /// Adds a device at the end of the file, which it changes at once; everything else in it stays as it is.
    /// The file is replaced as a whole or left unchanged.
    Expected<void> add(const DeviceEntry& device);
    /// The same for removing the devices @p names, all or none.
    Expected<void> remove(const QStringList& names);

private:
    /// @p names: those of the devices that @p text is to have.
    Expected<void> replaceBy(const QByteArray& text, const QStringList& names);

    QString m_path;
    QByteArray m_text;
    std::vector<DeviceEntry> m_devices;
};

/// The devices of the file that @p settings name, for readDevices().
KnownDevices knownDevices(const DeviceSettings& settings);

} // namespace TesselCtl

#endif
