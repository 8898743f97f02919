// SPDX-License-Identifier: MIT
#ifndef BENCH_RAWSOCKET_H
#define BENCH_RAWSOCKET_H

#include <string>

/// The lower bound of a read: a kept connection, a fixed request, one receive buffer, no decoding. Used by
/// one thread at a time.
class RawSocket
{
public:
    /// @p host is an address, and the server announces the length of its replies.
    RawSocket(const std::string& host, int port, const std::string& path);
    ~RawSocket();
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    /// Sends the request and receives the reply. @return whether that succeeded.
    bool get();

private:
    std::size_t wholeLength(std::size_t length) const;

    int m_socket;
    std::string m_request;
    char m_buffer[65536];
};

#endif
