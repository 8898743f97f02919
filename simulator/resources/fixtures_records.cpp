// SPDX-License-Identifier: MIT
#include <simulator/resources/fixtures.h>

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace Tessel::Simulator::Fixtures {
namespace {

using nlohmann::json;

// The values distinguished by Wall::vary().
enum Varied : std::uint32_t { SerialNumber = 1, Temperature, Voltage, Power, BitErrors, FanSpeed };

std::string format(const char* pattern, unsigned a, unsigned b)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), pattern, a, b);
    return text.data();
}

json device(const Wall& wall)
{
    const auto serial = static_cast<unsigned>(wall.vary(SerialNumber, 1000000, 0, 0xffff));
    return {{"name", wall.name()},
            {"customName", wall.customName()},
            {"mac", format("02:5e:10:%02x:%02x:01", serial >> 8, serial & 0xff)},
            {"ip", wall.ip()},
            {"sn", format("C%04u-%05u", wall.multiScreen() ? 16 : 4, serial)},
            {"version", wall.multiScreen() ? "3.4.1" : "1.9.6"},
            {"fpgaVersion", wall.multiScreen() ? "2.12" : "1.7"},
            {"displayMode", 0},
            {"backupRole", 0},
            {"capability",
             {{"deviceType", wall.multiScreen() ? 4098 : 258},
              {"maxScreens", wall.multiScreen() ? 4 : 1},
              {"inputCount", wall.inputs()},
              {"outputCount", wall.outputs()},
              {"pipelineCount", wall.pipelines()},
              {"maxPixelsPerOutput", 655360}}},
            {"temperature", wall.vary(Temperature, 1000000, 38, 47)},
            {"fanSpeed", 2400}};
}

json screen(const Wall& wall, std::size_t index)
{
    static constexpr const char* names[] = {"Stage", "Side Wall", "Foyer", "Gallery"};
    const auto id = std::to_string(index + 1);
    return {{"screenID", id},
            {"screenUUID",
             format("6f1d2c80-5b3e-4a57-9c00-%08x%04x", wall.seed(), static_cast<unsigned>(index + 1))},
            {"screenName", index < std::size(names) ? names[index] : "Screen " + id},
            {"screenTime", "2024-05-14 09:30:00"},
            {"resolution",
             {{"width", wall.columnsOf(index) * Wall::cabinetPixels},
              {"height", wall.rowsOf(index) * Wall::cabinetPixels}}},
            {"brightness", 80},
            {"refreshRate", 60},
            {"enable", true}};
}

json cabinet(const Wall& wall, std::size_t index)
{
    const auto screenIndex = wall.screenOf(index);
    const auto place = index - wall.cabinetsOf(screenIndex).first;
    const auto columns = wall.columnsOf(screenIndex);
    const auto output = wall.outputOf(index) + 1;
    return {
        {"id", std::to_string(index + 1)},
        {"version", "4.6.2"},
        {"outputID", output},
        {"outputId", output},
        {"screenID", std::to_string(screenIndex + 1)},
        {"moduleCount", 8},
        {"weight", 7500},
        {"power", 160 + wall.vary(Power, index, 0, 8)},
        {"voltage", 5},
        {"position",
         {{"x", place % columns * Wall::cabinetPixels}, {"y", place / columns * Wall::cabinetPixels}}},
        {"size", {{"width", Wall::cabinetPixels}, {"height", Wall::cabinetPixels}}},
        {"physicalSize", {{"width", Wall::cabinetMillimetres}, {"height", Wall::cabinetMillimetres}}},
        {"brightness", 100},
        {"familyName", "Indoor P2.6"},
        {"shortName", "P2.6"},
        {"mfrsName", "Generic"},
        {"pointSpace", 2.6},
        {"cabType", 1},
        {"chip", "Chip 2055"},
        {"recvName", "Receiving Card R8"},
        {"cabSN", format("P26-%05u-%05u", static_cast<unsigned>(wall.vary(SerialNumber, index, 10000, 99999)),
                         static_cast<unsigned>(index + 1))},
        {"rxCount", wall.cardsPerCabinet()},
        {"online", true}};
}

