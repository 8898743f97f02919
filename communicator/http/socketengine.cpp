// SPDX-License-Identifier: MIT
#include "communicator/http/socketengine.h"

#include "communicator/http/refusal.h"
#include "communicator/http/requestqueue.h"
#include "communicator/requestlimits.h"

#include <optional>

namespace Krelm::Communicator::HttpDevice {

namespace {

QString unknownDevice()
{
    return QStringLiteral("the device key is neither known nor an address such as host:port");
}

} // namespace

// Daemon exchanges have their own connections, so that neither traffic class waits for the other.
struct SocketEngine::Queues
{
    Queues(IoLoop& loop, const TransferLimits& limits)
        : normal(std::in_place, loop, limits, [] { return size_t(requestLimits().normal); })
        , daemon(std::in_place, loop, limits, [] { return size_t(requestLimits().daemon); })
    {}
    std::optional<RequestQueue> normal;
    std::optional<RequestQueue> daemon;
};

SocketEngine::SocketEngine(std::shared_ptr<const DeviceRegistry> registry, std::shared_ptr<IoLoop> loop,
                           const TransferLimits& limits)
    : m_pool(limits)
    , m_registry(std::move(registry))
    , m_loop(std::move(loop))
    , m_queues(std::make_shared<Queues>(*m_loop, limits))
{}

SocketEngine::~SocketEngine()
{
    stop();
}

HttpReply SocketEngine::exchange(const HttpRequest& request)
{
    const auto started = std::chrono::steady_clock::now();
    const std::shared_ptr<const Device> device = m_registry->find(request.deviceKey);
    return device
               ? m_pool.exchange(request, device, started)
               : failWithoutSending(request, IHttpVersionTrigger::InvalidRequest, unknownDevice(), started);
}

bool SocketEngine::start(const HttpRequest& request, std::function<void(const HttpReply&)> done)
{
    const auto started = std::chrono::steady_clock::now();
    std::shared_ptr<const Device> device = m_registry->find(request.deviceKey);
    const QString error = device ? errorOfRequest(request) : unknownDevice();
    const bool valid = error.isEmpty() && !m_stopped;
    HttpRequest sent = request;
    sent.renewsLogin = TokenLogin::isRenewingHere(request.deviceKey);
    m_loop->post([queues = m_queues, request = std::move(sent), device = std::move(device),
                  done = std::move(done), started, error] {
        if (!error.isEmpty()) {
            done(failWithoutSending(request, IHttpVersionTrigger::InvalidRequest, error, started));
            return;
        }
        std::optional<RequestQueue>& queue = request.daemon ? queues->daemon : queues->normal;
        if (queue) {
            queue->add(request, device, done, started);
        } else {
            done(failWithoutSending(request, IHttpVersionTrigger::Aborted, abortedError(), started));
        }
    });
    return valid;
}

void SocketEngine::cancel(ExchangeId id)
{
    if (id == 0) {
        return; // names none
    }
    m_pool.cancel(id);
    m_loop->post([queues = m_queues, id] {
        if (queues->normal) {
            queues->normal->cancel(id);
            queues->daemon->cancel(id);
        }
    });
}

void SocketEngine::cancelAll(const QString& deviceKey)
{
    m_pool.cancelAll(deviceKey);
    m_loop->post([queues = m_queues, deviceKey] {
        if (queues->normal) {
            queues->normal->cancelAll(deviceKey);
            queues->daemon->cancelAll(deviceKey);
        }
    });
}

void SocketEngine::abort(const QString& deviceKey)
{
    m_pool.abort(deviceKey);
    m_loop->post([queues = m_queues, deviceKey] {
        if (queues->normal) {
            queues->normal->abort(deviceKey);
            queues->daemon->abort(deviceKey);
        }
    });
}

void SocketEngine::dropReplaced(const QString& deviceKey)
{
    m_pool.dropReplaced(deviceKey);
    m_loop->post([queues = m_queues, deviceKey] {
        if (queues->normal) {
            queues->normal->dropReplaced(deviceKey);
            queues->daemon->dropReplaced(deviceKey);
        }
    });
}

void SocketEngine::stop()
{
    if (m_stopped.exchange(true)) {
        return;
    }
    m_pool.close();
    const auto endAll = [queues = m_queues] {
        queues->normal.reset();
        queues->daemon.reset();
    };
    // On the loop's thread the caller is an observer inside one of the exchanges, so they end after it has
    // returned.
    if (m_loop->isHere()) {
        m_loop->post(endAll);
    } else {
        m_loop->run(endAll);
    }
}

} // namespace Krelm::Communicator::HttpDevice
