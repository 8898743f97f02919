// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EXCHANGEOBSERVER_H
#define COMMUNICATOR_EXCHANGEOBSERVER_H

#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QString>

#include <functional>

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
};

/// Has @p observer called for every exchange that ends from now on; an empty function removes the one that is
/// set. There is one observer at most. It is called on the thread that performed the exchange, so it must be
/// quick and may be called from several threads at once; a call that had begun may outlast its removal. May
/// be called from any thread.
COMMUNICATOR_EXPORT void setExchangeObserver(std::function<void(const ExchangeRecord&)> observer);

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
};

/// Has @p observer called whenever one of the sizes of an exchange changed, for exchanges that begin from now
/// on; an empty function removes the one that is set, which ends the reports of exchanges under way too. The
/// end of an exchange is told to the exchange observer alone. Number, threads and removal are those of
/// setExchangeObserver(). May be called from any thread.
COMMUNICATOR_EXPORT void setProgressObserver(std::function<void(const ExchangeProgress&)> observer);

/// How many exchanges began in this process, blocking or not. Of the built-in transport, each is told to the
/// observer once, when it ends.
/// May be called from any thread.
COMMUNICATOR_EXPORT quint64 exchangesBegun();

} // namespace Krelm::Communicator::HttpDevice

#endif
