// SPDX-License-Identifier: MIT
#include <simulator/resources/fixtures.h>

#include <nlohmann/json.hpp>

#include <string_view>
#include <unordered_map>

namespace Tessel::Simulator::Fixtures {
namespace {

using nlohmann::json;

struct PlainValue
{
    std::string_view property;
    const char* text;
};

// Members that are also in the record of the instance, such as a cabinet's "weight", take their value from
// there.
constexpr PlainValue plainValues[] = {
    // Device
    {"/api/protocol/version", R"({"protocolVersion": "V2.0"})"},
    {"/device/hw/system", R"({"uptime": 86400, "state": "running"})"},
    {"/device/hw/threed/emitter", R"({"enable": false, "delay": 0})"},
    {"/device/hw/threed/signaldelaytime", R"({"delayTime": 0})"},
    {"/device/hw/customdata", R"({"data": ""})"},
    {"/device/hw/hotbackup", R"([{"role": 0, "peer": "", "enable": false}])"},
    {"/device/hw/syncinfo", R"({"source": 0, "frequency": 60, "locked": true})"},
    {"/device/hw/syncinfo/increasevideodelay", R"({"enable": false})"},
    {"/device/hw/syncinfo/frequency", R"({"frequency": 60})"},
    {"/device/hw/syncinfo/input", R"({"inputId": 1})"},
    {"/device/hw/syncinfo/externalinput", R"({"connected": false})"},
    {"/device/hw/customname", R"({"customName": ""})"},
    {"/device/hw/deviceimagetoggle", R"({"enable": false})"},
    {"/device/hw/mapping", R"({"enable": false})"},
    {"/device/hw/displaymode", R"({"displayMode": 0})"},
    {"/device/hw/abnormal/nosignalimage", R"({"mode": 0})"},
    {"/device/hw/updateprogress", R"({"progress": 0, "state": "idle"})"},
    {"/device/hw/hdmode", R"({"enable": false})"},
    {"/device/hw/version", R"({"version": "", "fpgaVersion": ""})"},
    {"/device/hw/testmode", R"({"mode": 0})"},
    {"/device/hw/testmode/pattern", R"({"pattern": 0})"},
    {"/device/hw/testmode/image/location", R"({"x": 0, "y": 0})"},
    {"/device/hw/testmode/image/scope", R"({"width": 1920, "height": 1080})"},
    {"/device/hw/lock", R"({"locked": false})"},
    {"/device/log/level", R"({"level": 2})"},
    {"/device/log/age", R"({"days": 30})"},
    {"/device/capability/chips",
     R"([{"id": 1, "name": "Chip 2055", "channels": 16, "grayBits": 16},
         {"id": 2, "name": "Chip 2065", "channels": 16, "grayBits": 16},
         {"id": 3, "name": "Chip 1065", "channels": 48, "grayBits": 14}])"},
    {"/device/capability/decodechips",
     R"([{"id": 1, "name": "Decoder 138", "rows": 8}, {"id": 2, "name": "Decoder 5958", "rows": 32}])"},
    {"/device/monitor/state", R"({"state": 0, "offlineCabinets": 0, "warnings": 0})"},

