// SPDX-License-Identifier: MIT
#include <simulator/resources/coefficientlist.h>

#include <simulator/resources/addressing.h>
#include <simulator/text/jsontools.h>
#include <simulator/text/texttools.h>

#include <nlohmann/json.hpp>

namespace Tessel::Simulator {
namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string cabinetOf(std::string_view element)
{
    // A parsed element needs many times the size of its text.
    constexpr std::size_t limit = 8U << 20;
    if (element.empty() || element.front() != '{' || element.size() > limit) {
        return {};
    }
    const auto object = parseJson(element);
    const char* const member = addressMember(Family::Cabinet, object);
    return member ? idText(object[member]) : std::string();
}

} // namespace

bool forEachNamed(std::string_view list,
                  const std::function<void(const std::string& cabinet, std::string_view element)>& take)
{
    list = trimmed(list, blanks);
    if (!startsWith(list, "[")) {
        return false;
    }
    // The list is known to be valid, and a parser would have to process all of it again to find the bounds.
    std::size_t begin = 1;
    int depth = 0;
    bool inString = false;
    for (std::size_t i = begin; i < list.size(); ++i) {
        const char c = list[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
            continue;
        }
        const bool ends = c == ']' || c == '}';
        if (depth == 0 && (c == ',' || ends)) {
            const auto element = trimmed(list.substr(begin, i - begin), blanks);
            const std::string cabinet = cabinetOf(element);
            if (cabinet.empty()) {
                return element.empty(); // of an empty list
            }
            take(cabinet, element);
            begin = i + 1;
        }
        inString = c == '"';
        depth += c == '[' || c == '{' ? 1 : ends ? -1 : 0;
    }
    return true;
}

} // namespace Tessel::Simulator
