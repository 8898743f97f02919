// SPDX-License-Identifier: MIT
#ifndef TESSEL_WARNINGTYPES_H
#define TESSEL_WARNINGTYPES_H

#include <tessel/pushevents.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Tessel {

/// The warnings of a device's monitoring service. The values of the first three are the `type` of
/// `UrlResource::MonitorInfo::signal_tqWarningReport()`.
enum class WarningType { FanSpeed = 0, Voltage = 1, Temperature = 2, Output, Cabinet };

/// A type of warning and the event that reports it.
struct WarningRow
{
    WarningType type; ///< the type
    PushEvent event;  ///< the event that tells of it

    /// The `eventType` of its event, which is also its name everywhere else.
    constexpr const char* name() const { return eventRow(event).text.kind.text; }
};

inline constexpr std::array warningRows{
    WarningRow{WarningType::FanSpeed, PushEvent::FanSpeed},
    WarningRow{WarningType::Voltage, PushEvent::Voltage},
    WarningRow{WarningType::Temperature, PushEvent::Temperature},
    WarningRow{WarningType::Output, PushEvent::OutputState},
    WarningRow{WarningType::Cabinet, PushEvent::CabinetWarning},
};

/// Returns the type called @p name, compared exactly, or nothing.
constexpr std::optional<WarningType> warningTypeNamed(std::string_view name)
{
    for (const WarningRow& row : warningRows) {
        if (name == row.name()) {
            return row.type;
        }
    }
    return std::nullopt;
}

constexpr const WarningRow& warningRow(WarningType type)
{
    // No default label, and std::get, so that the compiler reports an enumerator that is missing here or has
    // no row.
    switch (type) {
    case WarningType::FanSpeed:
        break;
    case WarningType::Voltage:
        return std::get<1>(warningRows);
    case WarningType::Temperature:
        return std::get<2>(warningRows);
    case WarningType::Output:
        return std::get<3>(warningRows);
    case WarningType::Cabinet:
        return std::get<4>(warningRows);
    }
    return std::get<0>(warningRows);
}

namespace Detail {

constexpr bool warningRowsFollowTheEnumerators()
{
    std::size_t index = 0;
    for (const WarningRow& row : warningRows) {
        if (static_cast<std::size_t>(row.type) != index++ || warningRow(row.type).type != row.type) {
            return false;
        }
    }
    return true;
}
static_assert(warningRowsFollowTheEnumerators(), "each WarningType has its row, in the enumerators' order");

} // namespace Detail

} // namespace Tessel

#endif
