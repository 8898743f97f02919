// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_READREPEAT_H
#define COMMUNICATOR_HTTP_READREPEAT_H

#include "communicator/httpengine.h"

#include <chrono>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// How long to wait before @p request, answered by @p reply, is sent again; none if it is not. Only a read
/// is, if RequestLimits::repeatReads is set, the device is busy (429, 503), and there is time left of the
/// limit that runs since @p started. `Retry-After` is a lower bound, and without it the wait doubles each
/// time.
std::optional<std::chrono::milliseconds> repeatAfter(const HttpRequest& request, const HttpReply& reply,
                                                     std::chrono::steady_clock::time_point started);

} // namespace Krelm::Communicator::HttpDevice

#endif
