// SPDX-License-Identifier: MIT
#ifndef TESSEL_WARNINGTYPES_H
#define TESSEL_WARNINGTYPES_H

#include <tessel/pushevents.h>

#include <optional>
#include <string_view>

namespace Tessel {

/// What the monitoring service of a device warns of. The first three are the `type` of
/// `UrlResource::MonitorInfo::signal_tqWarningReport()`.
enum class WarningType { FanSpeed = 0, Voltage = 1, Temperature = 2, Output, Cabinet };

/// A type of warning and the event that tells of it.
struct WarningRow
{
    WarningType type;
    PushEvent event;

    /// The `eventType` of its event, and its name everywhere else.
    constexpr const char* name() const { return eventRow(event).text.kind.text; }
};

inline constexpr WarningRow warningRows[] = {
    {WarningType::FanSpeed, PushEvent::FanSpeed},       {WarningType::Voltage, PushEvent::Voltage},
    {WarningType::Temperature, PushEvent::Temperature}, {WarningType::Output, PushEvent::OutputState},
    {WarningType::Cabinet, PushEvent::CabinetWarning},
};

/// Nothing for a name that no type has; the comparison is exact.
constexpr std::optional<WarningType> warningTypeNamed(std::string_view name)
{
    for (const WarningRow& row : warningRows) {
        if (name == row.name())
            return row.type;
    }
    return std::nullopt;
}

constexpr const WarningRow& warningRow(WarningType type)
{
    return warningRows[static_cast<std::size_t>(type)];
}

namespace Detail {

constexpr bool warningRowsFollowTheEnumerators()
{
    std::size_t index = 0;
    for (const WarningRow& row : warningRows) {
        if (static_cast<std::size_t>(row.type) != index++)
            return false;
    }
    return index == static_cast<std::size_t>(WarningType::Cabinet) + 1;
}
static_assert(warningRowsFollowTheEnumerators(), "each WarningType has its row, in the enumerators' order");

} // namespace Detail

} // namespace Tessel

#endif
