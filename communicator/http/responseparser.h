// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_RESPONSEPARSER_H
#define COMMUNICATOR_HTTP_RESPONSEPARSER_H

#include "communicator/http/chunkframe.h"
#include "communicator/http/transferlimits.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <memory>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// Parses an HTTP/1.x response (RFC 9112) from pieces that may end anywhere.
///
/// It is strict where an error would be dangerous: status line, lengths, transfer coding, chunks. It is
/// tolerant elsewhere, because the servers of small devices are sloppy: bare line feeds in a head, a missing
/// reason phrase, blanks before a colon or around the status, folded lines. Interim responses are skipped.
/// Used by one thread at a time.
class ResponseParser
{
public:
    /// The head of a final response.
    struct Head
    {
        int status = 0;
        qint64 length = -1;      ///< of the body, or -1 if it was not announced
        bool untilClose = false; ///< the body ends with the connection
    };

    /// Receives what the parser finds.
    class Handler
    {
    public:
        virtual ~Handler();
        /// A header: the name as received, the value without surrounding blanks. Called before the head.
        virtual void responseField(std::string_view name, std::string_view value) = 0;
        /// @return whether to go on.
        virtual bool responseHead(const Head& head) = 0;
        /// A piece of the body without its framing. @return whether to go on.
        virtual bool responseBody(const char* bytes, std::size_t size) = 0;
    };

    enum class State {
        Reading,   ///< more bytes are needed
        Complete,  ///< the response is complete
        Cut,       ///< the connection ended before the response was complete
        Malformed, ///< not a valid response, or its framing cannot be trusted
        TooLarge,  ///< the head or the framing exceeds the limits
        Refused    ///< the handler stopped the parser
    };

    ResponseParser(Handler& handler, const TransferLimits& limits);
    ~ResponseParser();

    /// Prepares for a new response.
    void reset();
    /// Parses the next piece.
    State feed(const char* bytes, std::size_t size);
    /// Call this when the connection has ended.
    State end();

    State state() const { return m_now.state; }
    /// Whether anything was received since reset().
    bool hasBegun() const { return m_now.hasBegun; }
    /// Whether the connection can be reused: the response is complete, nothing was received after it, and the
    /// peer keeps the connection open.
    bool keepsConnection() const;
    /// Why the response is malformed or too large.
    const QString& error() const { return m_now.error; }

private:
    class Grammar;

    std::size_t feedHead(const char* bytes, std::size_t size);
    std::size_t feedBody(const char* bytes, std::size_t size);
    std::size_t putBody(const char* bytes, std::size_t size);
    void parseHead(std::string_view head);
    void judgeFrame(std::string_view bytes);
    void fail(State state, const QString& error);

    Handler& m_handler;
    const TransferLimits m_limits;
    std::unique_ptr<Grammar> m_grammar;
    /// How far the response has come.
    struct Progress
    {
        State state = State::Reading;
        bool hasBegun = false;
        bool inBody = false;
        bool surplus = false;
        qint64 headBytes = 0; ///< of all heads, interim ones included
        int headLines = 0;
        QByteArray pending; ///< the beginning of a head or of a chunk's frame
        ChunkFrame frame;   ///< what is pending of a body
        QString error;
    };
    Progress m_now;
    Q_DISABLE_COPY_MOVE(ResponseParser)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
