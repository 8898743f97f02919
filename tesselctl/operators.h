// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATORS_H
#define TESSELCTL_OPERATORS_H

#include <vector>

class QObject;

namespace TesselCtl {

/// Every operator of the library; the first call creates them on its thread.
const std::vector<QObject*>& allOperators();

} // namespace TesselCtl

#endif
