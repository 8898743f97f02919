// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_REPLYREADER_H
#define COMMUNICATOR_REPLYREADER_H

#include "communicator/httpengine.h"
#include "communicator/transferlimits.h"
#include "communicator/wholefile.h"

#include <memory>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// Takes in one reply, line by line and piece by piece, within limits, and judges whether it is whole.
/// Used by one thread at a time.
class ReplyReader
{
public:
    explicit ReplyReader(const TransferLimits& limits);

    /// Forgets the last reply and expects the next one, in memory.
    void reset();
    /// After reset(): has the body of a 2xx reply stored in the file @p path. @return whether that can be
    /// written; see reason().
    bool storeIn(const QString& path);
    /// Takes one header line, a status line, a blank line or a trailer. @return whether to go on.
    bool headerLine(const char* line, qint64 size);
    /// Takes a piece of the body. @return whether to go on.
    bool bodyBytes(const char* bytes, qint64 size);
    /// Whether a status line with a final status came since the last call.
    bool takeFinalStatus();

    /// Ends the reply: @p exchange is what the connection says of it. The outcome is in the reply; see
    /// reason() when it is a failure. A download appears under its name here.
    HttpReply finish(IHttpVersionTrigger::HttpSimpleState exchange);

    /// Why the reply failed; empty when finish() was told so by its caller.
    const QString& reason() const { return m_reason; }
    /// The bytes of the body that came.
    qint64 received() const { return m_received; }

private:
    IHttpVersionTrigger::HttpSimpleState judge(IHttpVersionTrigger::HttpSimpleState exchange);
    IHttpVersionTrigger::HttpSimpleState failFile();
    IHttpVersionTrigger::HttpSimpleState fail(IHttpVersionTrigger::HttpSimpleState state,
                                              const QString& reason);
    void statusLine(std::string_view line);
    void field(std::string_view line);
    bool hasSuccessStatus() const { return m_status >= 200 && m_status < 300; }
    qint64 bodyLimit() const;

    const TransferLimits m_limits;
    std::unique_ptr<WholeFile> m_file;
    IHttpVersionTrigger::HttpSimpleState m_refusal =
        IHttpVersionTrigger::Success; ///< why reading was broken off
    QString m_reason;
    int m_status = 0;
    bool m_finalStatus = false;
    bool m_headComplete = false;
    qint64 m_length = -1;
    bool m_chunked = false;
    qint64 m_headerBytes = 0;
    int m_headerLines = 0;
    QMap<QString, QString> m_headers;
    QByteArray m_body;
    qint64 m_received = 0;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
