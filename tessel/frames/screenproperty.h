// SPDX-License-Identifier: MIT
//
// Names and types of a screen's cached properties.
#ifndef TESSEL_FRAMES_SCREENPROPERTY_H
#define TESSEL_FRAMES_SCREENPROPERTY_H

#include <QVariant>

namespace Tessel {

/// A cached property of a screen.
struct ScreenProperty
{
    const char* name;                  ///< its name in the device's bodies and in the caller's output
    QVariant (*read)(const QVariant&); ///< converts the value to its type; a missing one becomes zero
    const char* cacheKey;              ///< its key in the cache, where the device's names would collide
};

template <class T>
QVariant readAs(const QVariant& value)
{
    return QVariant::fromValue(value.value<T>());
}

// Stored by reads and by writes.
inline constexpr ScreenProperty xbit{"enable", readAs<bool>, "xbit"};
inline constexpr ScreenProperty gamut{"gamut", readAs<uint>, "gamut"};
inline constexpr ScreenProperty lowLatency{"enable", readAs<bool>, "lowLatency"};
inline constexpr ScreenProperty uniformDisplay{"enable", readAs<bool>, "uniformDisplay"};

} // namespace Tessel

#endif
