// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_SOCKETENDS_H
#define TESTS_COMMUNICATOR_SOCKETENDS_H

#include <QByteArray>
#include <QtGlobal>

#include <algorithm>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

/// Two ends of a TCP connection; the first one is for a Connection, which owns it then.
struct SocketEnds
{
    SocketEnds()
    {
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        ours = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::bind(listener, any, size) != 0 || ::listen(listener, 1) != 0 ||
            ::getsockname(listener, any, &size) != 0 || ::connect(ours, any, size) != 0) {
            qFatal("no connection can be made");
        }
        theirs = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        ::close(listener);
        ::fcntl(ours, F_SETFL, O_NONBLOCK); // as libcurl leaves its sockets
    }
    ~SocketEnds() { close(); }

    void close()
    {
        if (theirs >= 0) {
            ::close(std::exchange(theirs, -1));
        }
    }
    void reset()
    {
        const linger atOnce{1, 0};
        ::setsockopt(theirs, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        close();
    }
    void say(const QByteArray& text) const
    {
        if (::send(theirs, text.constData(), std::size_t(text.size()), MSG_NOSIGNAL) != text.size()) {
            qFatal("the peer cannot send");
        }
    }
    /// The next @p size bytes, fewer when the connection ends.
    QByteArray hear(int size) const
    {
        QByteArray text(size, '\0');
        const ssize_t heard = ::recv(theirs, text.data(), std::size_t(size), MSG_WAITALL);
        return text.left(int(std::max<ssize_t>(heard, 0)));
    }
    /// Bytes that were given to the system and are held back.
    int held() const
    {
        int bytes = 0;
        ::ioctl(ours, SIOCOUTQNSD, &bytes);
        return bytes;
    }

    int ours = -1;
    int theirs = -1;
    Q_DISABLE_COPY_MOVE(SocketEnds)
};

#endif
