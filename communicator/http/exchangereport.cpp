// SPDX-License-Identifier: MIT
#include "communicator/http/exchangereport.h"

#include "communicator/exchangeobserver.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/requesturl.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/logging.h"

namespace Krelm::Communicator::HttpDevice {

void reportExchange(const HttpRequest& request, const ExchangeSummary& summary)
{
    const bool failed = summary.state != IHttpVersionTrigger::Success;
    const bool observed = isExchangeObserved();
    if ((!failed && !observed && !httpLog().isInfoEnabled()) || Lifecycle::isClosed()) {
        return;
    }
    ExchangeRecord record;
    record.id = request.id;
    record.deviceKey = printableKey(request.deviceKey);
    record.verb = verbOf(request.method);
    record.path = !summary.target.isEmpty() || request.path.isEmpty()
                      ? summary.target
                      : requestTarget(request.path, request.placeHolders, request.parameters);
    record.status = summary.status;
    record.state = summary.state;
    record.milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(
                              std::chrono::steady_clock::now() - summary.started)
                              .count();
    record.bytesSent = summary.bytesSent;
    record.bytesReceived = summary.bytesReceived;
    record.reason = summary.error;
    record.reply = summary.reply;
    record.retryAfter = summary.retryAfter;
    record.isRepeated = summary.isRepeated;
    if (failed && !summary.isRepeated) {
        qCWarning(httpLog, "%s %s %s: %s", record.verb.constData(), qPrintable(record.deviceKey),
                  record.path.isEmpty() ? "(no path)" : record.path.constData(), qPrintable(summary.error));
    }
    qCInfo(httpLog, "#%llu %s %s %s: status %d, state %d, %lld ms, %lld bytes out, %lld in", record.id,
           record.verb.constData(), qPrintable(record.deviceKey), record.path.constData(), record.status,
           static_cast<int>(record.state), record.milliseconds, record.bytesSent, record.bytesReceived);
    if (observed) {
        tellObservers(record);
    }
}

void reportProgress(const HttpRequest& request, const QByteArray& target, const TransferSizes& sizes)
{
    if (Lifecycle::isClosed()) {
        return;
    }
    ExchangeProgress progress;
    progress.id = request.id;
    progress.deviceKey = printableKey(request.deviceKey);
    progress.verb = verbOf(request.method);
    progress.path = target;
    progress.bytesSent = sizes.sent;
    progress.bytesToSend = sizes.toSend;
    progress.bytesReceived = sizes.received;
    progress.bytesToReceive = sizes.toReceive;
    tellObservers(progress);
}

} // namespace Krelm::Communicator::HttpDevice
