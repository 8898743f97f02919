// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_TIMELIMIT_H
#define COMMUNICATOR_HTTP_TIMELIMIT_H

#include "communicator/httpengine.h"

#include <chrono>

namespace Krelm::Communicator::HttpDevice {

/// How long @p request may take.
std::chrono::milliseconds timeLimit(const HttpRequest& request);
/// Why an exchange that took longer failed.
QString timeOutError(const HttpRequest& request);

} // namespace Krelm::Communicator::HttpDevice

#endif
