// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TEXT_TEXTTOOLS_H
#define SIMULATOR_TEXT_TEXTTOOLS_H

#include <algorithm>
#include <cctype>
#include <string_view>

namespace Tessel::Simulator {

inline bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

/// The same, treating capital letters in @p text as lower case.
inline bool startsWithNoCase(std::string_view text, std::string_view lowerPrefix)
{
    return text.size() >= lowerPrefix.size() &&
           std::equal(lowerPrefix.begin(), lowerPrefix.end(), text.begin(),
                      [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

/// @p text without leading and trailing @p blanks.
inline std::string_view trimmed(std::string_view text, std::string_view blanks)
{
    const auto first = text.find_first_not_of(blanks);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

} // namespace Tessel::Simulator

#endif
