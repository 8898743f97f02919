// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_POINT_H
#define TESSEL_RECORDS_POINT_H

#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

namespace Tessel {

/// A position in pixels. A value; an object must be used by only one thread at a time.
/// @warning The integers are uninitialised until assigned or deserialized.
class TESSEL_EXPORT Point : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(int x MEMBER x)
    Q_PROPERTY(int y MEMBER y)
public:
    Point();
    /// @cond copies and moves
    Point(const Point& other);
    Point(Point&& other) noexcept;
    Point& operator=(const Point& other);
    Point& operator=(Point&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~Point() override;
    Zeph::Serialize::Serializable* clone() const override;

    // Quirk: The integers of a record are unset until assigned.
    int x; ///< pixels from the left edge
    int y; ///< pixels from the top edge
};

} // namespace Tessel

#endif
