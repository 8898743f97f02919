// SPDX-License-Identifier: MIT
#include <tessel/records/screensinfo.h>

#include <tessel/serializing/nested.h>

namespace Tessel {

ScreensInfo::ScreensInfo()
    : Serializable(nullptr)
{}

ScreensInfo::ScreensInfo(const ScreensInfo& other) = default;

ScreensInfo::ScreensInfo(ScreensInfo&& other) noexcept = default;

ScreensInfo& ScreensInfo::operator=(const ScreensInfo& other) = default;

ScreensInfo& ScreensInfo::operator=(ScreensInfo&& other) noexcept = default;

const QMetaObject* ScreensInfo::metaObject() const
{
    return &staticMetaObject;
}

ScreensInfo::~ScreensInfo() = default;

Zeph::Serialize::Serializable* ScreensInfo::clone() const
{
    return new ScreensInfo(*this);
}

QVariant ScreensInfo::_getsubScreenssubScreens() const
{
    return packListByAttribute(serializeAll(subScreens, attribute()),
                               SubScreenInfo::staticMetaObject.className());
}

void ScreensInfo::_setsubScreenssubScreens(const QVariant& value)
{
    subScreens = deserializeAll<SubScreenInfo>(
        unpackListByAttribute(value, SubScreenInfo::staticMetaObject.className()), attribute());
}

} // namespace Tessel
