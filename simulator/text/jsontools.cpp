// SPDX-License-Identifier: MIT
#include <simulator/text/jsontools.h>

#include <nlohmann/json.hpp>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

// Writing and comparing recurse, so a bound on the depth protects the stack.
bool isShallow(std::string_view text)
{
    constexpr int limit = 64;
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > limit)
                return false;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return true;
}

bool isTypedList(const json& value)
{
    if (!value.is_array() || value.empty())
        return false;
    for (const auto& element : value) {
        if (!element.is_object() || !element.contains("type"))
            return false;
    }
    return true;
}

void mergeIntoTypedList(json& list, const json& patch)
{
    static constexpr int allTypes = 3;
    for (auto& element : list) {
        const json type = element["type"];
        if (type == patch["type"] || patch["type"] == allTypes) {
            mergeInto(element, patch);
            element["type"] = type;
        }
    }
}

} // namespace

json parseJson(std::string_view text)
{
    if (!isShallow(text))
        return json(json::value_t::discarded);
    return json::parse(text, nullptr, false);
}

bool isJson(std::string_view text)
{
    return isShallow(text) && json::accept(text);
}

void mergeInto(json& target, const json& patch)
{
    if (patch.is_object() && patch.contains("type") && isTypedList(target)) {
        mergeIntoTypedList(target, patch);
    } else if (patch.is_object() && target.is_object()) {
        for (const auto& member : patch.items()) {
            const auto found = target.find(member.key());
            if (found == target.end())
                target[member.key()] = member.value();
            else
                mergeInto(*found, member.value());
        }
    } else {
        target = patch;
    }
}

std::size_t footprint(const json& value)
{
    std::size_t bytes = sizeof(json);
    if (value.is_string()) {
        bytes += sizeof(std::string) + value.get_ref<const std::string&>().size();
    } else if (value.is_array()) {
        bytes += sizeof(json::array_t);
        for (const auto& element : value)
            bytes += footprint(element);
    } else if (value.is_object()) {
        bytes += sizeof(json::object_t);
        for (const auto& member : value.items())
            bytes += 64 + member.key().size() + footprint(member.value());
    }
    return bytes;
}

} // namespace Tessel::Simulator
