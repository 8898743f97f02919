// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_EXCHANGEREPORT_H
#define COMMUNICATOR_HTTP_EXCHANGEREPORT_H

#include "communicator/httpengine.h"

#include <chrono>

namespace Krelm::Communicator::HttpDevice {

/// What one exchange leaves behind for people: the outcome and what led to it.
struct ExchangeSummary
{
    std::chrono::steady_clock::time_point started;
    QByteArray target; ///< path and query as sent; empty: nothing was sent
    int status = 0;
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success;
    QString error; ///< why it failed, without a secret
    qint64 bytesSent = 0;
    qint64 bytesReceived = 0;
    QByteArray reply;
};

/// How much of an exchange's bodies travelled.
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

/// Tells the log and the observers of an exchange that ended: a warning when it failed, an information line
/// in any case. May be called from any thread; says nothing once the transport is closed.
void reportExchange(const HttpRequest& request, const ExchangeSummary& summary);

/// Tells the observers of an exchange under way. May be called from any thread; says nothing once the
/// transport is closed.
void reportProgress(const HttpRequest& request, const QByteArray& target, const TransferSizes& sizes);

} // namespace Krelm::Communicator::HttpDevice

#endif
