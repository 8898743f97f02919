// SPDX-License-Identifier: MIT
#include "timelimits.h"

#include "replaced.h"

#include <communicator/httpjsonpackage.h>

#include <atomic>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;

namespace {

std::atomic<int> given{0};

} // namespace

int timeLimitsGiven()
{
    return given;
}

void HttpJsonPackage::setExpectedTime(int milliseconds)
{
    static const auto library = replaced<void(HttpJsonPackage*, int)>(
        "_ZN5Krelm12Communicator10HttpDevice15HttpJsonPackage15setExpectedTimeEi");
    ++given;
    library(this, milliseconds);
}
