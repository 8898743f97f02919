// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_OPERATIONLIST_H
#define OPERATIONS_OPERATIONLIST_H

#include "operations/operation.h"

#include <QString>

#include <vector>

namespace Tessel::Operations {

/// Rows, one for each operation.
using Operations = std::vector<Operation>;

/// The rows of one class. Each class has such a function, in a file of its own in operations/rows.
Operations algorithmOperations();
/// @cond the other classes
Operations cabinetInfoOperatorOperations();
Operations capabilityOperations();
Operations correctionopOperations();
Operations debugInfoOperations();
Operations factoryOpOperations();
Operations hwInfoOperations();
Operations hwScreenInfoOperations();
Operations inputInfoOperations();
Operations monitorInfoOperations();
Operations outputInfoOperatorOperations();
Operations pipeInfoOperations();
Operations rvCardDisplayEffectOperations();
Operations screenInfoOperations();
/// @endcond

/// Every operation that can be called, class by class, overloads side by side. Built on the first call.
const Operations& allOperations();

/// The operations that a name can mean.
struct Lookup
{
    std::vector<const Operation*> operations; ///< the overloads; empty when the name is unknown or ambiguous
    QString error;                            ///< why, with the nearest names
};

/// Finds @p name: qualified, or short where one class alone has it. `name#2` is the second of its overloads.
Lookup findOperation(const Operations& operations, QString name);

} // namespace Tessel::Operations

#endif
