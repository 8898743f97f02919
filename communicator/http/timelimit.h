// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_TIMELIMIT_H
#define COMMUNICATOR_HTTP_TIMELIMIT_H

#include "communicator/httpengine.h"

#include <chrono>

namespace Krelm::Communicator::HttpDevice {

/// The time limit of @p request.
std::chrono::milliseconds timeLimit(const HttpRequest& request);
/// The reason text of exchanges that exceed it.
QString timeOutError(const HttpRequest& request);

} // namespace Krelm::Communicator::HttpDevice

#endif
