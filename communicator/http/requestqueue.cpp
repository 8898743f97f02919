// SPDX-License-Identifier: MIT
#include "communicator/http/requestqueue.h"

#include "communicator/http/refusal.h"
#include "communicator/http/requesturl.h"
#include "communicator/http/timelimit.h"
#include "communicator/runtime/logging.h"

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// The size of a group of inputs, so that a group takes no longer than its slowest reply.
constexpr size_t maxPerDevice = 64;
// Exchange objects kept for reuse, which saves creating them; they hold no connection.
constexpr size_t maxIdle = 64;
// Idle connections kept per device, so that the next group can use those that a group has opened.
constexpr size_t maxKeptPerDevice = 64;

} // namespace

RequestQueue::RequestQueue(IoLoop& loop, const TransferLimits& limits, std::function<size_t()> maxConnections)
    : m_loop(loop)
    , m_limits(limits)
    , m_maxConnections(std::move(maxConnections))
    , m_connector(loop)
{}

RequestQueue::~RequestQueue()
{
    const auto devices = std::exchange(m_devices, {});
    for (const std::shared_ptr<DeviceQueue>& queue : devices) {
        endAll(*queue, abortedError());
    }
}

void RequestQueue::add(HttpRequest request, std::shared_ptr<const Device> device, Done done,
                       std::chrono::steady_clock::time_point started)
{
    if (device->isRemoved || m_cancelled.contains(request.id)) {
        done(failWithoutSending(request, IHttpVersionTrigger::Aborted,
                                device->isRemoved ? abortedError() : cancelledError(), started));
        return;
    }
    const QString key = request.deviceKey;
    std::shared_ptr<DeviceQueue>& queue = m_devices[key];
    if (!queue) {
        queue = std::make_shared<DeviceQueue>();
    }
    const auto deadline = started + timeLimit(request);
    // What a renewal of the token waits for must not wait for the requests that wait for the token.
    const bool isUrgent = request.renewsLogin;
    const QByteArray path = request.method == HttpMethod::Get || isUrgent
                                ? QByteArray()
                                : requestTarget(request.path, request.placeHolders, {});
    const auto earlier = path.isEmpty() ? queue->heldBack.end() : queue->heldBack.find(path);
    const bool isHeldBack = earlier != queue->heldBack.end();
    if (!isHeldBack && !path.isEmpty()) {
        queue->heldBack.try_emplace(path);
    }
    Jobs& jobs = isHeldBack ? earlier->second : queue->waiting;
    const auto job = jobs.insert(isUrgent ? jobs.begin() : jobs.end(), {std::move(request),
                                                                        std::move(device),
                                                                        std::move(done),
                                                                        ++m_added,
                                                                        started,
                                                                        deadline,
                                                                        {},
                                                                        path,
                                                                        isHeldBack,
                                                                        false,
                                                                        {},
                                                                        nullptr});
    job->timer = m_loop.startTimer(deadline, [this, key, job] {
        endEarly(key, job, IHttpVersionTrigger::TimedOut, timeOutError(job->request));
    });
    if (isUrgent) {
        begin(key, *std::shared_ptr(queue)); // which may be gone after it
        return;
    }
    markRunnable(key, *queue);
    startRunnable();
}

// A device is in the list at most once, however many exchanges are waiting for it.
void RequestQueue::markRunnable(const QString& deviceKey, DeviceQueue& queue)
{
    if (!queue.isRunnable && !queue.waiting.empty()) {
        queue.isRunnable = true;
        m_runnable.push_back(deviceKey);
    }
}

// Half of the remaining connections for each, so that a few devices which never answer cannot take all.
RequestQueue::Room RequestQueue::roomFor(const DeviceQueue& queue, size_t connections) const
{
    const size_t ofDevice = queue.underWay.size();
    if (ofDevice >= maxPerDevice) {
        return Room::DeviceIsBusy;
    }
    const bool free = ofDevice == 0 ? m_underWay < 2 * connections : m_underWay + ofDevice < connections;
    return free ? Room::Free : Room::AllAreBusy;
}

void RequestQueue::tellLimit(size_t connections)
{
    const auto now = std::chrono::steady_clock::now();
    if (m_limitTold && now - *m_limitTold < std::chrono::minutes(1)) {
        return;
    }
    m_limitTold = now;
    qCWarning(httpLog,
              "requests wait for others: %zu are under way, and the limit for all devices together is %zu; "
              "setRequestLimits() changes it",
              m_underWay, connections);
}

