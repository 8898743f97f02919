// SPDX-License-Identifier: MIT
#ifndef TESTS_SIMULATOR_HTTPCLIENT_H
#define TESTS_SIMULATOR_HTTPCLIENT_H

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

/// A reply as the client read it.
struct HttpReply
{
    int status = 0;                       ///< 0: the connection ended, or nothing came in time
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray body;
    bool whole = false; ///< as many bytes came as the head promised

    QJsonObject envelope() const;
    bool isEnvelope() const;
    int code() const;
    QJsonValue data() const;
    QJsonObject object() const { return data().toObject(); }
    QJsonArray list() const { return data().toArray(); }
};

/// A blocking HTTP/1.1 client on one socket, on purpose without any library. Every wait ends after a
/// minute.
class HttpClient
{
public:
    /// Connects to @p port of the loopback interface, from @p source.
    explicit HttpClient(quint16 port, const char* source = "127.0.0.1");
    ~HttpClient();
    Q_DISABLE_COPY(HttpClient)

    bool isConnected() const { return m_socket >= 0; }
    /// Sends a request and reads its reply.
    HttpReply request(const QByteArray& method, const QByteArray& target, const QByteArray& body = {},
                      const QByteArray& extraHeaders = {});
    HttpReply get(const QByteArray& target) { return request("GET", target); }
    HttpReply put(const QByteArray& target, const QByteArray& body) { return request("PUT", target, body); }

    /// Sends @p bytes as they are. @return whether all went out.
    bool send(const QByteArray& bytes);
    /// Tells the server that nothing more comes; replies can still be read.
    void endSending();
    HttpReply readReply(bool headOnly = false);
    /// Reads up to and including @p end; what came when the connection ended first.
    QByteArray readUntil(const QByteArray& end);
    /// Reads up to the end of the connection.
    QByteArray readToEnd();
    /// Whether the connection broke instead of ending in order.
    bool wasReset() const { return m_wasReset; }
    /// Whether the server ends the connection, whatever it still sends.
    bool endsSoon();

private:
    bool fill();

    int m_socket = -1;
    bool m_wasReset = false;
    QByteArray m_buffer;
};

/// One reader of the event stream.
class EventReader
{
public:
    struct Event
    {
        quint64 id = 0; ///< its sequence number; 0: the stream ended, or nothing came in time
        QByteArray fullId;
        QByteArray type;
        QByteArray data;
        QJsonObject object() const;
    };

    explicit EventReader(quint16 port, const QByteArray& lastId = {}, const QByteArray& extraHeaders = {});

    bool isOpen() const { return m_open; }
    Event next();
    /// The id that the stream begins with; waits for it.
    QByteArray begin();
    /// Whether the stream ends.
    bool endsSoon() { return m_client.endsSoon(); }
    /// The next line as it came.
    QByteArray line() { return m_client.readUntil("\n"); }

private:
    HttpClient m_client;
    bool m_open = false;
    QByteArray m_begin;
};

#endif
