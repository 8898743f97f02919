// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_ROUTE_H
#define SIMULATOR_ROUTES_ROUTE_H

#include <simulator/coefficients.h>
#include <tessel/pushevents.h>

#include <optional>
#include <string>
#include <vector>

namespace Tessel::Simulator {

/// Verbs of the device API, combined by |. HEAD goes with Get; OPTIONS is always answered.
enum Verb : unsigned { Get = 1, Put = 2, Post = 4, Delete = 8 };
using Verbs = unsigned;

/// The resource family that a route belongs to: each has its list of instances.
enum class Family { Device, Screen, Cabinet, Input, Output, Pipeline, Channel };
constexpr std::size_t familyCount = 7;

/// What a route addresses.
enum class Scope {
    Value,      ///< one value of the device, such as "/device/monitor/state"
    Collection, ///< all instances of a family: "/device/cabinet"
    Instance,   ///< one instance: "/device/pipeline/{id}"
    Property,   ///< one property of one instance: "/device/cabinet/{id}/brightness"
    Plural,     ///< one property of all instances: "/device/cabinet/brightness"
    Firmware    ///< a firmware file for download
};

/// What is special about the value at a route.
enum class SpecialValue {
    None,              ///< starts with what the table of plain values says
    CapabilityVersion, ///< follows from the protocol
    AllReceivingCards, ///< those of every cabinet
    ReceivingCards,    ///< those of a cabinet
    CabinetBaseInfo,   ///< follows from the cabinet's record
    MonitorData,       ///< measured anew with each reading, as the next two
    MonitorHistory,
    MonitorLogs,
    UpdateProgress, ///< advances with each reading while an update runs
    Lock            ///< PUT locks and DELETE unlocks, whatever the body says
};

/// Whether the value at such a route is made for the wall rather than taken from the table of plain ones.
constexpr bool isGenerated(SpecialValue value)
{
    return value >= SpecialValue::CapabilityVersion && value <= SpecialValue::MonitorLogs;
}

/// Whether the value at such a route differs from measurement to measurement.
constexpr bool isMeasured(SpecialValue value)
{
    return value >= SpecialValue::MonitorData && value <= SpecialValue::MonitorLogs;
}

/// What a write to a route does besides storing its body.
enum class WriteEffect {
    None,
    NameDevice,         ///< takes `name` for `customName`
    NameScreen,         ///< takes `name` for `screenName`, which goes into the screen's record as well
    UpdateController,   ///< begins the controller's firmware update
    UploadCardFirmware, ///< keeps the file and begins the receiving cards' update
    LoadCardFirmware,   ///< has the cards take the file that was kept, and begins their update
    SelfTest,           ///< answers with a result
    ResetInputBackup,   ///< the backup of the input is off
    DisableTestPattern  ///< the test pattern of the screen is off
};

/// What a write to a route does to the coefficients of the cabinets concerned.
struct CoefficientAction
{
    enum class Step { Copy, Clear, Show };

    Step step;
    CoefficientKind kind;
    CoefficientBank from; ///< of a copy; what is cleared or shown
    CoefficientBank to;   ///< of a copy
};

/// One path of the device API.
struct Route
{
    std::string pattern;           ///< "/api/v1/device/cabinet/{id}/brightness"
    std::vector<std::string> keys; ///< route keys that share the path
    std::string property; ///< "/device/cabinet/brightness": one name for the singular and the plural route
    Family family = Family::Device;
    Scope scope = Scope::Value;
    Verbs verbs = Get | Put;
    bool takesFiles = false;      ///< bodies that are no JSON are welcome
    bool multiScreenOnly = false; ///< controllers with one screen lack it
    SpecialValue value = SpecialValue::None;
    WriteEffect effect = WriteEffect::None;
    std::optional<PushEvent> nameEvent;                ///< pushed with the new name, before changeEvent
    std::optional<PushEvent> changeEvent;              ///< pushed when a write changed something
    std::optional<CoefficientKind> coefficients;       ///< the kind whose tables are written and read here
    std::vector<CoefficientAction> coefficientActions; ///< in their order
};

} // namespace Tessel::Simulator

#endif