void RequestQueue::startRunnable()
{
    if (m_isStarting) {
        return; // the call that is already starting exchanges sees the new ones
    }
    m_isStarting = true;
    const size_t connections = m_maxConnections();
    bool limited = false;
    // One round without a start is enough, because nothing changes by itself.
    for (size_t refused = 0; refused < m_runnable.size();) {
        if (m_underWay >= 2 * connections) {
            limited = true;
            break;
        }
        const QString key = std::move(m_runnable.front());
        m_runnable.pop_front();
        const std::shared_ptr<DeviceQueue> queue = m_devices.value(key);
        queue->isRunnable = false;
        const Room room = queue->waiting.empty() ? Room::DeviceIsBusy : roomFor(*queue, connections);
        if (room == Room::Free) {
            begin(key, *queue);
            refused = 0;
        } else {
            ++refused;
            limited = limited || room == Room::AllAreBusy;
        }
        markRunnable(key, *queue);
        forgetIfIdle(key);
    }
    m_isStarting = false;
    if (limited) {
        tellLimit(connections);
    }
}

void RequestQueue::begin(const QString& deviceKey, DeviceQueue& queue)
{
    const auto job = queue.waiting.begin();
    queue.underWay.splice(queue.underWay.end(), queue.waiting, job);
    ++m_underWay;
    if (m_idle.empty()) {
        job->exchange = std::make_unique<AsyncExchange>(m_loop, m_connector, m_limits);
    } else {
        job->exchange = std::move(m_idle.back());
        m_idle.pop_back();
    }
    job->exchange->start(job->request, job->device, m_kept.takeNewest(job->device.get()).connection,
                         job->started, job->deadline,
                         [this, deviceKey, job](const HttpReply& reply) { finished(deviceKey, job, reply); });
}

void RequestQueue::finished(const QString& deviceKey, Jobs::iterator job, const HttpReply& reply)
{
    const std::shared_ptr<DeviceQueue> queue = m_devices.value(deviceKey);
    if (const auto wait = job->exchange->repeatAfter()) {
        pause(deviceKey, *queue, job, *wait);
        return;
    }
    m_loop.stopTimer(job->timer);
    const Done done = std::move(job->done);
    keep(job->device, std::move(job->exchange));
    writeEnded(*queue, job->writtenPath);
    queue->underWay.erase(job);
    --m_underWay;
    markRunnable(deviceKey, *queue);
    forgetIfIdle(deviceKey);
    done(reply);
    startRunnable();
}

void RequestQueue::pause(const QString& deviceKey, DeviceQueue& queue, Jobs::iterator job,
                         std::chrono::milliseconds wait)
{
    keep(job->device, std::move(job->exchange));
    --m_underWay;
    ++job->request.repeats;
    job->isPaused = true;
    queue.paused.splice(queue.paused.end(), queue.underWay, job);
    job->pause = m_loop.startTimer(IoLoop::Clock::now() + wait, [this, deviceKey, job] {
        const std::shared_ptr<DeviceQueue> resumed = m_devices.value(deviceKey);
        job->isPaused = false;
        resumed->waiting.splice(resumed->waiting.end(), resumed->paused, job);
        markRunnable(deviceKey, *resumed);
        startRunnable();
    });
    markRunnable(deviceKey, queue);
    startRunnable();
}

void RequestQueue::endEarly(const QString& deviceKey, Jobs::iterator job,
                            IHttpVersionTrigger::HttpSimpleState outcome, const QString& error)
{
    if (job->exchange) {
        finished(deviceKey, job, job->exchange->breakOff(outcome, error));
        return;
    }
    m_loop.stopTimer(job->timer);
    const std::shared_ptr<DeviceQueue> queue = m_devices.value(deviceKey);
    Jobs expired;
    if (job->isPaused) {
        m_loop.stopTimer(job->pause);
        expired.splice(expired.end(), queue->paused, job);
    } else if (job->isHeldBack) {
        expired.splice(expired.end(), queue->heldBack[job->writtenPath], job);
    } else {
        expired.splice(expired.end(), queue->waiting, job);
        writeEnded(*queue, job->writtenPath);
        markRunnable(deviceKey, *queue);
    }
    forgetIfIdle(deviceKey);
    job->done(failWithoutSending(job->request, outcome, error, job->started));
    startRunnable();
}

