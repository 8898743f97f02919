// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool sendAll(int socket, const QByteArray& text)
{
    qint64 done = 0;
    while (done < text.size()) {
        const ssize_t sent =
            ::send(socket, text.constData() + done, static_cast<size_t>(text.size() - done), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        done += sent;
    }
    return true;
}

void resetWhenClosed(int socket)
{
    const linger hard{1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
}

bool receiveMore(int socket, QByteArray& buffer)
{
    char piece[65536];
    const ssize_t got = ::recv(socket, piece, sizeof piece, 0);
    if (got <= 0) {
        return false;
    }
    buffer.append(piece, static_cast<int>(got));
    return true;
}

QByteArray goodReply(const QByteArray& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nX-Mixed-Case: yes\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

MisbehavingServer::MisbehavingServer(Mode mode, QByteArray body)
    : m_mode(mode)
    , m_body(std::move(body))
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener, 1024) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        qFatal("no free port for the test server");
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { accept(); });
}

MisbehavingServer::~MisbehavingServer()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        ::shutdown(m_listener, SHUT_RDWR);
        for (const Connection& connection : m_connections) {
            if (connection.open) {
                ::shutdown(connection.socket, SHUT_RDWR);
            }
        }
        m_changed.notify_all();
    }
    m_acceptor.join();
    for (Connection& connection : m_connections) {
        connection.thread.join();
    }
    ::close(m_listener);
}

QString MisbehavingServer::address() const
{
    return QStringLiteral("127.0.0.1:%1").arg(m_port);
}

void MisbehavingServer::setMode(Mode mode)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_mode = mode;
}

void MisbehavingServer::setRaw(const QByteArray& raw)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_raw = raw;
}

void MisbehavingServer::setToken(const QByteArray& token)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_token = token;
}

void MisbehavingServer::setFlood(const QByteArray& start, const QByteArray& more)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_floodStart = start;
    m_floodMore = more;
}

void MisbehavingServer::addScript(std::vector<QByteArray> pieces)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts.push_back(std::move(pieces));
}

void MisbehavingServer::broadcast(const QByteArray& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Connection& connection : m_connections) {
        if (connection.open) {
            sendAll(connection.socket, text);
        }
    }
}

void MisbehavingServer::dropConnections()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Connection& connection : m_connections) {
        if (connection.open) {
            ::shutdown(connection.socket, SHUT_RDWR);
        }
    }
}

void MisbehavingServer::resetConnections()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (const Connection& connection : m_connections) {
        if (connection.open) {
            resetWhenClosed(connection.socket);
            ::shutdown(connection.socket, SHUT_RD); // its thread finds an end, and closes
        }
    }
    m_changed.wait(lock, [this] { return m_open == 0; });
}

std::vector<MisbehavingServer::Received> MisbehavingServer::received() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_received;
}

int MisbehavingServer::deliveries() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_received.size());
}

bool MisbehavingServer::waitForDeliveries(int count) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(10),
                              [this, count] { return static_cast<int>(m_received.size()) >= count; });
}

bool MisbehavingServer::waitForAnswers(int count) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(10), [this, count] { return m_answered >= count; });
}

int MisbehavingServer::connections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_accepted;
}

int MisbehavingServer::open() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_open;
}

void MisbehavingServer::accept()
{
    while (true) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (socket < 0 || m_stopping) {
            if (socket >= 0) {
                ::close(socket);
            }
            return;
        }
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_connections.emplace_back();
        Connection& connection = m_connections.back();
        connection.socket = socket;
        const int number = ++m_accepted;
        ++m_open;
        connection.thread = std::thread([this, &connection, number] { serve(connection, number); });
    }
}

void MisbehavingServer::serve(Connection& connection, int number)
{
    const int socket = connection.socket;
    QByteArray buffer;
    Mode mode{};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        mode = m_mode;
    }
    if (mode == Mode::ResetOnAccept) {
        resetWhenClosed(socket);
    } else if (mode == Mode::Silent) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_stopping; });
    } else {
        int ofConnection = 0;
        Received request;
        while (readRequest(socket, buffer, request)) {
            request.connection = number;
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_received.push_back(request);
                mode = m_mode;
                m_changed.notify_all();
            }
            const bool more = answer(mode, socket, request, ++ofConnection);
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                ++m_answered;
                m_changed.notify_all();
            }
            if (!more) {
                break;
            }
        }
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_open;
    connection.open = false;
    ::close(socket);
    m_changed.notify_all();
}

