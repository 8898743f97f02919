// SPDX-License-Identifier: MIT
#include "communicator/requestlimits.h"

#include "communicator/runtime/descriptorbudget.h"

#include <algorithm>
#include <atomic>

namespace Krelm::Communicator::HttpDevice {

namespace {

std::atomic<int> normalLimit{0};
std::atomic<int> daemonLimit{0};
std::atomic<bool> readsAreRepeated{false};

} // namespace

void setRequestLimits(const RequestLimits& limits)
{
    normalLimit = std::max(limits.normal, 0);
    daemonLimit = std::max(limits.daemon, 0);
    readsAreRepeated = limits.repeatReads;
}

RequestLimits requestLimits()
{
    RequestLimits limits{normalLimit, daemonLimit, readsAreRepeated};
    if (limits.normal == 0) {
        limits.normal = static_cast<int>(descriptorBudget(4));
    }
    if (limits.daemon == 0) {
        limits.daemon = static_cast<int>(descriptorBudget(16));
    }
    return limits;
}

} // namespace Krelm::Communicator::HttpDevice
