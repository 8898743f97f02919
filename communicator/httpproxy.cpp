// SPDX-License-Identifier: MIT
#include <communicator/httpproxy.h>

#include "communicator/deviceendpoint.h"
#include "communicator/devices/deviceregistry.h"
#include "communicator/events/eventchannels.h"
#include "communicator/events/proxyeventqueue.h"
#include "communicator/http/refusal.h"
#include "communicator/http/socketengine.h"
#include "communicator/packages/httpjsonpackage_p.h"
#include "communicator/packages/pendingreply.h"
#include "communicator/runtime/ioloop.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/logging.h"
#include "communicator/runtime/postedcall.h"

#include <QCoreApplication>
#include <QThread>

#include <mutex>

namespace Krelm::Communicator::HttpDevice {

class HttpProxy::Private
{
public:
    explicit Private(HttpProxy* proxy);

    /// The engine that serves requests now; null while the transport is closed.
    std::shared_ptr<HttpEngine> engine();
    void setEngine(std::shared_ptr<HttpEngine> next);
    void setEvents(bool wanted);
    bool addDevice(const QString& deviceKey, const DeviceEndpoint& endpoint);
    bool removeDevice(const QString& deviceKey);
    void stop();
    void restart();

    void exchange(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package,
                  bool download = false);
    bool start(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package);
    void deliverProxyEvents();

    const std::shared_ptr<DeviceRegistry> registry = std::make_shared<DeviceRegistry>();

private:
    void abort(const QString& deviceKey);
    std::shared_ptr<EventChannels> channels();
    static HttpRequest makeRequest(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package);
    std::shared_ptr<IoLoop> loop();

    HttpProxy* const m_proxy;
    ProxyEventQueue m_proxyEvents;
    std::mutex
        m_deviceMutex;  ///< held while a device changes, so that streams and events see the changes in order
    std::mutex m_mutex; ///< guards all below
    std::shared_ptr<IoLoop> m_loop;
    std::shared_ptr<SocketEngine> m_builtIn;   ///< null when none runs
    std::shared_ptr<HttpEngine> m_engine;      ///< null: the built-in one, not created yet
    std::shared_ptr<EventChannels> m_channels; ///< null while no events are wanted
};

HttpProxy::Private::Private(HttpProxy* proxy)
    : m_proxy(proxy)
    , m_proxyEvents([proxy] { postCall(proxy, [proxy] { proxy->d->deliverProxyEvents(); }); })
{
    m_proxyEvents.onDelivered([this] {
        if (const std::shared_ptr<EventChannels> open = channels()) {
            open->resume();
        }
    });
}

// With m_mutex held.
std::shared_ptr<IoLoop> HttpProxy::Private::loop()
{
    if (!m_loop) {
        m_loop = std::make_shared<IoLoop>();
    }
    return m_loop;
}

std::shared_ptr<HttpEngine> HttpProxy::Private::engine()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (Lifecycle::isClosed()) {
        return nullptr;
    }
    if (!m_engine) {
        m_builtIn = std::make_shared<SocketEngine>(registry, loop());
        m_engine = m_builtIn;
    }
    return m_engine;
}

void HttpProxy::Private::setEngine(std::shared_ptr<HttpEngine> next)
{
    std::shared_ptr<SocketEngine> builtIn;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        builtIn.swap(m_builtIn);
        m_engine.swap(next);
    }
    if (builtIn) {
        builtIn->stop();
    }
}

void HttpProxy::Private::abort(const QString& deviceKey)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const std::shared_ptr<SocketEngine> builtIn = m_builtIn;
    lock.unlock();
    if (builtIn) {
        builtIn->abort(deviceKey);
    }
}

void HttpProxy::Private::stop()
{
    std::shared_ptr<SocketEngine> builtIn;
    std::shared_ptr<IoLoop> stopped;
    std::shared_ptr<EventChannels> closed;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        builtIn.swap(m_builtIn);
        // A thread cannot wait for its own end: an observer that ends the process leaves the loop to it.
        if (m_loop && !m_loop->isHere()) {
            stopped.swap(m_loop);
        }
        closed.swap(m_channels);
        if (builtIn) {
            m_engine.reset();
        }
    }
    if (builtIn) {
        builtIn->stop();
    }
    closed.reset();
    if (stopped) {
        stopped->stop();
    }
    m_proxyEvents.clear();
}

// An application that goes empties the event queue of its thread, and a wake-up may have been among the
// events.
void HttpProxy::Private::restart()
{
    m_proxyEvents.wakeUpAnew();
}

std::shared_ptr<EventChannels> HttpProxy::Private::channels()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_channels;
}

