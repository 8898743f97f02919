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
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// One request and its reply, without the network: the bytes to send, the interpretation of the bytes
/// received, and whether the request may be sent again. Reusable. Used by one thread at a time.
class Exchange
{
public:
    explicit Exchange(const TransferLimits& limits);

    /// Prepares @p request, which must outlive finish().
    /// @return Success, or why nothing can be sent.
    IHttpVersionTrigger::HttpSimpleState prepare(const HttpRequest& request,
                                                 const std::shared_ptr<const Device>& device,
                                                 std::chrono::steady_clock::time_point started);
    const std::shared_ptr<const Device>& device() const { return m_device; }

    /// The progress of the exchange on its connection.
    enum class Step {
        GoOn,       ///< there is more to send or receive
        Ended,      ///< all done; call finish()
        AgainHere,  ///< the same request must be sent again on this connection
        AgainFresh, ///< the same request must be sent again on a new connection
        AwaitLogin  ///< the device refused the token; call awaitLogin()
    };

    /// Sends as much as possible without waiting.
    Step send(Connection& connection);
    /// Whether all that remains is to wait for the reply.
    bool mayReceive() const { return isSent() || m_sendFailed; }
    /// Whether the rest of the request cannot be sent. What can be received has arrived already: do not wait
    /// for more.
    bool hasSendFailed() const { return m_sendFailed; }
    /// Whether the whole request has been sent.
    bool isSent() const { return m_headSent == m_head.size() && m_body.isSent(); }
    /// Processes received bytes. @p isReused means that the connection has served an earlier exchange.
    Step received(const Connection::Result& result, const char* bytes, bool isReused);
    /// Whether the connection can be reused.
    bool keepsConnection() const;

    /// Asks for a new token. @p waiter is called, on another thread, unless the result is `Ended` or
    /// `AgainHere`; only @p ticket keeps it.
    /// @return AwaitLogin if the token is being renewed; otherwise the step that follows.
    Step awaitLogin(TokenLogin::Ticket& ticket, TokenLogin::Waiter waiter);
    /// Call this when the token was renewed: the request is sent again.
    /// @return AgainHere or AgainFresh.
    Step repeatWithNewLogin();

    /// Ends the exchange with what was received, or with a failure given by the caller. Reports it and
    /// returns the reply.
    HttpReply finish() { return finish(IHttpVersionTrigger::Success, {}); }
    HttpReply finish(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error);
    /// After finish(): how long to wait before the request is sent again; none if it is not.
    std::optional<std::chrono::milliseconds> repeatAfter() const { return m_repeatAfter; }

private:
    void writeHead();
    void startAnew();
    Step lost(bool isReused);
    Step completed();
    Step again();
    void tellProgress();
    void report(const HttpReply& reply);

    ReplyReader m_reader;
    OutgoingBody m_body;
    const HttpRequest* m_request = nullptr;
    std::shared_ptr<const Device> m_device;
    std::chrono::steady_clock::time_point m_started;
    QByteArray m_target;
    QByteArray m_head;
    /// The last read of a path and nothing else, which often comes again.
    struct PlainRead
    {
        std::shared_ptr<const Device> device;
        QString path;
        QByteArray target;
        QByteArray head;
    };
    PlainRead m_plainRead;
    int m_headSent = 0;
    bool m_sendFailed = false;
    int m_sendError = 0;        ///< of the system, if it is known
    bool m_asksToClose = false; ///< the request asks to close the connection
    QByteArray m_authorization;
    int m_challenges = 0;       ///< that were answered
    bool m_hasNewLogin = false; ///< sent again with a new token
    bool m_wasRepeated = false; ///< sent again because a reused connection had ended
    qint64 m_bytesSent = 0;
    QString m_error;
    TransferSizes m_lastProgress; ///< reported last
    std::optional<std::chrono::milliseconds> m_repeatAfter;
    Q_DISABLE_COPY_MOVE(Exchange)
};

/// Why @p request cannot be sent to any device; empty if it can.
QString errorOfRequest(const HttpRequest& request);

} // namespace Krelm::Communicator::HttpDevice

#endif
