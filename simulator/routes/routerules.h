// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_ROUTERULES_H
#define SIMULATOR_ROUTES_ROUTERULES_H

#include <simulator/routes/route.h>

namespace Tessel::Simulator {

/// Fills everything of a route that follows from its pattern and its keys.
void applyRouteRules(Route& route);

} // namespace Tessel::Simulator

#endif
