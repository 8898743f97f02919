// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_OPERATORS_H
#define OPERATIONS_OPERATORS_H

#include <vector>

class QObject;

namespace Tessel::Operations {

/// Every operator of the library; the first call creates them on its thread.
const std::vector<QObject*>& allOperators();

} // namespace Tessel::Operations

#endif
