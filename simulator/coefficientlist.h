// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_COEFFICIENTLIST_H
#define SIMULATOR_COEFFICIENTLIST_H

#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// One element of an uploaded list.
struct CoefficientElement
{
    std::string cabinet;   ///< the id that it names; empty when it names none
    std::string_view text; ///< as it came
};

/// The elements of @p list, which is a JSON array that was found to be valid; @p list has to outlive them.
std::vector<CoefficientElement> elementsOf(std::string_view list);

} // namespace Tessel::Simulator

#endif
