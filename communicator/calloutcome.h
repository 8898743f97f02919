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

namespace Krelm::Communicator::HttpDevice {

class HttpJsonPackage;

/// What became of one exchange. Neither a login nor a body is part of it.
struct COMMUNICATOR_EXPORT ExchangeOutcome
{
    /// Of an exchange that an observer was told of.
    static ExchangeOutcome of(const ExchangeRecord& record);
    /// Of the package of an exchange that has ended, after `readyRead`; `path` is its template, and `id`,
    /// `verb` and `milliseconds` are not known.
    static ExchangeOutcome of(const HttpJsonPackage& package);

    /// Whether the exchange succeeded and the device took the request: a whole reply with a status 2xx whose
    /// `code`, if it has one, is 0.
    /// @warning Operations go by the state alone where nothing else is said: one that returns `true` may have
    /// been refused by `code`.
    bool succeeded() const;
    /// One sentence for people on what failed and why, such as "PUT /api/v1/device/screen/brightness on wall:
    /// the device refused it: value out of range (code 3)". After a success it says so.
    QString text() const;

    ExchangeId id = 0; ///< given when it began
    QString deviceKey; ///< names the device
    QByteArray verb;   ///< `GET`, `PUT`, `POST` or `DELETE`
    QByteArray path;   ///< expanded and encoded, with the query
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success; ///< how it ended
    int status = 0;          ///< HTTP status, 0 when no reply came
    int code = 0;            ///< `code` of the reply's envelope, 0 when it has none
    QString message;         ///< `message` of the reply's envelope
    qint64 milliseconds = 0; ///< from the call to the outcome
    QString reason;          ///< why the transport failed; empty after a whole reply
};

/// Says what failed and why in the operations that the calling thread performs while the object lives.
///
/// ```cpp
/// CallOutcome outcome;
/// if (!ScreenInfo::getInstance()->setBrightness(wall, screen, 80)) {
///     qWarning() << outcome.text();
/// }
/// ```
///
/// Blocking exchanges are there when the operation has returned. Of what only began, and of promises, the
/// outcome is there once they settled; ask again then. It costs nothing while no such object lives. Has to be
/// destroyed on the thread that made it; what it tells may be asked from any thread.
class COMMUNICATOR_EXPORT CallOutcome
{
public:
    CallOutcome();
    ~CallOutcome();

    /// The exchanges that have ended, in the order of their ends; at most the last 1,000 of them.
    QList<ExchangeOutcome> exchanges() const;
    /// Whether an exchange has failed or was refused by the device.
    bool hasFailed() const;
    /// What failed last, for people. When nothing did: that nothing was sent (the operation was answered by a
    /// cache, or refused its arguments), that something is still under way, or that all succeeded.
    QString text() const;
    /// The exchanges that began; ExchangeIds::cancel() ends them from another thread.
    ExchangeIds& ids();

private:
    class Private;
    const std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(CallOutcome)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
