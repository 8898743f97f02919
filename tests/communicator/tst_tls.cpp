// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "enginebench.h"
#include "tlsserver.h"

#include <QDir>
#include <QLoggingCategory>
#include <QtTest>

#include <fcntl.h>
#include <future>

class TestTls : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void aDeviceIsTrustedOnlyAsItsEndpointSays_data();
    void aDeviceIsTrustedOnlyAsItsEndpointSays();
    void aLargeReplyComesWhole_data() { bothWays(); }
    void aLargeReplyComesWhole();
    void whatWasSentIsCounted_data() { bothWays(); }
    void whatWasSentIsCounted();
    void aPlainServerIsNoTlsServer_data() { bothWays(); }
    void aPlainServerIsNoTlsServer();
    void programsThatAreStartedInheritNothing_data();
    void programsThatAreStartedInheritNothing();

private:
    TlsServer m_server;
};

void TestTls::initTestCase()
{
    muteLog();
    if (!m_server.isAvailable()) {
        QSKIP("the openssl program is not installed");
    }
    QVERIFY(m_server.start());
    QVERIFY(m_server.serve(QStringLiteral("/reply.json"), "{\"code\":0}"));
}

void TestTls::aDeviceIsTrustedOnlyAsItsEndpointSays_data()
{
    QTest::addColumn<QString>("caFile");
    QTest::addColumn<bool>("pinned");
    QTest::addColumn<bool>("wrongPin");
    QTest::addColumn<bool>("verify");
    QTest::addColumn<int>("state");
    const QString right = m_server.certificate();
    const QString wrong = m_server.otherCertificate();
    QTest::newRow("the system's authorities do not know it")
        << QString() << false << false << true << int(State::TlsFailure);
    QTest::newRow("its own certificate is trusted") << right << false << false << true << int(State::Success);
    QTest::newRow("another certificate is trusted")
        << wrong << false << false << true << int(State::TlsFailure);
    QTest::newRow("its key is pinned") << QString() << true << false << true << int(State::Success);
    QTest::newRow("another key is pinned") << QString() << false << true << true << int(State::TlsFailure);
    QTest::newRow("right key, wrong authority") << wrong << true << false << true << int(State::TlsFailure);
    QTest::newRow("not verified") << QString() << false << false << false << int(State::Success);
    QTest::newRow("not verified, another key pinned")
        << QString() << false << true << false << int(State::TlsFailure);
}

void TestTls::aDeviceIsTrustedOnlyAsItsEndpointSays()
{
    QFETCH(QString, caFile);
    QFETCH(bool, pinned);
    QFETCH(bool, wrongPin);
    QFETCH(bool, verify);
    QFETCH(int, state);
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("https://") + m_server.address();
    endpoint.caFile = caFile;
    endpoint.verifyTls = verify;
    if (pinned || wrongPin) {
        endpoint.pinnedKey =
            pinned ? m_server.pin() : QStringLiteral("sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=");
    }
    Bench bench;
    bench.add(QStringLiteral("wall"), endpoint);
    HttpRequest asked = request(QStringLiteral("wall"));
    asked.path = QStringLiteral("/reply.json");
    for (const bool blocking : {true, false}) {
        const HttpReply reply = bench.ask(asked, blocking);
        QCOMPARE(int(reply.state), state);
        QCOMPARE(reply.body, state == State::Success ? QByteArray("{\"code\":0}") : QByteArray());
    }
}

void TestTls::aLargeReplyComesWhole()
{
    QFETCH(bool, blocking);
    // In records of TLS, of which several may be there at once.
    const QByteArray text = '"' + QByteArray(1000000, 'x') + '"';
    QVERIFY(m_server.serve(QStringLiteral("/large.json"), text));
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("https://") + m_server.address();
    endpoint.caFile = m_server.certificate();
    Bench bench;
    bench.add(QStringLiteral("wall"), endpoint);
    HttpRequest asked = request(QStringLiteral("wall"));
    asked.path = QStringLiteral("/large.json");
    for (int i = 0; i < 3; ++i) {
        const HttpReply reply = bench.ask(asked, blocking);
        QCOMPARE(reply.state, State::Success);
        QVERIFY(reply.body == text);
    }
}

void TestTls::whatWasSentIsCounted()
{
    QFETCH(bool, blocking);
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("https://") + m_server.address();
    endpoint.caFile = m_server.certificate();
    Bench bench;
    bench.add(QStringLiteral("wall"), endpoint);
    HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put, QByteArray(100000, 'x'));
    asked.expectedTime = 500; // the server knows GET only, and says nothing
    ExchangeRecord record;
    setExchangeObserver([&record](const ExchangeRecord& told) { record = told; });
    const HttpReply reply = bench.ask(asked, blocking);
    setExchangeObserver({});
    QVERIFY(reply.state != State::Success);
    QCOMPARE(record.bytesSent, qint64(100000));
}

void TestTls::aPlainServerIsNoTlsServer()
{
    QFETCH(bool, blocking);
    Bench bench;
    QVERIFY(bench.ask(request(QStringLiteral("http://") + m_server.address()), blocking).state !=
            State::Success);
}

void TestTls::programsThatAreStartedInheritNothing_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::newRow("blocking") << true;
    QTest::newRow("non-blocking") << false;
}

// Not the connections, nor what libcurl keeps beside each.
void TestTls::programsThatAreStartedInheritNothing()
{
    QFETCH(bool, blocking);
    const auto inherited = [] {
        QStringList descriptors;
        const QDir directory(QStringLiteral("/proc/self/fd"));
        for (const QString& name : directory.entryList(QDir::Files | QDir::System)) {
            const int flags = ::fcntl(name.toInt(), F_GETFD);
            if (flags >= 0 && (flags & FD_CLOEXEC) == 0) {
                descriptors.append(name);
            }
        }
        return descriptors;
    };
    TlsServer server;
    QVERIFY(server.start(TlsServer::Serves::WholeReplies));
    QVERIFY(server.serve(QStringLiteral("/reply.json"), "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}"));
    const QStringList before = inherited();
    const auto registry = std::make_shared<DeviceRegistry>();
    const auto loop = std::make_shared<IoLoop>();
    SocketEngine engine(registry, loop);
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("https://") + server.address();
    endpoint.verifyTls = false;
    QCOMPARE(registry->add(QStringLiteral("wall"), endpoint).change, DeviceRegistry::Change::Added);
    HttpRequest request;
    request.deviceKey = QStringLiteral("wall");
    request.path = QStringLiteral("/reply.json");
    if (blocking) {
        QCOMPARE(engine.exchange(request).state, State::Success);
    } else {
        std::promise<HttpReply> replied;
        engine.start(request, [&](const HttpReply& reply) { replied.set_value(reply); });
        QCOMPARE(replied.get_future().get().state, State::Success);
    }
    QCOMPARE(inherited(), before);
}

QTEST_GUILESS_MAIN(TestTls)
#include "tst_tls.moc"
