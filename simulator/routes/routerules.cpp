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
    // What a controller only tells:
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

// Routes below a plural prefix that are values of the device all the same.
constexpr std::string_view deviceValues[] = {
    "/device/cabinet/rvupdate", "/device/cabinet/rvupdateload", "/device/cabinet/rvupdateprogress",
    "/device/cabinet/rxs",      "/device/cabinet/rx",           "/device/output/pipelinemapping",
};

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
    if (!startsWith(pattern, prefix))
        return std::string(pattern);
    const auto path = pattern.substr(prefix.size());
    const bool screens = isBelow(path, "/screen") && !isBelow(path, "/screen/hwscreen");
    return (screens ? "/device" : "") + std::string(path);
}

std::string withoutPlaceholders(std::string path)
{
    for (auto open = path.find("/{"); open != std::string::npos; open = path.find("/{"))
        path.erase(open, path.find('}', open) + 1 - open);
    return path;
}

Scope scopeOf(const std::string& path, Family family, std::string_view prefix)
{
    const auto placeholder = path.find('{');
    if (isBelow(path, "/device/cabinet/rvfirmware"))
        return Scope::Firmware;
    if (placeholder != std::string::npos)
        return path.back() == '}' && !isBelow(path, "/device/monitor") ? Scope::Instance : Scope::Property;
    if (path == prefix)
        return Scope::Collection;
    if (contains(deviceValues, path) || isBelow(path, "/device/cabinet/selftest"))
        return Scope::Value;
    if (family == Family::Cabinet || family == Family::Input || path == "/device/screen/brightness")
        return Scope::Plural;
    return Scope::Value;
}

} // namespace

void applyRouteRules(Route& route)
{
    const std::string path = withoutPrefix(route.pattern);
    route.property = withoutPlaceholders(path);
    // What is uploaded for one cabinet stands in the list of all.
    if (route.property == "/device/correctionop/cabinets/coefficientv2")
        route.property = "/device/correctionop/cabinets/chroma/coefficient";
    route.multiScreenOnly = route.pattern == "/api/protocol/version" ||
                            isBelow(route.pattern, "/api/v1/screen") ||
                            isBelow(route.pattern, "/api/v1/hwscreen");
    for (const auto& entry : familyPrefixes) {
        if (isBelow(path, entry.path)) {
            route.family = entry.family;
            route.scope = scopeOf(path, entry.family, entry.path);
        }
    }
    if (path == "/device/hw")
        route.scope = Scope::Instance;
    else if (isBelow(path, "/device/hw"))
        route.scope = Scope::Property;
    for (const auto& exception : verbExceptions) {
        if (contains(route.keys, exception.key))
            route.verbs = exception.verbs;
    }
    for (const auto& key : fileRoutes)
        route.takesFiles = route.takesFiles || contains(route.keys, key);
}

} // namespace Tessel::Simulator
