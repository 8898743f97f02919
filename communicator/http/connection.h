// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CONNECTION_H
#define COMMUNICATOR_HTTP_CONNECTION_H

#include "communicator/runtime/ioloop.h"

#include <QtGlobal>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

using CURL = void;

namespace Krelm::Communicator::HttpDevice {

/// The size of the largest TLS record (RFC 8446, "Record Layer"), which is the minimum size of a receive
/// buffer.
constexpr std::size_t largestTlsRecord = 16 << 10;

/// Bytes owned by the caller.
struct Bytes
{
    const char* data = nullptr;
    std::size_t size = 0;
};

/// An open connection to a device, with or without TLS. It transfers bytes and knows nothing about HTTP. Used
/// by one thread at a time, except for shutDown().
class Connection
{
public:
    enum class Status {
        Moved,   ///< bytes were transferred
        Waiting, ///< nothing can be transferred now
        Closed,  ///< the peer has closed the connection
        Failed   ///< the connection is unusable
    };
    struct Result
    {
        Status status;
        std::size_t bytes = 0; ///< that were moved
        int error = 0;         ///< of the system, why it failed; 0 if unknown
    };

    /// Takes over a connected socket.
    explicit Connection(int socket);
    /// Takes over a copy of @p socket, which socket() returns, or -1 if there can be none.
    struct CopyOf
    {
        int socket;
    };
    explicit Connection(CopyOf copied);
    /// Takes over the TLS connection that libcurl opened for @p easy (CURLOPT_CONNECT_ONLY). @p owner keeps
    /// the handle.
    Connection(CURL* easy, int socket, std::shared_ptr<void> owner);
    /// Ends watch().
    ~Connection();

    int socket() const { return m_socket; }

    /// Has @p loop watch for @p events, bits of IoLoop::Readiness, or for nothing with 0. If they are watched
    /// for already, the earlier watcher stays. With TLS, a readable socket may have no data for the reader.
    /// Data that receive() leaves is always in the socket, provided that the buffer can hold a whole record.
    /// On the loop's thread, like all else until unwatch().
    void watch(IoLoop& loop, std::uint32_t events, IoLoop::Watcher watcher);
    void unwatch();

    /// Sends as much of @p first and then @p second as possible without waiting. @p more means that further
    /// data follows at once, which can share a packet.
    Result send(Bytes first, Bytes second, bool more);
    /// Receives available data without waiting.
    Result receive(char* buffer, std::size_t size);
    /// Receives data, waiting at most @p limit for it. Returns `Waiting` when the limit has passed; it can
    /// also do so earlier, even if data has just arrived.
    Result receiveWithin(std::chrono::milliseconds limit, char* buffer, std::size_t size);
    /// Waits at most @p limit until data can be received or, with @p orSend, also sent.
    /// @return whether data can be received.
    bool wait(bool orSend, std::chrono::milliseconds limit);

    /// Whether the peer is connected and nothing has been received, which is required before a request is
    /// written: unsolicited bytes would otherwise be taken for the reply to that request (RFC 9112, "Message
    /// Body Length").
    bool isQuiet();
    /// Shuts the connection down in both directions and wakes a thread that waits for it. From any thread.
    void shutDown();

private:
    Result failure() const;
    void setBlocking();

    const int m_socket;
    CURL* const m_easy = nullptr; ///< with TLS
    const std::shared_ptr<void> m_owner;
    IoLoop* m_loop = nullptr; ///< while it watches
    std::uint32_t m_watched = 0;
    bool m_isBlocking = false;
    std::chrono::milliseconds m_receiveLimit{-1}; ///< as set on the socket
    Q_DISABLE_COPY_MOVE(Connection)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
