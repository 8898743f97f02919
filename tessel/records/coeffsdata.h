// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_COEFFSDATA_H
#define TESSEL_RECORDS_COEFFSDATA_H

#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

#include <QByteArray>
#include <QRect>

/// A block of correction coefficients. A value; an object must be used by only one thread at a time.
class TESSEL_EXPORT CoeffsData : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QRect rect MEMBER rect)
    Q_PROPERTY(QByteArray data MEMBER data)
public:
    CoeffsData();
    /// @cond copies and moves
    CoeffsData(const CoeffsData& other);
    CoeffsData(CoeffsData&& other) noexcept;
    CoeffsData& operator=(const CoeffsData& other);
    CoeffsData& operator=(CoeffsData&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~CoeffsData() override;
    Zeph::Serialize::Serializable* clone() const override;

    QRect rect;      ///< the region to which the block applies
    QByteArray data; ///< the coefficients
};

#endif
