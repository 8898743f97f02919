// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_EXCHANGEREPORT_H
#define COMMUNICATOR_HTTP_EXCHANGEREPORT_H

#include "communicator/httpengine.h"

#include <chrono>

namespace Krelm::Communicator::HttpDevice {

/// The summary of an exchange for logs and observers.
struct ExchangeSummary
{
    std::chrono::steady_clock::time_point started;
    QByteArray target; ///< path and query as sent; empty if nothing was sent
    int status = 0;
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success;
    QString error; ///< why it failed, without a secret
    qint64 bytesSent = 0;
    qint64 bytesReceived = 0;
    QByteArray reply;
    qint64 retryAfter = -1; ///< in ms; -1 if the device asked for no wait
    bool isRepeated = false;
};

/// How much of an exchange's bodies has been transferred.
struct TransferSizes
{
    qint64 sent = 0;
    qint64 toSend = -1; ///< -1: not known
    qint64 received = 0;
    qint64 toReceive = -1; ///< -1: not known

    bool operator==(const TransferSizes& other) const
    {
        return sent == other.sent && toSend == other.toSend && received == other.received &&
               toReceive == other.toReceive;
    }
};

/// Reports a finished exchange to the log and the observers: a warning if it failed, and an info message in
/// any case. May be called from any thread; reports nothing once the transport is closed.
void reportExchange(const HttpRequest& request, const ExchangeSummary& summary);

/// Reports the progress of a running exchange to the observers. May be called from any thread; reports
/// nothing once the transport is closed.
void reportProgress(const HttpRequest& request, const QByteArray& target, const TransferSizes& sizes);

} // namespace Krelm::Communicator::HttpDevice

#endif
