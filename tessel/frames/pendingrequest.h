// SPDX-License-Identifier: MIT
//
// The form of operations that are answered later. See request.md for when to use it.
#ifndef TESSEL_FRAMES_PENDINGREQUEST_H
#define TESSEL_FRAMES_PENDINGREQUEST_H

#include <tessel/frames/decoding.h>
#include <tessel/frames/missedevents.h>
#include <tessel/frames/packagefiller.h>

#include <communicator/httpproxy.h>

#include <memory>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpProxy;

/// A request that returns at once and is answered later; its package lives on the heap until the reply has
/// been handled.
///
/// The transport answers from the event loop of the thread that called, so that thread needs one. The
/// handlers run there; one with a context of its own runs on the thread of the context.
class PendingRequest : public PackageFiller<PendingRequest>
{
public:
    explicit PendingRequest(const char* routeKey)
        : m_package(std::make_unique<HttpJsonPackage>(nullptr))
    {
        m_package->setUrl(routePath(routeKey));
    }

    /// Sends a GET and stores the reply in @p cache: on success the device's entry is replaced, on failure
    /// the cache is unchanged. Then calls @p handled with whether it was replaced. If nothing could be read,
    /// the device's events are reported again later (refreshed()).
    template <class Entry, class Handled>
    void refresh(const QString& deviceKey, QMap<QString, Entry>& cache, Handled handled)
    {
        HttpJsonPackage* package = m_package.release();
        HttpProxy::getInstance()->get(deviceKey, package);
        whenAnswered(package, package, [&cache, deviceKey, handled](const HttpJsonPackage& reply) {
            const bool stored = succeeded(reply);
            if (stored) {
                decodeEntry(reply, cache[deviceKey]);
            }
            refreshed(deviceKey, reply, stored && !cache.value(deviceKey).isEmpty());
            handled(stored);
        });
    }

    /// Sends a GET and passes the answered package, whatever its state, to @p receive, which then owns it.
    template <class Receive>
    void get(const QString& deviceKey, Receive receive)
    {
        HttpJsonPackage* package = m_package.release();
        HttpProxy::getInstance()->get(deviceKey, package);
        QObject::connect(package, &HttpJsonPackage::readyRead, package,
                         [receive](HttpJsonPackage* reply) { receive(reply); });
    }

    /// Sends a PUT and calls @p answered with the reply, whatever its state, unless @p context has been
    /// destroyed, together with the package. Returns whether the request was started.
    template <class Answered>
    bool put(const QString& deviceKey, const QObject* context, Answered answered)
    {
        HttpJsonPackage* package = m_package.release();
        const bool started = HttpProxy::getInstance()->put(deviceKey, package);
        whenAnswered(package, context, answered);
        QObject::connect(context, &QObject::destroyed, package, &QObject::deleteLater);
        return started;
    }

    /// The same without a context: @p answered runs directly where the transport emits the reply.
    template <class Answered>
    void put(const QString& deviceKey, Answered answered)
    {
        HttpJsonPackage* package = m_package.release();
        HttpProxy::getInstance()->put(deviceKey, package);
        whenAnswered(package, package, answered, Qt::DirectConnection);
    }

    /// Sends a PUT and calls @p stored once the exchange has succeeded, never after a failure. Otherwise like
    /// put().
    template <class Stored>
    bool writeThrough(const QString& deviceKey, const QObject* context, Stored stored)
    {
        return put(deviceKey, context, [stored](const HttpJsonPackage& reply) {
            if (succeeded(reply)) {
                stored();
            }
        });
    }

private:
    friend class PackageFiller<PendingRequest>;
    HttpJsonPackage& packageToFill() { return *m_package; }

    // It is safe to connect after the start: the transport never answers from inside the starting call.
    template <class Answered>
    static void whenAnswered(HttpJsonPackage* package, const QObject* context, Answered answered,
                             Qt::ConnectionType type = Qt::AutoConnection)
    {
        QObject::connect(
            package, &HttpJsonPackage::readyRead, context,
            [answered](HttpJsonPackage* reply) {
                answered(*reply);
                reply->deleteLater();
            },
            type);
    }

    std::unique_ptr<HttpJsonPackage> m_package;
};

} // namespace Tessel

#endif
