// SPDX-License-Identifier: MIT
#ifndef TESSEL_COEFFICIENTKINDS_H
#define TESSEL_COEFFICIENTKINDS_H

#include <cstddef>
#include <optional>
#include <string_view>

namespace Tessel {

/// A kind of correction coefficients: each has paths of its own and a table of its own in the device.
enum class CoefficientKind { Plain, Multilayer, Adaptive, Dynamic, LowGray };

/// A kind and what it is called on command lines, in the control interface and in documents.
struct CoefficientKindRow
{
    CoefficientKind kind;
    const char* name;
};

inline constexpr CoefficientKindRow coefficientKinds[] = {
    {CoefficientKind::Plain, "plain"},       {CoefficientKind::Multilayer, "multilayer"},
    {CoefficientKind::Adaptive, "adaptive"}, {CoefficientKind::Dynamic, "dynamic"},
    {CoefficientKind::LowGray, "lowgray"},
};
inline constexpr std::size_t coefficientKindCount = sizeof coefficientKinds / sizeof coefficientKinds[0];

/// Nothing for a name that no kind has; the comparison is exact.
constexpr std::optional<CoefficientKind> coefficientKindNamed(std::string_view name)
{
    for (const CoefficientKindRow& row : coefficientKinds) {
        if (name == row.name)
            return row.kind;
    }
    return std::nullopt;
}

namespace Detail {

constexpr bool coefficientKindsFollowTheEnumerators()
{
    std::size_t index = 0;
    for (const CoefficientKindRow& row : coefficientKinds) {
        if (static_cast<std::size_t>(row.kind) != index++)
            return false;
    }
    return index == static_cast<std::size_t>(CoefficientKind::LowGray) + 1;
}
static_assert(coefficientKindsFollowTheEnumerators(), "each kind has its row, in the enumerators' order");

} // namespace Detail

} // namespace Tessel

#endif