void HttpProxy::Private::setEvents(bool wanted)
{
    const std::lock_guard<std::mutex> devicesLock(m_deviceMutex);
    std::shared_ptr<EventChannels> open;
    std::shared_ptr<EventChannels> closed; // its end waits for the loop, which must not find the lock taken
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (wanted && !m_channels && !Lifecycle::isClosed()) {
            open = m_channels =
                std::make_shared<EventChannels>(loop(), m_proxyEvents, ConnectionBoard::ofProcess());
        } else if (!wanted) {
            closed.swap(m_channels);
        }
    }
    if (open) {
        for (const std::shared_ptr<const Device>& device : registry->devices()) {
            open->open(device, {});
        }
    }
}

bool HttpProxy::Private::addDevice(const QString& deviceKey, const DeviceEndpoint& endpoint)
{
    const std::lock_guard<std::mutex> lock(m_deviceMutex);
    QString reason;
    const DeviceRegistry::Change change = registry->add(deviceKey, endpoint, reason);
    if (change == DeviceRegistry::Change::Refused) {
        qCWarning(httpLog, "device %s refused: %s", qPrintable(printableKey(deviceKey)), qPrintable(reason));
        return false;
    }
    if (const auto device = registry->find(deviceKey); device && device->hasClearLogin) {
        qCWarning(httpLog, "device %s: the login travels in clear; use an https address",
                  qPrintable(printableKey(deviceKey)));
    }
    std::vector<ProxyEvent> announced;
    if (change == DeviceRegistry::Change::Added) {
        announced.emplace_back();
    }
    if (const std::shared_ptr<EventChannels> open = channels()) {
        open->open(registry->find(deviceKey), std::move(announced));
    } else {
        m_proxyEvents.push(announced);
    }
    return true;
}

bool HttpProxy::Private::removeDevice(const QString& deviceKey)
{
    const std::lock_guard<std::mutex> lock(m_deviceMutex);
    if (!registry->remove(deviceKey)) {
        return false;
    }
    abort(deviceKey);
    std::vector<ProxyEvent> announced{{ProxyEvent::Kind::Logout, deviceKey, {}, nullptr}, {}};
    if (const std::shared_ptr<EventChannels> open = channels()) {
        open->close(deviceKey, std::move(announced));
    } else {
        m_proxyEvents.push(announced);
    }
    return true;
}

HttpRequest HttpProxy::Private::makeRequest(HttpMethod method, const QString& deviceKey,
                                            HttpJsonPackage* package)
{
    HttpRequest request = HttpJsonPackage::Private::request(package);
    request.method = method;
    request.deviceKey = deviceKey;
    if (const auto* multipart = qobject_cast<HttpMutilPartPackage*>(package)) {
        request.multipart = true;
        request.parts = multipart->httpMultiPartData();
    }
    package->setDevkey(deviceKey);
    return request;
}

void HttpProxy::Private::exchange(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package,
                                  bool download)
{
    if (package == nullptr) {
        return;
    }
    HttpRequest request = makeRequest(method, deviceKey, package);
    const auto now = std::chrono::steady_clock::now();
    if (download) {
        request.downloadPath = package->fileDownloadPath;
    }
    request.id = beginExchange();
    if (HttpJsonPackage::Private::lacksBody(package)) {
        putReply(package, failWithoutSending(request, IHttpVersionTrigger::InvalidRequest,
                                             HttpJsonPackage::Private::faultOfBody(package), now));
    } else if (download && request.downloadPath.isEmpty()) {
        const QString reason = QStringLiteral("the download has no destination");
        putReply(package, failWithoutSending(request, IHttpVersionTrigger::FileFailure, reason, now));
    } else if (isCancelledHere()) {
        putReply(package, failWithoutSending(request, IHttpVersionTrigger::Aborted, cancelledReason(), now));
    } else if (const std::shared_ptr<HttpEngine> current = engine()) {
        putReply(package, current->exchange(request));
    } else {
        putReply(package, failWithoutSending(request, IHttpVersionTrigger::Aborted, abortedReason(), now));
    }
}

bool HttpProxy::Private::start(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package)
{
    if (package == nullptr) {
        return false;
    }
    HttpRequest request = makeRequest(method, deviceKey, package);
    const auto promise = std::make_shared<ReplyPromise>(HttpJsonPackage::Private::newPending(package));
    request.id = beginExchange();
    if (HttpJsonPackage::Private::lacksBody(package)) {
        promise->settle(failWithoutSending(request, IHttpVersionTrigger::InvalidRequest,
                                           HttpJsonPackage::Private::faultOfBody(package),
                                           std::chrono::steady_clock::now()));
        return false;
    }
    if (isCancelledHere()) {
        promise->settle(failWithoutSending(request, IHttpVersionTrigger::Aborted, cancelledReason(),
                                           std::chrono::steady_clock::now()));
        return false;
    }
    const std::shared_ptr<HttpEngine> current = engine();
    return current && current->start(request, [promise](const HttpReply& reply) { promise->settle(reply); });
}

