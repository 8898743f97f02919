// SPDX-License-Identifier: MIT
//
// The forms in which an operation talks to a device. See request.md for when to use which.
#ifndef TESSEL_FRAMES_REQUEST_H
#define TESSEL_FRAMES_REQUEST_H

#include <communicator/httpproxy.h>

#include <QMutex>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpMutilPartPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;

/// The path of @p routeKey, looked up at every call; empty when the table lacks the key.
QString routePath(const char* routeKey);
QString routePath(const QString& routeKey);

/// An output that takes the elements of the reply's array as parsed instead of flattened.
struct AsParsed
{
    QList<QVariant>& list;
};
inline AsParsed asParsed(QList<QVariant>& list)
{
    return {list};
}

/// What an output takes of a reply: its type names the decoder. Empty containers after a failure.
inline void decode(const HttpJsonPackage& package, QMap<QString, QVariant>& out)
{
    out = package.getRoutesJsonMap();
}
inline void decode(const HttpJsonPackage& package, QList<QVariant>& out)
{
    out = package.getRoutesJsonDataListMap();
}
inline void decode(const HttpJsonPackage& package, const AsParsed& out)
{
    out.list = package.getJsonDataListMap();
}
/// The reply's headers.
inline void decode(const HttpJsonPackage& package, QMap<QString, QString>& out)
{
    out = package.responseHeader();
}
/// The reply's HTTP status.
inline void decode(const HttpJsonPackage& package, int& out)
{
    out = package.replyStatus;
}

inline bool succeeded(const HttpJsonPackage& package)
{
    return package.getSimpleState() == 0;
}

/// Fills a package in the order of the calls. Base of all requests.
template <class Self>
class PackageFiller
{
public:
    Self& placeHolder(const char* name, const QString& value)
    {
        package().addPlaceHolders(QLatin1String(name), value);
        return self();
    }
    Self& parameter(const char* name, const QString& value)
    {
        package().addParameters(QLatin1String(name), value);
        return self();
    }
    Self& parameters(const QMap<QString, QString>& values)
    {
        package().setParameters(values);
        return self();
    }
    Self& headers(const QMap<QString, QString>& values)
    {
        package().setRequestHeader(values);
        return self();
    }
    Self& body(const QMap<QString, QVariant>& map)
    {
        package().setRequestWithJsonObj(QVariant(map));
        return self();
    }
    Self& body(const QList<QVariant>& list)
    {
        package().setRequestWithJsonObj(QVariant(list));
        return self();
    }
    Self& body(const QVariant& value)
    {
        package().setRequestWithJsonObj(value);
        return self();
    }
    /// Raw bytes, sent as they are.
    Self& data(const QByteArray& bytes)
    {
        package().setRequestData(bytes);
        return self();
    }
    /// Clamped to the package's range; compute it in 64 bits.
    Self& expectedTime(qint64 milliseconds)
    {
        using Limits = std::numeric_limits<int>;
        package().setExpectedTime(
            static_cast<int>(std::clamp<qint64>(milliseconds, Limits::min(), Limits::max())));
        return self();
    }
    /// Marks a request of a long-running device task.
    Self& daemon()
    {
        package().setDaemonFlag(true);
        return self();
    }

protected:
    PackageFiller() = default;

private:
    Self& self() { return static_cast<Self&>(*this); }
    HttpJsonPackage& package() { return self().packageToFill(); }
};

/// A request whose package lives on the stack. Base of the requests that have their outcome on return.
template <class Self, class Package>
class StackRequest : public PackageFiller<Self>
{
public:
    /// Fills the outputs from the package as it is, then tests its state.
    // Quirk: A failure empties the outputs.
    // Quirk: A device that refuses by its code counts as having succeeded.
    template <class... Outputs>
    bool decodeInto(Outputs&&... outputs)
    {
        (decode(m_package, outputs), ...);
        return succeeded(m_package);
    }

protected:
    explicit StackRequest(const QString& path) { m_package.setUrl(path); }

    Package m_package{nullptr};

private:
    friend class PackageFiller<Self>;
    HttpJsonPackage& packageToFill() { return m_package; }
};

/// A blocking request, or a fire-and-forget one.
///
/// Every verb takes the device and any number of outputs. The outputs are filled from the reply first, also
/// after a failure, which empties them; the result is whether the transport's state is zero. The device's
/// `code` does not count.
class Request : public StackRequest<Request, HttpJsonPackage>
{
public:
    explicit Request(const char* routeKey)
        : StackRequest(routePath(routeKey))
    {}
    explicit Request(const QString& routeKey)
        : StackRequest(routePath(routeKey))
    {}

