// SPDX-License-Identifier: MIT
#include "communicator/http/connection.h"

#include <algorithm>
#include <cerrno>
#include <curl/curl.h>
#include <fcntl.h>
#include <iterator>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

// An upper bound that keeps arithmetic on milliseconds within an int.
constexpr std::chrono::milliseconds longestPoll{1 << 30};

bool meansWaiting(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

Connection::Connection(int socket)
    : m_socket(socket)
{}

Connection::Connection(CopyOf copied)
    : m_socket(::fcntl(copied.socket, F_DUPFD_CLOEXEC, copied.socket))
{}

Connection::Connection(CURL* easy, int socket, std::shared_ptr<void> owner)
    : m_socket(socket)
    , m_easy(easy)
    , m_owner(std::move(owner))
{}

Connection::~Connection()
{
    unwatch();
    if (m_easy == nullptr && m_socket >= 0) {
        ::close(m_socket);
    }
}

void Connection::watch(IoLoop& loop, std::uint32_t events, IoLoop::Watcher watcher)
{
    if (events == 0) {
        unwatch();
    } else if (events != m_watched) {
        m_loop = &loop;
        m_watched = events;
        loop.watch(m_socket, events, std::move(watcher));
    }
}

void Connection::unwatch()
{
    if (m_loop != nullptr) {
        m_loop->unwatch(m_socket);
        m_loop = nullptr;
        m_watched = 0;
    }
}

Connection::Result Connection::failure() const
{
    return meansWaiting(errno) ? Result{Status::Waiting} : Result{Status::Failed, 0, errno};
}

Connection::Result Connection::send(Bytes first, Bytes second, bool more)
{
    if (m_easy != nullptr) {
        const Bytes piece = first.size > 0 ? first : second;
        // One record at a time: TLS reports no progress on more until all of it has been sent.
        std::size_t sent{};
        const CURLcode code =
            curl_easy_send(m_easy, piece.data, std::min(piece.size, largestTlsRecord), &sent);
        return code == CURLE_OK      ? Result{Status::Moved, sent}
               : code == CURLE_AGAIN ? Result{Status::Waiting}
                                     : Result{Status::Failed};
    }
    const int flags = MSG_NOSIGNAL | MSG_DONTWAIT | (more ? MSG_MORE : 0);
    if (second.size == 0) { // as in every read; a message of one piece costs the system less
        const ssize_t sent = ::send(m_socket, first.data, first.size, flags);
        return sent >= 0 ? Result{Status::Moved, static_cast<std::size_t>(sent)} : failure();
    }
    iovec pieces[2] = {{const_cast<char*>(first.data), first.size},
                       {const_cast<char*>(second.data), second.size}};
    msghdr message{};
    message.msg_iov = pieces;
    message.msg_iovlen = 2;
    const ssize_t sent = ::sendmsg(m_socket, &message, flags);
    return sent >= 0 ? Result{Status::Moved, static_cast<std::size_t>(sent)} : failure();
}

Connection::Result Connection::receive(char* buffer, std::size_t size)
{
    if (m_easy != nullptr) {
        std::size_t received{};
        const CURLcode code = curl_easy_recv(m_easy, buffer, size, &received);
        if (code == CURLE_OK) {
            return {received > 0 ? Status::Moved : Status::Closed, received};
        }
        return {code == CURLE_AGAIN ? Status::Waiting : Status::Failed};
    }
    const ssize_t received = ::recv(m_socket, buffer, size, MSG_DONTWAIT);
    if (received < 0) {
        return failure();
    }
    return {received > 0 ? Status::Moved : Status::Closed, static_cast<std::size_t>(received)};
}

// libcurl leaves its sockets non-blocking. Ours is set to blocking, but only recv() waits: all other calls
// request not to.
void Connection::setBlocking()
{
    if (!m_isBlocking) {
        const int flags = ::fcntl(m_socket, F_GETFL);
        ::fcntl(m_socket, F_SETFL, flags & ~O_NONBLOCK);
        m_isBlocking = true;
    }
}

Connection::Result Connection::receiveWithin(std::chrono::milliseconds limit, char* buffer, std::size_t size)
{
    if (m_easy != nullptr) {
        const Result atOnce = receive(buffer, size);
        if (atOnce.status == Status::Waiting) {
            wait(false, limit);
        }
        return atOnce;
    }
    // One call instead of poll() and recv(): the wait is a socket option. The kernel may exceed it by an
    // eighth, so it is set to less than the remaining time, within bounds that avoid setting it for each
    // reply.
    setBlocking();
    if (m_receiveLimit < limit / 4 || m_receiveLimit > limit * 4 / 5) {
        m_receiveLimit = std::max(limit * 3 / 5, std::chrono::milliseconds(1));
        timeval value{};
        value.tv_sec = m_receiveLimit.count() / 1000;
        value.tv_usec = (m_receiveLimit.count() % 1000) * 1000;
        if (::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value) != 0) {
            m_receiveLimit = std::chrono::milliseconds(-1); // recv() would wait without a limit
        }
    }
    if (m_receiveLimit.count() < 0) {
        wait(false, limit);
        return receive(buffer, size);
    }
    const ssize_t received = ::recv(m_socket, buffer, size, 0);
    if (received < 0) {
        return failure();
    }
    return {received > 0 ? Status::Moved : Status::Closed, static_cast<std::size_t>(received)};
}

bool Connection::wait(bool orSend, std::chrono::milliseconds limit)
{
    pollfd watched[] = {{m_socket, static_cast<short>(orSend ? POLLIN | POLLOUT : POLLIN), 0}};
    const auto bounded = std::clamp(limit, std::chrono::milliseconds(0), longestPoll);
    ::poll(watched, std::size(watched), static_cast<int>(bounded.count()));
    return (watched[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0;
}

bool Connection::isQuiet()
{
    char byte{};
    const ssize_t seen = ::recv(m_socket, &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT);
    if (seen < 0) {
        return meansWaiting(errno);
    }
    // Data for TLS itself, such as a session ticket, is not part of a reply.
    return m_easy != nullptr && receive(&byte, sizeof byte).status == Status::Waiting;
}

void Connection::shutDown()
{
    ::shutdown(m_socket, SHUT_RDWR);
}

} // namespace Krelm::Communicator::HttpDevice
