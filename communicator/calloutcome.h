// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_CALLOUTCOME_H
#define COMMUNICATOR_CALLOUTCOME_H

#include <communicator/exchangeid.h>
#include <communicator/exchangeobserver.h>
#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

class HttpJsonPackage;

/// The outcome of one exchange, without logins and bodies. A plain value.
struct COMMUNICATOR_EXPORT ExchangeOutcome
{
    /// The outcome of an exchange that was reported to an observer.
    static ExchangeOutcome of(const ExchangeRecord& record);
    /// The outcome of a finished exchange from its package: after the blocking call, or after `readyRead`.
    static ExchangeOutcome of(const HttpJsonPackage& package);

    /// Whether the exchange succeeded and the device accepted the request: a complete reply with a 2xx status
    /// whose `code`, if it has one, is 0.
    /// @warning Unless stated otherwise, operations only check the state: one that returns `true` may have
    /// been refused by `code`.
    bool succeeded() const;
    /// A sentence for people that says what failed and why, such as "PUT /api/v1/device/screen/brightness on
    /// wall: the device refused it: value out of range (code 3)". After a success it says so.
    QString text() const;

    ExchangeId id = 0; ///< given when it began
    QString deviceKey; ///< names the device
    QByteArray verb;   ///< `GET`, `PUT`, `POST` or `DELETE`
    QByteArray path;   ///< the path as sent, expanded and encoded, including the query
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success; ///< how it ended
    int status = 0; ///< HTTP status, or 0 if there was no reply
    /// `code` of the reply's envelope, 0 if it has none, or -1 if it is not an integer.
    int code = 0;
    QString message;         ///< `message` of the reply's envelope
    qint64 milliseconds = 0; ///< time from the call to the outcome
    QString reason;          ///< why the transport failed; empty after a success
    /// Milliseconds for which the device asked to be left alone (`Retry-After` of a 429 or 503), or -1.
    qint64 retryAfter = -1;
    /// Whether the request was sent again because the device was busy, so that another outcome with the same
    /// id follows.
    bool isRepeated = false;
    /// Whether the exchange succeeded with a reply that is not a JSON object, of 16 KiB at most for an
    /// operation: outputs are empty, and promises are rejected.
    bool isUnreadable = false;
};

/// The outcome of an operation, obtained after it: why it returned `false`, or why its promise is rejected.
///
/// ```cpp
/// if (!ScreenInfo::getInstance()->setBrightness(wall, screen, body, 80)) {
///     qWarning() << OperationOutcome::last().text();
/// }
///
/// auto info = HWInfo::getInstance()->getHWInfo2(wall);
/// info.fail([outcome = OperationOutcome::last()] {
///     qWarning() << outcome.text();
///     return Tessel::DeviceInfo();
/// });
/// ```
///
/// An operation comprises all requests that it sends, blocking or not, including those that handlers send in
/// an event loop that it runs; a request sent through HttpProxy directly is an operation of its own. Each
/// thread knows its latest operation until the next one. An operation that sends nothing, because a cache
/// answered or it refused its arguments, has no exchanges. Functions that only look up what is known, such as
/// `HWInfo::getHwProtoc(deviceKey, false)`, are no operations.
///
/// A value, which can be copied and used on any thread, even after the transport has stopped. One that was
/// obtained while exchanges were under way also gives their outcome once they have ended.
class COMMUNICATOR_EXPORT OperationOutcome
{
public:
    /// The latest operation of the calling thread.
    static OperationOutcome last();

    /// The outcome of no operation.
    OperationOutcome();
    ~OperationOutcome();
    /// @cond
    OperationOutcome(const OperationOutcome& other);
    OperationOutcome(OperationOutcome&& other) noexcept;
    OperationOutcome& operator=(const OperationOutcome& other);
    OperationOutcome& operator=(OperationOutcome&& other) noexcept;
    /// @endcond

    /// The ids of the exchanges that it began, in order; at most the last 256.
    std::vector<ExchangeId> ids() const;
    /// Those of them that have ended, in the order in which they began.
    QList<ExchangeOutcome> exchanges() const;
    /// Whether all exchanges have ended.
    bool isFinished() const;
    /// Whether an exchange has failed or was refused by the device.
    bool hasFailed() const;
    /// The latest failure, as text for people. If there is none, it says that nothing was sent, that an
    /// exchange is still running, that a reply cannot be read, or that all succeeded.
    QString text() const;

private:
    class Private;
    std::shared_ptr<const Private> d;
};

/// Reports what failed and why in the operations that the calling thread performs while the object lives.
///
/// ```cpp
/// CallOutcome outcome;
/// if (!ScreenInfo::getInstance()->setBrightness(wall, screen, 80)) {
///     qWarning() << outcome.text();
/// }
/// ```
///
/// OperationOutcome does the same after the fact, for the latest operation. Blocking exchanges are included
/// when the operation has returned; non-blocking ones and promises once they have finished, so ask again
/// then. It costs nothing while no such object exists. It must be destroyed on the thread that created it;
/// its other functions may be called from any thread.
class COMMUNICATOR_EXPORT CallOutcome
{
public:
    CallOutcome();
    ~CallOutcome();

    /// The finished exchanges, in the order in which they finished; at most the last 1,000.
    QList<ExchangeOutcome> exchanges() const;
    /// Whether an exchange has failed or was refused by the device.
    bool hasFailed() const;
    /// The latest failure, as text for people. If there is none, it says that nothing was sent (because a
    /// cache answered, or the arguments were refused), that an exchange is still running, that a reply cannot
    /// be read, or that all succeeded.
    QString text() const;
    /// The exchanges that have begun; ExchangeIds::cancel() ends them from another thread.
    ExchangeIds& ids();

private:
    class Private;
    const std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(CallOutcome)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
