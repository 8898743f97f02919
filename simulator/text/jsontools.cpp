// SPDX-License-Identifier: MIT
#include <simulator/text/jsontools.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

// Writing and comparing are recursive, so the depth is limited to protect the stack.
constexpr int depthLimit = 64;

/// Accepts a text that is JSON and not too deep; stores nothing.
class Acceptor : public nlohmann::json_sax<json>
{
public:
    bool null() override { return true; }
    bool boolean(bool /*value*/) override { return true; }
    bool number_integer(number_integer_t /*value*/) override { return true; }
    bool number_unsigned(number_unsigned_t /*value*/) override { return true; }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return true; }
    bool string(string_t& /*value*/) override { return true; }
    bool binary(binary_t& /*value*/) override { return true; }
    bool key(string_t& /*name*/) override { return true; }
    bool start_object(std::size_t /*size*/) override { return ++m_depth <= depthLimit; }
    bool start_array(std::size_t /*size*/) override { return ++m_depth <= depthLimit; }
    bool end_object() override { return --m_depth >= 0; }
    bool end_array() override { return --m_depth >= 0; }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override
    {
        return false;
    }

private:
    int m_depth = 0;
};

bool isTypedList(const json& value)
{
    if (!value.is_array() || value.empty()) {
        return false;
    }
    for (const auto& element : value) {
        if (!element.is_object() || !element.contains("type")) {
            return false;
        }
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
    bool tooDeep = false;
    const auto keep = [&tooDeep](int depth, json::parse_event_t event, const json& /*value*/) {
        const bool begins =
            event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
        tooDeep = tooDeep || (begins && depth >= depthLimit);
        return !tooDeep;
    };
    json value = json::parse(text, keep, false);
    return tooDeep ? json(json::value_t::discarded) : value;
}

bool isJson(std::string_view text)
{
    Acceptor acceptor;
    return json::sax_parse(text, &acceptor);
}

void mergeInto(json& target, const json& patch)
{
    if (patch.is_object() && patch.contains("type") && isTypedList(target)) {
        mergeIntoTypedList(target, patch);
    } else if (patch.is_object() && target.is_object()) {
        for (const auto& member : patch.items()) {
            const auto found = target.find(member.key());
            if (found == target.end()) {
                target[member.key()] = member.value();
            } else {
                mergeInto(*found, member.value());
            }
        }
    } else {
        target = patch;
    }
}

std::string nameInAscii(const std::string& name)
{
    constexpr std::size_t longest = 64;
    const bool isWord = std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
               c == '-';
    });
    return isWord && !name.empty() && name.size() <= longest
               ? name
               : json(name.substr(0, longest)).dump(-1, ' ', true, json::error_handler_t::replace);
}

std::size_t footprint(const json& value)
{
    std::size_t bytes = sizeof(json);
    if (value.is_string()) {
        bytes += sizeof(std::string) + value.get_ref<const std::string&>().size();
    } else if (value.is_array()) {
        bytes += sizeof(json::array_t);
        for (const auto& element : value) {
            bytes += footprint(element);
        }
    } else if (value.is_object()) {
        bytes += sizeof(json::object_t);
        for (const auto& member : value.items()) {
            bytes += 64 + member.key().size() + footprint(member.value());
        }
    }
    return bytes;
}

} // namespace Tessel::Simulator
