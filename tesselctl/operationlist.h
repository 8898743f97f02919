// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATIONLIST_H
#define TESSELCTL_OPERATIONLIST_H

#include "operation.h"

#include <QString>

#include <vector>

namespace TesselCtl {

using Operations = std::vector<Operation>;

/// One function per class, each in operations/<class>.cpp.
Operations capabilityOperations();
Operations debugInfoOperations();

/// Every operation that can be called, class by class, overloads side by side. Built on the first call.
const Operations& allOperations();

/// What a name stands for.
struct Lookup
{
    std::vector<const Operation*> operations; ///< the overloads; empty when the name is unknown or ambiguous
    QString problem;                          ///< why, with the nearest names
};

/// Finds @p name: qualified, or short where one class alone has it.
Lookup findOperation(const Operations& operations, const QString& name);

} // namespace TesselCtl

#endif
