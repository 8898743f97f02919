// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_SCREENLIST_H
#define SIMULATOR_RESOURCES_SCREENLIST_H

#include <simulator/resources/collection.h>
#include <simulator/resources/wall.h>

#include <string>

namespace Tessel::Simulator {

/// What the routes that list screens with their sub-screens and cabinets give, as JSON: the single-screen
/// route describes the first screen at the top level, and on a multi-screen controller lists all as well.
std::string screenList(const Wall& wall, const Collection& screens, const Collection& cabinets,
                       bool multiScreenRoute);

} // namespace Tessel::Simulator

#endif
