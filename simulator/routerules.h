// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTERULES_H
#define SIMULATOR_ROUTERULES_H

#include <simulator/route.h>

namespace Tessel::Simulator {

/// Fills everything of a route that follows from its pattern and its keys.
void applyRouteRules(Route& route);

} // namespace Tessel::Simulator

#endif
