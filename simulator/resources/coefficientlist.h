// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_COEFFICIENTLIST_H
#define SIMULATOR_RESOURCES_COEFFICIENTLIST_H

#include <functional>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// Goes through the elements of @p list, JSON that was found to be valid, handing each with the cabinet that
/// it names to @p take. Ends at the first element that names none. @return whether it is a list of elements
/// that all name one.
bool forEachNamed(std::string_view list,
                  const std::function<void(const std::string& cabinet, std::string_view element)>& take);

} // namespace Tessel::Simulator

#endif
