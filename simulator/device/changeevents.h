// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_CHANGEEVENTS_H
#define SIMULATOR_DEVICE_CHANGEEVENTS_H

#include <simulator/resources/resourcestore.h>
#include <tessel/pushevents.h>

#include <string>
#include <vector>

namespace Tessel::Simulator {

/// The JSON object of @p event, with @p payload if the event has one.
nlohmann::json eventObject(PushEvent event, nlohmann::json payload = nullptr);

/// The events that a controller pushes after @p written, the outcome of writing @p body to @p route; none if
/// nothing has changed.
std::vector<std::string> changeEvents(const Route& route, const ResourceStore::Written& written,
                                      const nlohmann::json& body);

} // namespace Tessel::Simulator

#endif
