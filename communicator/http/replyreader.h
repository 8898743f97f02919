// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REPLYREADER_H
#define COMMUNICATOR_HTTP_REPLYREADER_H

#include "communicator/http/responseparser.h"
#include "communicator/http/transferlimits.h"
#include "communicator/httpengine.h"
#include "files/atomicfile.h"

#include <memory>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// Takes in one reply, in memory or in a file, within limits, and judges whether it is whole. Used by one
/// thread at a time.
class ReplyReader final : private ResponseParser::Handler
{
public:
    explicit ReplyReader(const TransferLimits& limits);
    ~ReplyReader() override;

    /// Forgets the last reply and expects the next one, in memory.
    void reset();
    /// After reset(): has the body of a 2xx reply stored in the file @p path. @return whether that can be
    /// written; see reason().
    bool storeIn(const QString& path);
    /// Forgets what came of a reply that another one will take the place of.
    void restart();

    /// Takes what came on the connection, and its end.
    ResponseParser::State feed(const char* bytes, std::size_t size) { return m_parser.feed(bytes, size); }
    ResponseParser::State end() { return m_parser.end(); }
    bool hasBegun() const { return m_parser.hasBegun(); }
    bool keepsConnection() const { return m_parser.keepsConnection(); }

    /// Of the head; 0 and empty before it came.
    int status() const { return m_headComplete ? m_status : 0; }
    QString header(const QString& name) const;

    /// Ends the reply: @p exchange is what the connection says of it. The outcome is in the reply; see
    /// reason() when it is a failure. A download appears under its name here.
    HttpReply finish(IHttpVersionTrigger::HttpSimpleState exchange);

    /// Why the reply failed; empty when finish() was told so by its caller.
    const QString& error() const { return m_error; }
    /// The bytes of the body that came.
    qint64 received() const { return m_received; }
    /// The bytes of the body that will come; -1: not told.
    qint64 expected() const { return m_length; }

private:
    void responseField(std::string_view name, std::string_view value) override;
    bool responseHead(const ResponseParser::Head& head) override;
    bool responseBody(const char* bytes, std::size_t size) override;

    IHttpVersionTrigger::HttpSimpleState judge(IHttpVersionTrigger::HttpSimpleState exchange);
    IHttpVersionTrigger::HttpSimpleState failFile();
    IHttpVersionTrigger::HttpSimpleState fail(IHttpVersionTrigger::HttpSimpleState state,
                                              const QString& error);
    bool breakOff(IHttpVersionTrigger::HttpSimpleState state);
    bool hasSuccessStatus() const { return m_status >= 200 && m_status < 300; }
    qint64 bodyLimit() const;
    bool countBody(qint64 size);
    void uncountBody();

    const TransferLimits m_limits;
    ResponseParser m_parser;
    std::unique_ptr<Tessel::Files::AtomicFile> m_file;
    IHttpVersionTrigger::HttpSimpleState m_refusal =
        IHttpVersionTrigger::Success; ///< why reading was broken off
    QString m_error;
    int m_status = 0;
    bool m_headComplete = false;
    qint64 m_length = -1;
    bool m_untilClose = false;
    QMap<QString, QString> m_headers;
    QByteArray m_body;
    qint64 m_received = 0;
    qint64 m_counted = 0; ///< bytes of m_body among those of all replies
};

} // namespace Krelm::Communicator::HttpDevice

#endif
