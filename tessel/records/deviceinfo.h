// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_DEVICEINFO_H
#define TESSEL_RECORDS_DEVICEINFO_H

#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

#include <QString>

namespace Tessel {

/// The identity of a device. A value; an object must be used by only one thread at a time.
class TESSEL_EXPORT DeviceInfo : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString customName MEMBER customName)
    Q_PROPERTY(QString mac MEMBER mac)
    Q_PROPERTY(QString ip MEMBER ip)
public:
    DeviceInfo();
    /// @cond copies and moves
    DeviceInfo(const DeviceInfo& other);
    DeviceInfo(DeviceInfo&& other) noexcept;
    DeviceInfo& operator=(const DeviceInfo& other);
    DeviceInfo& operator=(DeviceInfo&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~DeviceInfo() override;
    Zeph::Serialize::Serializable* clone() const override;

    QString name;       ///< name given by the manufacturer
    QString customName; ///< name given by the user
    QString mac;        ///< MAC address
    QString ip;         ///< IP address

private:
    // Quirk: Members that nothing uses are part of the layout.
    QString m_reserved;
};

} // namespace Tessel

#endif