json input(const Wall& wall, std::size_t index)
{
    static constexpr const char* types[] = {"HDMI", "DP", "SDI", "DVI"};
    const char* const type = types[index % std::size(types)];
    const bool connected = index == 0 || wall.multiScreen();
    return {{"id", index + 1},
            {"name", std::string(type) + " " + std::to_string(index + 1)},
            {"type", type},
            {"connected", connected},
            {"resolution", {{"width", connected ? 3840 : 0}, {"height", connected ? 2160 : 0}}},
            {"frameRate", connected ? 60 : 0}};
}

json output(const Wall& wall, std::size_t index)
{
    const auto pipeline = index * wall.pipelines() / wall.outputs() + 1;
    return {{"id", index + 1},
            {"name", "Port " + std::to_string(index + 1)},
            {"enable", true},
            {"linked", true},
            {"pipelineId", pipeline},
            {"resolution", {{"width", 768}, {"height", 768}}},
            {"offset", {{"x", index % 4 * 768}, {"y", index / 4 * 768}}}};
}

json pipeline(const Wall& wall, std::size_t index)
{
    return {{"id", index + 1},
            {"name", "Pipeline " + std::to_string(index + 1)},
            {"inputId", index % wall.inputs() + 1},
            {"mirrorMode", 0},
            {"imageHandleType", 0},
            {"brightness", 80},
            {"threed", {{"enable", false}, {"rightEyeOffset", {{"x", 0}, {"y", 0}}}}},
            {"hdr", {{"enable", false}, {"mode", 0}}}};
}

// A measured value differs from step to step, and is the same for the same seed and step.
int measured(const Wall& wall, std::uint32_t what, std::size_t index, std::size_t step, int low, int high)
{
    constexpr std::size_t stride = 20000003; // beyond all indexes
    return wall.vary(what, index + step * stride, low, high);
}

constexpr std::size_t deviceIndex = 1000000; // beyond the indexes of cabinets and cards
constexpr std::int64_t startTime = 1715670000;
constexpr std::int64_t stepSeconds = 3600;

json fanSpeeds(const Wall& wall, std::size_t step)
{
    return {2400 + 10 * measured(wall, FanSpeed, 0, step, 0, 9),
            2400 + 10 * measured(wall, FanSpeed, 1, step, 0, 9)};
}

json cabinetMeasures(const Wall& wall, std::size_t index, std::size_t step)
{
    return {{"id", std::to_string(index + 1)},
            {"temperature", measured(wall, Temperature, index, step, 34, 46)},
            {"voltage", 4.8 + measured(wall, Voltage, index, step, 0, 4) / 10.0},
            {"online", true}};
}

json monitorData(const Wall& wall, std::size_t step)
{
    json cabinets = json::array();
    for (std::size_t i = 0; i < wall.cabinets(); ++i) {
        cabinets.push_back(cabinetMeasures(wall, i, step));
    }
    return {{"time", startTime + static_cast<std::int64_t>(step) * stepSeconds},
            {"temperature", measured(wall, Temperature, deviceIndex, step, 38, 47)},
            {"fanSpeed", fanSpeeds(wall, step)},
            {"voltage", {{"core", 1.0}, {"io", 3.3}, {"supply", 12.1}}},
            {"cabinets", cabinets}};
}

json monitorHistory(const Wall& wall, std::size_t index, std::size_t step)
{
    json samples = json::array();
    for (std::size_t hour = 0; hour < 24; ++hour) {
        samples.push_back({{"time", startTime + static_cast<std::int64_t>(step + hour) * stepSeconds},
                           {"temperature", wall.vary(Temperature + 16, index * 24 + step + hour, 33, 46)}});
    }
    return samples;
}

json monitorLogs(std::size_t step)
{
    constexpr std::size_t kept = 50;
    json logs = json::array();
    for (std::size_t i = step < kept ? 0 : step - kept + 1; i <= step; ++i) {
        logs.push_back({{"time", startTime + static_cast<std::int64_t>(i) * stepSeconds},
                        {"level", 1},
                        {"text", i == 0 ? std::string("Started") : "Measured " + std::to_string(i)}});
    }
    return {{"logs", std::move(logs)}};
}

