// SPDX-License-Identifier: MIT
#include "communicator/http/socketengine.h"

#include "communicator/http/exchangereport.h"
#include "communicator/http/requestqueue.h"
#include "communicator/runtime/descriptorbudget.h"

#include <optional>

namespace Krelm::Communicator::HttpDevice {

namespace {

QString unknownDevice()
{
    return QStringLiteral("the device is not known and its key is no address");
}

} // namespace

// Daemon exchanges have connections of their own, so that neither lane waits for the other.
struct CurlEngine::Lanes
{
    Lanes(IoLoop& loop, const TransferLimits& limits)
        : normal(std::in_place, loop, limits, descriptorBudget(4, 1))
        , daemon(std::in_place, loop, limits, descriptorBudget(16, 1))
    {}
    std::optional<RequestQueue> normal;
    std::optional<RequestQueue> daemon;
};

CurlEngine::CurlEngine(std::shared_ptr<const DeviceRegistry> registry, std::shared_ptr<IoLoop> loop,
                       const TransferLimits& limits)
    : m_pool(limits)
    , m_registry(std::move(registry))
    , m_loop(std::move(loop))
    , m_lanes(std::make_shared<Lanes>(*m_loop, limits))
{}

CurlEngine::~CurlEngine()
{
    stop();
}

HttpReply CurlEngine::exchange(const HttpRequest& request)
{
    const auto started = std::chrono::steady_clock::now();
    const std::shared_ptr<const Device> device = m_registry->find(request.deviceKey);
    return device ? m_pool.exchange(request, device, started)
                  : refuse(request, IHttpVersionTrigger::InvalidRequest, unknownDevice(), started);
}

bool CurlEngine::start(const HttpRequest& request, std::function<void(const HttpReply&)> done)
{
    const auto started = std::chrono::steady_clock::now();
    std::shared_ptr<const Device> device = m_registry->find(request.deviceKey);
    const QString fault = device ? faultOfRequest(request) : unknownDevice();
    const bool valid = fault.isEmpty() && !m_stopped;
    m_loop->post(
        [lanes = m_lanes, request, device = std::move(device), done = std::move(done), started, fault] {
            if (!fault.isEmpty()) {
                done(refuse(request, IHttpVersionTrigger::InvalidRequest, fault, started));
                return;
            }
            std::optional<RequestQueue>& queue = request.daemon ? lanes->daemon : lanes->normal;
            if (queue) {
                queue->add(request, device, done, started);
            } else {
                done(refuse(request, IHttpVersionTrigger::Aborted, abortedReason(), started));
            }
        });
    return valid;
}

void CurlEngine::abort(const QString& deviceKey)
{
    m_pool.abort(deviceKey);
    m_loop->post([lanes = m_lanes, deviceKey] {
        if (lanes->normal) {
            lanes->normal->abort(deviceKey);
            lanes->daemon->abort(deviceKey);
        }
    });
}

void CurlEngine::stop()
{
    if (m_stopped.exchange(true)) {
        return;
    }
    m_pool.close();
    m_loop->run([this] {
        m_lanes->normal.reset();
        m_lanes->daemon.reset();
    });
}

} // namespace Krelm::Communicator::HttpDevice
