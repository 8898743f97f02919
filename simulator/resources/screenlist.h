// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_SCREENLIST_H
#define SIMULATOR_RESOURCES_SCREENLIST_H

#include <simulator/resources/collection.h>
#include <simulator/resources/wall.h>

#include <string>

namespace Tessel::Simulator {

/// The JSON returned by the routes that list screens with their sub-screens and cabinets. The single-screen
/// route describes the first screen at the top level; on a multi-screen controller it also lists all screens.
std::string screenList(const Wall& wall, const Collection& screens, const Collection& cabinets,
                       bool multiScreenRoute);

} // namespace Tessel::Simulator

#endif