json baseInfo(const json& cabinetRecord)
{
    json info;
    for (const char* member : {"version", "moduleCount", "familyName", "shortName", "mfrsName", "cabType",
                               "pointSpace", "physicalSize", "size", "cabSN"}) {
        info[member] = cabinetRecord.at(member);
    }
    return info;
}

} // namespace

json record(Family family, const Wall& wall, std::size_t index)
{
    switch (family) {
    case Family::Device:
        return device(wall);
    case Family::Screen:
        return screen(wall, index);
    case Family::Cabinet:
        return cabinet(wall, index);
    case Family::Input:
        return input(wall, index);
    case Family::Output:
        return output(wall, index);
    case Family::Pipeline:
        return pipeline(wall, index);
    case Family::Channel:
        break;
    }
    return {{"id", index + 1}};
}

json receivingCards(const Wall& wall, std::size_t cabinetIndex)
{
    json cards = json::array();
    const auto id = std::to_string(cabinetIndex + 1);
    for (std::size_t i = 0; i < wall.cardsPerCabinet(); ++i) {
        const auto serial = cabinetIndex * 16 + i;
        cards.push_back(
            {{"id", id + "-" + std::to_string(i + 1)},
             {"cabinetId", id},
             {"index", i},
             {"name", "Receiving Card R8"},
             {"version", "4.6.2"},
             {"sn", format("R8-%05u-%06u",
                           static_cast<unsigned>(wall.vary(SerialNumber + 16, serial, 10000, 99999)),
                           static_cast<unsigned>(serial))},
             {"temperature", wall.vary(Temperature, serial, 34, 46)},
             {"voltage", 4.8 + wall.vary(Voltage, serial, 0, 4) / 10.0},
             {"bitErrors", wall.vary(BitErrors, serial, 0, 60) / 60}});
    }
    return cards;
}

json allReceivingCards(const Wall& wall)
{
    json cards = json::array();
    for (std::size_t i = 0; i < wall.cabinets(); ++i) {
        for (auto& card : receivingCards(wall, i)) {
            cards.push_back(std::move(card));
        }
    }
    return cards;
}

json warning(WarningType type, const Wall& wall, std::size_t step)
{
    switch (type) {
    case WarningType::FanSpeed:
        return {{"fan", 1}, {"fanSpeed", fanSpeeds(wall, step).front()}, {"limit", 1200}};
    case WarningType::Temperature:
        return {{"temperature", measured(wall, Temperature, deviceIndex, step, 71, 80)}, {"limit", 70}};
    case WarningType::Voltage:
        return {{"name", "supply"},
                {"voltage", measured(wall, Voltage, deviceIndex, step, 90, 105) / 10.0},
                {"limit", 11.0}};
    case WarningType::Output: {
        const auto id = measured(wall, Power, deviceIndex, step, 1, static_cast<int>(wall.outputs()));
        return {{"id", id}, {"linked", false}};
    }
    case WarningType::Cabinet: {
        if (wall.cabinets() == 0) {
            return nullptr;
        }
        const auto last = static_cast<int>(wall.cabinets()) - 1;
        json data = cabinetMeasures(
            wall, static_cast<std::size_t>(measured(wall, Power, deviceIndex, step, 0, last)), step);
        data["temperature"] = measured(wall, Temperature, deviceIndex, step, 71, 80);
        return data;
    }
    }
    return nullptr;
}

json value(const Route& route, const Wall& wall, std::size_t index, std::size_t step)
{
    switch (route.value) {
    case SpecialValue::CapabilityVersion:
        return {{"CapabilityVersion", wall.multiScreen() ? "V3.0" : "V2.0"}};
    case SpecialValue::AllReceivingCards:
        return allReceivingCards(wall);
    case SpecialValue::ReceivingCards:
        return receivingCards(wall, index);
    case SpecialValue::CabinetBaseInfo:
        return baseInfo(cabinet(wall, index));
    case SpecialValue::MonitorData:
        return monitorData(wall, step);
    case SpecialValue::MonitorHistory:
        return monitorHistory(wall, index, step);
    case SpecialValue::MonitorLogs:
        return monitorLogs(step);
    case SpecialValue::UpdateProgress:
    case SpecialValue::Lock:
    case SpecialValue::None:
        break;
    }
    return plainValue(route.property);
}

} // namespace Tessel::Simulator::Fixtures