// The next write to the path, if one is held back, waits for its turn from now on, before all that came after
// it.
void RequestQueue::writeEnded(DeviceQueue& queue, const QByteArray& path)
{
    if (path.isEmpty()) {
        return;
    }
    const auto next = queue.heldBack.find(path);
    Jobs& heldBack = next->second;
    if (heldBack.empty()) {
        queue.heldBack.erase(next);
        return;
    }
    heldBack.front().isHeldBack = false;
    const auto later = std::find_if(queue.waiting.begin(), queue.waiting.end(), [&heldBack](const Job& one) {
        return one.number > heldBack.front().number;
    });
    queue.waiting.splice(later, heldBack, heldBack.begin());
}

void RequestQueue::forgetIfIdle(const QString& deviceKey)
{
    const auto device = m_devices.find(deviceKey);
    if (device != m_devices.end() && (*device)->waiting.empty() && (*device)->underWay.empty() &&
        (*device)->paused.empty() && !(*device)->isRunnable) {
        m_devices.erase(device);
    }
}

void RequestQueue::abort(const QString& deviceKey)
{
    m_kept.takeIf([&](const Kept& kept) { return kept.device->key == deviceKey; });
    endAllOf(deviceKey, abortedError());
}

void RequestQueue::dropReplaced(const QString& deviceKey)
{
    m_kept.takeIf([&](const Kept& kept) { return kept.device->key == deviceKey && kept.device->isReplaced; });
}

void RequestQueue::cancel(ExchangeId id)
{
    m_cancelled.add(id);
    for (auto device = m_devices.begin(); device != m_devices.end(); ++device) {
        DeviceQueue& queue = **device;
        const auto endIn = [&](Jobs& jobs) {
            const auto job =
                std::find_if(jobs.begin(), jobs.end(), [id](const Job& one) { return one.request.id == id; });
            if (job == jobs.end()) {
                return false;
            }
            endEarly(QString(device.key()), job, IHttpVersionTrigger::Aborted, cancelledError());
            return true;
        };
        const bool isEnded = endIn(queue.underWay) || endIn(queue.waiting) || endIn(queue.paused) ||
                             std::any_of(queue.heldBack.begin(), queue.heldBack.end(),
                                         [&endIn](auto& path) { return endIn(path.second); });
        if (isEnded) {
            return; // the containers have changed
        }
    }
}

void RequestQueue::cancelAll(const QString& deviceKey)
{
    endAllOf(deviceKey, cancelledError());
}

void RequestQueue::endAllOf(const QString& deviceKey, const QString& error)
{
    if (const std::shared_ptr<DeviceQueue> queue = m_devices.value(deviceKey)) {
        endAll(*queue, error);
        forgetIfIdle(deviceKey);
        startRunnable();
    }
}

// What has no connection: not begun, held back or not, or paused.
RequestQueue::Jobs RequestQueue::takeWaiting(DeviceQueue& queue)
{
    Jobs all = std::exchange(queue.waiting, {});
    for (const Job& paused : queue.paused) {
        m_loop.stopTimer(paused.pause);
    }
    all.splice(all.end(), queue.paused);
    for (auto& path : queue.heldBack) {
        all.splice(all.end(), path.second);
    }
    queue.heldBack.clear();
    return all;
}

void RequestQueue::endAll(DeviceQueue& queue, const QString& error)
{
    const Jobs waiting = takeWaiting(queue);
    Jobs underWay = std::exchange(queue.underWay, {});
    for (const Job& job : waiting) {
        m_loop.stopTimer(job.timer);
        job.done(failWithoutSending(job.request, IHttpVersionTrigger::Aborted, error, job.started));
    }
    for (Job& job : underWay) {
        m_loop.stopTimer(job.timer);
        --m_underWay;
        job.done(job.exchange->breakOff(IHttpVersionTrigger::Aborted, error));
    }
}

void RequestQueue::keep(const std::shared_ptr<const Device>& device, std::unique_ptr<AsyncExchange> exchange)
{
    if (std::unique_ptr<Connection> connection = exchange->takeConnection();
        connection && !device->isRemoved && !device->isReplaced) {
        if (m_kept.count(device.get()) == maxKeptPerDevice) {
            m_kept.takeOldest(device.get());
        } else if (m_kept.size() >= m_maxConnections()) {
            m_kept.takeOldest();
        }
        m_kept.add(device.get(), {device, std::move(connection)});
    }
    if (m_idle.size() < maxIdle) {
        m_idle.push_back(std::move(exchange));
    }
}

} // namespace Krelm::Communicator::HttpDevice
