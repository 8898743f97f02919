// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_COEFFICIENTS_H
#define SIMULATOR_COEFFICIENTS_H

#include <tessel/coefficientkinds.h>

#include <QString>
#include <QtGlobal>

namespace Tessel::Simulator {

// Each cabinet has a table of each kind.
using Tessel::CoefficientKind;

/// The places in which a cabinet keeps its tables. An upload goes to the first; saving, loading and applying
/// copy tables from one to another.
enum class CoefficientBank {
    Loaded,  ///< in the receiving card, until the next upload
    Saved,   ///< in the memory of the cabinet
    Factory, ///< the tables it was delivered with
    Module,  ///< in the memory of its modules
    Applied  ///< low-gray coefficients in use
};

/// The uploads of one kind of coefficients that a controller has received.
struct CoefficientCounts
{
    quint64 uploads = 0; ///< number of accepted requests
    quint64 bytes = 0;   ///< total size of their bodies
};

} // namespace Tessel::Simulator

#endif
