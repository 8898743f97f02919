// SPDX-License-Identifier: MIT
#include <simulator/resources/addressing.h>

#include <nlohmann/json.hpp>

#include <charconv>
#include <string_view>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

constexpr const char* idMembers[] = {
    "id",       "ids",       "cid",      "cids",      "cabinetId", "cabinetID", "cabinetIds", "cabinetIDs",
    "screenID", "screenIDs", "screenId", "screenIds", "inputId",   "inputID",   "outputId",   "outputID",
};

// Some of these are ordinary members in the body of a cabinet or a pipeline, and not its address.
bool isAddress(Family family, std::string_view member)
{
    const bool input = member.substr(0, 5) == "input";
    const bool output = member.substr(0, 6) == "output";
    const bool screen = member.substr(0, 6) == "screen";
    return (!input || family == Family::Input) && (!output || family == Family::Output) &&
           (!screen || family == Family::Screen);
}

} // namespace

const char* addressMember(Family family, const json& body)
{
    for (const char* member : idMembers) {
        if (body.is_object() && body.contains(member) && isAddress(family, member)) {
            return member;
        }
    }
    return nullptr;
}

std::string idText(const json& id)
{
    return id.is_string() ? id.get<std::string>() : id.is_number_integer() ? id.dump() : std::string();
}

std::optional<std::size_t> indexOfId(std::string_view id, std::size_t count)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
    if (error != std::errc() || end != id.data() + id.size() || id.front() == '0' || number < 1 ||
        number > count) {
        return std::nullopt;
    }
    return number - 1;
}

bool isPlaceholder(const std::string& id)
{
    return id.size() > 1 && id.front() == '{' && id.back() == '}';
}

} // namespace Tessel::Simulator
