// SPDX-License-Identifier: MIT
#include <tessel/records/size.h>

namespace Tessel {

Size::Size()
    : Serializable(nullptr)
{}

Size::Size(const Size& other) = default;

Size::Size(Size&& other) noexcept = default;

Size& Size::operator=(const Size& other) = default;

Size& Size::operator=(Size&& other) noexcept = default;

const QMetaObject* Size::metaObject() const
{
    return &staticMetaObject;
}

Size::~Size() = default;

Zeph::Serialize::Serializable* Size::clone() const
{
    return new Size(*this);
}

} // namespace Tessel
