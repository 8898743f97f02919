// SPDX-License-Identifier: MIT
#include <communicator/httpproxy.h>

#include "communicator/deviceconnections.h"
#include "communicator/http/refusal.h"
#include "communicator/packages/httpjsonpackage_p.h"
#include "communicator/packages/pendingreply.h"
#include "communicator/proxy/engineslot.h"
#include "communicator/proxy/proxydevices.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/postedcall.h"

#include <QCoreApplication>

#include <mutex>

namespace Krelm::Communicator::HttpDevice {

class Q_DECL_HIDDEN HttpProxy::Private
{
public:
    explicit Private(HttpProxy* proxy);

    void stop();
    void exchange(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package,
                  bool download = false);
    bool start(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package);
    void deliverProxyEvents();

    const std::shared_ptr<DeviceRegistry> registry = std::make_shared<DeviceRegistry>();
    EngineSlot engines;
    ProxyDevices devices;

private:
    HttpReply replyTo(const HttpRequest& request, const HttpJsonPackage* package, bool download,
                      std::chrono::steady_clock::time_point now);
    static HttpRequest makeRequest(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package);

    HttpProxy* const m_proxy;
};

HttpProxy::Private::Private(HttpProxy* proxy)
    : engines(registry)
    , devices(registry, engines, [proxy] { postCall(proxy, [proxy] { proxy->d->deliverProxyEvents(); }); })
    , m_proxy(proxy)
{}

void HttpProxy::Private::stop()
{
    std::shared_ptr<EventChannels> closed = devices.takeChannels();
    engines.stopEngine();
    closed.reset();
    engines.stopLoop();
    devices.events().clear();
}

HttpRequest HttpProxy::Private::makeRequest(HttpMethod method, const QString& deviceKey,
                                            HttpJsonPackage* package)
{
    HttpRequest request = HttpJsonPackage::Private::request(package);
    request.method = method;
    request.deviceKey = deviceKey;
    request.id = beginExchange();
    if (const auto* multipart = qobject_cast<HttpMutilPartPackage*>(package)) {
        request.multipart = true;
        request.parts = multipart->httpMultiPartData();
    }
    package->setDevkey(deviceKey);
    package->d->exchange = request.id;
    package->d->method = method;
    return request;
}

void HttpProxy::Private::exchange(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package,
                                  bool download)
{
    if (package == nullptr) {
        return;
    }
    if (OperationLog* const log = OperationLog::ofThread()) {
        log->begin();
    }
    HttpRequest request = makeRequest(method, deviceKey, package);
    const auto now = std::chrono::steady_clock::now();
    if (download) {
        request.downloadPath = package->fileDownloadPath;
    }
    const HttpReply reply = replyTo(request, package, download, now);
    LoggedExchange logged(std::move(request));
    logged.ended = EndedExchange(reply, now);
    HttpJsonPackage::Private::putReply(package, reply, logged.ended);
    if (OperationLog* const log = OperationLog::ofThread()) {
        log->add(std::move(logged));
    }
}

HttpReply HttpProxy::Private::replyTo(const HttpRequest& request, const HttpJsonPackage* package,
                                      bool download, std::chrono::steady_clock::time_point now)
{
    if (HttpJsonPackage::Private::lacksBody(package)) {
        return failWithoutSending(request, IHttpVersionTrigger::InvalidRequest,
                                  HttpJsonPackage::Private::errorOfBody(package), now);
    }
    if (download && request.downloadPath.isEmpty()) {
        return failWithoutSending(request, IHttpVersionTrigger::FileFailure,
                                  QStringLiteral("the download has no destination"), now);
    }
    if (isCancelledHere()) {
        return failWithoutSending(request, IHttpVersionTrigger::Aborted, cancelledError(), now);
    }
    if (const std::shared_ptr<HttpEngine> current = engines.engine()) {
        return current->exchange(request);
    }
    return failWithoutSending(request, IHttpVersionTrigger::Aborted, abortedError(), now);
}

bool HttpProxy::Private::start(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package)
{
    if (package == nullptr) {
        return false;
    }
    const HttpRequest request = makeRequest(method, deviceKey, package);
    const std::shared_ptr<PendingReply> pending = HttpJsonPackage::Private::newPending(package);
    const auto promise = std::make_shared<ReplyPromise>(pending);
    if (OperationLog* const log = OperationLog::ofThread()) {
        LoggedExchange logged{HttpRequest(request)};
        logged.pending = pending;
        log->begin();
        log->add(std::move(logged));
    }
    if (HttpJsonPackage::Private::lacksBody(package)) {
        promise->settle(failWithoutSending(request, IHttpVersionTrigger::InvalidRequest,
                                           HttpJsonPackage::Private::errorOfBody(package),
                                           std::chrono::steady_clock::now()));
        return false;
    }
    if (isCancelledHere()) {
        promise->settle(failWithoutSending(request, IHttpVersionTrigger::Aborted, cancelledError(),
                                           std::chrono::steady_clock::now()));
        return false;
    }
    const std::shared_ptr<HttpEngine> current = engines.engine();
    return current && current->start(request, [promise](const HttpReply& reply) { promise->settle(reply); });
}

void HttpProxy::Private::deliverProxyEvents()
{
    devices.events().deliver([this](const ProxyEvent& event) {
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
    static std::once_flag stopsInTime;
    std::call_once(stopsInTime, [] {
        // An application that goes empties the event queue of its thread, and a wake-up may have been among
        // the events.
        Lifecycle::onChange([] { proxy->d->stop(); }, [] { proxy->d->devices.events().repeatWakeUp(); });
    });
    return proxy;
}

HttpProxy::HttpProxy(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{}

HttpProxy::~HttpProxy() = default;

void HttpProxy::initialize(bool events)
{
    d->devices.setEvents(events);
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
    return d->devices.add(deviceKey, endpoint);
}

bool HttpProxy::removeDevice(const QString& deviceKey)
{
    return d->devices.remove(deviceKey);
}

QStringList HttpProxy::devices() const
{
    return d->registry->keys();
}

quintptr HttpProxy::replyReader(const QByteArray& decoder) const
{
    using Package = HttpJsonPackage::Private;
    if (decoder == "getRoutesJsonMap") {
        return reinterpret_cast<quintptr>(&Package::readMap);
    }
    if (decoder == "getRoutesJsonDataListMap") {
        return reinterpret_cast<quintptr>(&Package::readFlattenedList);
    }
    if (decoder == "getJsonDataListMap") {
        return reinterpret_cast<quintptr>(&Package::readList);
    }
    return 0;
}

quintptr HttpProxy::operationBoundary() const
{
    void (*const mark)(bool) = [](bool begins) {
        OperationLog* const log = OperationLog::ofThread();
        if (log == nullptr) {
            return;
        }
        if (begins) {
            log->enter();
        } else {
            log->leave();
        }
    };
    return reinterpret_cast<quintptr>(mark);
}

void HttpProxy::addChangeEvents(const QByteArrayList& events)
{
    DeviceConnections* const connections = DeviceConnections::getInstance();
    connections->setChangeEvents(connections->changeEvents() + events);
}

void HttpProxy::readAfterEventFailed(const QString& deviceKey)
{
    d->devices.readFailed(deviceKey);
}

void HttpProxy::cancel(quint64 exchange)
{
    if (const std::shared_ptr<HttpEngine> current = d->engines.engine()) {
        current->cancel(exchange);
    }
}

void HttpProxy::cancelAll(const QString& deviceKey)
{
    if (const std::shared_ptr<HttpEngine> current = d->engines.engine()) {
        current->cancelAll(deviceKey);
    }
}

void HttpProxy::setEngine(std::unique_ptr<HttpEngine> engine)
{
    d->engines.setEngine(std::move(engine));
}

} // namespace Krelm::Communicator::HttpDevice