    // Screens
    {"/device/screen/brightness", R"({"brightness": 80})"},
    {"/device/screen/rgbbrightness", R"({"red": 100, "green": 100, "blue": 100})"},
    {"/device/screen/brightnessmode", R"({"mode": 0})"},
    {"/device/screen/gamma",
     R"([{"type": 0, "gamma": 2.8}, {"type": 1, "gamma": 2.8}, {"type": 2, "gamma": 2.8}])"},
    {"/device/screen/gammacurve",
     R"([{"x": 0, "y": 0}, {"x": 64, "y": 1357}, {"x": 128, "y": 9449}, {"x": 192, "y": 29406}, {"x": 255, "y": 65535}])"},
    {"/device/screen/gammatable",
     R"({"type": 3, "table": [0, 16, 256, 1296, 4096, 10000, 20736, 38416, 65535]})"},
    {"/device/screen/colortemperature", R"({"colorTemperature": 6500, "mode": 0})"},
    {"/device/screen/gamut", R"({"gamut": 0})"},
    {"/device/screen/xbit", R"({"enable": false})"},
    {"/device/screen/xbitmode", R"({"mode": 0})"},
    {"/device/screen/lowlatency", R"({"enable": false})"},
    {"/device/screen/finegray", R"({"enable": true})"},
    {"/device/screen/grayscale", R"({"grayScale": 16})"},
    {"/device/screen/uniformdisplay", R"({"enable": false})"},
    {"/device/screen/hdr", R"({"enable": false})"},
    {"/device/screen/hdr/mode", R"({"mode": 0})"},
    {"/device/screen/hdr/hlgmode", R"({"hlgMode": 0})"},
    {"/device/screen/hdr/peakbrightness", R"({"peakBrightness": 1000})"},
    {"/device/screen/hdr/illuminance", R"({"illuminance": 300})"},
    {"/device/screen/hdr/lowgray", R"({"lowGray": 50})"},
    {"/device/screen/threed", R"({"enable": false})"},
    {"/device/screen/threed/sourcemode", R"({"sourceMode": 0})"},
    {"/device/screen/threed/eyepriority", R"({"eyePriority": 0})"},
    {"/device/screen/threed/righteyeoffset", R"({"rightEyeOffset": {"x": 0, "y": 0}})"},
    {"/device/screen/threed/fielddepth", R"({"fieldDepth": 0})"},
    {"/device/screen/abnormalscreen/cabledisconnected", R"({"mode": 0})"},
    {"/device/screen/bootimage/boottimespan", R"({"bootTimeSpan": 3})"},
    {"/device/screen/txtestpattern", R"({"pattern": 0, "enable": false})"},
    {"/device/screen/rxtestpattern", R"({"pattern": 0})"},
    {"/device/screen/enable", R"({"tags": [{"screenID": "1", "enable": true}]})"},
    {"/device/screen/isshowlinestate", R"({"enable": false})"},
    {"/device/screen/displaycolor", R"({"red": 255, "green": 255, "blue": 255})"},
    {"/device/screen/colorspaceledinfo",
     R"({"red": {"x": 0.69, "y": 0.31}, "green": {"x": 0.17, "y": 0.72}, "blue": {"x": 0.13, "y": 0.06},
         "white": {"x": 0.31, "y": 0.33}})"},
    {"/device/screen/niccstate", R"({"state": 0})"},
    {"/device/screen/seamadjustment", R"({"enable": false})"},
    {"/device/screen/setinput", R"({"inputId": 1})"},
    {"/device/screen/enableskinprotect", R"({"enable": false})"},
    {"/device/screen/enabletolerance", R"({"enable": false})"},
    {"/device/correctionop/screens/action", R"({"action": 0})"},
    {"/device/correctionop/screens/effectmode", R"({"mode": 1})"},
    {"/device/correctionop/screens/nicc", R"([{"layer": 0, "value": 100}])"},
    {"/device/correctionop/screens/colorcoeffadjust", R"({"mode": 0, "enable": false})"},