    template <class... Outputs>
    bool get(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->getSync(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
    template <class... Outputs>
    bool put(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->putSync(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
    template <class... Outputs>
    bool post(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->postSync(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
    template <class... Outputs>
    bool del(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->delSync(deviceKey, &m_package);
        return decodeInto(outputs...);
    }

    /// Stores the reply's body in the file @p path.
    bool download(const QString& deviceKey, const QString& path)
    {
        m_package.fileDownloadPath = path;
        HttpProxy::getInstance()->getFileDownloadSync(deviceKey, &m_package);
        return succeeded(m_package);
    }

    /// Fetches into @p cache: on success the device's entry is replaced and the result is `true`; on failure
    /// the cache stays as it was. @p mutex, if given, guards the cache and is locked once the reply has
    /// arrived.
    // Quirk: A refusal by code is cached.
    template <class Entry>
    bool fetch(const QString& deviceKey, QMap<QString, Entry>& cache, QMutex* mutex = nullptr)
    {
        return fetch(deviceKey, cache, mutex, [] {});
    }
    /// The same; calls @p stored after the store, with the mutex still held.
    template <class Entry, class Stored>
    bool fetch(const QString& deviceKey, QMap<QString, Entry>& cache, QMutex* mutex, Stored stored)
    {
        HttpProxy::getInstance()->getSync(deviceKey, &m_package);
        const QMutexLocker lock(mutex);
        if (!succeeded(m_package)) {
            return false;
        }
        decode(m_package, cache[deviceKey]);
        stored();
        return true;
    }

    /// Fire and forget: hands the request to the transport and reports on a package without a reply, so the
    /// outputs become empty and the result is that of a fresh package.
    // Quirk: A write that is not waited for reports a package without a reply.
    template <class... Outputs>
    bool putNoReply(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->put(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
    template <class... Outputs>
    bool postNoReply(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->post(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
};

/// A blocking request with a multipart body; outputs and result as Request's.
class MultipartRequest : public StackRequest<MultipartRequest, HttpMutilPartPackage>
{
public:
    MultipartRequest(const char* routeKey, const QMap<QString, QVariant>& parts)
        : StackRequest(routePath(routeKey))
    {
        m_package.setHttpMultiPartData(parts);
    }

    template <class... Outputs>
    bool put(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->putMutilPartSync(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
    /// The same through the plain blocking verb.
    template <class... Outputs>
    bool putPlain(const QString& deviceKey, Outputs&&... outputs)
    {
        HttpProxy::getInstance()->putSync(deviceKey, &m_package);
        return decodeInto(outputs...);
    }
};

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

    /// GETs into @p cache: on success the device's entry is replaced, on failure the cache stays as it was.
    /// Then @p handled is called with whether it was replaced.
    template <class Entry, class Handled>
    void refresh(const QString& deviceKey, QMap<QString, Entry>& cache, Handled handled)
    {
        HttpJsonPackage* package = m_package.release();
        HttpProxy::getInstance()->get(deviceKey, package);
        whenAnswered(package, package, [&cache, deviceKey, handled](const HttpJsonPackage& reply) {
            const bool stored = succeeded(reply);
            if (stored) {
                decode(reply, cache[deviceKey]);
            }
            handled(stored);
        });
    }

    /// GETs, and gives the answered package, whatever its state, to @p takeOver, which owns it from then on.
    template <class TakeOver>
    void get(const QString& deviceKey, TakeOver takeOver)
    {
        HttpJsonPackage* package = m_package.release();
        HttpProxy::getInstance()->get(deviceKey, package);
        QObject::connect(package, &HttpJsonPackage::readyRead, package,
                         [takeOver](HttpJsonPackage* reply) { takeOver(reply); });
    }

    /// PUTs, and calls @p answered with the reply, whatever its state, unless @p context is gone by then: the
    /// package goes with it. Returns whether the request was started.
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

    /// PUTs, and calls @p stored once the exchange succeeded; never after a failure. Otherwise like put().
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

    // Connecting after the start is safe: the transport never answers from inside the starting call.
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

/// Whether @p cache may answer for the device. @p force asks for a fetch whatever the cache holds; an
/// operator with a watch flag passes `force || !m_isWatch`. @p mutex, if given, guards the cache.
// Quirk: An empty entry counts as cached.
template <class Entry>
bool cached(const QMap<QString, Entry>& cache, const QString& deviceKey, bool force, QMutex* mutex = nullptr)
{
    if (force) {
        return false;
    }
    const QMutexLocker lock(mutex);
    return cache.contains(deviceKey);
}

/// Copies the result of a read-through from the cache: @p loaded is its result, and @p out is left unchanged
/// on `false`.
template <class Entry>
bool outputFromCache(bool loaded, const QMap<QString, Entry>& cache, const QString& deviceKey, Entry& out)
{
    if (loaded) {
        out = cache.value(deviceKey);
    }
    return loaded;
}

/// Copies the first element of @p list whose member `id` @p matches accepts. @return whether there is one;
/// @p out is left unchanged on `false`.
template <class Matches>
bool copyElementWhere(const QList<QVariant>& list, Matches matches, QMap<QString, QVariant>& out)
{
    for (const QVariant& element : list) {
        QMap<QString, QVariant> map = element.toMap();
        if (matches(map.value(QStringLiteral("id")))) {
            out = std::move(map);
            return true;
        }
    }
    return false;
}

/// The same for the element whose `id` equals @p id, a number as its text. An element without `id` never
/// matches.
bool copyElement(const QList<QVariant>& list, const QString& id, QMap<QString, QVariant>& out);

/// The source location of a guarded operation, for the system-error line.
struct CallSite
{
    CallSite(const char* file_, const char* function_, int line_ = __builtin_LINE())
        : file(file_)
        , function(function_)
        , line(line_)
    {}
    const char* file;
    const char* function;
    int line;
};

/// The test of the guarded operations: whether route table and proxy exist. Writes the system-error line of
/// the first that is missing; for the route table with @p tableMessage.
bool instancesReady(const CallSite& site, const char* tableMessage);
/// The same on given instances.
bool instancesReady(const CallSite& site, const char* tableMessage, const void* routeTable,
                    const void* proxy);

} // namespace Tessel

#endif
