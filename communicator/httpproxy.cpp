// SPDX-License-Identifier: MIT
#include <communicator/httpproxy.h>

#include "communicator/curlengine.h"
#include "communicator/deviceendpoint.h"
#include "communicator/deviceregistry.h"
#include "communicator/httpjsonpackage_p.h"
#include "communicator/ioloop.h"
#include "communicator/lifecycle.h"
#include "communicator/logging.h"
#include "communicator/noticequeue.h"
#include "communicator/pendingreply.h"

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
    void abort(const QString& deviceKey);
    void stop();

    void exchange(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package,
                  bool download = false);
    bool start(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package);
    void deliverNotices();

    const std::shared_ptr<DeviceRegistry> registry = std::make_shared<DeviceRegistry>();
    NoticeQueue notices;

private:
    static HttpRequest makeRequest(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package);
    std::shared_ptr<IoLoop> loop();

    HttpProxy* const m_proxy;
    std::mutex m_mutex; ///< guards the three below
    std::shared_ptr<IoLoop> m_loop;
    std::shared_ptr<CurlEngine> m_builtIn; ///< null when none runs
    std::shared_ptr<HttpEngine> m_engine;  ///< null: the built-in one, not created yet
};

HttpProxy::Private::Private(HttpProxy* proxy)
    : notices([proxy] {
        QMetaObject::invokeMethod(
            proxy, [proxy] { proxy->d->deliverNotices(); }, Qt::QueuedConnection);
    })
    , m_proxy(proxy)
{}

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
        m_builtIn = std::make_shared<CurlEngine>(registry, loop());
        m_engine = m_builtIn;
    }
    return m_engine;
}

void HttpProxy::Private::setEngine(std::shared_ptr<HttpEngine> next)
{
    std::shared_ptr<CurlEngine> builtIn;
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
    const std::shared_ptr<CurlEngine> builtIn = m_builtIn;
    lock.unlock();
    if (builtIn) {
        builtIn->abort(deviceKey);
    }
}

void HttpProxy::Private::stop()
{
    std::shared_ptr<CurlEngine> builtIn;
    std::shared_ptr<IoLoop> stopped;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        builtIn.swap(m_builtIn);
        stopped.swap(m_loop);
        if (builtIn) {
            m_engine.reset();
        }
    }
    if (builtIn) {
        builtIn->stop();
    }
    if (stopped) {
        stopped->stop();
    }
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
    HttpReply reply;
    const std::shared_ptr<HttpEngine> current = engine();
    if (download) {
        request.downloadPath = package->fileDownloadPath;
    }
    if (download && request.downloadPath.isEmpty()) {
        qCWarning(httpLog, "GET %s: a download without a destination", qPrintable(printableKey(deviceKey)));
        reply.state = IHttpVersionTrigger::FileFailure;
    } else if (current) {
        reply = current->exchange(request);
    } else {
        reply.state = IHttpVersionTrigger::Aborted;
    }
    putReply(package, reply);
}

bool HttpProxy::Private::start(HttpMethod method, const QString& deviceKey, HttpJsonPackage* package)
{
    if (package == nullptr) {
        return false;
    }
    const HttpRequest request = makeRequest(method, deviceKey, package);
    const auto promise = std::make_shared<ReplyPromise>(HttpJsonPackage::Private::newPending(package));
    const std::shared_ptr<HttpEngine> current = engine();
    return current && current->start(request, [promise](const HttpReply& reply) { promise->settle(reply); });
}

void HttpProxy::Private::deliverNotices()
{
    notices.deliver([this](const Notice& notice) {
        switch (notice.kind) {
        case Notice::Kind::DevicesChanged:
            Q_EMIT m_proxy->deviceChanged();
            break;
        case Notice::Kind::Logout:
            Q_EMIT m_proxy->deviceLogout(notice.deviceKey);
            break;
        case Notice::Kind::Event:
            Q_EMIT m_proxy->deviceAutoReportData(notice.data, notice.deviceKey);
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
        Lifecycle::onClose([] { proxy->d->stop(); });
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
    Q_UNUSED(events)
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
    QString reason;
    switch (d->registry->add(deviceKey, endpoint, reason)) {
    case DeviceRegistry::Change::Refused:
        qCWarning(httpLog, "device %s refused: %s", qPrintable(printableKey(deviceKey)), qPrintable(reason));
        return false;
    case DeviceRegistry::Change::Added:
        d->notices.push(Notice{});
        break;
    case DeviceRegistry::Change::Replaced:
        break;
    }
    return true;
}

bool HttpProxy::removeDevice(const QString& deviceKey)
{
    if (!d->registry->remove(deviceKey)) {
        return false;
    }
    d->abort(deviceKey);
    d->notices.push({Notice::Kind::Logout, deviceKey, {}, nullptr});
    d->notices.push(Notice{});
    return true;
}

QStringList HttpProxy::devices() const
{
    return d->registry->keys();
}

void HttpProxy::setEngine(std::unique_ptr<HttpEngine> engine)
{
    d->setEngine(std::move(engine));
}

} // namespace Krelm::Communicator::HttpDevice