    // Cabinets
    {"/device/cabinet/brightness", R"({"brightness": 100})"},
    {"/device/cabinet/rgbbrightness", R"({"red": 100, "green": 100, "blue": 100})"},
    {"/device/cabinet/effectadjustlimits",
     R"({"minBrightness": 0, "maxBrightness": 100, "minGain": 20, "maxGain": 200})"},
    {"/device/cabinet/gamma", R"({"gamma": 2.8})"},
    {"/device/cabinet/customgamma", R"({"red": 2.8, "green": 2.8, "blue": 2.8})"},
    {"/device/cabinet/enablecustomgamma", R"({"enable": false})"},
    {"/device/cabinet/gammacurveinfo",
     R"({"gammaTable": [0, 16, 256, 1296, 4096, 10000, 20736, 38416, 65535]})"},
    {"/device/cabinet/colortemperature", R"({"colorTemperature": 6500})"},
    {"/device/cabinet/rx/colortemperature", R"({"colorTemperature": 6500})"},
    {"/device/cabinet/rgbgain", R"({"red": 128, "green": 128, "blue": 128})"},
    {"/device/cabinet/gaininfo", R"({"red": 128, "green": 128, "blue": 128, "total": 100})"},
    {"/device/cabinet/eighteenbitmode", R"({"mode": 0})"},
    {"/device/cabinet/finegray", R"({"enable": true})"},
    {"/device/cabinet/finegrayconfig", R"({"mode": 1, "levels": 16})"},
    {"/device/cabinet/correction", R"({"enable": true})"},
    {"/device/cabinet/beacon", R"({"enable": false})"},
    {"/device/cabinet/indicatorlight", R"({"enable": true})"},
    {"/device/cabinet/solid", R"({"red": 0, "green": 0, "blue": 0})"},
    {"/device/cabinet/testpattern", R"({"pattern": 0})"},
    {"/device/cabinet/physicalsize", R"({"physicalSize": {"width": 500, "height": 500}})"},
    {"/device/cabinet/weight", R"({"weight": 7500})"},
    {"/device/cabinet/power", R"({"power": 160})"},
    {"/device/cabinet/voltage", R"({"voltage": 5})"},
    {"/device/cabinet/familyname", R"({"familyName": ""})"},
    {"/device/cabinet/shortname", R"({"shortName": ""})"},
    {"/device/cabinet/mfrsname", R"({"mfrsName": ""})"},
    {"/device/cabinet/pointspace", R"({"pointSpace": 2.6})"},
    {"/device/cabinet/cabtype", R"({"cabType": 1})"},
    {"/device/cabinet/cabchip", R"({"chip": ""})"},
    {"/device/cabinet/recvname", R"({"recvName": ""})"},
    {"/device/cabinet/cabsn", R"({"cabSN": ""})"},
    {"/device/cabinet/recvrate", R"({"rate": 1000})"},
    {"/device/cabinet/flags", R"({"cabinet": 0, "recvCard": 0, "module": 0})"},
    {"/device/cabinet/cabinetflags", R"({"flag": 0})"},
    {"/device/cabinet/recvcardflags", R"({"flag": 0})"},
    {"/device/cabinet/moduleflags", R"({"flag": 0})"},
    {"/device/cabinet/enableber", R"({"enable": false})"},
    {"/device/cabinet/berdt", R"({"time": 60})"},
    {"/device/cabinet/communicationerror", R"({"packets": 360000, "errors": 0, "errorRate": 0.0})"},
    {"/device/cabinet/rvcardconfig", R"({"config": ""})"},
    {"/device/cabinet/rvupdateprogress", R"({"progress": 0, "state": "idle"})"},
    {"/device/cabinet/abnormalscreen/cabledisconnected", R"({"mode": 0})"},
    {"/device/cabinet/bootimage/boottimespan", R"({"bootTimeSpan": 3})"},
    {"/device/cabinet/xbitenable", R"({"enable": false})"},
    {"/device/cabinet/xbitmode", R"({"mode": 0})"},
    {"/device/cabinet/xbitrgbphase", R"({"red": 0, "green": 0, "blue": 0})"},
    {"/device/cabinet/xbitgrayscale", R"({"grayScale": 16})"},
    {"/device/cabinet/xbitjittermode", R"({"mode": 0})"},
    {"/device/cabinet/xbithighlowmode", R"({"mode": 0})"},
    {"/device/correctionop/cabinets/effectmode", R"({"mode": 1})"},
    {"/device/correctionop/cabinets/correctionenable", R"({"enable": true})"},
    {"/device/correctionop/cabinets/colorcoeffadjust", R"({"mode": 0})"},
    {"/device/correctionop/cabinets/nicc", R"([{"layer": 0, "value": 100}])"},
    {"/device/correctionop/cabinets/niccmeasures", R"({"red": 0.0, "green": 0.0, "blue": 0.0})"},
    {"/device/correctionop/cabinets/flashlinkstate",
     R"([{"module": 0, "checkCode": "5A3C", "linked": true}])"},
    {"/device/factoryop/cabinets/struct", R"({"width": 192, "height": 192, "scan": 32, "dataGroups": 24})"},
    {"/device/factoryop/cabinets/struct/flash", R"({"rows": 2, "columns": 4})"},
    {"/device/factoryop/cabinets/struct/module", R"({"width": 96, "height": 48, "count": 8})"},
    {"/device/factoryop/cabinets/struct/extends",
     R"({"signalPolarity": 0, "signalDelay": 0, "rvCardLight": true})"},
    {"/device/factoryop/cabinets/capability", R"({"maxScan": 64, "dataGroups": 32})"},
    {"/device/factoryop/cabinets/decodechipparameter", R"({"decodeChip": 1})"},
    {"/device/factoryop/cabinets/chipregister", R"({"chip": "", "registers": [0, 0, 0, 0]})"},
    {"/device/factoryop/cabinets/maxloadedpixels", R"({"maxWidth": 512, "maxHeight": 512})"},

