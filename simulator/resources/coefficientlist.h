// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_COEFFICIENTLIST_H
#define SIMULATOR_RESOURCES_COEFFICIENTLIST_H

#include <functional>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// Passes each element of @p list, which must be valid JSON, to @p take, together with the cabinet that it
/// names. Stops at the first element that names none.
/// @return whether @p list is a list whose elements all name a cabinet.
bool forEachNamed(std::string_view list,
                  const std::function<void(const std::string& cabinet, std::string_view element)>& take);

} // namespace Tessel::Simulator

#endif
