// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TEXT_JSONTOOLS_H
#define SIMULATOR_TEXT_JSONTOOLS_H

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <string_view>

namespace Tessel::Simulator {

/// Parses @p text of a client. @return a discarded value when it is no JSON or nests deeper than 64 levels.
nlohmann::json parseJson(std::string_view text);
/// Whether @p text is JSON that parseJson() takes, without keeping it.
bool isJson(std::string_view text);

/// Writes @p patch over @p target: objects member by member, everything else whole. An object with a "type"
/// written over a list of objects with types replaces the element of its type; type 3 means all of them.
void mergeInto(nlohmann::json& target, const nlohmann::json& patch);

/// Bytes of memory that @p value takes, roughly.
std::size_t footprint(const nlohmann::json& value);

} // namespace Tessel::Simulator

#endif
