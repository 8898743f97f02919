// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "enginebench.h"
#include "tlsserver.h"

class TlsTest : public QObject
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

private:
    TlsServer m_server;
};

void TlsTest::initTestCase()
{
    muteLog();
    if (!m_server.isAvailable()) {
        QSKIP("the openssl program is not installed");
    }
    QVERIFY(m_server.start());
    QVERIFY(m_server.serve(QStringLiteral("/reply.json"), "{\"code\":0}"));
}

void TlsTest::aDeviceIsTrustedOnlyAsItsEndpointSays_data()
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

void TlsTest::aDeviceIsTrustedOnlyAsItsEndpointSays()
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

void TlsTest::aLargeReplyComesWhole()
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

void TlsTest::whatWasSentIsCounted()
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

void TlsTest::aPlainServerIsNoTlsServer()
{
    QFETCH(bool, blocking);
    Bench bench;
    QVERIFY(bench.ask(request(QStringLiteral("http://") + m_server.address()), blocking).state !=
            State::Success);
}

QTEST_GUILESS_MAIN(TlsTest)
#include "tst_tls.moc"
