// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_DESCRIPTORBUDGET_H
#define COMMUNICATOR_RUNTIME_DESCRIPTORBUDGET_H

#include <cstddef>

namespace Krelm::Communicator::HttpDevice {

/// The number of objects, using @p each file descriptors each, that fit into 1/@p share of the process's
/// limit on open descriptors; between 16 and 4096.
size_t descriptorBudget(size_t share, size_t each);

} // namespace Krelm::Communicator::HttpDevice

#endif
