// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_ADDRESSING_H
#define SIMULATOR_RESOURCES_ADDRESSING_H

#include <simulator/routes/route.h>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tessel::Simulator {

/// The member in which @p body names the instances of @p family to which it applies, one or a list of them;
/// null if it names none.
const char* addressMember(Family family, const nlohmann::json& body);

/// The instances addressed by the body of a write to a family.
struct Addressed
{
    bool all = false;
    /// By index, with the members to write to each.
    std::vector<std::pair<std::size_t, nlohmann::json>> instances;
};

/// The instances that @p body addresses among the @p count instances of @p family. None if its shape
/// addresses no instance, or if it names more than a controller accepts.
std::optional<Addressed> addressed(Family family, std::size_t count, const nlohmann::json& body);

/// Whether the body of a write to @p route names the instances that it is for.
bool addressesInBody(const Route& route);

/// An instance that @p body names although there are only @p count of @p family, for a message in ASCII;
/// empty if there is none.
std::string missingInstance(Family family, std::size_t count, const nlohmann::json& body);

/// The text of an id, which may be given as text or as a number; empty for anything else.
std::string idText(const nlohmann::json& id);

/// The index of an id such as "12" among @p count instances; nothing if there is no such instance.
std::optional<std::size_t> indexOfId(std::string_view id, std::size_t count);

// Quirk: Some placeholders of paths go out unfilled.
/// Whether @p id is a placeholder such as "{id}" that a client sent unfilled. Its values are stored as those
/// of a separate instance.
bool isPlaceholder(const std::string& id);

} // namespace Tessel::Simulator

#endif
