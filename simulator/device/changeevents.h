// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_CHANGEEVENTS_H
#define SIMULATOR_DEVICE_CHANGEEVENTS_H

#include <simulator/resources/resourcestore.h>

#include <string>
#include <vector>

namespace Tessel::Simulator {

/// The events that a controller pushes after @p written, the outcome of writing @p body to @p route; none
/// when nothing changed.
std::vector<std::string> changeEvents(const Route& route, const ResourceStore::Written& written,
                                      const nlohmann::json& body);

} // namespace Tessel::Simulator

#endif
