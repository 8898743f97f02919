// SPDX-License-Identifier: MIT
#include "communicator/http/refusal.h"

#include "communicator/http/exchangereport.h"

namespace Krelm::Communicator::HttpDevice {

HttpReply failWithoutSending(const HttpRequest& request, IHttpVersionTrigger::HttpSimpleState state,
                             const QString& error, std::chrono::steady_clock::time_point started)
{
    ExchangeSummary summary;
    summary.started = started;
    summary.state = state;
    summary.error = error;
    reportExchange(request, summary);
    HttpReply reply;
    reply.state = state;
    reply.reason = error;
    return reply;
}

QString outOfMemoryError()
{
    return QStringLiteral("the process has no memory left");
}

QString abortedError()
{
    return QStringLiteral("the transport was stopped or the device was removed");
}

QString cancelledError()
{
    return QStringLiteral("the application cancelled the request");
}

} // namespace Krelm::Communicator::HttpDevice
