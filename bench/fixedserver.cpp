// SPDX-License-Identifier: MIT
#include "fixedserver.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int addressesPerNet = 250;

/// Reads requests without a body; each gets its answer.
void serveConnection(int connection, const std::function<bool(int)>& answer)
{
    std::string request;
    char piece[4096];
    for (bool open = true; open;) {
        const ssize_t got = recv(connection, piece, sizeof piece, 0);
        if (got <= 0) {
            break;
        }
        request.append(piece, static_cast<std::size_t>(got));
        if (request.find("\r\n\r\n") != std::string::npos) {
            request.clear();
            open = answer(connection);
        }
    }
    close(connection);
}

} // namespace

bool sendAll(int connection, const std::string& text)
{
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t n = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

void serveBy(int devices, const std::function<bool(int connection)>& answer,
             const std::function<void(const std::string&)>& ready)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return;
    }
    std::string addresses;
    for (int i = 0; i < devices; ++i) {
        addresses += "127.0." + std::to_string(i / addressesPerNet) + '.' +
                     std::to_string(i % addressesPerNet + 1) + ':' + std::to_string(ntohs(address.sin_port)) +
                     ' ';
    }
    std::thread([listener, answer] {
        while (true) {
            const int connection = accept(listener, nullptr, nullptr);
            if (connection < 0) {
                return;
            }
            const int on = 1;
            setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            std::thread(serveConnection, connection, answer).detach();
        }
    }).detach();
    ready(addresses);
}

void serveFixed(int devices, const std::string& reply, const std::function<void(const std::string&)>& ready)
{
    serveBy(
        devices, [reply](int connection) { return sendAll(connection, reply); }, ready);
}
