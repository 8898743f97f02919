// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_COEFFICIENTS_H
#define SIMULATOR_COEFFICIENTS_H

#include <tessel/coefficientkinds.h>

#include <QString>
#include <QtGlobal>

namespace Tessel::Simulator {

// Each cabinet has a table of each kind.
using Tessel::CoefficientKind;

/// Where a cabinet keeps its tables. An upload goes to the first; saving, loading and applying copy from one
/// to another.
enum class CoefficientBank {
    Loaded,  ///< in the receiving card, gone with the next upload
    Saved,   ///< in the memory of the cabinet
    Factory, ///< what it was delivered with
    Module,  ///< in the memories of its modules
    Applied  ///< low-gray coefficients in use
};

/// What a controller got of one kind of coefficients.
struct CoefficientCounts
{
    quint64 uploads = 0; ///< requests that were taken
    quint64 bytes = 0;   ///< of their bodies
};

} // namespace Tessel::Simulator

#endif
