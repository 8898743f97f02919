// SPDX-License-Identifier: MIT
//
// The form of an operation that returns a promise. request.md tells when to use it.
#ifndef TESSEL_PROMISEREQUEST_H
#define TESSEL_PROMISEREQUEST_H

#include <tessel/records/rawresponse.h>
#include <tessel/records/variantmapresponse.h>
#include <tessel/request.h>

#include <zephserializer/jsonserializer.h>

#include <QtPromise>

#include <memory>

namespace Tessel {

/// Reads a reply into one of the envelope records. A code that the reply lacks reads as zero, one that is no
/// whole number in the range of an `int` as -1. @return `false` when the body is no JSON object.
template <class Response>
bool readResponse(const HttpJsonPackage& package, Response& response)
{
    RawResponse raw;
    Zeph::Serialize::JsonSerializer serializer;
    serializer.setAttribute(Zeph::Serialize::ReplyAttribute);
    response.code = 0;
    if (!serializer.load(package.getReceiveData(), &raw, QString())) {
        // The package's decoders tell the log of such a reply, with device and path; the serializer cannot.
        package.getRoutesJsonMap();
        return false;
    }
    response.deserialize(raw.members(), Zeph::Serialize::ReplyAttribute);
    // Converting to the record's int would make zero of much that is no code.
    response.code = raw.codeNumber();
    return true;
}

/// A request whose outcome is a promise. Its package lives on the heap until the promise settled.
///
/// The reply is handled on the thread that called, which needs an event loop. Dropping the promise stops
/// nothing. Only here does the reply's `code` count, and only if the handler looks at it.
class PromiseRequest : public PackageFiller<PromiseRequest>
{
public:
    using Verb = bool (HttpProxy::*)(const QString&, HttpJsonPackage*);

    explicit PromiseRequest(const char* routeKey)
        : m_package(std::make_unique<HttpJsonPackage>(nullptr))
    {
        m_package->setUrl(routePath(routeKey));
    }

    /// GETs a typed record from the reply's `data`. Rejects with the text "arguments error", sending nothing,
    /// when device or path is empty; with QPromiseUndefinedException when the exchange failed, the reply is
    /// no JSON or its `code` is not zero.
    template <class Record>
    QtPromise::QPromise<Record> getRecord(const QString& deviceKey)
    {
        return guarded<Record>(&HttpProxy::get, deviceKey,
                               [](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
                                   VariantMapResponse response;
                                   if (!succeeded(reply) || !readResponse(reply, response) ||
                                       response.code != 0)
                                       return reject();
                                   Record record;
                                   record.deserialize(response.data, Zeph::Serialize::NoAttribute);
                                   resolve(record);
                               });
    }

    /// Sends, and lets @p settle(reply, resolve, reject) decide. Tests nothing first: an empty device or path
    /// goes to the transport.
    template <class T, class Settle>
    QtPromise::QPromise<T> promise(Verb verb, const QString& deviceKey, Settle settle)
    {
        HttpJsonPackage* package = m_package.release();
        return QtPromise::QPromise<T>{
            [&](const QtPromise::QPromiseResolve<T>& resolve, const QtPromise::QPromiseReject<T>& reject) {
                QObject::connect(
                    package, &HttpJsonPackage::readyRead, package,
                    [resolve, reject, settle](HttpJsonPackage* reply) { settle(*reply, resolve, reject); },
                    Qt::DirectConnection);
                (HttpProxy::getInstance()->*verb)(deviceKey, package);
            }}
            .finally([package] { package->deleteLater(); });
    }

    /// Sends, and fulfils with what @p convert makes of the reply, whatever its state; rejects only when
    /// sending throws. Tests nothing first. @p started is called once the request was handed over. The
    /// package is released as soon as the reply was handled.
    template <class T, class Convert, class Started>
    QtPromise::QPromise<T> answer(Verb verb, const QString& deviceKey, Convert convert, Started started)
    {
        return QtPromise::QPromise<T>{[&](const QtPromise::QPromiseResolve<T>& resolve) {
            (HttpProxy::getInstance()->*verb)(deviceKey, m_package.get());
            started();
            // Connecting after the start is safe: the transport never answers from inside the starting call.
            HttpJsonPackage* const sent = m_package.release();
            QObject::connect(
                sent, &HttpJsonPackage::readyRead, sent,
                [resolve, convert](HttpJsonPackage* reply) {
                    resolve(convert(*reply));
                    reply->deleteLater();
                },
                Qt::DirectConnection);
        }};
    }
    template <class T, class Convert>
    QtPromise::QPromise<T> answer(Verb verb, const QString& deviceKey, Convert convert)
    {
        return answer<T>(verb, deviceKey, convert, [] {});
    }

    /// promise() behind the test of empty arguments: rejects with the text "arguments error", sending
    /// nothing, when device or path is empty.
    template <class T, class Settle>
    QtPromise::QPromise<T> guarded(Verb verb, const QString& deviceKey, Settle settle)
    {
        if (deviceKey.isEmpty() || m_package->getUrl().isEmpty())
            return QtPromise::QPromise<T>::reject("arguments error");
        return promise<T>(verb, deviceKey, settle);
    }

private:
    friend class PackageFiller<PromiseRequest>;
    HttpJsonPackage& packageToFill() { return *m_package; }

    std::unique_ptr<HttpJsonPackage> m_package;
};

} // namespace Tessel

#endif
