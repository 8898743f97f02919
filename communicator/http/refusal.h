// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REFUSAL_H
#define COMMUNICATOR_HTTP_REFUSAL_H

#include "communicator/httpengine.h"

#include <chrono>

namespace Krelm::Communicator::HttpDevice {

/// Reports a request that is not sent, and returns the reply to it.
HttpReply failWithoutSending(const HttpRequest& request, IHttpVersionTrigger::HttpSimpleState state,
                             const QString& error, std::chrono::steady_clock::time_point started);

/// The reason text of exchanges that end with `Aborted`.
QString abortedError();
/// The same when the application ended it.
QString cancelledError();

/// The reason text of exchanges that end with `LimitExceeded` because the process has no memory left.
QString outOfMemoryError();

} // namespace Krelm::Communicator::HttpDevice

#endif