    // Inputs
    {"/device/input/signal", R"({"connected": true, "width": 3840, "height": 2160, "frameRate": 60})"},
    {"/device/input/hdmode", R"({"enable": false})"},
    {"/device/input/backup", R"({"backupInputId": 0, "enable": false})"},
    {"/device/input/edid", R"({"width": 3840, "height": 2160, "frameRate": 60})"},
    {"/device/input/hue", R"({"hue": 0})"},
    {"/device/input/contrast", R"({"contrast": 50})"},
    {"/device/input/saturation", R"({"saturation": 50})"},
    {"/device/input/blacklevel", R"({"blackLevel": 50})"},
    {"/device/input/bitdepth", R"({"bitDepth": 8})"},

    // Outputs
    {"/device/output/enable", R"({"enable": true})"},
    {"/device/output/resolution", R"({"resolution": {"width": 768, "height": 768}})"},
    {"/device/output/offset", R"({"offset": {"x": 0, "y": 0}})"},
    {"/device/output/pipeline", R"({"pipelineId": 1})"},

    // Pipelines and channels
    {"/device/pipeline/inputid", R"({"inputId": 1})"},
    {"/device/pipeline/mirrormode", R"({"mirrorMode": 0})"},
    {"/device/pipeline/imagehandletype", R"({"imageHandleType": 0})"},
    {"/device/pipeline/brightness", R"({"brightness": 80})"},
    {"/device/pipeline/threed", R"({"threed": {"enable": false}})"},
    {"/device/pipeline/gamma", R"({"gamma": 2.8})"},
    {"/device/pipeline/colortemperature", R"({"colorTemperature": 6500})"},
    {"/device/pipeline/gid", R"([1])"},
    {"/device/pipeline/relativepoint", R"([{"x": 0, "y": 0}])"},
    {"/device/pipeline/handle",
     R"({"zoomMode": 0, "zoom": true, "interceptionPosition": {"x": 0, "y": 0},
         "interceptionSize": {"width": 3840, "height": 2160}, "displayAreaPosition": {"x": 0, "y": 0},
         "displayAreaSize": {"width": 3840, "height": 2160}})"},
    {"/device/channel/hue", R"({"hue": 0})"},
    {"/device/channel/contrast", R"({"contrast": 50})"},
    {"/device/channel/saturation", R"({"saturation": 50})"},
    {"/device/channel/blacklevel", R"({"blackLevel": 50})"},
};

} // namespace

const json& plainValue(const std::string& property)
{
    static const auto table = [] {
        std::unordered_map<std::string, json> values;
        for (const auto& entry : plainValues) {
            values.emplace(entry.property, json::parse(entry.text));
        }
        return values;
    }();
    static const json nothing = json::object();
    const auto it = table.find(property);
    return it == table.end() ? nothing : it->second;
}

} // namespace Tessel::Simulator::Fixtures
