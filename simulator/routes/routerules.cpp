// SPDX-License-Identifier: MIT
#include <simulator/routes/routerules.h>

#include <simulator/text/texttools.h>

#include <algorithm>
#include <string_view>

namespace Tessel::Simulator {
namespace {

// Every route answers GET and PUT, except these.
struct VerbException
{
    std::string_view key;
    Verbs verbs;
};
constexpr VerbException verbExceptions[] = {
    {"Device_AllScreens", Get | Put | Post},
    {"Device_Version", Get | Put | Post},
    {"Device_lock", Get | Put | Delete},
    // Read-only:
    {"Device_Protoc", Get},
    {"Device_Capability_Protoc", Get},
    {"Device_HwUpdateProgress", Get},
    {"Device_RvCardUpdateProg", Get},
    {"Device_RvCardFirmware", Get},
    {"Device_RvCards", Get},
    {"Device_RxsInfo", Get},
    {"Device_CabinetRecvCards", Get},
    {"Device_S_AllCabChip", Get},
    {"Device_S_CabRecvName", Get},
    {"Device_S_CabRecvRate", Get},
    {"Device_S_CabSN", Get},
    {"Device_CabinetGammaCurveInfo", Get},
    {"Device_CommunicationDetecterData", Get},
    {"Device_DisplayGainData", Get},
    {"Device_CabinetBrightnessRange", Get},
    {"Cabinet_MaxLoadedPixel", Get},
    {"Device_Correction_flashcheckcode", Get},
    {"Device_Signal", Get},
    {"ScreenGammaCurve", Get},
    {"ScreenNiccState", Get},
    {"Capability_AllChipType", Get},
    {"Capability_RowDecodeType", Get},
    {"MonitorData", Get},
    {"MonitorHistory", Get},
    {"MonitorLog", Get},
    {"MonitorState", Get},
};

// Routes that take files: multipart forms or plain bytes.
constexpr std::string_view fileRoutes[] = {
    "Device_BackGroundPicture",    "Device_EnterHwMode",        "Device_HwUpdate",
    "Device_NoSignalImage",        "Device_TestImagePath",      "Device_Multi_Prestoreimage",
    "Device_Single_Prestoreimage", "Device_RvCardUpdate",       "Device_RvCardUpdateLoad",
    "Device_PipePrestoreImage",    "ScreenPrestoreImageApplay", "ScreenNiccFile",
};

struct FamilyPrefix
{
    std::string_view path;
    Family family;
};
constexpr FamilyPrefix familyPrefixes[] = {
    {"/device/cabinet", Family::Cabinet},
    {"/device/factoryop/cabinets", Family::Cabinet},
    {"/device/correctionop/cabinets", Family::Cabinet},
    {"/device/monitor/cabinet", Family::Cabinet},
    {"/device/screen", Family::Screen},
    {"/device/correctionop/screens", Family::Screen},
    {"/device/input", Family::Input},
    {"/device/output", Family::Output},
    {"/device/pipeline", Family::Pipeline},
    {"/device/channel", Family::Channel},
};

// Routes below a plural prefix that are nevertheless values of the device.
constexpr std::string_view deviceValues[] = {
    "/device/cabinet/rvupdate", "/device/cabinet/rvupdateload", "/device/cabinet/rvupdateprogress",
    "/device/cabinet/rxs",      "/device/cabinet/rx",           "/device/output/pipelinemapping",
};

// Routes by property, which the singular and the plural route share.
struct ValueRow
{
    std::string_view property;
    SpecialValue value;
};
constexpr ValueRow specialValues[] = {
    {"/api/capability/version", SpecialValue::CapabilityVersion},
    {"/device/cabinet/rx", SpecialValue::AllReceivingCards},
    {"/device/cabinet/rxs", SpecialValue::ReceivingCards},
    {"/device/cabinet/baseinfo", SpecialValue::CabinetBaseInfo},
    {"/device/monitor/data", SpecialValue::MonitorData},
    {"/device/monitor/cabinet/history", SpecialValue::MonitorHistory},
    {"/device/monitor/logs", SpecialValue::MonitorLogs},
    {"/device/hw/updateprogress", SpecialValue::UpdateProgress},
    {"/device/cabinet/rvupdateprogress", SpecialValue::UpdateProgress},
    {"/device/hw/lock", SpecialValue::Lock},
};

struct EffectRow
{
    std::string_view property;
    WriteEffect effect;
};
constexpr EffectRow writeEffects[] = {
    {"/device/hw/customname", WriteEffect::NameDevice},
    {"/device/screen/name", WriteEffect::NameScreen},
    {"/device/hw/update", WriteEffect::UpdateController},
    {"/device/cabinet/rvupdate", WriteEffect::UploadCardFirmware},
    {"/device/cabinet/rvupdateload", WriteEffect::LoadCardFirmware},
    {"/device/cabinet/selftest/read", WriteEffect::SelfTest},
    {"/device/cabinet/selftest/send", WriteEffect::SelfTest},
    {"/device/input/backup/reset", WriteEffect::ResetInputBackup},
    {"/device/screen/txtestpattern/disable", WriteEffect::DisableTestPattern},
};

// Events that differ from the family's event.
struct ChangeEventRow
{
    std::string_view property;
    PushEvent event;
};
constexpr ChangeEventRow specialChangeEvents[] = {
    {"/device/screen/enable", PushEvent::ScreenTags},
    {"/device/cabinet/flags", PushEvent::CabinetFlags},
    {"/device/cabinet/cabinetflags", PushEvent::CabinetFlags},
    {"/device/cabinet/recvcardflags", PushEvent::CabinetFlags},
    {"/device/cabinet/moduleflags", PushEvent::CabinetFlags},
};

// Writes below these do not change the lists of cabinets and screens.
constexpr std::string_view silentPrefixes[] = {"/device/cabinet/selftest", "/device/correctionop"};

struct TableRow
{
    std::string_view property;
    CoefficientKind kind;
};
constexpr TableRow coefficientTables[] = {
    {"/device/correctionop/cabinets/chroma/coefficient", CoefficientKind::Plain},
    {"/device/correctionop/cabinets/multilayer/coefficient", CoefficientKind::Multilayer},
    {"/device/correctionop/cabinets/adaptive/coefficient", CoefficientKind::Adaptive},
    {"/device/correctionop/cabinets/dynamic/coefficient", CoefficientKind::Dynamic},
    {"/device/correctionop/cabinets/lowgray/coefficient", CoefficientKind::LowGray},
};

using Bank = CoefficientBank;
using Kind = CoefficientKind;
using Step = CoefficientAction::Step;
struct ActionRow
{
    std::string_view property;
    CoefficientAction action;
};
constexpr ActionRow coefficientActions[] = {
    {"/device/correctionop/cabinets/savecoefficient", {Step::Copy, Kind::Plain, Bank::Loaded, Bank::Saved}},
    {"/device/correctionop/screens/usereffectadjustcoeffsave",
     {Step::Copy, Kind::Plain, Bank::Loaded, Bank::Saved}},
    {"/device/correctionop/cabinets/savefactorycoefficient",
     {Step::Copy, Kind::Plain, Bank::Loaded, Bank::Factory}},
    {"/device/correctionop/cabinets/savecoefftomodule",
     {Step::Copy, Kind::Plain, Bank::Loaded, Bank::Module}},
    {"/device/correctionop/cabinets/multilayer/save",
     {Step::Copy, Kind::Multilayer, Bank::Loaded, Bank::Saved}},
    {"/device/correctionop/cabinets/rvcardcoefficient",
     {Step::Copy, Kind::Adaptive, Bank::Loaded, Bank::Saved}},
    {"/device/correctionop/cabinets/lowgray/save", {Step::Copy, Kind::LowGray, Bank::Loaded, Bank::Saved}},
    {"/device/correctionop/cabinets/lowgray/apply/coefficient",
     {Step::Copy, Kind::LowGray, Bank::Loaded, Bank::Applied}},
    {"/device/correctionop/cabinets/loadcoefficient", {Step::Copy, Kind::Plain, Bank::Saved, Bank::Loaded}},
    {"/device/correctionop/cabinets/clearcoefficient", {Step::Clear, Kind::Plain, Bank::Loaded, {}}},
    {"/device/correctionop/cabinets/clearcoefficient", {Step::Clear, Kind::Plain, Bank::Saved, {}}},
    {"/device/correctionop/cabinets/clearmodulecoefficient", {Step::Clear, Kind::Plain, Bank::Module, {}}},
    {"/device/correctionop/cabinets/multilayer/clear", {Step::Clear, Kind::Multilayer, Bank::Loaded, {}}},
    {"/device/correctionop/cabinets/multilayer/clear", {Step::Clear, Kind::Multilayer, Bank::Saved, {}}},
    {"/device/correctionop/cabinets/lowgray/clear", {Step::Clear, Kind::LowGray, Bank::Loaded, {}}},
    {"/device/correctionop/cabinets/lowgray/clear", {Step::Clear, Kind::LowGray, Bank::Saved, {}}},
    {"/device/correctionop/cabinets/lowgray/clear", {Step::Clear, Kind::LowGray, Bank::Applied, {}}},
    {"/device/correctionop/cabinets/showcoefficient", {Step::Show, Kind::Plain, Bank::Loaded, {}}},
    {"/device/correctionop/cabinets/showfactorycoefficient", {Step::Show, Kind::Plain, Bank::Factory, {}}},
    {"/device/correctionop/cabinets/showmodulecoefficient", {Step::Show, Kind::Plain, Bank::Module, {}}},
};

template <typename Rows>
const auto* rowOf(const Rows& rows, std::string_view property)
{
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [&](const auto& one) { return one.property == property; });
    return row == std::end(rows) ? nullptr : &*row;
}

bool isBelow(std::string_view path, std::string_view prefix)
{
    return startsWith(path, prefix) && (path.size() == prefix.size() || path[prefix.size()] == '/');
}

template <typename List, typename Value>
bool contains(const List& list, const Value& value)
{
    return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

// "/api/v1/screen/{id}/gamma" and "/api/v1/device/screen/{id}/gamma" are the same property.
std::string withoutPrefix(std::string_view pattern)
{
    constexpr std::string_view prefix = "/api/v1";
    if (!startsWith(pattern, prefix)) {
        return std::string(pattern);
    }
    const auto path = pattern.substr(prefix.size());
    const bool screens = isBelow(path, "/screen") && !isBelow(path, "/screen/hwscreen");
    return (screens ? "/device" : "") + std::string(path);
}

std::string withoutPlaceholders(std::string path)
{
    for (auto open = path.find("/{"); open != std::string::npos; open = path.find("/{")) {
        path.erase(open, path.find('}', open) + 1 - open);
    }
    return path;
}

Scope scopeOf(const std::string& path, Family family, std::string_view prefix)
{
    const auto placeholder = path.find('{');
    if (isBelow(path, "/device/cabinet/rvfirmware")) {
        return Scope::Firmware;
    }
    if (placeholder != std::string::npos) {
        return path.back() == '}' && !isBelow(path, "/device/monitor") ? Scope::Instance : Scope::Property;
    }
    if (path == prefix) {
        return Scope::Collection;
    }
    if (contains(deviceValues, path) || isBelow(path, "/device/cabinet/selftest")) {
        return Scope::Value;
    }
    if (family == Family::Cabinet || family == Family::Input || path == "/device/screen/brightness") {
        return Scope::Plural;
    }
    return Scope::Value;
}

std::optional<PushEvent> eventOfFamily(const Route& route)
{
    switch (route.family) {
    case Family::Screen:
        return PushEvent::Screens;
    case Family::Cabinet:
        return PushEvent::Cabinets;
    case Family::Input:
        return PushEvent::Inputs;
    case Family::Output:
        return PushEvent::Outputs;
    case Family::Pipeline:
    case Family::Channel:
        return PushEvent::Pipelines;
    case Family::Device:
        break;
    }
    const bool ofDevice = isBelow(route.property, "/device/hw") && route.scope != Scope::Value;
    return ofDevice ? std::make_optional(PushEvent::HwInfo) : std::nullopt;
}

std::optional<PushEvent> changeEventOf(const Route& route)
{
    for (const auto& prefix : silentPrefixes) {
        if (isBelow(route.property, prefix)) {
            return std::nullopt;
        }
    }
    const auto* const row = rowOf(specialChangeEvents, route.property);
    return row ? row->event : eventOfFamily(route);
}

std::optional<PushEvent> nameEventOf(const Route& route)
{
    switch (route.effect) {
    case WriteEffect::NameDevice:
        return PushEvent::CustomName;
    case WriteEffect::NameScreen:
        return PushEvent::ScreenName;
    default:
        return std::nullopt;
    }
}

// The special behaviour of a route that depends on its property.
void applySpecialRules(Route& route)
{
    if (const auto* const row = rowOf(specialValues, route.property)) {
        route.value = row->value;
    }
    if (const auto* const row = rowOf(writeEffects, route.property)) {
        route.effect = row->effect;
    }
    route.nameEvent = nameEventOf(route);
    route.changeEvent = changeEventOf(route);
    if (const auto* const row = rowOf(coefficientTables, route.property)) {
        route.coefficients = row->kind;
    }
    for (const auto& row : coefficientActions) {
        if (row.property == route.property) {
            route.coefficientActions.push_back(row.action);
        }
    }
}

} // namespace

std::vector<std::string_view> specialProperties()
{
    std::vector<std::string_view> properties;
    const auto add = [&properties](const auto& rows) {
        for (const auto& row : rows) {
            properties.push_back(row.property);
        }
    };
    add(specialValues);
    add(writeEffects);
    add(specialChangeEvents);
    add(coefficientTables);
    add(coefficientActions);
    return properties;
}

void applyRouteRules(Route& route)
{
    const std::string path = withoutPrefix(route.pattern);
    route.property = withoutPlaceholders(path);
    // An upload for one cabinet appears in the list of all.
    if (route.property == "/device/correctionop/cabinets/coefficientv2") {
        route.property = "/device/correctionop/cabinets/chroma/coefficient";
    }
    route.multiScreenOnly = route.pattern == "/api/protocol/version" ||
                            isBelow(route.pattern, "/api/v1/screen") ||
                            isBelow(route.pattern, "/api/v1/hwscreen");
    for (const auto& entry : familyPrefixes) {
        if (isBelow(path, entry.path)) {
            route.family = entry.family;
            route.scope = scopeOf(path, entry.family, entry.path);
        }
    }
    if (path == "/device/hw") {
        route.scope = Scope::Instance;
    } else if (isBelow(path, "/device/hw")) {
        route.scope = Scope::Property;
    }
    for (const auto& exception : verbExceptions) {
        if (contains(route.keys, exception.key)) {
            route.verbs = exception.verbs;
        }
    }
    for (const auto& key : fileRoutes) {
        route.takesFiles = route.takesFiles || contains(route.keys, key);
    }
    applySpecialRules(route);
}

} // namespace Tessel::Simulator
