// SPDX-License-Identifier: MIT
#include "rawsocket.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

RawSocket::RawSocket(const std::string& host, int port, const std::string& path)
    : m_socket(socket(AF_INET, SOCK_STREAM, 0))
    , m_request("GET " + path + " HTTP/1.1\r\nHost: " + host + ":" + std::to_string(port) + "\r\n\r\n")
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    // A socket that is not connected fails with the first request.
    if (connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        const int on = 1;
        setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
}

RawSocket::~RawSocket()
{
    close(m_socket);
}

bool RawSocket::get()
{
    if (send(m_socket, m_request.data(), m_request.size(), MSG_NOSIGNAL) < 0) {
        return false;
    }
    std::size_t length = 0;
    std::size_t whole = 0;
    do {
        const ssize_t got = recv(m_socket, m_buffer + length, sizeof m_buffer - length, 0);
        if (got <= 0) {
            return false;
        }
        length += static_cast<std::size_t>(got);
        whole = whole != 0 ? whole : wholeLength(length);
    } while (whole == 0 || length < whole);
    return true;
}

/// The size of head and body once the head has arrived, 0 before.
std::size_t RawSocket::wholeLength(std::size_t length) const
{
    const std::string_view text(m_buffer, length);
    const std::size_t end = text.find("\r\n\r\n");
    const std::size_t field = text.find("Content-Length: ");
    if (end == std::string_view::npos || field == std::string_view::npos) {
        return 0;
    }
    return end + 4 + std::strtoul(m_buffer + field + 16, nullptr, 10);
}
