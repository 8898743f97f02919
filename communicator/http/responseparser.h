// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_RESPONSEPARSER_H
#define COMMUNICATOR_HTTP_RESPONSEPARSER_H

#include "communicator/http/transferlimits.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <memory>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// Finds where one HTTP/1.x response begins and ends (RFC 9112) in pieces that may end anywhere.
///
/// Strict where a wrong reading would mislead: status line, lengths, transfer coding, chunks. Tolerant where
/// it would not, because the servers of small devices are sloppy: bare line feeds in a head, a missing reason
/// phrase, blanks before a colon or around the status, folded lines. Interim responses are skipped.
/// Used by one thread at a time.
class ResponseParser
{
public:
    /// The head of a final response.
    struct Head
    {
        int status = 0;
        qint64 length = -1;      ///< of the body; -1: not told
        bool untilClose = false; ///< only the end of the connection tells the end of the body
    };

    /// Takes what the parser finds.
    class Handler
    {
    public:
        virtual ~Handler();
        /// The name as it came, the value without the blanks around it. Before the head.
        virtual void responseField(std::string_view name, std::string_view value) = 0;
        /// @return whether to go on.
        virtual bool responseHead(const Head& head) = 0;
        /// A piece of the body without its framing. @return whether to go on.
        virtual bool responseBody(const char* bytes, std::size_t size) = 0;
    };

    enum class State {
        Reading,   ///< more has to come
        Complete,  ///< the response is whole
        Cut,       ///< the connection ended before the response did
        Malformed, ///< what came is no response, or frames its body in a way that cannot be trusted
        TooLarge,  ///< the head or the framing exceeds the limits
        Refused    ///< the handler did not want to go on
    };

    ResponseParser(Handler& handler, const TransferLimits& limits);
    ~ResponseParser();

    /// Expects a new response.
    void reset();
    /// Takes the next piece.
    State feed(const char* bytes, std::size_t size);
    /// The connection ended.
    State end();

    State state() const { return m_state; }
    /// Whether anything came since reset().
    bool hasBegun() const { return m_begun; }
    /// Whether another request may follow on the connection: the response is complete, nothing came behind
    /// it, and the peer keeps the connection.
    bool keepsConnection() const;
    /// Why the response is malformed or too large.
    const QString& error() const { return m_error; }

private:
    class Grammar;

    std::size_t feedHead(const char* bytes, std::size_t size);
    std::size_t feedBody(const char* bytes, std::size_t size);
    std::size_t putBody(const char* bytes, std::size_t size);
    void parseHead(std::string_view head);
    void fail(State state, const QString& error);

    Handler& m_handler;
    const TransferLimits m_limits;
    std::unique_ptr<Grammar> m_grammar;
    State m_state = State::Reading;
    bool m_begun = false;
    bool m_inBody = false;
    bool m_surplus = false;
    qint64 m_headBytes = 0; ///< of all heads, interim ones included
    int m_headLines = 0;
    QByteArray m_pending; ///< the beginning of a head or of a chunk's frame
    QString m_error;
    Q_DISABLE_COPY_MOVE(ResponseParser)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
