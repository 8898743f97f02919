// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_DEAFLISTENER_H
#define TESTS_COMMUNICATOR_DEAFLISTENER_H

#include <QtGlobal>

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// An address on which connection attempts hang, because none are accepted and the queue is full.
class DeafListener
{
public:
    DeafListener(const char* address, quint16 port)
        : m_listener(newSocket())
    {
        m_address.sin_family = AF_INET;
        m_address.sin_port = htons(port);
        ::inet_pton(AF_INET, address, &m_address.sin_addr);
        m_listens = ::bind(m_listener, generic(), sizeof m_address) == 0 && ::listen(m_listener, 0) == 0;
        socklen_t size = sizeof m_address;
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&m_address), &size);
        for (int& waiting : m_waiting) {
            waiting = newSocket();
            static_cast<void>(::connect(waiting, generic(), sizeof m_address)); // hangs, as is wanted
        }
    }
    ~DeafListener()
    {
        for (const int waiting : m_waiting) {
            ::close(waiting);
        }
        ::close(m_listener);
    }
    bool listens() const { return m_listens; }
    /// Its port, also when the system was left to choose it.
    quint16 port() const { return ntohs(m_address.sin_port); }

private:
    static int newSocket() { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }
    const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&m_address); }

    sockaddr_in m_address{};
    const int m_listener;
    std::array<int, 3> m_waiting{};
    bool m_listens = false;
    Q_DISABLE_COPY_MOVE(DeafListener)
};

#endif
