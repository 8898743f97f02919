// SPDX-License-Identifier: MIT
#include <simulator/fixtures.h>

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace Tessel::Simulator::Fixtures {
namespace {

using nlohmann::json;

// What Wall::vary() tells apart.
enum Varied : std::uint32_t { SerialNumber = 1, Temperature, Voltage, Power, BitErrors };

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

json monitorData(const Wall& wall)
{
    json cabinets = json::array();
    for (std::size_t i = 0; i < wall.cabinets(); ++i) {
        cabinets.push_back({{"id", std::to_string(i + 1)},
                            {"temperature", wall.vary(Temperature, i, 34, 46)},
                            {"voltage", 4.8 + wall.vary(Voltage, i, 0, 4) / 10.0},
                            {"online", true}});
    }
    return {{"temperature", wall.vary(Temperature, 1000000, 38, 47)},
            {"fanSpeed", {2400, 2430}},
            {"voltage", {{"core", 1.0}, {"io", 3.3}, {"supply", 12.1}}},
            {"cabinets", cabinets}};
}

json monitorHistory(const Wall& wall, std::size_t index)
{
    json samples = json::array();
    for (int hour = 0; hour < 24; ++hour) {
        samples.push_back({{"time", 1715670000 + hour * 3600},
                           {"temperature", wall.vary(Temperature + 16,
                                                     index * 24 + static_cast<std::size_t>(hour), 33, 46)}});
    }
    return samples;
}

json allReceivingCards(const Wall& wall)
{
    json cards = json::array();
    for (std::size_t i = 0; i < wall.cabinets(); ++i) {
        for (auto& card : receivingCards(wall, i))
            cards.push_back(std::move(card));
    }
    return cards;
}

json baseInfo(const json& cabinetRecord)
{
    json info;
    for (const char* member : {"version", "moduleCount", "familyName", "shortName", "mfrsName", "cabType",
                               "pointSpace", "physicalSize", "size", "cabSN"})
        info[member] = cabinetRecord.at(member);
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

bool isGenerated(const std::string& property)
{
    static constexpr const char* generated[] = {
        "/api/capability/version", "/device/cabinet/rx",       "/device/cabinet/rxs",
        "/device/monitor/data",    "/device/cabinet/baseinfo", "/device/monitor/cabinet/history",
    };
    for (const char* name : generated) {
        if (property == name)
            return true;
    }
    return false;
}

json value(const std::string& property, const Wall& wall, std::size_t index)
{
    if (property == "/api/capability/version")
        return {{"CapabilityVersion", wall.multiScreen() ? "V3.0" : "V2.0"}};
    if (property == "/device/cabinet/rx")
        return allReceivingCards(wall);
    if (property == "/device/cabinet/rxs")
        return receivingCards(wall, index);
    if (property == "/device/monitor/data")
        return monitorData(wall);
    if (property == "/device/monitor/cabinet/history")
        return monitorHistory(wall, index);
    if (property == "/device/cabinet/baseinfo")
        return baseInfo(cabinet(wall, index));
    return plainValue(property);
}

} // namespace Tessel::Simulator::Fixtures
