// SPDX-License-Identifier: MIT
#include <tessel/records/coeffsdata.h>

CoeffsData::CoeffsData()
    : Serializable(nullptr)
{}

CoeffsData::CoeffsData(const CoeffsData& other) = default;

CoeffsData::CoeffsData(CoeffsData&& other) noexcept = default;

CoeffsData& CoeffsData::operator=(const CoeffsData& other) = default;

CoeffsData& CoeffsData::operator=(CoeffsData&& other) noexcept = default;

const QMetaObject* CoeffsData::metaObject() const
{
    return &staticMetaObject;
}

CoeffsData::~CoeffsData() = default;

Zeph::Serialize::Serializable* CoeffsData::clone() const
{
    return new CoeffsData(*this);
}
