// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_CABINETINFO_H
#define TESSEL_RECORDS_CABINETINFO_H

#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

#include <QString>

namespace Tessel {

/// One cabinet of a device. Its integers are unset until assigned or deserialized. A value: one object is
/// used by one thread at a time.
class TESSEL_EXPORT CabinetInfo : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString version MEMBER version)
    Q_PROPERTY(int outputId MEMBER outputId)
    Q_PROPERTY(int moduleCount MEMBER moduleCount)
    Q_PROPERTY(int weight MEMBER weight)
    Q_PROPERTY(int power MEMBER power)
    Q_PROPERTY(int voltage MEMBER voltage)
public:
    CabinetInfo();
    /// @cond copies and moves
    CabinetInfo(const CabinetInfo& other);
    CabinetInfo(CabinetInfo&& other) noexcept;
    CabinetInfo& operator=(const CabinetInfo& other);
    CabinetInfo& operator=(CabinetInfo&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~CabinetInfo() override;
    Zeph::Serialize::Serializable* clone() const override;

    QString id;      ///< cabinet id
    QString version; ///< version string
    // Quirk: The integers of a record are unset until assigned.
    // Quirk: A cabinet's output is outputID in maps and outputId in the record.
    int outputId;    ///< output that carries the cabinet
    int moduleCount; ///< modules in the cabinet
    int weight;      ///< weight
    int power;       ///< power
    int voltage;     ///< voltage
};

} // namespace Tessel

#endif
