// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_ROUTERULES_H
#define SIMULATOR_ROUTES_ROUTERULES_H

#include <simulator/routes/route.h>

#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// The properties named in the rules, for a test that compares them with the existing routes.
std::vector<std::string_view> specialProperties();

/// Fills in everything about a route that follows from its pattern and its keys.
void applyRouteRules(Route& route);

} // namespace Tessel::Simulator

#endif
