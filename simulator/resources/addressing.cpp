// SPDX-License-Identifier: MIT
#include <simulator/resources/addressing.h>

#include <simulator/text/jsontools.h>

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

// In the body of a cabinet or a pipeline some of these are ordinary members, not an address.
bool isAddress(Family family, std::string_view member)
{
    const bool input = member.substr(0, 5) == "input";
    const bool output = member.substr(0, 6) == "output";
    const bool screen = member.substr(0, 6) == "screen";
    return (!input || family == Family::Input) && (!output || family == Family::Output) &&
           (!screen || family == Family::Screen);
}

const char* listMember(Family family)
{
    return family == Family::Screen ? "screens" : "cabinets";
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

bool addressesInBody(const Route& route)
{
    return route.family != Family::Device &&
           (route.scope == Scope::Plural || route.scope == Scope::Collection);
}

std::string missingInstance(Family family, std::size_t count, const json& body)
{
    const auto missing = [&](const char* member, const json& id) {
        const std::string last = count == 0 ? "there is none" : "the last is " + std::to_string(count);
        return indexOfId(idText(id), count)
                   ? std::string()
                   : std::string(member) + " names " +
                         nameInAscii(id.is_string() ? id.get<std::string>() : id.dump()) + ", but " + last;
    };
    if (body.is_array()) {
        for (const auto& element : body) {
            std::string found = element.is_object() ? missingInstance(family, count, element) : std::string();
            if (!found.empty()) {
                return found;
            }
        }
        return {};
    }
    if (const char* const member = addressMember(family, body)) {
        const json& ids = body.at(member);
        for (const auto& id : ids.is_array() ? ids : json::array({ids})) {
            std::string found = missing(member, id);
            if (!found.empty()) {
                return found;
            }
        }
        return {};
    }
    const char* const list = listMember(family);
    return body.is_object() && body.contains(list) && body[list].is_array()
               ? missingInstance(family, count, body[list])
               : std::string();
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

std::optional<Addressed> addressed(Family family, std::size_t count, const json& body)
{
    // Twice the number of cabinets of the largest wall, because a body may name an instance repeatedly.
    constexpr std::size_t limit = 20000;
    Addressed result;
    const auto address = [&](const json& object, const char* member) {
        json members = object;
        members.erase(member);
        const json& ids = object.at(member);
        const auto add = [&](const json& id) {
            if (const auto index = family == Family::Device ? std::make_optional<std::size_t>(0)
                                                            : indexOfId(idText(id), count)) {
                result.instances.emplace_back(*index, members);
            }
        };
        if (ids.is_array()) {
            for (std::size_t i = 0; i < ids.size() && result.instances.size() <= limit; ++i) {
                add(ids[i]);
            }
        } else {
            add(ids);
        }
    };
    if (body.is_object()) {
        if (const char* member = addressMember(family, body)) {
            address(body, member);
        } else if (body.contains(listMember(family)) && body[listMember(family)].is_array()) {
            return addressed(family, count, body[listMember(family)]);
        } else {
            result.all = true;
        }
    } else if (body.is_array()) {
        for (const auto& element : body) {
            const char* member = addressMember(family, element);
            if (!member || result.instances.size() > limit) {
                return std::nullopt;
            }
            address(element, member);
        }
    } else {
        return std::nullopt;
    }
    return result.instances.size() > limit ? std::nullopt : std::make_optional(std::move(result));
}

} // namespace Tessel::Simulator
