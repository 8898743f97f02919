// SPDX-License-Identifier: MIT
#include "communicator/http/timelimit.h"

#include "communicator/http/transferlimits.h"

namespace Krelm::Communicator::HttpDevice {

std::chrono::milliseconds timeLimit(const HttpRequest& request)
{
    return std::chrono::milliseconds(request.expectedTime > 0 ? request.expectedTime : defaultExpectedTime);
}

QString timeOutError(const HttpRequest& request)
{
    return QStringLiteral("no complete reply within %1 ms").arg(timeLimit(request).count());
}

} // namespace Krelm::Communicator::HttpDevice
