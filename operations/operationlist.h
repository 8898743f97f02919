// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_OPERATIONLIST_H
#define OPERATIONS_OPERATIONLIST_H

#include "operations/operation.h"

#include <QString>

#include <vector>

namespace Tessel::Operations {

using Operations = std::vector<Operation>;

/// One function per class, each in operations/rows/<class>.cpp.
Operations algorithmOperations();
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
