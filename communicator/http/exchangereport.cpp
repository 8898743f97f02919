// SPDX-License-Identifier: MIT
#include "communicator/http/exchangereport.h"

#include "communicator/exchangeobserver.h"
#include "communicator/http/requesturl.h"
#include "communicator/http/transferlimits.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/logging.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

namespace {

std::atomic<quint64> begun{0};

/// Holds the one observer that wants @p Record.
template <class Record>
class ObserverSlot
{
public:
    using Observer = std::function<void(const Record&)>;

    bool isSet() const { return m_set; }
    void set(Observer observer)
    {
        auto next = observer ? std::make_shared<const Observer>(std::move(observer)) : nullptr;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_set = next != nullptr;
        m_observer.swap(next);
    }
    std::shared_ptr<const Observer> current()
    {
        if (!m_set) {
            return nullptr;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_observer;
    }

private:
    std::atomic<bool> m_set{false};
    std::mutex m_mutex; ///< guards m_observer
    std::shared_ptr<const Observer> m_observer;
};

// Never destroyed: exchanges may end while the process does.
ObserverSlot<ExchangeRecord>& exchangeObserver()
{
    static auto* const slot = new ObserverSlot<ExchangeRecord>;
    return *slot;
}

ObserverSlot<ExchangeProgress>& progressObserver()
{
    static auto* const slot = new ObserverSlot<ExchangeProgress>;
    return *slot;
}

} // namespace

void setExchangeObserver(std::function<void(const ExchangeRecord&)> observer)
{
    exchangeObserver().set(std::move(observer));
}

void setProgressObserver(std::function<void(const ExchangeProgress&)> observer)
{
    progressObserver().set(std::move(observer));
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
    const auto observer = exchangeObserver().current();
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

bool isProgressObserved()
{
    return progressObserver().isSet();
}

void reportProgress(const HttpRequest& request, const QByteArray& target, const TransferSizes& sizes)
{
    const auto observer = progressObserver().current();
    if (!observer || Lifecycle::isClosed()) {
        return;
    }
    ExchangeProgress progress;
    progress.deviceKey = printableKey(request.deviceKey);
    progress.verb = verbOf(request.method);
    progress.path = target;
    progress.bytesSent = sizes.sent;
    progress.bytesToSend = sizes.toSend;
    progress.bytesReceived = sizes.received;
    progress.bytesToReceive = sizes.toReceive;
    (*observer)(progress);
}

HttpReply failWithoutSending(const HttpRequest& request, IHttpVersionTrigger::HttpSimpleState state,
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
