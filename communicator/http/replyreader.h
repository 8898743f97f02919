// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REPLYREADER_H
#define COMMUNICATOR_HTTP_REPLYREADER_H

#include "communicator/http/responseparser.h"
#include "communicator/http/transferlimits.h"
#include "communicator/httpengine.h"
#include "files/atomicfile.h"

#include <json/tokencounter.h>

#include <memory>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// Receives one reply into memory or a file, enforces limits, and decides whether it is complete. Used by one
/// thread at a time.
class ReplyReader final : private ResponseParser::Handler
{
public:
    explicit ReplyReader(const TransferLimits& limits);
    ~ReplyReader() override;

    /// Discards the previous reply and prepares for the next one, in memory.
    void reset();
    /// Call this after reset() to store the body of a 2xx reply in the file @p path.
    /// @return whether that can be written; see reason().
    bool storeIn(const QString& path);
    /// Discards what was received of a reply that will be replaced by another one.
    void restart();

    /// Process the bytes received on the connection, and its end.
    ResponseParser::State feed(const char* bytes, std::size_t size) { return m_parser.feed(bytes, size); }
    ResponseParser::State end() { return m_parser.end(); }
    bool hasBegun() const { return m_parser.hasBegun(); }
    bool keepsConnection() const { return m_parser.keepsConnection(); }

    /// Status and headers; 0 and empty before the head was received.
    int status() const { return m_read.head.status; }
    QString header(const QString& name) const;

    /// Ends the reply. @p exchange is the outcome from the connection's point of view; the final outcome is
    /// in the returned reply, see reason() for a failure. A download gets its final name here.
    HttpReply finish(IHttpVersionTrigger::HttpSimpleState exchange);

    /// Why the reply failed; empty if the failure was passed to finish().
    const QString& error() const { return m_read.error; }
    /// The number of body bytes received.
    qint64 received() const { return m_read.received; }
    /// The announced size of the body, or -1 if it is unknown.
    qint64 expected() const { return m_read.head.length; }

private:
    void responseField(std::string_view name, std::string_view value) override;
    bool responseHead(const ResponseParser::Head& head) override;
    bool responseBody(const char* bytes, std::size_t size) override;

    IHttpVersionTrigger::HttpSimpleState judge(IHttpVersionTrigger::HttpSimpleState exchange);
    IHttpVersionTrigger::HttpSimpleState failFile();
    IHttpVersionTrigger::HttpSimpleState fail(IHttpVersionTrigger::HttpSimpleState state,
                                              const QString& error);
    bool breakOff(IHttpVersionTrigger::HttpSimpleState state);
    bool hasSuccessStatus() const { return status() >= 200 && status() < 300; }
    qint64 bodyLimit() const;
    bool countBody(qint64 size);
    bool hasTooManyTokens(int added);
    void uncountBody();

    const TransferLimits m_limits;
    ResponseParser m_parser;
    std::unique_ptr<Tessel::Files::AtomicFile> m_file;
    /// What was read of the reply.
    struct Read
    {
        IHttpVersionTrigger::HttpSimpleState refusal =
            IHttpVersionTrigger::Success; ///< why reading was stopped
        QString error;
        ResponseParser::Head head; ///< its status is 0 until it is complete
        QMap<QString, QString> headers;
        QByteArray body;
        JsonText::TokenCounter tokens;
        int searched = 0;     ///< bytes of the body whose tokens are counted
        bool isPlain = false; ///< the body is found to be no JSON object or list
        qint64 received = 0;
    };
    Read m_read;
    qint64 m_counted = 0; ///< bytes of the body that count towards the limit of all replies
};

} // namespace Krelm::Communicator::HttpDevice

#endif
