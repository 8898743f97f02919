// SPDX-License-Identifier: MIT
#include "communicator/packages/httpjsonpackage_p.h"

#include "communicator/http/headername.h"
#include "communicator/http/requesturl.h"
#include "communicator/http/transferlimits.h"
#include "communicator/packages/pendingreply.h"
#include "communicator/runtime/logging.h"

#include <json/jsonreader.h>

#include <atomic>
#include <chrono>

namespace Krelm::Communicator::HttpDevice {

namespace {

quint64 nextNumber()
{
    static std::atomic<quint64> last{0};
    return ++last;
}

// For replies of at least this size, the duration of the decoding is logged.
constexpr int loggedDecodingSize = 1 << 20;

// A package without a reply has nothing to read, nor has "204 No Content".
bool mayHoldBody(int status, const QByteArray& body)
{
    return !body.isEmpty() || (status != 0 && status != 204);
}

} // namespace

HttpRequest HttpJsonPackage::Private::request(const HttpJsonPackage* package)
{
    const Private& p = *package->d;
    HttpRequest request;
    request.path = p.path;
    request.placeHolders = p.placeHolderValues;
    request.parameters = p.queryParameters;
    request.headers = p.requestHeaders;
    request.body = p.body;
    request.expectedTime = p.expectedMilliseconds;
    request.daemon = p.daemon;
    if (p.bodyIsJson) {
        bool typed = false;
        for (auto it = request.headers.cbegin(); it != request.headers.cend() && !typed; ++it) {
            typed = isNamed(it.key(), "content-type");
        }
        if (!typed) {
            request.headers.insert(QStringLiteral("Content-Type"), QStringLiteral("application/json"));
        }
    }
    return request;
}

bool HttpJsonPackage::Private::lacksBody(const HttpJsonPackage* package)
{
    return package->d->bodyIsJson && package->d->body.isEmpty();
}

QString HttpJsonPackage::Private::errorOfBody(const HttpJsonPackage* package)
{
    return QStringLiteral("the body ") + QLatin1String(Json::textOf(package->d->bodyError));
}

template <class Data>
void HttpJsonPackage::Private::decode(const HttpJsonPackage& package, Data& out,
                                      bool (*read)(const QByteArray& reply, Data& out))
{
    Private& p = *package.d;
    if (p.state != Success) {
        out.clear();
        return;
    }
    const auto started = std::chrono::steady_clock::now();
    const bool isObject = read(p.received, out);
    if (p.received.size() >= loggedDecodingSize && httpLog().isInfoEnabled()) {
        const auto took =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started);
        qCInfo(httpLog, "%s %s: decoding %d bytes took %lld ms beside the time limit",
               qPrintable(printableKey(p.deviceKey)),
               requestTarget(p.path, p.placeHolderValues, p.queryParameters).constData(),
               int(p.received.size()), static_cast<long long>(took.count()));
    }
    if (!isObject && !p.unreadableLogged && mayHoldBody(package.replyStatus, p.received)) {
        p.unreadableLogged = true;
        qCWarning(httpLog, "%s %s: the reply is not a JSON object", qPrintable(printableKey(p.deviceKey)),
                  requestTarget(p.path, p.placeHolderValues, p.queryParameters).constData());
    }
}

void HttpJsonPackage::Private::readMap(const HttpJsonPackage& package, QMap<QString, QVariant>& out)
{
    decode(package, out, &JsonText::readDataFlattened);
}

void HttpJsonPackage::Private::readFlattenedList(const HttpJsonPackage& package, QList<QVariant>& out)
{
    decode(package, out, &JsonText::readDataListFlattened);
}

void HttpJsonPackage::Private::readList(const HttpJsonPackage& package, QList<QVariant>& out)
{
    decode(package, out, &JsonText::readDataList);
}

void HttpJsonPackage::Private::putReply(HttpJsonPackage* package, const HttpReply& reply,
                                        const EndedExchange& ended)
{
    package->setSimpleState(reply.state);
    package->setReceiveData(reply.body);
    package->setResponseHeader(reply.headers);
    package->replyStatus = reply.status;
    package->d->ended = ended;
}

std::shared_ptr<PendingReply> HttpJsonPackage::Private::newPending(HttpJsonPackage* package)
{
    std::shared_ptr<PendingReply>& pending = package->d->pending;
    if (pending) {
        pending->detach();
    }
    pending = std::make_shared<PendingReply>(package);
    return pending;
}

HttpJsonPackage::HttpJsonPackage(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(nextNumber()))
{
    d->expectedMilliseconds = defaultExpectedTime;
}

