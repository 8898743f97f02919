// SPDX-License-Identifier: MIT
#ifndef TESSEL_COEFFICIENTKINDS_H
#define TESSEL_COEFFICIENTKINDS_H

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Tessel {

/// A kind of correction coefficients. Each kind has its own paths and its own tables in the device.
enum class CoefficientKind { Plain, Multilayer, Adaptive, Dynamic, LowGray };

/// A kind and its name on command lines, in the control interface and in documents.
struct CoefficientKindRow
{
    CoefficientKind kind; ///< the kind
    const char* name;     ///< its name
};

inline constexpr std::array coefficientKinds{
    CoefficientKindRow{CoefficientKind::Plain, "plain"},
    CoefficientKindRow{CoefficientKind::Multilayer, "multilayer"},
    CoefficientKindRow{CoefficientKind::Adaptive, "adaptive"},
    CoefficientKindRow{CoefficientKind::Dynamic, "dynamic"},
    CoefficientKindRow{CoefficientKind::LowGray, "lowgray"},
};
inline constexpr std::size_t coefficientKindCount = coefficientKinds.size();

constexpr const CoefficientKindRow& coefficientKindRow(CoefficientKind kind)
{
    // No default label, and std::get, so that the compiler reports an enumerator that is missing here or has
    // no row.
    switch (kind) {
    case CoefficientKind::Plain:
        break;
    case CoefficientKind::Multilayer:
        return std::get<1>(coefficientKinds);
    case CoefficientKind::Adaptive:
        return std::get<2>(coefficientKinds);
    case CoefficientKind::Dynamic:
        return std::get<3>(coefficientKinds);
    case CoefficientKind::LowGray:
        return std::get<4>(coefficientKinds);
    }
    return std::get<0>(coefficientKinds);
}

/// Returns the kind called @p name, compared exactly, or nothing.
constexpr std::optional<CoefficientKind> coefficientKindNamed(std::string_view name)
{
    for (const CoefficientKindRow& row : coefficientKinds) {
        if (name == row.name) {
            return row.kind;
        }
    }
    return std::nullopt;
}

namespace Detail {

constexpr bool coefficientKindsFollowTheEnumerators()
{
    std::size_t index = 0;
    for (const CoefficientKindRow& row : coefficientKinds) {
        if (static_cast<std::size_t>(row.kind) != index++ || coefficientKindRow(row.kind).kind != row.kind) {
            return false;
        }
    }
    return true;
}
static_assert(coefficientKindsFollowTheEnumerators(), "each kind has its row, in the enumerators' order");

} // namespace Detail

} // namespace Tessel

#endif
