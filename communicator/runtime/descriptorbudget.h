// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_DESCRIPTORBUDGET_H
#define COMMUNICATOR_RUNTIME_DESCRIPTORBUDGET_H

#include <cstddef>

namespace Krelm::Communicator::HttpDevice {

/// How many connections may use a @p share th of the file descriptors that the process may open: between 16
/// and 4096.
size_t descriptorBudget(size_t share);

} // namespace Krelm::Communicator::HttpDevice

#endif
