// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EXCHANGEOBSERVER_H
#define COMMUNICATOR_EXCHANGEOBSERVER_H

#include <communicator/exchangeid.h>
#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace Krelm::Communicator::HttpDevice {

/// A finished exchange of the built-in transport, without headers, request body and login.
struct COMMUNICATOR_EXPORT ExchangeRecord
{
    QString deviceKey; ///< the device key, with anything that could be a login masked
    QByteArray verb;   ///< `GET`, `PUT`, `POST` or `DELETE`
    QByteArray path;   ///< the path as sent, expanded and encoded, including the query
    int status = 0;    ///< the HTTP status, or 0 if there was no reply
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success; ///< the outcome
    qint64 milliseconds = 0;  ///< time from the call to the outcome, including the wait for a connection
    qint64 bytesSent = 0;     ///< size of the request body sent
    qint64 bytesReceived = 0; ///< size of the reply body received
    QString reason;           ///< why it failed, without secrets; empty after a success
    QByteArray reply;         ///< the reply body, shared and not copied; empty for a download
    ExchangeId id = 0;        ///< the id it got when it began
    /// Milliseconds for which the device asked to be left alone (`Retry-After` of a 429 or 503), or -1.
    qint64 retryAfter = -1;
    /// Whether the request is sent again because the device was busy (RequestLimits::repeatReads): a further
    /// record with the same id follows.
    bool isRepeated = false;
};

/// The progress of an exchange of the built-in transport. Sizes are those of the bodies as transferred, so a
/// form includes the boundaries and headers of its parts.
struct COMMUNICATOR_EXPORT ExchangeProgress
{
    QString deviceKey;       ///< the device key, with anything that could be a login masked
    QByteArray verb;         ///< `GET`, `PUT`, `POST` or `DELETE`
    QByteArray path;         ///< the path as sent, expanded and encoded, including the query
    qint64 bytesSent = 0;    ///< passed to the system so far; restarts if a login requires repeating the body
    qint64 bytesToSend = -1; ///< total size, or -1 if there is no body or its size is unknown
    qint64 bytesReceived = 0;   ///< received so far
    qint64 bytesToReceive = -1; ///< total size; -1 while unknown, for example before the response headers
    ExchangeId id = 0;          ///< the id it got when it began
};

/// Owns the registration of an observer, which ends when the handle is destroyed or remove() is called.
///
/// Removal waits until calls of the observer that are running on other threads have returned, so that
/// everything the observer uses can be destroyed afterwards.
/// @warning Do not remove an observer while holding a lock that it takes. Removal from inside a call of any
/// observer does not wait.
///
/// A handle must be used by only one thread at a time; which thread does not matter.
class COMMUNICATOR_EXPORT ObserverHandle
{
public:
    /// Holds no observer.
    ObserverHandle();
    /// Removes the observer.
    ~ObserverHandle();
    /// Takes over the observer of @p other, which holds none then.
    ObserverHandle(ObserverHandle&& other) noexcept;
    /// Removes the current observer and takes over the one of @p other.
    ObserverHandle& operator=(ObserverHandle&& other) noexcept;

    /// Removes the observer now; does nothing if there is none.
    void remove();

    class Observer;
    /// Used by the functions below.
    explicit ObserverHandle(std::shared_ptr<Observer> observer);

private:
    std::shared_ptr<Observer> m_observer;
    Q_DISABLE_COPY(ObserverHandle)
};

/// Registers @p observer, which is called for every exchange that finishes, until the handle is destroyed.
/// Observers are called in the order in which they were added, on the thread that performed the exchange, so
/// they must be fast and can be called from several threads at once. An observer may add and remove
/// observers. May be called from any thread.
[[nodiscard]] COMMUNICATOR_EXPORT ObserverHandle
addExchangeObserver(std::function<void(const ExchangeRecord&)> observer);

/// Registers @p observer, which is called whenever a size in ExchangeProgress has changed, until the handle
/// is destroyed. Exchanges that are already running are included. The end of an exchange is reported only to
/// exchange observers. Order and threads are as for addExchangeObserver(). May be called from any thread.
[[nodiscard]] COMMUNICATOR_EXPORT ObserverHandle
addProgressObserver(std::function<void(const ExchangeProgress&)> observer);

/// Sets the one exchange observer that has no handle, replacing the previous one; an empty function only
/// removes it. May be called from any thread.
/// @warning Unlike the destruction of a handle, this does not wait: a running call of the previous observer
/// can continue after it has been replaced.
COMMUNICATOR_EXPORT void setExchangeObserver(std::function<void(const ExchangeRecord&)> observer);

/// The same for progress, see addProgressObserver(). May be called from any thread.
COMMUNICATOR_EXPORT void setProgressObserver(std::function<void(const ExchangeProgress&)> observer);

/// Whether there is any exchange observer, so that an engine can skip preparing reports. Cheap; may be called
/// from any thread.
COMMUNICATOR_EXPORT bool isExchangeObserved();
/// The same for progress observers.
COMMUNICATOR_EXPORT bool isProgressObserved();

/// Calls the exchange observers. For engines other than the built-in one; they take `id` from HttpRequest.
/// May be called from any thread, but not while holding a lock that an observer could take.
COMMUNICATOR_EXPORT void tellObservers(const ExchangeRecord& record);
/// The same for progress observers.
COMMUNICATOR_EXPORT void tellObservers(const ExchangeProgress& progress);

} // namespace Krelm::Communicator::HttpDevice

#endif
