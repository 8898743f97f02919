// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CONNECTION_H
#define COMMUNICATOR_HTTP_CONNECTION_H

#include <QtGlobal>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

using CURL = void;

namespace Krelm::Communicator::HttpDevice {

/// The largest record of TLS (RFC 8446, 5.1), and the least size for a buffer to receive in.
constexpr std::size_t largestTlsRecord = 16 << 10;

/// Bytes that somebody else owns.
struct Bytes
{
    const char* data = nullptr;
    std::size_t size = 0;
};

/// An open connection to a device, with or without TLS. It moves bytes and knows nothing of HTTP. Used by one
/// thread at a time, shutDown() apart.
class Connection
{
public:
    enum class Status {
        Moved,   ///< bytes were moved
        Waiting, ///< nothing can be moved now
        Closed,  ///< the peer has ended the connection
        Failed   ///< the connection is useless
    };
    struct Result
    {
        Status status;
        std::size_t bytes = 0; ///< that were moved
    };

    /// Takes over a connected socket.
    explicit Connection(int socket);
    /// Takes over the TLS connection that libcurl opened for @p easy (CURLOPT_CONNECT_ONLY). @p release lets
    /// go of the handle.
    Connection(CURL* easy, int socket, std::function<void()> release);
    ~Connection();

    /// What to watch for readiness. With TLS a readable socket may hold nothing for the reader; what
    /// receive() leaves is in the socket in either case, if the buffer takes a whole record.
    int socket() const { return m_socket; }

    /// Sends as much as goes out without waiting, of @p first and then of @p second. @p more says that the
    /// rest follows at once, so that it may share a packet.
    Result send(Bytes first, Bytes second, bool more);
    /// Receives what is there, or a part, without waiting.
    Result receive(char* buffer, std::size_t size);
    /// Receives what is there, or waits for it, for @p limit at most; `Waiting` then, or earlier, also when
    /// something has just come.
    Result receiveWithin(std::chrono::milliseconds limit, char* buffer, std::size_t size);
    /// Waits until something can be received, or also sent with @p orSend, for @p limit at most. @return
    /// whether something can be received.
    bool wait(bool orSend, std::chrono::milliseconds limit);

    /// Whether nothing came and the peer is there, as it has to be before a request is written. What comes
    /// unasked on a connection would otherwise count as the reply to that request (RFC 9112, 6.3).
    bool isQuiet();
    /// Ends the connection for both sides and wakes who waits for it. From any thread.
    void shutDown();

private:
    Result failure() const;
    void setBlocking();

    const int m_socket;
    CURL* const m_easy = nullptr; ///< with TLS
    const std::function<void()> m_release;
    bool m_isBlocking = false;
    std::chrono::milliseconds m_receiveLimit{-1}; ///< as set on the socket
    Q_DISABLE_COPY_MOVE(Connection)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
