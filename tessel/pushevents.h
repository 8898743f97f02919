// SPDX-License-Identifier: MIT
#ifndef TESSEL_PUSHEVENTS_H
#define TESSEL_PUSHEVENTS_H

#include <cstddef>

namespace Tessel {

/// The form of a pushed event's JSON object.
enum class EventForm {
    Change,  ///< `dataType` is "change", and `changeTag` says what has changed
    Name,    ///< `dataType` says what was renamed, and `name` is the new name
    Envelope ///< `eventSender` and `eventType`, with the payload in `eventData`
};

/// The events to which operators react.
enum class PushEvent {
    HwInfo,
    CustomName,
    Screens,
    ScreenTags,
    ScreenName,
    Inputs,
    Outputs,
    Pipelines,
    Cabinets,
    CabinetFlags,
    FanSpeed,
    Voltage,
    Temperature,
    OutputState,
    CabinetWarning,
    Count ///< not an event, but their number
};

/// The members of an event's JSON object.
struct EventText
{
    /// One member of the object. Null twice: there is none.
    struct Member
    {
        const char* key = nullptr;  ///< its key
        const char* text = nullptr; ///< its value, a string
    };

    EventForm form;      ///< which members there are
    Member source;       ///< `dataType` or `eventSender`
    Member kind;         ///< `changeTag` or `eventType`; none in EventForm::Name
    const char* payload; ///< the key of the member with further data; null if there is none
};

/// The description of an event. Event handlers, simulator, tests and documents all use these rows.
struct EventRow
{
    /// An operator's reaction to the event; null for no fetch or no signal.
    struct Effect
    {
        const char* routeKey = nullptr; ///< the route key of the list that is fetched
        const char* signal = nullptr;   ///< the signal that is emitted, after the fetch if there is one
    };

    PushEvent event;           ///< the event
    EventText text;            ///< what a device sends
    const char* operatorClass; ///< the class that reacts to it, without its namespace
    Effect effects[2];         ///< in order; most events have one
};

namespace Detail {

constexpr EventText change(const char* tag, const char* payload = nullptr)
{
    return {EventForm::Change, {"dataType", "change"}, {"changeTag", tag}, payload};
}

// Devices capitalise the members of one event.
constexpr EventText capitalisedChange(const char* tag)
{
    return {EventForm::Change, {"DataType", "Change"}, {"ChangeTag", tag}, nullptr};
}

constexpr EventText newName(const char* type)
{
    return {EventForm::Name, {"dataType", type}, {}, "name"};
}

constexpr EventText envelope(const char* sender, const char* type)
{
    return {EventForm::Envelope, {"eventSender", sender}, {"eventType", type}, "eventData"};
}

} // namespace Detail

inline constexpr EventRow eventRows[] = {
    {PushEvent::HwInfo,
     Detail::change("hwInfo"),
     "HWInfo",
     {{"Device_Hwinfo", "signal_sendDataChanged"}, {}}},
    {PushEvent::CustomName,
     Detail::newName("customNameChange"),
     "HWInfo",
     {{nullptr, "signal_customNameChanged"}, {}}},
    {PushEvent::Screens,
     Detail::change("screensInfo"),
     "ScreenInfo",
     {{"Device_AllScreens", "signal_screenDataChanged"}, {}}},
    {PushEvent::ScreenTags,
     Detail::change("screensTagInfo"),
     "ScreenInfo",
     {{"ScreenHwScreenTag", "signal_screenTagChanged"}, {}}},
    {PushEvent::ScreenName,
     Detail::newName("screenName"),
     "ScreenInfo",
     {{nullptr, "signal_screenNameChanged"}, {}}},
    {PushEvent::Inputs,
     Detail::change("inputsInfo", "changeInputId"),
     "InputInfo",
     {{"Device_AllInputs", "signal_sendDataChanged"}, {}}},
    {PushEvent::Outputs,
     Detail::change("outputsInfo"),
     "OutputInfoOperator",
     {{"Device_AllOutputsInfo", nullptr}, {}}},
    {PushEvent::Pipelines,
     // Quirk: The event of pipelines has capitals of its own.
     Detail::capitalisedChange("PipeLineInfo"),
     "PipeInfo",
     {{"Device_Pipes", "signal_sendDataChanged"}, {}}},
    {PushEvent::Cabinets,
     Detail::envelope("cabinet", "cabinetsChange"),
     "CabinetInfoOperator",
     {{"Device_AllCabinetsInfo", "signal_sendDataChanged"}, {"Device_RvCards", "signal_rvCardsInfoChanged"}}},
    {PushEvent::CabinetFlags,
     Detail::envelope("cabinet", "allFlags"),
     "CabinetInfoOperator",
     {{"Device_AllCabinetsInfo", "signal_sendCountChanged"}, {}}},
    {PushEvent::FanSpeed,
     Detail::envelope("monitor", "fanSpeed"),
     "MonitorInfo",
     {{nullptr, "signal_tqWarningReport"}, {}}},
    {PushEvent::Voltage,
     Detail::envelope("monitor", "voltage"),
     "MonitorInfo",
     {{nullptr, "signal_tqWarningReport"}, {}}},
    {PushEvent::Temperature,
     Detail::envelope("monitor", "temperature"),
     "MonitorInfo",
     {{nullptr, "signal_tqWarningReport"}, {}}},
    {PushEvent::OutputState,
     Detail::envelope("monitor", "outputChange"),
     "MonitorInfo",
     {{nullptr, "signal_tqOutputStateChanged"}, {}}},
    {PushEvent::CabinetWarning,
     Detail::envelope("monitor", "cabinet"),
     "MonitorInfo",
     {{nullptr, "signal_cabinetWarningReport"}, {}}},
};

inline constexpr const EventRow& eventRow(PushEvent event)
{
    return eventRows[static_cast<std::size_t>(event)];
}

namespace Detail {

constexpr bool eventRowsFollowTheEnumerators()
{
    std::size_t index = 0;
    for (const EventRow& row : eventRows) {
        if (static_cast<std::size_t>(row.event) != index++) {
            return false;
        }
    }
    return index == static_cast<std::size_t>(PushEvent::Count);
}
static_assert(eventRowsFollowTheEnumerators(), "each PushEvent has its row, in the enumerators' order");

} // namespace Detail

} // namespace Tessel

#endif
