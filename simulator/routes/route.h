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

/// The resource family to which a route belongs; each family has its list of instances.
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

/// Special behaviour of the value at a route.
enum class SpecialValue {
    None,              ///< starts with its entry in the table of plain values
    CapabilityVersion, ///< depends on the protocol
    AllReceivingCards, ///< the receiving cards of all cabinets
    ReceivingCards,    ///< the receiving cards of one cabinet
    CabinetBaseInfo,   ///< derived from the cabinet's record
    MonitorData,       ///< measured again on each read, like the next two
    MonitorHistory,
    MonitorLogs,
    UpdateProgress, ///< advances on each read while an update runs
    Lock            ///< PUT locks and DELETE unlocks, whatever the body contains
};

/// Whether the value at such a route is generated from the wall rather than taken from the table of plain
/// ones.
constexpr bool isGenerated(SpecialValue value)
{
    return value >= SpecialValue::CapabilityVersion && value <= SpecialValue::MonitorLogs;
}

/// Whether the value at such a route differs from measurement to measurement.
constexpr bool isMeasured(SpecialValue value)
{
    return value >= SpecialValue::MonitorData && value <= SpecialValue::MonitorLogs;
}

/// The effect of a write to a route, apart from storing its body.
enum class WriteEffect {
    None,
    NameDevice,         ///< stores `name` as `customName`
    NameScreen,         ///< stores `name` as `screenName`, also in the screen's record
    UpdateController,   ///< starts the controller's firmware update
    UploadCardFirmware, ///< stores the file and starts the receiving cards' update
    LoadCardFirmware,   ///< makes the cards load the stored file, and starts their update
    SelfTest,           ///< replies with a result
    ResetInputBackup,   ///< turns the input's backup off
    DisableTestPattern  ///< turns the screen's test pattern off
};

/// The effect of a write to a route on the coefficients of the cabinets concerned.
struct CoefficientAction
{
    enum class Step { Copy, Clear, Show };

    Step step;
    CoefficientKind kind;
    CoefficientBank from; ///< the source of a copy, or the bank to clear or show
    CoefficientBank to;   ///< the destination of a copy
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
    bool takesFiles = false;      ///< accepts bodies that are not JSON
    bool multiScreenOnly = false; ///< missing in the single-screen protocol
    SpecialValue value = SpecialValue::None;
    WriteEffect effect = WriteEffect::None;
    std::optional<PushEvent> nameEvent;                ///< pushed with the new name, before changeEvent
    std::optional<PushEvent> changeEvent;              ///< pushed when a write has changed something
    std::optional<CoefficientKind> coefficients;       ///< the kind whose tables this route reads and writes
    std::vector<CoefficientAction> coefficientActions; ///< in order
};

} // namespace Tessel::Simulator

#endif
