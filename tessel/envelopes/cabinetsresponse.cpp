// SPDX-License-Identifier: MIT
#include <tessel/envelopes/cabinetsresponse.h>

#include <tessel/serializing/nested.h>

namespace Tessel {

CabinetsResponse::CabinetsResponse() = default;

CabinetsResponse::CabinetsResponse(const CabinetsResponse& other) = default;

CabinetsResponse::CabinetsResponse(CabinetsResponse&& other) noexcept = default;

CabinetsResponse& CabinetsResponse::operator=(const CabinetsResponse& other) = default;

CabinetsResponse& CabinetsResponse::operator=(CabinetsResponse&& other) noexcept = default;

const QMetaObject* CabinetsResponse::metaObject() const
{
    return &staticMetaObject;
}

CabinetsResponse::~CabinetsResponse() = default;

Zeph::Serialize::Serializable* CabinetsResponse::clone() const
{
    return new CabinetsResponse(*this);
}

QVariant CabinetsResponse::_getdatadata() const
{
    return packListByAttribute(serializeAll(data, attribute()), CabinetInfo::staticMetaObject.className());
}

void CabinetsResponse::_setdatadata(const QVariant& value)
{
    data = deserializeAll<CabinetInfo>(
        unpackListByAttribute(value, CabinetInfo::staticMetaObject.className()), attribute());
}

} // namespace Tessel
