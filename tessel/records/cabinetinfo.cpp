// SPDX-License-Identifier: MIT
#include <tessel/records/cabinetinfo.h>

namespace Tessel {

CabinetInfo::CabinetInfo()
    : Serializable(nullptr)
{}

CabinetInfo::CabinetInfo(const CabinetInfo& other) = default;

CabinetInfo::CabinetInfo(CabinetInfo&& other) noexcept = default;

CabinetInfo& CabinetInfo::operator=(const CabinetInfo& other) = default;

CabinetInfo& CabinetInfo::operator=(CabinetInfo&& other) noexcept = default;

const QMetaObject* CabinetInfo::metaObject() const
{
    return &staticMetaObject;
}

CabinetInfo::~CabinetInfo() = default;

Zeph::Serialize::Serializable* CabinetInfo::clone() const
{
    return new CabinetInfo(*this);
}

} // namespace Tessel
