// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_OPERATORS_H
#define OPERATIONS_OPERATORS_H

#include <vector>

class QObject;

namespace Tessel::Operations {

/// All operators of the library. The first call creates them, so they live on its thread.
const std::vector<QObject*>& allOperators();

} // namespace Tessel::Operations

#endif
