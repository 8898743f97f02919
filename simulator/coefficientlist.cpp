// SPDX-License-Identifier: MIT
#include <simulator/coefficientlist.h>

#include <simulator/addressing.h>
#include <simulator/jsontools.h>

#include <nlohmann/json.hpp>

namespace Tessel::Simulator {
namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(blanks);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

std::string cabinetOf(std::string_view element)
{
    // Taken apart, an element needs many times its size.
    constexpr std::size_t limit = 8U << 20;
    if (element.empty() || element.front() != '{' || element.size() > limit)
        return {};
    const auto object = parseJson(element);
    const char* const member = addressMember(Family::Cabinet, object);
    return member ? idText(object[member]) : std::string();
}

} // namespace

std::vector<CoefficientElement> elementsOf(std::string_view list)
{
    std::vector<CoefficientElement> elements;
    std::size_t begin = list.find('[') + 1;
    int depth = 0;
    bool inString = false;
    for (std::size_t i = begin; i < list.size(); ++i) {
        const char c = list[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
            continue;
        }
        const bool ends = c == ']' || c == '}';
        if (depth == 0 && (c == ',' || ends)) {
            const auto text = trimmed(list.substr(begin, i - begin));
            if (!text.empty())
                elements.push_back({cabinetOf(text), text});
            begin = i + 1;
        }
        inString = c == '"';
        depth += c == '[' || c == '{' ? 1 : ends ? -1 : 0;
    }
    return elements;
}

} // namespace Tessel::Simulator