bool MisbehavingServer::readRequest(int socket, QByteArray& buffer, Received& request) const
{
    int headEnd = -1;
    while ((headEnd = buffer.indexOf("\r\n\r\n")) < 0) {
        if (!receiveMore(socket, buffer)) {
            return false;
        }
    }
    request = Received();
    request.head = buffer.left(headEnd + 4);
    const QList<QByteArray> lines = buffer.left(headEnd).split('\n');
    const QByteArray& first = lines.first();
    request.method = first.left(first.indexOf(' '));
    request.target = first.mid(request.method.size() + 1, first.lastIndexOf(' ') - request.method.size() - 1);
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines[i].indexOf(':');
        request.headers.insert(lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed());
    }
    buffer.remove(0, headEnd + 4);
    if (request.headers.value("transfer-encoding") == "chunked") {
        while (true) {
            int lineEnd = -1;
            while ((lineEnd = buffer.indexOf("\r\n")) < 0) {
                if (!receiveMore(socket, buffer)) {
                    return false;
                }
            }
            const int size = buffer.left(lineEnd).toInt(nullptr, 16);
            while (buffer.size() < lineEnd + 2 + size + 2) {
                if (!receiveMore(socket, buffer)) {
                    return false;
                }
            }
            request.body += buffer.mid(lineEnd + 2, size);
            buffer.remove(0, lineEnd + 2 + size + 2);
            if (size == 0) {
                return true;
            }
        }
    }
    const int length = request.headers.value("content-length").toInt();
    while (buffer.size() < length) {
        if (!receiveMore(socket, buffer)) {
            return false;
        }
    }
    request.body = buffer.left(length);
    buffer.remove(0, length);
    return true;
}

bool MisbehavingServer::pause(int milliseconds) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_stopping; });
}

bool MisbehavingServer::flood(int socket, const QByteArray& start, const QByteArray& more) const
{
    bool going = sendAll(socket, start);
    while (going) {
        going = sendAll(socket, more);
    }
    return false;
}

// Returns whether the connection takes another request.
bool MisbehavingServer::answer(Mode mode, int socket, const Received& request, int ofConnection)
{
    QByteArray body;
    QByteArray raw;
    QByteArray token;
    QByteArray floodStart;
    QByteArray floodMore;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        body = m_body;
        raw = m_raw;
        token = m_token;
        floodStart = m_floodStart;
        floodMore = m_floodMore;
    }
    switch (mode) {
    case Mode::Answer:
        return sendAll(socket, goodReply(body));
    case Mode::Raw:
        sendAll(socket, raw);
        return false;
    case Mode::RawKeepAlive:
        return sendAll(socket, raw);
    case Mode::Stall: {
        QByteArray ignored;
        while (receiveMore(socket, ignored)) {
        }
        return false;
    }
    case Mode::SlowDrip:
        for (const char byte : goodReply(body)) {
            if (!sendAll(socket, QByteArray(1, byte)) || !pause(20)) {
                return false;
            }
        }
        return true;
    case Mode::FloodBody:
        return flood(socket, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
                     "10000\r\n" + QByteArray(65536, 'x') + "\r\n");
    case Mode::FloodHeaders:
        return flood(socket, "HTTP/1.1 200 OK\r\n", "X-Line: a\r\n");
    case Mode::EndlessHeader:
        return flood(socket, "HTTP/1.1 200 OK\r\nX-Line: ", QByteArray(4096, 'a'));
    case Mode::FloodInterim:
        return flood(socket, {}, "HTTP/1.1 102 Processing\r\n\r\n");
    case Mode::Flood:
        return flood(socket, floodStart, floodMore);
    case Mode::ResetOnRequest:
        resetWhenClosed(socket);
        return false;
    case Mode::AnswerOnceThenDrop:
        return ofConnection == 1 && sendAll(socket, goodReply(body));
    case Mode::Digest:
        if (request.headers.value("authorization").startsWith("Digest ")) {
            return sendAll(socket, goodReply(body));
        }
        return sendAll(socket,
                       "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"r\", nonce=\"n\", "
                       "qop=\"auth\"\r\nContent-Length: 2\r\n\r\n{}");
    case Mode::Token:
        if (!token.isEmpty() && request.headers.value("authorization") == "Bearer " + token) {
            return sendAll(socket, goodReply(body));
        }
        return sendAll(socket, "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Bearer\r\n"
                               "Content-Length: 2\r\n\r\n{}");
    case Mode::Scripted: {
        std::vector<QByteArray> script;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_scripts.empty()) {
                script = std::move(m_scripts.front());
                m_scripts.pop_front();
            }
        }
        return std::all_of(script.cbegin(), script.cend(),
                           [socket](const QByteArray& piece) { return sendAll(socket, piece); });
    }
    case Mode::Silent:
    case Mode::ResetOnAccept:
        break;
    }
    return false;
}
