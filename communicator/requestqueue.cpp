// SPDX-License-Identifier: MIT
#include "communicator/requestqueue.h"

#include "communicator/exchangereport.h"

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// As many as a group of inputs has, so that it lasts no longer than its slowest reply.
constexpr size_t MaximumPerDevice = 64;
constexpr size_t MaximumIdleTransfers = 64;

} // namespace

RequestQueue::RequestQueue(IoLoop& loop, const TransferLimits& limits, size_t connections)
    : m_loop(loop)
    , m_limits(limits)
    , m_maximumUnderWay(connections)
    , m_multi(loop, static_cast<long>(connections))
{}

RequestQueue::~RequestQueue()
{
    const auto devices = std::exchange(m_devices, {});
    for (const std::shared_ptr<DeviceQueue>& queue : devices) {
        abortAll(std::move(queue->waiting), std::move(queue->underWay));
    }
}

void RequestQueue::add(HttpRequest request, std::shared_ptr<const Device> device, Done done,
                       std::chrono::steady_clock::time_point started)
{
    const QString key = request.deviceKey;
    std::shared_ptr<DeviceQueue>& queue = m_devices[key];
    if (!queue) {
        queue = std::make_shared<DeviceQueue>();
    }
    const auto deadline = started + timeLimit(request);
    queue->waiting.push_back(
        {std::move(request), std::move(device), std::move(done), started, deadline, std::nullopt, nullptr});
    const auto exchange = std::prev(queue->waiting.end());
    exchange->timer = m_loop.startTimer(deadline, [this, key, exchange] { expire(key, exchange); });
    list(key, *queue);
    startRunnable();
}

// A device is listed once at most, however much waits for it.
void RequestQueue::list(const QString& deviceKey, DeviceQueue& queue)
{
    if (!queue.isListed && !queue.waiting.empty() && queue.underWay.size() < MaximumPerDevice) {
        queue.isListed = true;
        m_runnable.push_back(deviceKey);
    }
}

void RequestQueue::startRunnable()
{
    while (m_underWay < m_maximumUnderWay && !m_runnable.empty()) {
        const QString key = std::move(m_runnable.front());
        m_runnable.pop_front();
        const std::shared_ptr<DeviceQueue> queue = m_devices.value(key);
        if (queue) {
            queue->isListed = false;
            if (!queue->waiting.empty() && queue->underWay.size() < MaximumPerDevice) {
                begin(key, *queue);
                list(key, *queue);
            }
            leave(key);
        }
    }
}

void RequestQueue::begin(const QString& deviceKey, DeviceQueue& queue)
{
    const auto exchange = queue.waiting.begin();
    queue.underWay.splice(queue.underWay.end(), queue.waiting, exchange);
    ++m_underWay;
    m_loop.stopTimer(*exchange->timer);
    exchange->timer.reset();
    exchange->transfer = takeTransfer(exchange->device.get());
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(exchange->deadline - std::chrono::steady_clock::now());
    const auto prepared =
        exchange->transfer->prepare(exchange->request, exchange->device, left, exchange->started);
    if (prepared == IHttpVersionTrigger::Success) {
        m_multi.add(exchange->transfer->easy(),
                    [this, deviceKey, exchange](CURLcode code) { finished(deviceKey, exchange, code); });
        return;
    }
    const HttpReply reply = exchange->transfer->finish(prepared, {});
    const Done done = std::move(exchange->done);
    keepTransfer(std::move(exchange->transfer));
    queue.underWay.erase(exchange);
    --m_underWay;
    done(reply);
}

void RequestQueue::finished(const QString& deviceKey, Exchanges::iterator exchange, CURLcode code)
{
    const std::shared_ptr<DeviceQueue> queue = m_devices.value(deviceKey);
    const HttpReply reply = exchange->transfer->finish(code);
    const Done done = std::move(exchange->done);
    keepTransfer(std::move(exchange->transfer));
    queue->underWay.erase(exchange);
    --m_underWay;
    list(deviceKey, *queue);
    leave(deviceKey);
    done(reply);
    startRunnable();
}

void RequestQueue::expire(const QString& deviceKey, Exchanges::iterator exchange)
{
    const std::shared_ptr<DeviceQueue> queue = m_devices.value(deviceKey);
    Exchanges expired;
    expired.splice(expired.end(), queue->waiting, exchange);
    leave(deviceKey);
    exchange->done(refuse(exchange->request, IHttpVersionTrigger::TimedOut, timeOutReason(exchange->request),
                          exchange->started));
}

// Forgets a device without exchanges.
void RequestQueue::leave(const QString& deviceKey)
{
    const auto device = m_devices.find(deviceKey);
    if (device != m_devices.end() && (*device)->waiting.empty() && (*device)->underWay.empty() &&
        !(*device)->isListed) {
        m_devices.erase(device);
    }
}

void RequestQueue::abort(const QString& deviceKey)
{
    const std::shared_ptr<DeviceQueue> queue = m_devices.value(deviceKey);
    if (!queue) {
        return;
    }
    abortAll(std::move(queue->waiting), std::move(queue->underWay));
    queue->waiting.clear();
    queue->underWay.clear();
    leave(deviceKey);
    startRunnable();
}

void RequestQueue::abortAll(Exchanges waiting, Exchanges underWay)
{
    for (Exchange& exchange : waiting) {
        m_loop.stopTimer(*exchange.timer);
        exchange.done(
            refuse(exchange.request, IHttpVersionTrigger::Aborted, abortedReason(), exchange.started));
    }
    for (Exchange& exchange : underWay) {
        m_multi.remove(exchange.transfer->easy());
        --m_underWay;
        exchange.done(exchange.transfer->finish(IHttpVersionTrigger::Aborted, abortedReason()));
    }
}

std::unique_ptr<CurlTransfer> RequestQueue::takeTransfer(const Device* device)
{
    if (m_idle.empty()) {
        return std::make_unique<CurlTransfer>(m_limits);
    }
    auto chosen = std::find_if(m_idle.begin(), m_idle.end(),
                               [device](const auto& transfer) { return transfer->device().get() == device; });
    if (chosen == m_idle.end()) {
        chosen = std::prev(m_idle.end());
    }
    std::unique_ptr<CurlTransfer> transfer = std::move(*chosen);
    m_idle.erase(chosen);
    return transfer;
}

void RequestQueue::keepTransfer(std::unique_ptr<CurlTransfer> transfer)
{
    if (m_idle.size() < MaximumIdleTransfers) {
        m_idle.push_back(std::move(transfer));
    }
}

} // namespace Krelm::Communicator::HttpDevice
