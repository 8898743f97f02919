// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_MISBEHAVINGSERVER_H
#define TESTS_COMMUNICATOR_MISBEHAVINGSERVER_H

#include <QByteArray>
#include <QMap>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

/// An HTTP server on a free port of the loopback interface with one fault per mode. Plain sockets, a thread
/// per connection; it knows exactly what it received. May be used from any thread.
class MisbehavingServer
{
public:
    enum class Mode {
        Answer,             ///< well: 200, length, keep-alive
        Raw,                ///< the text of setRaw(), then the connection closes
        RawKeepAlive,       ///< the text of setRaw(), and the connection stays
        Stall,              ///< reads the request, never answers
        Silent,             ///< accepts, reads nothing
        SlowDrip,           ///< one byte of a good reply every 20 ms
        FloodBody,          ///< a chunked body without end
        FloodHeaders,       ///< header lines without end
        EndlessHeader,      ///< one header line without end
        FloodInterim,       ///< interim replies without end
        Flood,              ///< the texts of setFlood()
        AnswerOnceThenDrop, ///< a connection's first request is answered, its next one read whole and dropped
        ResetOnAccept,      ///< resets each connection at once
        ResetOnRequest,     ///< reads the request and resets its connection
        Digest,             ///< asks for a digest login, answers the request that carries one
        Token,              ///< 401 unless the request has the bearer token of setToken()
        Scripted ///< what addScript() holds, one script per connection; then the connection stays open
    };

    struct Received
    {
        QByteArray method;
        QByteArray target;
        QByteArray head;                      ///< as it came
        QMap<QByteArray, QByteArray> headers; ///< names in lower case
        QByteArray body;
        int connection = 0; ///< number of the connection, from 1
    };

    explicit MisbehavingServer(Mode mode = Mode::Answer,
                               QByteArray body = QByteArrayLiteral("{\"code\":0,\"data\":{\"a\":1}}"));
    ~MisbehavingServer();

    quint16 port() const { return m_port; }
    /// `127.0.0.1:port`
    QString address() const;
    void setMode(Mode mode);
    void setRaw(const QByteArray& raw);
    /// The token that is taken; at first none.
    void setToken(const QByteArray& token);
    /// What a flood begins with, and what then comes without end.
    void setFlood(const QByteArray& start, const QByteArray& more);
    /// Pieces of text for the next connection, sent one by one after its request.
    void addScript(std::vector<QByteArray> pieces);
    /// Sends @p text on all open connections.
    void broadcast(const QByteArray& text);
    /// Closes all open connections.
    void dropConnections();
    /// Resets all open connections and waits until that is done.
    void resetConnections();

    /// The requests that came whole.
    std::vector<Received> received() const;
    int deliveries() const;
    /// Waits until @p count requests came whole. @return whether they did within ten seconds.
    bool waitForDeliveries(int count) const;
    /// Waits until @p count requests were answered. @return as above.
    bool waitForAnswers(int count) const;
    int connections() const;
    /// The number of connections that are open.
    int open() const;

private:
    struct Connection
    {
        int socket = -1;
        bool open = true;
        std::thread thread;
    };

    void accept();
    void serve(Connection& connection, int number);
    bool readRequest(int socket, QByteArray& buffer, Received& request) const;
    bool answer(Mode mode, int socket, const Received& request, int ofConnection);
    bool pause(int milliseconds) const;
    bool flood(int socket, const QByteArray& start, const QByteArray& more) const;

    int m_listener = -1;
    quint16 m_port = 0;
    std::thread m_acceptor;
    mutable std::mutex m_mutex; ///< guards all below
    mutable std::condition_variable m_changed;
    bool m_stopping = false;
    Mode m_mode;
    QByteArray m_body;
    QByteArray m_raw;
    QByteArray m_token;
    QByteArray m_floodStart;
    QByteArray m_floodMore;
    std::list<std::vector<QByteArray>> m_scripts;
    std::list<Connection> m_connections;
    std::vector<Received> m_received;
    int m_answered = 0;
    int m_accepted = 0;
    int m_open = 0;
    Q_DISABLE_COPY_MOVE(MisbehavingServer)
};

#endif