HttpJsonPackage::~HttpJsonPackage()
{
    if (d->pending) {
        d->pending->detach();
    }
}

QByteArray HttpJsonPackage::getReceiveData() const
{
    return d->received;
}

void HttpJsonPackage::setReceiveData(const QByteArray& data)
{
    d->received = data;
    d->unreadableLogged = false;
}

QString HttpJsonPackage::getIdentity() const
{
    return QStringLiteral("package-%1").arg(d->number);
}

QString HttpJsonPackage::getUrl() const
{
    return d->path;
}

QString HttpJsonPackage::requestHeader(const QString& key) const
{
    return d->requestHeaders.value(key);
}

QMap<QString, QString> HttpJsonPackage::requestHeader() const
{
    return d->requestHeaders;
}

QString HttpJsonPackage::parameters(const QString& key) const
{
    return d->queryParameters.value(key);
}

QMap<QString, QString> HttpJsonPackage::parameters() const
{
    return d->queryParameters;
}

QString HttpJsonPackage::placeHolders(const QString& key) const
{
    return d->placeHolderValues.value(key);
}

QMap<QString, QString> HttpJsonPackage::placeHolders() const
{
    return d->placeHolderValues;
}

void HttpJsonPackage::setResponseHeader(const QMap<QString, QString>& headers)
{
    d->responseHeaders = headers;
}

void HttpJsonPackage::addResponseHeader(const QString& name, const QString& value)
{
    QMap<QString, QString>& headers = d->responseHeaders;
    for (auto same = findHeader(headers, name); same != headers.cend(); same = findHeader(headers, name)) {
        headers.remove(QString(same.key()));
    }
    headers.insert(name, value);
}

QString HttpJsonPackage::responseHeader(const QString& key) const
{
    const QMap<QString, QString>& headers = d->responseHeaders;
    const auto exact = headers.constFind(key);
    const auto found = exact != headers.cend() ? exact : findHeader(headers, key);
    return found != headers.cend() ? *found : QString();
}

QMap<QString, QString> HttpJsonPackage::responseHeader() const
{
    return d->responseHeaders;
}

QByteArray HttpJsonPackage::requestData() const
{
    return d->body;
}

void HttpJsonPackage::setExpectedTime(int milliseconds)
{
    d->expectedMilliseconds = milliseconds;
}

int HttpJsonPackage::expectedTime() const
{
    return d->expectedMilliseconds;
}

IHttpVersionTrigger::HttpSimpleState HttpJsonPackage::getSimpleState() const
{
    return d->state;
}

void HttpJsonPackage::setSimpleState(HttpSimpleState state)
{
    d->state = state;
}

void HttpJsonPackage::setUrl(const QString& path)
{
    d->path = path;
}

void HttpJsonPackage::addPlaceHolders(const QString& name, const QString& value)
{
    d->placeHolderValues.insert(name, value);
}

void HttpJsonPackage::addParameters(const QString& name, const QString& value)
{
    d->queryParameters.insert(name, value);
}

void HttpJsonPackage::setParameters(const QMap<QString, QString>& parameters)
{
    d->queryParameters = parameters;
}

void HttpJsonPackage::setRequestWithJsonObj(const QVariant& body)
{
    d->body = Json::write(body, &d->bodyError);
    d->bodyIsJson = true;
}

void HttpJsonPackage::setRequestData(const QByteArray& data)
{
    d->body = data;
    d->bodyIsJson = false;
}

void HttpJsonPackage::setRequestHeader(const QMap<QString, QString>& headers)
{
    d->requestHeaders = headers;
}

void HttpJsonPackage::setDaemonFlag(bool daemon)
{
    d->daemon = daemon;
}

bool HttpJsonPackage::daemonFlag() const
{
    return d->daemon;
}

QString HttpJsonPackage::getDevkey() const
{
    return d->deviceKey;
}

void HttpJsonPackage::setDevkey(const QString& deviceKey)
{
    d->deviceKey = deviceKey;
}

QMap<QString, QVariant> HttpJsonPackage::getRoutesJsonMap() const
{
    QMap<QString, QVariant> map;
    Private::readMap(*this, map);
    return map;
}

QList<QVariant> HttpJsonPackage::getRoutesJsonDataListMap() const
{
    QList<QVariant> list;
    Private::readFlattenedList(*this, list);
    return list;
}

QList<QVariant> HttpJsonPackage::getJsonDataListMap() const
{
    QList<QVariant> list;
    Private::readList(*this, list);
    return list;
}

} // namespace Krelm::Communicator::HttpDevice
