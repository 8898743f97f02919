// SPDX-License-Identifier: MIT
#include "communicator/exchangereport.h"

#include "communicator/exchangeobserver.h"
#include "communicator/lifecycle.h"
#include "communicator/logging.h"
#include "communicator/requesturl.h"
#include "communicator/transferlimits.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

namespace {

std::atomic<quint64> begun{0};

using Observer = std::function<void(const ExchangeRecord&)>;

// Never destroyed: exchanges may end while the process does.
struct ObserverSlot
{
    std::atomic<bool> set{false};
    std::mutex mutex; ///< guards observer
    std::shared_ptr<const Observer> observer;
};

ObserverSlot& observerSlot()
{
    static auto* const slot = new ObserverSlot;
    return *slot;
}

std::shared_ptr<const Observer> currentObserver()
{
    ObserverSlot& slot = observerSlot();
    if (!slot.set) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(slot.mutex);
    return slot.observer;
}

} // namespace

void setExchangeObserver(std::function<void(const ExchangeRecord&)> observer)
{
    ObserverSlot& slot = observerSlot();
    auto next = observer ? std::make_shared<const Observer>(std::move(observer)) : nullptr;
    const std::lock_guard<std::mutex> lock(slot.mutex);
    slot.set = next != nullptr;
    slot.observer.swap(next);
}

void countExchange()
{
    ++begun;
}

quint64 exchangesBegun()
{
    return begun;
}

const char* verbOf(HttpMethod method)
{
    switch (method) {
    case HttpMethod::Put:
        return "PUT";
    case HttpMethod::Post:
        return "POST";
    case HttpMethod::Delete:
        return "DELETE";
    case HttpMethod::Get:
        break;
    }
    return "GET";
}

void reportExchange(const HttpRequest& request, const ExchangeSummary& summary)
{
    const bool failed = summary.state != IHttpVersionTrigger::Success;
    const std::shared_ptr<const Observer> observer = currentObserver();
    if ((!failed && !observer && !httpLog().isInfoEnabled()) || Lifecycle::isClosed()) {
        return;
    }
    ExchangeRecord record;
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
    record.reason = summary.reason;
    record.reply = summary.reply;
    if (failed) {
        qCWarning(httpLog, "%s %s %s: %s", record.verb.constData(), qPrintable(record.deviceKey),
                  record.path.isEmpty() ? "(no path)" : record.path.constData(), qPrintable(summary.reason));
    }
    qCInfo(httpLog, "%s %s %s: status %d, state %d, %lld ms, %lld bytes out, %lld in",
           record.verb.constData(), qPrintable(record.deviceKey), record.path.constData(), record.status,
           static_cast<int>(record.state), record.milliseconds, record.bytesSent, record.bytesReceived);
    if (observer) {
        (*observer)(record);
    }
}

HttpReply refuse(const HttpRequest& request, IHttpVersionTrigger::HttpSimpleState state,
                 const QString& reason, std::chrono::steady_clock::time_point started)
{
    ExchangeSummary summary;
    summary.started = started;
    summary.state = state;
    summary.reason = reason;
    reportExchange(request, summary);
    HttpReply reply;
    reply.state = state;
    return reply;
}

std::chrono::milliseconds timeLimit(const HttpRequest& request)
{
    return std::chrono::milliseconds(request.expectedTime > 0 ? request.expectedTime : DefaultExpectedTime);
}

QString timeOutReason(const HttpRequest& request)
{
    return QStringLiteral("no whole reply within %1 ms").arg(timeLimit(request).count());
}

QString abortedReason()
{
    return QStringLiteral("the transport was stopped or the device removed");
}

} // namespace Krelm::Communicator::HttpDevice
