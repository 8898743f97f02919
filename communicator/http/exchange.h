// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_EXCHANGE_H
#define COMMUNICATOR_HTTP_EXCHANGE_H

#include "communicator/devices/deviceregistry.h"
#include "communicator/http/connection.h"
#include "communicator/http/exchangereport.h"
#include "communicator/http/outgoingbody.h"
#include "communicator/http/replyreader.h"
#include "communicator/httpengine.h"

#include <chrono>
#include <memory>

namespace Krelm::Communicator::HttpDevice {

/// One request and its reply, without a network: what goes out, what is made of what comes in, and whether it
/// may go out again. Reusable. Used by one thread at a time.
class Exchange
{
public:
    explicit Exchange(const TransferLimits& limits);

    /// Prepares @p request, which must outlive finish(). @return Success, or why nothing can be sent.
    IHttpVersionTrigger::HttpSimpleState prepare(const HttpRequest& request,
                                                 const std::shared_ptr<const Device>& device,
                                                 std::chrono::steady_clock::time_point started);
    const std::shared_ptr<const Device>& device() const { return m_device; }

    /// How far the exchange has come on its connection.
    enum class Step {
        GoOn,      ///< more is to be sent or received
        Ended,     ///< nothing more is to be done: finish()
        AgainHere, ///< the same request has to go out once more, on this connection
        AgainFresh ///< the same, on a new connection
    };

    /// Sends what goes out without waiting, or a part.
    Step send(Connection& connection);
    /// Whether nothing is left to be done but to wait for the reply.
    bool mayReceive() const { return isSent() || m_sendFailed; }
    /// Whether all has gone out.
    bool isSent() const { return m_headSent == m_head.size() && m_body.isSent(); }
    /// Takes what came. @p isReused: the connection has served another exchange before.
    Step received(const Connection::Result& result, const char* bytes, bool isReused);
    /// Whether the connection may serve another exchange.
    bool keepsConnection() const;

    /// Ends the exchange: with what came, or with a failure of its caller's. Reports it and gives the reply.
    HttpReply finish() { return finish(IHttpVersionTrigger::Success, {}); }
    HttpReply finish(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error);

private:
    void writeHead();
    void startAnew();
    Step lost(bool isReused);
    Step completed();
    void tellProgress();

    ReplyReader m_reader;
    OutgoingBody m_body;
    const HttpRequest* m_request = nullptr;
    std::shared_ptr<const Device> m_device;
    std::chrono::steady_clock::time_point m_started;
    QByteArray m_target;
    QByteArray m_head;
    int m_headSent = 0;
    bool m_sendFailed = false;
    bool m_asksToClose = false; ///< the request asks for the end of the connection
    QByteArray m_authorization;
    int m_challenges = 0;       ///< that were answered
    bool m_wasRepeated = false; ///< once more because a kept connection had ended
    qint64 m_bytesSent = 0;
    QString m_error;
    TransferSizes m_lastProgress; ///< reported last
    Q_DISABLE_COPY_MOVE(Exchange)
};

/// Why @p request cannot be sent whatever the device; empty when it can.
QString errorOfRequest(const HttpRequest& request);

} // namespace Krelm::Communicator::HttpDevice

#endif
