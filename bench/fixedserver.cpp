// SPDX-License-Identifier: MIT
#include "fixedserver.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int addressesPerNet = 250;

int accepted(int listener)
{
    const int connection = accept(listener, nullptr, nullptr);
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return connection;
}

/// Serves all connections on one thread. Relies on requests that arrive whole and replies that fit into the
/// socket's buffer.
void answerAll(int listener, const std::string& reply)
{
    const int poll = epoll_create1(0);
    const auto watch = [poll](int descriptor) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event);
    };
    watch(listener);
    epoll_event events[64];
    char request[4096];
    while (true) {
        const int count = epoll_wait(poll, events, 64, -1);
        for (int i = 0; i < count; ++i) {
            const int descriptor = events[i].data.fd;
            if (descriptor == listener) {
                watch(accepted(listener));
            } else if (recv(descriptor, request, sizeof request, 0) <= 0 || !sendAll(descriptor, reply)) {
                close(descriptor);
            }
        }
    }
}

/// Reads requests without a body and answers each.
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

int listenAnywhere(int& port)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return -1;
    }
    port = ntohs(address.sin_port);
    return listener;
}

std::string addressesOf(int devices, int port)
{
    std::string addresses;
    for (int i = 0; i < devices; ++i) {
        addresses += "127.0." + std::to_string(i / addressesPerNet) + '.' +
                     std::to_string(i % addressesPerNet + 1) + ':' + std::to_string(port) + ' ';
    }
    return addresses;
}

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
    int port = 0;
    const int listener = listenAnywhere(port);
    if (listener < 0) {
        return;
    }
    std::thread([listener, answer] {
        while (true) {
            std::thread(serveConnection, accepted(listener), answer).detach();
        }
    }).detach();
    ready(addressesOf(devices, port));
}

void serveFixed(int devices, const std::string& reply, const std::function<void(const std::string&)>& ready)
{
    int port = 0;
    const int listener = listenAnywhere(port);
    if (listener < 0) {
        return;
    }
    std::thread(answerAll, listener, reply).detach();
    ready(addressesOf(devices, port));
}
