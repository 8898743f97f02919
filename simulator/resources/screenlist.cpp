// SPDX-License-Identifier: MIT
#include <simulator/resources/screenlist.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

json screenRecord(const Wall& wall, const Collection& screens, const Collection& cabinets, std::size_t index)
{
    json screen = screens.record(index);
    if (screen.contains("subScreens")) {
        return screen;
    }
    // A multi-screen controller feeds the upper and the lower half of a screen from separate inputs.
    const auto [first, last] = wall.cabinetsOf(index);
    const auto columns = wall.columnsOf(index);
    const auto rows = wall.rowsOf(index);
    const std::size_t parts = wall.multiScreen() && rows > 1 ? 2 : 1;
    json subScreens = json::array();
    for (std::size_t part = 0; part < parts; ++part) {
        const auto top = part * rows / parts;
        const auto bottom = (part + 1) * rows / parts;
        json entries = json::array();
        for (auto i = first + top * columns; i < std::min(last, first + bottom * columns); ++i) {
            const json cabinet = cabinets.record(i);
            json entry = json::object();
            for (const char* member :
                 {"id", "version", "outputId", "moduleCount", "weight", "power", "voltage", "position"}) {
                entry[member] = cabinet.at(member);
            }
            entries.push_back(std::move(entry));
        }
        subScreens.push_back(
            {{"subScreenID", std::to_string(index + 1) + "-" + std::to_string(part + 1)},
             {"inputID", std::to_string(part + 1)},
             {"postion", {{"x", 0}, {"y", top * Wall::cabinetPixels}}},
             {"size",
              {{"width", columns * Wall::cabinetPixels}, {"height", (bottom - top) * Wall::cabinetPixels}}},
             {"cabinets", std::move(entries)}});
    }
    screen["subScreens"] = std::move(subScreens);
    return screen;
}

} // namespace

std::string screenList(const Wall& wall, const Collection& screens, const Collection& cabinets,
                       bool multiScreenRoute)
{
    json reply = multiScreenRoute ? json::object() : screenRecord(wall, screens, cabinets, 0);
    if (wall.multiScreen()) {
        json list = json::array();
        for (std::size_t i = 0; i < wall.screens(); ++i) {
            list.push_back(screenRecord(wall, screens, cabinets, i));
        }
        reply["screens"] = std::move(list);
    }
    return reply.dump();
}

} // namespace Tessel::Simulator
