// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TEXT_JSONTOOLS_H
#define SIMULATOR_TEXT_JSONTOOLS_H

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// Parses @p text from a client.
/// @return a discarded value if it is not valid JSON or nested deeper than 64 levels.
nlohmann::json parseJson(std::string_view text);
/// Whether parseJson() would accept @p text; stores nothing.
bool isJson(std::string_view text);

/// Merges @p patch into @p target: objects member by member, everything else as a whole. An object with a
/// "type", merged into a list of objects with types, replaces the element of its type; type 3 means all of
/// them.
void mergeInto(nlohmann::json& target, const nlohmann::json& patch);

/// The approximate memory that @p value uses, in bytes.
std::size_t footprint(const nlohmann::json& value);

/// @p name as a message shows it: as it is if it is a plain word, otherwise in quotes, in ASCII and not too
/// long.
std::string nameInAscii(const std::string& name);

} // namespace Tessel::Simulator

#endif
