// SPDX-License-Identifier: MIT
#include <tessel/records/deviceinfo.h>

namespace Tessel {

DeviceInfo::DeviceInfo()
    : Serializable(nullptr)
{}

DeviceInfo::DeviceInfo(const DeviceInfo& other) = default;

DeviceInfo::DeviceInfo(DeviceInfo&& other) noexcept = default;

DeviceInfo& DeviceInfo::operator=(const DeviceInfo& other) = default;

DeviceInfo& DeviceInfo::operator=(DeviceInfo&& other) noexcept = default;

const QMetaObject* DeviceInfo::metaObject() const
{
    return &staticMetaObject;
}

DeviceInfo::~DeviceInfo() = default;

Zeph::Serialize::Serializable* DeviceInfo::clone() const
{
    return new DeviceInfo(*this);
}

} // namespace Tessel
