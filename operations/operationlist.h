// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_OPERATIONLIST_H
#define OPERATIONS_OPERATIONLIST_H

#include "operations/operation.h"

#include <QString>

#include <vector>

namespace Tessel::Operations {

/// The table of operations, one row each; an overload has its own row.
using Operations = std::vector<Operation>;

/// The rows of one class. Each class has such a function, in its own file in operations/rows.
Operations algorithmOperations();
/// @cond
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

/// All operations, grouped by class, with overloads next to each other. Built on the first call; any thread
/// may call this.
const Operations& allOperations();

/// The result of looking up a name.
struct Lookup
{
    std::vector<const Operation*> operations; ///< the overloads; empty when the name is unknown or ambiguous
    QString error;                            ///< the reason in that case, with similar names
};

/// Finds @p name, which may omit the class if it is unique. `name#2` selects the second overload.
Lookup findOperation(const Operations& operations, QString name);

} // namespace Tessel::Operations

#endif
