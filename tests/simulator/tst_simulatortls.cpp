// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>

#include <QCryptographicHash>
#include <QtTest>

#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

using namespace Tessel::Simulator;

namespace {

const QByteArray hw = "/api/v1/device/hw";

/// A blocking client with TLS on a socket of its own. Every wait ends after 30 seconds.
class TlsClient
{
public:
    /// @p trusted is the only authority, as PEM; empty: whoever.
    explicit TlsClient(quint16 port, const QByteArray& trusted = {}, int maxVersion = TLS1_3_VERSION)
    {
        m_context = SSL_CTX_new(TLS_client_method());
        SSL_CTX_set_max_proto_version(m_context, maxVersion);
        SSL_CTX_set_min_proto_version(m_context, 0);
        SSL_CTX_set_security_level(m_context, 0);
        if (!trusted.isEmpty()) {
            BIO* const text = BIO_new_mem_buf(trusted.constData(), trusted.size());
            X509* const certificate = PEM_read_bio_X509(text, nullptr, nullptr, nullptr);
            X509_STORE_add_cert(SSL_CTX_get_cert_store(m_context), certificate);
            X509_free(certificate);
            BIO_free(text);
            SSL_CTX_set_verify(m_context, SSL_VERIFY_PEER, nullptr);
        }
        m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const timeval limit{30, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            qFatal("the simulator takes no connection");
        }
        m_ssl = SSL_new(m_context);
        SSL_set_fd(m_ssl, m_socket);
        X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(m_ssl), "127.0.0.1");
        m_isOpen = SSL_connect(m_ssl) == 1;
    }
    ~TlsClient()
    {
        SSL_free(m_ssl);
        SSL_CTX_free(m_context);
        ::close(m_socket);
    }
    Q_DISABLE_COPY(TlsClient)

    bool isOpen() const { return m_isOpen; }
    QByteArray version() const { return SSL_get_version(m_ssl); }
    /// @return whether the connection took it.
    bool send(const QByteArray& text) { return SSL_write(m_ssl, text.constData(), text.size()) > 0; }
    QByteArray get(const QByteArray& target, const QByteArray& headers = {})
    {
        send("GET " + target + " HTTP/1.1\r\nHost: t\r\n" + headers + "\r\n");
        const QByteArray head = readUntil("\r\n\r\n");
        const int at = head.indexOf("Content-Length: ");
        const int size = at < 0 ? 0 : head.mid(at + 16).split('\r').first().toInt();
        while (m_buffer.size() < size && fill()) {
        }
        m_buffer.remove(0, size);
        return head.mid(9, 3);
    }
    QByteArray readUntil(const QByteArray& end)
    {
        while (!m_buffer.contains(end)) {
            if (!fill()) {
                return std::exchange(m_buffer, {});
            }
        }
        const int size = m_buffer.indexOf(end) + end.size();
        const QByteArray text = m_buffer.left(size);
        m_buffer.remove(0, size);
        return text;
    }
    /// Whether the server ends the connection and says so, so that nobody else can have cut it.
    bool endsInOrder()
    {
        while (fill()) {
        }
        return (SSL_get_shutdown(m_ssl) & SSL_RECEIVED_SHUTDOWN) != 0;
    }
    /// `sha256//` and the hash of the server's public key.
    QString pin() const
    {
        X509* const certificate = SSL_get1_peer_certificate(m_ssl);
        unsigned char* der = nullptr;
        const int size = i2d_PUBKEY(X509_get0_pubkey(certificate), &der);
        const QByteArray hash = QCryptographicHash::hash(QByteArray(reinterpret_cast<char*>(der), size),
                                                         QCryptographicHash::Sha256);
        OPENSSL_free(der);
        X509_free(certificate);
        return QStringLiteral("sha256//") + QString::fromLatin1(hash.toBase64());
    }

private:
    bool fill()
    {
        std::array<char, 16384> chunk{};
        const int count = SSL_read(m_ssl, chunk.data(), static_cast<int>(chunk.size()));
        if (count > 0) {
            m_buffer.append(chunk.data(), count);
        }
        return count > 0;
    }

