// SPDX-License-Identifier: MIT
#ifndef TESTS_CLOSEDPORT_H
#define TESTS_CLOSEDPORT_H

#include <QString>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// A loopback port that refuses connections while this object exists. It stays bound without listening,
/// because another program could take over a port that was merely closed.
class ClosedPort
{
public:
    ClosedPort()
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        if (::bind(m_socket, any, size) != 0 || ::getsockname(m_socket, any, &size) != 0) {
            qFatal("no port can be held");
        }
        m_port = ntohs(address.sin_port);
    }
    ~ClosedPort() { ::close(m_socket); }

    quint16 port() const { return m_port; }
    /// `127.0.0.1:port`
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }

private:
    int m_socket;
    quint16 m_port = 0;
    Q_DISABLE_COPY_MOVE(ClosedPort)
};

#endif
