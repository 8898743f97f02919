// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_FIXTURES_H
#define SIMULATOR_RESOURCES_FIXTURES_H

#include <simulator/resources/wall.h>
#include <simulator/routes/route.h>
#include <tessel/warningtypes.h>

#include <nlohmann/json_fwd.hpp>

#include <string>

/// The content that a simulated controller starts with.
namespace Tessel::Simulator::Fixtures {

/// The record of one instance of a family, as it stands in the family's list.
nlohmann::json record(Family family, const Wall& wall, std::size_t index);

/// The receiving cards of one cabinet.
nlohmann::json receivingCards(const Wall& wall, std::size_t cabinet);

/// The starting value of @p route. @p index counts the instances of its family, 0 for a value of the device.
/// What no table knows is an empty object. What is measured follows from @p step.
nlohmann::json value(const Route& route, const Wall& wall, std::size_t index, std::size_t step);

/// The receiving cards of all cabinets.
nlohmann::json allReceivingCards(const Wall& wall);

/// What a controller tells with a warning; null when the wall lacks what it would warn of.
nlohmann::json warning(WarningType type, const Wall& wall, std::size_t step);

/// The plain starting value of @p property, the same for every wall and instance.
const nlohmann::json& plainValue(const std::string& property);

} // namespace Tessel::Simulator::Fixtures

#endif
