// SPDX-License-Identifier: MIT
#include "communicator/runtime/descriptorbudget.h"

#include <algorithm>
#include <sys/resource.h>

namespace Krelm::Communicator::HttpDevice {

size_t descriptorBudget(size_t share)
{
    rlimit limit{};
    const size_t descriptors =
        getrlimit(RLIMIT_NOFILE, &limit) == 0 ? static_cast<size_t>(limit.rlim_cur) : 1024;
    // Some systems allow a billion, and a tight limit must stop nothing.
    return std::clamp<size_t>(descriptors / share, 16, 4096);
}

} // namespace Krelm::Communicator::HttpDevice
