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

/// One finished exchange of the built-in transport. Headers, request bodies and logins are no part of it.
struct COMMUNICATOR_EXPORT ExchangeRecord
{
    QString deviceKey; ///< what could be a login in it is masked
    QByteArray verb;   ///< `GET`, `PUT`, `POST` or `DELETE`
    QByteArray path;   ///< expanded and encoded, with the query
    int status = 0;    ///< HTTP status, 0 when none came
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success; ///< outcome
    qint64 milliseconds = 0;  ///< from the call to the outcome
    qint64 bytesSent = 0;     ///< of the body
    qint64 bytesReceived = 0; ///< of the body
    QString reason;           ///< why it failed, without a secret; empty after a success
    QByteArray reply;         ///< the body that came, shared and not copied; empty for a download
    ExchangeId id = 0;        ///< given when it began
};

/// How far an exchange of the built-in transport is. Sizes are those of the bodies, as they travel: a form
/// counts with what stands around its parts.
struct COMMUNICATOR_EXPORT ExchangeProgress
{
    QString deviceKey;          ///< what could be a login in it is masked
    QByteArray verb;            ///< `GET`, `PUT`, `POST` or `DELETE`
    QByteArray path;            ///< expanded and encoded, with the query
    qint64 bytesSent = 0;       ///< handed to the system so far; begins anew when a login has to be repeated
    qint64 bytesToSend = -1;    ///< in all; -1: none or not known
    qint64 bytesReceived = 0;   ///< so far
    qint64 bytesToReceive = -1; ///< in all; -1: none or not known, such as before the reply told
    ExchangeId id = 0;          ///< given when it began
};

/// Removes an observer when it is destroyed or remove() is called.
///
/// The removal waits until calls of the observer that are under way on other threads have returned, so that
/// what the observer uses may be destroyed afterwards. It therefore must not happen while a lock is held that
/// the observer takes. A removal from inside a call of an observer, this or another one, waits for none.
///
/// Each may be used by one thread at a time, whichever.
class COMMUNICATOR_EXPORT ObserverHandle
{
public:
    /// Holds no observer.
    ObserverHandle();
    /// Removes the observer.
    ~ObserverHandle();
    /// Takes over the observer of @p other, which holds none then.
    ObserverHandle(ObserverHandle&& other) noexcept;
    /// Removes the observer that is held, and takes over the one of @p other.
    ObserverHandle& operator=(ObserverHandle&& other) noexcept;

    /// Removes the observer now; nothing when there is none.
    void remove();

    class Observer;
    /// For the functions below.
    explicit ObserverHandle(std::shared_ptr<Observer> observer);

private:
    std::shared_ptr<Observer> m_observer;
    Q_DISABLE_COPY(ObserverHandle)
};

/// Has @p observer called for every exchange that ends from now on, until the handle is destroyed. Observers
/// are called one after the other in the order in which they were added, on the thread that performed the
/// exchange: they must be quick and may be called from several threads at once. An observer may add and
/// remove observers. May be called from any thread.
[[nodiscard]] COMMUNICATOR_EXPORT ObserverHandle
addExchangeObserver(std::function<void(const ExchangeRecord&)> observer);

/// Has @p observer called whenever one of the sizes of an exchange changed, those under way included, until
/// the handle is destroyed, which ends the reports of exchanges under way too. The end of an exchange is told
/// to the exchange observers alone. Order and threads are those of addExchangeObserver(). May be called from
/// any thread.
[[nodiscard]] COMMUNICATOR_EXPORT ObserverHandle
addProgressObserver(std::function<void(const ExchangeProgress&)> observer);

/// Like addExchangeObserver(), for the one observer that has no handle: it takes the place of the one that
/// was set so before; an empty function only removes that one. Waits for nothing: a call that had begun may
/// outlast its removal. May be called from any thread.
COMMUNICATOR_EXPORT void setExchangeObserver(std::function<void(const ExchangeRecord&)> observer);

/// The same for addProgressObserver(). May be called from any thread.
COMMUNICATOR_EXPORT void setProgressObserver(std::function<void(const ExchangeProgress&)> observer);

/// Whether somebody listens, so that an engine may save the work of telling. May be called from any thread;
/// costs next to nothing.
COMMUNICATOR_EXPORT bool isExchangeObserved();
/// The same for exchanges under way.
COMMUNICATOR_EXPORT bool isProgressObserved();

/// Calls the observers: for engines beside the built-in one, which takes `id` from HttpRequest. May be called
/// from any thread, with no lock held that an observer could take.
COMMUNICATOR_EXPORT void tellObservers(const ExchangeRecord& record);
/// The same for exchanges under way.
COMMUNICATOR_EXPORT void tellObservers(const ExchangeProgress& progress);

} // namespace Krelm::Communicator::HttpDevice

#endif
