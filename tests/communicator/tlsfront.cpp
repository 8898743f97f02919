// SPDX-License-Identifier: MIT
#include "tlsfront.h"

#include <algorithm>
#include <csignal>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// A context with a new key and a certificate that it signed itself.
SSL_CTX* newContext()
{
    SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = X509_new();
    X509_gmtime_adj(X509_getm_notBefore(certificate), -60);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    X509_set_pubkey(certificate, key);
    const bool isMade = X509_sign(certificate, key, EVP_sha256()) > 0 &&
                        SSL_CTX_use_certificate(context, certificate) == 1 &&
                        SSL_CTX_use_PrivateKey(context, key) == 1;
    X509_free(certificate);
    EVP_PKEY_free(key);
    if (!isMade) {
        qFatal("no certificate could be made");
    }
    SSL_CTX_set_mode(context, SSL_MODE_AUTO_RETRY);
    return context;
}

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

int newSocket()
{
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

bool sendAll(int socket, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t sent = ::send(socket, bytes, size, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

} // namespace

TlsFront::TlsFront(quint16 port)
    : m_serverPort(port)
    , m_context(newContext())
    , m_listener(newSocket())
{
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener, 1024) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        qFatal("no free port for the test server");
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { accept(); });
}

TlsFront::~TlsFront()
{
    m_stopping = true;
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const int socket : m_open) {
            ::shutdown(socket, SHUT_RDWR);
        }
    }
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    ::close(m_listener);
    SSL_CTX_free(m_context);
}

void TlsFront::accept()
{
    // OpenSSL writes without MSG_NOSIGNAL; the threads of connections inherit this.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    while (true) {
        const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            return;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping) {
            ::close(client);
            return;
        }
        m_open.push_back(client);
        m_threads.emplace_back([this, client] { serve(client); });
    }
}

void TlsFront::serve(int client)
{
    const int on = 1;
    ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    SSL* const tls = SSL_new(m_context);
    SSL_set_fd(tls, client);
    const int server = newSocket();
    const sockaddr_in address = loopback(m_serverPort);
    if (SSL_accept(tls) == 1 &&
        ::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        carry(tls, client, server);
        SSL_shutdown(tls);
        pollfd ended{client, POLLRDHUP, 0};
        ::poll(&ended, 1, -1);
    }
    ::close(server);
    SSL_free(tls);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open.erase(std::find(m_open.begin(), m_open.end(), client));
    ::close(client);
}

// Until one of the two ends.
void TlsFront::carry(ssl_st* tls, int client, int server)
{
    char bytes[16384];
    while (true) {
        pollfd watched[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
        if (SSL_pending(tls) == 0) {
            ::poll(watched, 2, -1);
        }
        if (SSL_pending(tls) > 0 || watched[0].revents != 0) {
            const int got = SSL_read(tls, bytes, sizeof bytes);
            if (got <= 0 || !sendAll(server, bytes, static_cast<std::size_t>(got))) {
                return;
            }
        }
        if (watched[1].revents != 0) {
            const ssize_t got = ::recv(server, bytes, sizeof bytes, 0);
            if (got <= 0 || SSL_write(tls, bytes, static_cast<int>(got)) <= 0) {
                return;
            }
        }
    }
}
