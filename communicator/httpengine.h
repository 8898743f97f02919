// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPENGINE_H
#define COMMUNICATOR_HTTPENGINE_H

#include <communicator/exchangeid.h>
#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

#include <functional>

namespace Krelm::Communicator::HttpDevice {

/// The method of a request (RFC 9110).
enum class HttpMethod { Get, Put, Post, Delete };

/// Everything that an engine needs to send a request. A plain value.
struct COMMUNICATOR_EXPORT HttpRequest
{
    QString deviceKey;                   ///< identifies the device; the engine resolves it
    HttpMethod method = HttpMethod::Get; ///< the method
    QString path;                        ///< the path with placeholders unexpanded
    QMap<QString, QString> placeHolders; ///< placeholder values, unencoded
    QMap<QString, QString> parameters;   ///< query parameters, unencoded
    QMap<QString, QString> headers;      ///< request headers, names as written
    QByteArray body;                     ///< the body, unless `multipart` is set
    bool multipart = false;              ///< whether the body is built from `parts`
    QMap<QString, QVariant> parts;       ///< the parts of a multipart body, by field name
    QString downloadPath;                ///< file that receives the reply body; empty to keep it in memory
    int expectedTime = 0;                ///< time limit of the whole exchange in ms; 0 for the default
    bool daemon = false;                 ///< whether to use connections apart from normal traffic
    ExchangeId id = 0;                   ///< the id to report to observers; 0 if none was assigned
    bool renewsLogin = false;            ///< sent by DeviceEndpoint::renewSecret; for the built-in engine
    int repeats = 0; ///< how often it was sent before because the device was busy; for the built-in engine
};

/// The reply to a request, or the reason why there is none. A plain value.
struct COMMUNICATOR_EXPORT HttpReply
{
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success; ///< zero means success
    int status = 0;  ///< the HTTP status, or 0 if there was no reply
    QByteArray body; ///< the reply body; empty if there was no complete reply
    /// Response headers, with names as the device spelt them. The built-in transport joins lines of the same
    /// name by ", " into one entry under the first spelling.
    QMap<QString, QString> headers;
    QString reason; ///< why it failed, as text for people, without secrets; empty after a complete reply
};

/// The network layer of HttpProxy. An engine does not know packages. It can be replaced by one that records
/// requests and answers them in process, or by another transport; see HttpProxy::setEngine().
class COMMUNICATOR_EXPORT HttpEngine
{
public:
    virtual ~HttpEngine();
    /// Performs the exchange on the caller's thread and returns when it has finished, at the latest after
    /// HttpRequest::expectedTime. Can be called from several threads at once.
    virtual HttpReply exchange(const HttpRequest& request) = 0;
    /// Starts the exchange and returns at once. @p done must be called exactly once, from any thread but
    /// never from inside this call.
    /// @return whether the exchange was started; @p done is called in either case.
    virtual bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) = 0;
    /// Ends the exchange @p id at once with `Aborted`, if it is under way or about to begin; its thread may
    /// be another one. Called from any thread. An engine that cannot leaves this as it is: it does nothing.
    virtual void cancel(ExchangeId id);
    /// The same for all exchanges with @p deviceKey that are under way.
    virtual void cancelAll(const QString& deviceKey);
};

} // namespace Krelm::Communicator::HttpDevice

#endif
