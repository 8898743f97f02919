// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_FIXTURES_H
#define SIMULATOR_RESOURCES_FIXTURES_H

#include <simulator/resources/wall.h>
#include <simulator/routes/route.h>
#include <tessel/warningtypes.h>

#include <nlohmann/json_fwd.hpp>

#include <string>

/// The initial state of a simulated controller.
namespace Tessel::Simulator::Fixtures {

/// The record of one instance of a family, as in the family's list.
nlohmann::json record(Family family, const Wall& wall, std::size_t index);

/// The receiving cards of one cabinet.
nlohmann::json receivingCards(const Wall& wall, std::size_t cabinetIndex);

/// The initial value of @p route. @p index counts the instances of its family, and is 0 for a value of the
/// device. A value that is in no table is an empty object. Measured values depend on @p step.
nlohmann::json value(const Route& route, const Wall& wall, std::size_t index, std::size_t step);

/// The receiving cards of all cabinets.
nlohmann::json allReceivingCards(const Wall& wall);

/// The data of a warning; null if the wall does not have the part concerned.
nlohmann::json warning(WarningType type, const Wall& wall, std::size_t step);

/// The plain initial value of @p property, which is the same for every wall and instance.
const nlohmann::json& plainValue(const std::string& property);

} // namespace Tessel::Simulator::Fixtures

#endif
