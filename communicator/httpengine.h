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

/// The verb of a request.
enum class HttpMethod { Get, Put, Post, Delete };

/// All that the network needs of a request, by value.
struct COMMUNICATOR_EXPORT HttpRequest
{
    QString deviceKey;                   ///< names the device; the engine resolves it
    HttpMethod method = HttpMethod::Get; ///< the verb
    QString path;                        ///< placeholders unexpanded
    QMap<QString, QString> placeHolders; ///< values, not encoded
    QMap<QString, QString> parameters;   ///< the query, not encoded
    QMap<QString, QString> headers;      ///< request headers, names as written
    QByteArray body;                     ///< the body of a request that is not multipart
    bool multipart = false;              ///< the body is built from `parts`
    QMap<QString, QVariant> parts;       ///< the fields of a multipart body
    QString downloadPath;                ///< empty: the body stays in memory
    int expectedTime = 0;                ///< milliseconds for the whole exchange
    bool daemon = false;                 ///< travels on connections apart from normal traffic
    ExchangeId id = 0;                   ///< what an engine tells the observers; 0: nobody gave one
};

/// What came back, by value.
struct COMMUNICATOR_EXPORT HttpReply
{
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success; ///< zero is success
    int status = 0;  ///< HTTP status, 0 when none came
    QByteArray body; ///< empty after a failed exchange without a reply
    /// Names as the device spelled them. The built-in transport makes one entry of all lines of one name: the
    /// values, joined by ", ", under the spelling that came first.
    QMap<QString, QString> headers;
};

/// The network behind HttpProxy. An engine knows nothing of packages, and may be replaced by one that records
/// and answers in process or by another transport.
class COMMUNICATOR_EXPORT HttpEngine
{
public:
    virtual ~HttpEngine();
    /// Performs the exchange on the caller's thread and returns when it ended. Called from any number of
    /// threads.
    virtual HttpReply exchange(const HttpRequest& request) = 0;
    /// Starts the exchange and returns at once; @p done is called exactly once, later, from any thread and
    /// never from inside this call. @return whether it was started; `done` is called in either case.
    virtual bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) = 0;
    /// Ends the exchange @p id at once with `Aborted`, if it is under way or about to begin; its thread may
    /// be another one. Called from any thread. An engine that cannot leaves this as it is: it does nothing.
    virtual void cancel(ExchangeId id);
    /// The same for all exchanges with @p deviceKey that are under way.
    virtual void cancelAll(const QString& deviceKey);
};

} // namespace Krelm::Communicator::HttpDevice

#endif
