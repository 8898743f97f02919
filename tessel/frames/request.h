// SPDX-License-Identifier: MIT
//
// The forms of operations that wait for the device, or that do not wait at all. See request.md for when to
// use which.
#ifndef TESSEL_FRAMES_REQUEST_H
#define TESSEL_FRAMES_REQUEST_H

#include <tessel/frames/decoding.h>
#include <tessel/frames/missedevents.h>
#include <tessel/frames/packagefiller.h>

#include <communicator/httpproxy.h>

#include <QMutex>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpMutilPartPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;

/// A request whose package lives on the stack. Base class of requests whose outcome is known on return.
template <class Self, class Package>
class StackRequest : public PackageFiller<Self>
{
public:
    /// Fills the outputs from the package in any case, then checks its state.
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
/// Every verb takes the device and any number of outputs. The outputs are filled from the reply first, even
/// after a failure, which empties them; the result says whether the transport's state is zero. The device's
/// `code` is not checked.
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
    /// the cache is unchanged. @p mutex, if given, guards the cache and is locked only after the reply has
    /// arrived.
    // Quirk: A refusal by code is cached.
    template <class Entry>
    bool fetch(const QString& deviceKey, QMap<QString, Entry>& cache, QMutex* mutex = nullptr)
    {
        return fetch(deviceKey, cache, mutex, [] {});
    }
    /// The same, and calls @p stored after the store while the mutex is still held.
    template <class Entry, class Stored>
    bool fetch(const QString& deviceKey, QMap<QString, Entry>& cache, QMutex* mutex, Stored stored)
    {
        HttpProxy::getInstance()->getSync(deviceKey, &m_package);
        const QMutexLocker lock(mutex);
        if (!succeeded(m_package)) {
            return false;
        }
        decodeEntry(m_package, cache[deviceKey]);
        stored();
        return true;
    }

    /// The same, because of an event: if nothing could be read, the device's events are reported again later.
    template <class Entry, class Stored>
    void refresh(const QString& deviceKey, QMap<QString, Entry>& cache, QMutex* mutex, Stored stored)
    {
        bool hasData = false;
        fetch(deviceKey, cache, mutex, [&] {
            hasData = !cache.value(deviceKey).isEmpty();
            stored();
        });
        refreshed(deviceKey, m_package, hasData);
    }

    /// Fire and forget: passes the request to the transport and returns at once, without a reply, so the
    /// outputs are empty and the result is that of a new package.
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

} // namespace Tessel

#endif
