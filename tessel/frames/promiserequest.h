// SPDX-License-Identifier: MIT
//
// The form of an operation that returns a promise. See request.md for when to use it.
#ifndef TESSEL_FRAMES_PROMISEREQUEST_H
#define TESSEL_FRAMES_PROMISEREQUEST_H

#include <tessel/envelopes/rawresponse.h>
#include <tessel/envelopes/variantmapresponse.h>
#include <tessel/frames/applicationend.h>
#include <tessel/frames/decoding.h>
#include <tessel/frames/operationscope.h>
#include <tessel/frames/packagefiller.h>

#include <communicator/httpproxy.h>
#include <zephserializer/jsonserializer.h>

#include <QtPromise>

#include <exception>
#include <memory>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpProxy;

/// Reads a reply into an envelope record. A missing code reads as zero, one that is not an integer in the
/// range of `int` as -1.
/// @return `false` if the body is not a JSON object.
template <class Response>
bool readResponse(const HttpJsonPackage& package, Response& response)
{
    RawResponse raw;
    Zeph::Serialize::JsonSerializer serializer;
    serializer.setAttribute(Zeph::Serialize::ReplyAttribute);
    response.code = 0;
    if (!serializer.load(package.getReceiveData(), &raw, QString())) {
        // Logs such a reply with device and path, which the serializer does not know.
        package.getRoutesJsonMap();
        return false;
    }
    response.deserialize(raw.members(), Zeph::Serialize::ReplyAttribute);
    // Converting to the record's int would turn many invalid codes into zero.
    response.code = raw.codeNumber();
    return true;
}

/// A request that returns a promise. Its package lives on the heap until the promise is settled.
///
/// The reply is handled on the calling thread, which needs an event loop. On a thread without an event
/// dispatcher, which no reply could reach, the exchange is performed synchronously and the promise is
/// returned settled. Dropping the promise does not cancel the request. A promise still pending when the
/// application ends is rejected with QPromiseUndefinedException. This is the only form in which the reply's
/// `code` counts, and only if the handler checks it.
class PromiseRequest : public PackageFiller<PromiseRequest>
{
public:
    using Verb = bool (HttpProxy::*)(const QString&, HttpJsonPackage*);

    explicit PromiseRequest(const char* routeKey)
        : m_package(std::make_unique<HttpJsonPackage>(nullptr))
    {
        m_package->setUrl(routePath(routeKey));
    }

    /// Sends a GET and returns the reply's `data` as a typed record. Rejects with the text "arguments error",
    /// sending nothing, if device or path is empty; with QPromiseUndefinedException if the exchange failed,
    /// the reply is not valid JSON or its `code` is not zero.
    template <class Record>
    QtPromise::QPromise<Record> getRecord(const QString& deviceKey)
    {
        return guarded<Record>(&HttpProxy::get, deviceKey,
                               [](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
                                   VariantMapResponse response;
                                   if (!succeeded(reply) || !readResponse(reply, response) ||
                                       response.code != 0) {
                                       return reject();
                                   }
                                   Record record;
                                   record.deserialize(response.data, Zeph::Serialize::NoAttribute);
                                   resolve(record);
                               });
    }

    /// Sends the request and lets @p settle(reply, resolve, reject) settle the promise. Arguments are not
    /// checked: an empty device or path goes to the transport.
    template <class T, class Settle>
    QtPromise::QPromise<T> promise(Verb verb, const QString& deviceKey, Settle settle)
    {
        if (!threadTakesEvents()) {
            return QtPromise::QPromise<T>{[&](const QtPromise::QPromiseResolve<T>& resolve,
                                              const QtPromise::QPromiseReject<T>& reject) {
                if (!exchangeHere(verb, deviceKey)) {
                    return reject();
                }
                settle(*m_package, resolve, reject);
            }};
        }
        HttpJsonPackage* package = m_package.release();
        return QtPromise::QPromise<T>{
            [&](const QtPromise::QPromiseResolve<T>& resolve, const QtPromise::QPromiseReject<T>& reject) {
                QObject::connect(
                    package, &HttpJsonPackage::readyRead, package,
                    [resolve, reject, settle, end = rejectAtEnd(reject)](HttpJsonPackage* reply) {
                        try {
                            settle(*reply, resolve, reject);
                        } catch (...) {
                            reject(std::current_exception());
                        }
                    },
                    Qt::DirectConnection);
                (HttpProxy::getInstance()->*verb)(deviceKey, package);
            }}
            .finally([package] { package->deleteLater(); });
    }

