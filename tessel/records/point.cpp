// SPDX-License-Identifier: MIT
#include <tessel/records/point.h>

namespace Tessel {

Point::Point()
    : Serializable(nullptr)
{}

Point::Point(const Point& other) = default;

Point::Point(Point&& other) noexcept = default;

Point& Point::operator=(const Point& other) = default;

Point& Point::operator=(Point&& other) noexcept = default;

const QMetaObject* Point::metaObject() const
{
    return &staticMetaObject;
}

Point::~Point() = default;

Zeph::Serialize::Serializable* Point::clone() const
{
    return new Point(*this);
}

} // namespace Tessel
