// SPDX-License-Identifier: MIT
#include <tessel/records/subscreeninfo.h>

#include <tessel/serializing/nested.h>

namespace Tessel {

SubScreenInfo::SubScreenInfo()
    : Serializable(nullptr)
{}

SubScreenInfo::SubScreenInfo(const SubScreenInfo& other) = default;

SubScreenInfo::SubScreenInfo(SubScreenInfo&& other) noexcept = default;

SubScreenInfo& SubScreenInfo::operator=(const SubScreenInfo& other) = default;

SubScreenInfo& SubScreenInfo::operator=(SubScreenInfo&& other) noexcept = default;

const QMetaObject* SubScreenInfo::metaObject() const
{
    return &staticMetaObject;
}

SubScreenInfo::~SubScreenInfo() = default;

Zeph::Serialize::Serializable* SubScreenInfo::clone() const
{
    return new SubScreenInfo(*this);
}

QVariant SubScreenInfo::_getpostionpostion() const
{
    return packObjByAttribute(postion.serialize(attribute()));
}

void SubScreenInfo::_setpostionpostion(const QVariant& value)
{
    postion.deserialize(unpackObjByAttribute(value), attribute());
}

QVariant SubScreenInfo::_getsizesize() const
{
    return packObjByAttribute(size.serialize(attribute()));
}

void SubScreenInfo::_setsizesize(const QVariant& value)
{
    size.deserialize(unpackObjByAttribute(value), attribute());
}

QVariant SubScreenInfo::_getcabinetscabinets() const
{
    return packListByAttribute(serializeAll(cabinets, attribute()),
                               CabinetInfo::staticMetaObject.className());
}

void SubScreenInfo::_setcabinetscabinets(const QVariant& value)
{
    cabinets = deserializeAll<CabinetInfo>(
        unpackListByAttribute(value, CabinetInfo::staticMetaObject.className()), attribute());
}

} // namespace Tessel