    SSL_CTX* m_context = nullptr;
    SSL* m_ssl = nullptr;
    int m_socket = -1;
    bool m_isOpen = false;
    QByteArray m_buffer;
};

} // namespace

class TestSimulatorTls : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    static Options encrypted()
    {
        Options options;
        options.tls = true;
        options.control = true;
        return options;
    }
    void start(const Options& options)
    {
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

private Q_SLOTS:
    // OpenSSL writes to connections that are gone.
    void initTestCase() { ::signal(SIGPIPE, SIG_IGN); }
    void init() { start(encrypted()); }

    void withoutTlsThereIsNoCertificate()
    {
        Simulator simulator;
        QVERIFY(simulator.start());
        QVERIFY(simulator.baseUrl().startsWith(QLatin1String("http://")));
        QVERIFY(simulator.certificate().isEmpty());
        QVERIFY(simulator.pinnedKey().isEmpty());
    }

    void theCertificateIsTheOneThatItNames()
    {
        QVERIFY(m_simulator->baseUrl().startsWith(QLatin1String("https://127.0.0.1:")));
        TlsClient client(m_simulator->port(), m_simulator->certificate());
        QVERIFY(client.isOpen());
        QCOMPARE(client.pin(), m_simulator->pinnedKey());
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(client.get(hw), QByteArray("200"));
        }
        QVERIFY(!m_simulator->certificate().contains("PRIVATE"));
        QVERIFY(QByteArray(client.version()).startsWith("TLSv1.3"));
    }

    void eachSimulatorHasItsOwnKeyAndKeepsIt()
    {
        const QString pin = m_simulator->pinnedKey();
        const QByteArray certificate = m_simulator->certificate();
        m_simulator->stop();
        QVERIFY(m_simulator->start());
        m_simulator->restartDevice();
        QCOMPARE(m_simulator->pinnedKey(), pin);
        QCOMPARE(m_simulator->certificate(), certificate);
        Simulator other(encrypted());
        QVERIFY(other.start());
        QVERIFY(other.pinnedKey() != pin);
        QVERIFY(!TlsClient(other.port(), certificate).isOpen());
    }

    void oldVersionsAreRefused_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<bool>("opens");
        QTest::newRow("1.1") << TLS1_1_VERSION << false;
        QTest::newRow("1.2") << TLS1_2_VERSION << true;
        QTest::newRow("1.3") << TLS1_3_VERSION << true;
    }

    void oldVersionsAreRefused()
    {
        QFETCH(int, version);
        QFETCH(bool, opens);
        QCOMPARE(TlsClient(m_simulator->port(), {}, version).isOpen(), opens);
    }

    void aConnectionThatEndsSaysSo()
    {
        TlsClient client(m_simulator->port());
        QCOMPARE(client.get(hw, "Connection: close\r\n"), QByteArray("200"));
        QVERIFY(client.endsInOrder());
        TlsClient refused(m_simulator->port());
        refused.send("hello\r\n\r\n");
        QVERIFY(refused.readUntil("\r\n").startsWith("HTTP/1.1 400 "));
        QVERIFY(refused.endsInOrder());
    }

    void aRefusalArrivesWhileTheClientSends()
    {
        Options options = encrypted();
        options.bodyLimit = 1000;
        start(options);
        for (int i = 0; i < 10; ++i) {
            TlsClient client(m_simulator->port());
            client.send("PUT " + hw + " HTTP/1.1\r\nHost: t\r\nContent-Length: 4000000\r\n\r\n");
            for (int k = 0; k < 40; ++k) {
                QVERIFY(client.send(QByteArray(100000, 'x')));
            }
            QVERIFY(client.readUntil("\r\n").startsWith("HTTP/1.1 413 "));
        }
    }

    void eventsComeOnAnEncryptedStream()
    {
        TlsClient client(m_simulator->port());
        client.send("GET /api/v1/events HTTP/1.1\r\nHost: t\r\n\r\n");
        QVERIFY(client.readUntil("\r\n\r\n").startsWith("HTTP/1.1 200 "));
        QVERIFY(m_simulator->waitForEventStreams(1));
        for (int i = 0; i < 200; ++i) {
            m_simulator->pushEvent('"' + QByteArray(1000, 'x') + '"');
        }
        for (int i = 1; i <= 200; ++i) {
            QVERIFY(client.readUntil(':' + QByteArray::number(i) + "\ndata: ").contains("id: "));
        }
        m_simulator->disconnectStreams();
        QTRY_COMPARE(m_simulator->eventStreams(), 0);
    }

    void faultsGoThroughTls()
    {
        Fault fault;
        fault.cut = Fault::Cut::Drip;
        fault.pause = 1;
        m_simulator->addFault(fault);
        fault.cut = Fault::Cut::IdleNotice;
        m_simulator->addFault(fault);
        TlsClient client(m_simulator->port());
        QCOMPARE(client.get(hw), QByteArray("200"));
        QCOMPARE(client.get(hw), QByteArray("200"));
        QVERIFY(client.readUntil("\r\n").startsWith("HTTP/1.1 408 "));
        QVERIFY(client.endsInOrder());
        fault.cut = Fault::Cut::Reset;
        m_simulator->addFault(fault);
        TlsClient broken(m_simulator->port());
        QCOMPARE(broken.get(hw), QByteArray("200"));
        QVERIFY(!broken.endsInOrder());
    }

    void aHandshakeThatDoesNotComeIsClosed_data()
    {
        QTest::addColumn<QByteArray>("hello");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a byte") << QByteArray("\x16");
        QTest::newRow("half a hello") << QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11);
        QTest::newRow("plain HTTP") << QByteArray("GET / HTTP/1.1\r\nHost: t\r\n\r\n");
        QTest::newRow("an alert") << QByteArray("\x15\x03\x01\x00\x02\x02\x28", 7);
        QTest::newRow("zeroes") << QByteArray(100000, '\0');
        QTest::newRow("a huge record") << QByteArray("\x16\x03\x01\xff\xff", 5) + QByteArray(70000, 'x');
    }

    void aHandshakeThatDoesNotComeIsClosed()
    {
        QFETCH(QByteArray, hello);
        Options options = encrypted();
        options.headTimeout = 200;
        start(options);
        HttpClient client(m_simulator->port());
        client.send(hello);
        QVERIFY(client.endsSoon());
        QVERIFY(TlsClient(m_simulator->port()).isOpen());
    }

    void handshakesThatDoNotComeMakeRoom()
    {
        Options options = encrypted();
        options.maxConnections = 50;
        start(options);
        std::vector<std::unique_ptr<HttpClient>> attackers;
        for (int i = 0; i < 100; ++i) {
            attackers.push_back(std::make_unique<HttpClient>(m_simulator->port()));
            attackers.back()->send("\x16\x03\x01");
        }
        TlsClient healthy(m_simulator->port());
        QVERIFY(healthy.isOpen());
        QCOMPARE(healthy.get(hw), QByteArray("200"));
    }

    void aLoginNeedsTlsAsWell()
    {
        Options options = encrypted();
        options.login = Login::Bearer;
        options.secret = QStringLiteral("token");
        start(options);
        TlsClient client(m_simulator->port());
        QCOMPARE(client.get(hw), QByteArray("401"));
        QCOMPARE(client.get(hw, "Authorization: Bearer token\r\n"), QByteArray("200"));
        QCOMPARE(client.get("/sim"), QByteArray("200"));
    }
};

QTEST_GUILESS_MAIN(TestSimulatorTls)
#include "tst_simulatortls.moc"
