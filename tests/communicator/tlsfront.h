// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_TLSFRONT_H
#define TESTS_COMMUNICATOR_TLSFRONT_H

#include <QString>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

struct ssl_ctx_st;
struct ssl_st;

/// TLS in front of a plain server on the loopback interface, on a free port and with a certificate of its
/// own: a thread per connection carries bytes in both directions. When the server ends a connection, its
/// client is told so by TLS (close_notify), while the connection itself stays until the client ends it. May
/// be used from any thread.
class TlsFront
{
public:
    /// Of the server at @p port.
    explicit TlsFront(quint16 port);
    ~TlsFront();

    quint16 port() const { return m_port; }
    /// `https://127.0.0.1:port`
    QString address() const { return QStringLiteral("https://127.0.0.1:%1").arg(m_port); }

private:
    void accept();
    void serve(int client);
    void carry(ssl_st* tls, int client, int server);

    const quint16 m_serverPort;
    ssl_ctx_st* const m_context;
    int m_listener = -1;
    quint16 m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::mutex m_mutex; ///< guards the two below
    std::vector<int> m_open;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
    Q_DISABLE_COPY_MOVE(TlsFront)
};

#endif
