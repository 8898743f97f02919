// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_DESCRIPTORBUDGET_H
#define COMMUNICATOR_RUNTIME_DESCRIPTORBUDGET_H

#include <cstddef>

namespace Krelm::Communicator::HttpDevice {

/// The number of connections that may use 1/@p share of the file descriptors that the process may open;
/// between 16 and 4096.
size_t descriptorBudget(size_t share);

} // namespace Krelm::Communicator::HttpDevice

#endif