void HttpProxy::Private::deliverProxyEvents()
{
    m_proxyEvents.deliver([this](const ProxyEvent& event) {
        if (Lifecycle::isClosed()) {
            return;
        }
        switch (event.kind) {
        case ProxyEvent::Kind::DevicesChanged:
            Q_EMIT m_proxy->deviceChanged();
            break;
        case ProxyEvent::Kind::Logout:
            Q_EMIT m_proxy->deviceLogout(event.deviceKey);
            break;
        case ProxyEvent::Kind::Event:
            Q_EMIT m_proxy->deviceAutoReportData(event.data, event.deviceKey);
            break;
        case ProxyEvent::Kind::Connection:
            Q_EMIT DeviceConnections::getInstance()->connectionChanged(*event.connection);
            break;
        case ProxyEvent::Kind::EventsMissed:
            Q_EMIT DeviceConnections::getInstance()->eventsMissed(event.deviceKey);
            break;
        }
    });
}

HttpProxy* HttpProxy::getInstance()
{
    static HttpProxy* const proxy = [] {
        auto* const created = new HttpProxy;
        if (QCoreApplication::instance() != nullptr) {
            created->moveToThread(QCoreApplication::instance()->thread());
        }
        return created;
    }();
    static const bool stopsInTime = [] {
        Lifecycle::onChange([] { proxy->d->stop(); }, [] { proxy->d->restart(); });
        return true;
    }();
    Q_UNUSED(stopsInTime)
    return proxy;
}

HttpProxy::HttpProxy(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{}

HttpProxy::~HttpProxy() = default;

void HttpProxy::initialize(bool events)
{
    d->setEvents(events);
}

void HttpProxy::getSync(const QString& deviceKey, HttpJsonPackage* package)
{
    d->exchange(HttpMethod::Get, deviceKey, package);
}

void HttpProxy::putSync(const QString& deviceKey, HttpJsonPackage* package)
{
    d->exchange(HttpMethod::Put, deviceKey, package);
}

void HttpProxy::postSync(const QString& deviceKey, HttpJsonPackage* package)
{
    d->exchange(HttpMethod::Post, deviceKey, package);
}

void HttpProxy::delSync(const QString& deviceKey, HttpJsonPackage* package)
{
    d->exchange(HttpMethod::Delete, deviceKey, package);
}

void HttpProxy::putMutilPartSync(const QString& deviceKey, HttpMutilPartPackage* package)
{
    d->exchange(HttpMethod::Put, deviceKey, package);
}

void HttpProxy::getFileDownloadSync(const QString& deviceKey, HttpJsonPackage* package)
{
    d->exchange(HttpMethod::Get, deviceKey, package, true);
}

bool HttpProxy::get(const QString& deviceKey, HttpJsonPackage* package)
{
    return d->start(HttpMethod::Get, deviceKey, package);
}

bool HttpProxy::put(const QString& deviceKey, HttpJsonPackage* package)
{
    return d->start(HttpMethod::Put, deviceKey, package);
}

bool HttpProxy::post(const QString& deviceKey, HttpJsonPackage* package)
{
    return d->start(HttpMethod::Post, deviceKey, package);
}

void HttpProxy::putMultSync(const QString& deviceKey, HttpJsonPackage* package)
{
    d->start(HttpMethod::Put, deviceKey, package);
}

bool HttpProxy::addDevice(const QString& deviceKey, const DeviceEndpoint& endpoint)
{
    return d->addDevice(deviceKey, endpoint);
}

bool HttpProxy::removeDevice(const QString& deviceKey)
{
    return d->removeDevice(deviceKey);
}

QStringList HttpProxy::devices() const
{
    return d->registry->keys();
}

void HttpProxy::cancel(quint64 exchange)
{
    if (const std::shared_ptr<HttpEngine> current = d->engine()) {
        current->cancel(exchange);
    }
}

void HttpProxy::cancelAll(const QString& deviceKey)
{
    if (const std::shared_ptr<HttpEngine> current = d->engine()) {
        current->cancelAll(deviceKey);
    }
}

void HttpProxy::setEngine(std::unique_ptr<HttpEngine> engine)
{
    d->setEngine(std::move(engine));
}

} // namespace Krelm::Communicator::HttpDevice