    /// Creates a request for @p routeKey, fills it with @p fill(request), sends it, and fulfils the promise
    /// with @p convert(reply), whatever the reply's state; rejects with the exception if any of these steps
    /// throws. Arguments are not checked. @p started is called once the transport has accepted the request.
    /// The package is destroyed as soon as the reply has been handled.
    template <class T, class Fill, class Convert, class Started>
    static QtPromise::QPromise<T> answer(const char* routeKey, Fill fill, Verb verb, const QString& deviceKey,
                                         Convert convert, Started started)
    {
        return QtPromise::QPromise<T>{
            [&](const QtPromise::QPromiseResolve<T>& resolve, const QtPromise::QPromiseReject<T>& reject) {
                PromiseRequest request(routeKey);
                fill(request);
                request.sendForAnswer(verb, deviceKey, convert, started, resolve, reject);
            }};
    }
    template <class T, class Fill, class Convert>
    static QtPromise::QPromise<T> answer(const char* routeKey, Fill fill, Verb verb, const QString& deviceKey,
                                         Convert convert)
    {
        return answer<T>(routeKey, fill, verb, deviceKey, convert, [] {});
    }
    /// Like promise(), but rejects with the text "arguments error", sending nothing, if device or path is
    /// empty.
    // Quirk: Refused arguments reject with a plain text.
    template <class T, class Settle>
    QtPromise::QPromise<T> guarded(Verb verb, const QString& deviceKey, Settle settle)
    {
        if (deviceKey.isEmpty() || m_package->getUrl().isEmpty()) {
            nothingIsSent();
            return QtPromise::QPromise<T>::reject("arguments error");
        }
        return promise<T>(verb, deviceKey, settle);
    }

private:
    friend class PackageFiller<PromiseRequest>;
    HttpJsonPackage& packageToFill() { return *m_package; }

    // After the end the package's thread may never receive the reply. The watch lives as long as its handler.
    template <class Reject>
    static std::shared_ptr<const ApplicationEnd::Watch> rejectAtEnd(const Reject& reject)
    {
        return std::make_shared<const ApplicationEnd::Watch>([reject] { reject(); });
    }

    // The blocking counterpart of @p verb. Returns false if the application has ended.
    bool exchangeHere(Verb verb, const QString& deviceKey)
    {
        if (ApplicationEnd::hasCome()) {
            return false;
        }
        void (HttpProxy::*exchange)(const QString&, HttpJsonPackage*) = &HttpProxy::getSync;
        if (verb == &HttpProxy::put) {
            exchange = &HttpProxy::putSync;
        } else if (verb == &HttpProxy::post) {
            exchange = &HttpProxy::postSync;
        }
        (HttpProxy::getInstance()->*exchange)(deviceKey, m_package.get());
        return !ApplicationEnd::hasCome();
    }

    template <class Convert, class Started, class Resolve, class Reject>
    void sendForAnswer(Verb verb, const QString& deviceKey, Convert convert, Started started,
                       const Resolve& resolve, const Reject& reject)
    {
        if (!threadTakesEvents()) {
            const bool ended = !exchangeHere(verb, deviceKey);
            started();
            if (ended) {
                reject();
            } else {
                resolve(convert(*m_package));
            }
            return;
        }
        (HttpProxy::getInstance()->*verb)(deviceKey, m_package.get());
        started();
        // It is safe to connect after the start: the transport never answers from inside the starting call.
        HttpJsonPackage* const sent = m_package.get();
        QObject::connect(
            sent, &HttpJsonPackage::readyRead, sent,
            [resolve, reject, convert, end = rejectAtEnd(reject)](HttpJsonPackage* reply) {
                try {
                    resolve(convert(*reply));
                } catch (...) {
                    reject(std::current_exception());
                }
                reply->deleteLater();
            },
            Qt::DirectConnection);
        static_cast<void>(m_package.release()); // the handler now owns it
    }

    std::unique_ptr<HttpJsonPackage> m_package;
};

} // namespace Tessel

#endif
