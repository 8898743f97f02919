// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_CABINETINFO_H
#define TESSEL_RECORDS_CABINETINFO_H

#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

#include <QString>

namespace Tessel {

/// A cabinet of a device. A value; an object must be used by only one thread at a time.
/// @warning The integers are uninitialised until assigned or deserialized.
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

    QString id;      ///< id of the cabinet
    QString version; ///< version of the cabinet, as the device reports it
    // Quirk: The integers of a record are unset until assigned.
    // Quirk: A cabinet's output is outputID in maps and outputId in the record.
    int outputId;    ///< id of the output to which the cabinet is connected
    int moduleCount; ///< number of modules in the cabinet
    int weight;      ///< weight, in the device's unit
    int power;       ///< power consumption, in the device's unit
    int voltage;     ///< voltage, in the device's unit
};

} // namespace Tessel

#endif
