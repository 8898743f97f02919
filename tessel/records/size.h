// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_SIZE_H
#define TESSEL_RECORDS_SIZE_H

#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

namespace Tessel {

/// A size in pixels. A value; an object must be used by only one thread at a time.
/// @warning The integers are uninitialised until assigned or deserialized.
class TESSEL_EXPORT Size : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(int width MEMBER width)
    Q_PROPERTY(int height MEMBER height)
public:
    Size();
    /// @cond copies and moves
    Size(const Size& other);
    Size(Size&& other) noexcept;
    Size& operator=(const Size& other);
    Size& operator=(Size&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~Size() override;
    Zeph::Serialize::Serializable* clone() const override;

    // Quirk: The integers of a record are unset until assigned.
    int width;  ///< width in pixels
    int height; ///< height in pixels
};

} // namespace Tessel

#endif
