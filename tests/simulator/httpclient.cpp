// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <QJsonDocument>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>

QJsonObject HttpReply::envelope() const
{
    return QJsonDocument::fromJson(body).object();
}

bool HttpReply::isEnvelope() const
{
    const QJsonObject object = envelope();
    const QJsonValue payload = object.value(QStringLiteral("data"));
    return headers.value("content-type") == "application/json" &&
           object.value(QStringLiteral("code")).isDouble() &&
           object.value(QStringLiteral("message")).isString() && (payload.isObject() || payload.isArray());
}

int HttpReply::code() const
{
    return envelope().value(QStringLiteral("code")).toInt(-1);
}

QJsonValue HttpReply::data() const
{
    return envelope().value(QStringLiteral("data"));
}

HttpClient::HttpClient(quint16 port, const char* source)
{
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval limit{60, 0};
    const int on = 1;
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, source, &address.sin_addr);
    // Without a port, which connect() then picks.
    ::setsockopt(m_socket, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof on);
    const bool isBound = ::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!isBound || ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}

HttpClient::~HttpClient()
{
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

HttpReply HttpClient::request(const QByteArray& method, const QByteArray& target, const QByteArray& body,
                              const QByteArray& extraHeaders)
{
    QByteArray text = method + ' ' + target + " HTTP/1.1\r\nHost: test\r\n" + extraHeaders;
    if (!body.isEmpty()) {
        if (!extraHeaders.toLower().contains("content-type")) {
            text += "Content-Type: application/json\r\n";
        }
        text += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    }
    send(text + "\r\n" + body);
    return readReply(method == "HEAD");
}

bool HttpClient::send(const QByteArray& bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const auto count = ::send(m_socket, bytes.constData() + sent,
                                  static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += count;
    }
    return true;
}

void HttpClient::endSending()
{
    ::shutdown(m_socket, SHUT_WR);
}

bool HttpClient::fill()
{
    std::array<char, 65536> chunk{};
    const auto count = ::recv(m_socket, chunk.data(), chunk.size(), 0);
    if (count <= 0) {
        m_wasReset = count < 0 && errno == ECONNRESET;
        return false;
    }
    m_buffer.append(chunk.data(), static_cast<int>(count));
    return true;
}

QByteArray HttpClient::readUntil(const QByteArray& end)
{
    int at = m_buffer.indexOf(end);
    while (at < 0) {
        if (!fill()) {
            return std::exchange(m_buffer, {});
        }
        at = m_buffer.indexOf(end);
    }
    QByteArray result = m_buffer.left(at + end.size());
    m_buffer.remove(0, at + end.size());
    return result;
}

HttpReply HttpClient::readReply(bool headOnly)
{
    HttpReply reply;
    const QByteArray head = readUntil("\r\n\r\n");
    if (!head.endsWith("\r\n\r\n")) {
        return reply;
    }
    const QList<QByteArray> lines = head.trimmed().split('\n');
    reply.status = lines.first().split(' ').value(1).toInt();
    for (const QByteArray& line : lines.mid(1)) {
        const int colon = line.indexOf(':');
        const QByteArray name = line.left(colon).toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        reply.headers[name] += reply.headers.contains(name) ? ", " + value : value;
    }
    const int size = headOnly ? 0 : reply.headers.value("content-length").toInt();
    while (m_buffer.size() < size && fill()) {
    }
    reply.whole = m_buffer.size() >= size;
    reply.body = m_buffer.left(size);
    m_buffer.remove(0, size);
    return reply;
}

QByteArray HttpClient::readToEnd()
{
    while (fill()) {
    }
    return std::exchange(m_buffer, {});
}

bool HttpClient::endsSoon()
{
    std::array<char, 65536> chunk{};
    for (;;) {
        const auto count = ::recv(m_socket, chunk.data(), chunk.size(), 0);
        if (count == 0 || (count < 0 && errno == ECONNRESET)) {
            return true;
        }
        if (count < 0) {
            return false;
        }
    }
}

QJsonObject EventReader::Event::object() const
{
    return QJsonDocument::fromJson(data).object();
}

EventReader::EventReader(quint16 port, const QByteArray& lastId, const QByteArray& extraHeaders)
    : m_client(port)
{
    m_client.send("GET /api/v1/events HTTP/1.1\r\nHost: test\r\n" + extraHeaders +
                  (lastId.isEmpty() ? QByteArray() : "Last-Event-ID: " + lastId + "\r\n") + "\r\n");
    const QByteArray head = m_client.readUntil("\r\n\r\n");
    m_open = head.startsWith("HTTP/1.1 200 ") && head.contains("text/event-stream");
}

QByteArray EventReader::begin()
{
    while (m_begin.isEmpty()) {
        const QByteArray text = line();
        if (text.startsWith("id: ")) {
            m_begin = text.mid(4).trimmed();
        } else if (text != ":\n" && text != "\n") {
            break;
        }
    }
    return m_begin;
}

EventReader::Event EventReader::next()
{
    Event event;
    for (;;) {
        const QByteArray text = m_client.readUntil("\n");
        if (text.isEmpty()) {
            return {};
        }
        if (text.startsWith("id: ")) {
            event.fullId = text.mid(4).trimmed();
            event.id = event.fullId.mid(event.fullId.lastIndexOf(':') + 1).toULongLong();
        } else if (text.startsWith("event: ")) {
            event.type = text.mid(7).trimmed();
        } else if (text.startsWith("data: ")) {
            event.data += (event.data.isEmpty() ? "" : "\n") + text.mid(6).chopped(1);
        } else if (text == "\n") {
            if (!event.data.isEmpty()) {
                return event;
            }
            if (event.fullId.isEmpty()) {
                event = {};
            } else {
                m_begin = std::exchange(event, {}).fullId;
            }
        }
    }
}
