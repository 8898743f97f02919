// SPDX-License-Identifier: MIT
#include "communicator/curlengine.h"
#include "communicator/ioloop.h"

#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

/// Against the server that comes with OpenSSL, with a certificate that it signed itself for 127.0.0.1.
class TlsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void aDeviceIsTrustedOnlyAsItsEndpointSays_data();
    void aDeviceIsTrustedOnlyAsItsEndpointSays();
    void aPlainServerIsNoTlsServer();

private:
    QByteArray run(const QStringList& arguments, const QByteArray& input = {}) const
    {
        QProcess process;
        process.setWorkingDirectory(m_directory.path());
        process.start(m_openssl, arguments);
        process.write(input);
        process.closeWriteChannel();
        return process.waitForFinished() && process.exitCode() == 0 ? process.readAllStandardOutput()
                                                                    : QByteArray();
    }

    const QString m_openssl = QStandardPaths::findExecutable(QStringLiteral("openssl"));
    QTemporaryDir m_directory;
    QProcess m_server;
    QString m_port;
    QString m_pin;
};

void TlsTest::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
    if (m_openssl.isEmpty()) {
        QSKIP("the openssl program is not installed");
    }
    const QString commands[] = {
        QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key.pem -out "
                       "cert.pem -days 2 "
                       "-subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1"),
        QStringLiteral(
            "req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout other.key -out other.pem "
            "-days 2 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1")};
    for (const QString& command : commands) {
        run(command.split(QLatin1Char(' ')));
    }
    QVERIFY(QFile::exists(m_directory.filePath(QStringLiteral("other.pem"))));
    const QByteArray publicKey =
        run({QStringLiteral("x509"), QStringLiteral("-in"), QStringLiteral("cert.pem"),
             QStringLiteral("-pubkey"), QStringLiteral("-noout")});
    const QByteArray der = run(
        {QStringLiteral("pkey"), QStringLiteral("-pubin"), QStringLiteral("-outform"), QStringLiteral("DER")},
        publicKey);
    m_pin = QStringLiteral("sha256//") +
            QString::fromLatin1(QCryptographicHash::hash(der, QCryptographicHash::Sha256).toBase64());
    QFile reply(m_directory.filePath(QStringLiteral("reply.json")));
    QVERIFY(reply.open(QIODevice::WriteOnly));
    reply.write("{\"code\":0}");
    reply.close();

    m_server.setWorkingDirectory(m_directory.path());
    m_server.start(m_openssl, QStringLiteral("s_server -WWW -accept 127.0.0.1:0 -cert cert.pem -key key.pem")
                                  .split(QLatin1Char(' ')));
    QByteArray output;
    while (!output.contains('\n')) {
        QVERIFY(m_server.bytesAvailable() > 0 || m_server.waitForReadyRead(10000));
        const QByteArray line = m_server.readLine();
        output = line.startsWith("ACCEPT") ? line : QByteArray();
    }
    m_port = QString::fromLatin1(output.mid(output.lastIndexOf(':') + 1).trimmed());
}

void TlsTest::cleanupTestCase()
{
    m_server.kill();
    m_server.waitForFinished();
}

void TlsTest::aDeviceIsTrustedOnlyAsItsEndpointSays_data()
{
    QTest::addColumn<QString>("caFile");
    QTest::addColumn<bool>("pinned");
    QTest::addColumn<bool>("wrongPin");
    QTest::addColumn<bool>("verify");
    QTest::addColumn<int>("state");
    const QString right = QStringLiteral("cert.pem");
    const QString wrong = QStringLiteral("other.pem");
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
    endpoint.address = QStringLiteral("https://127.0.0.1:") + m_port;
    endpoint.caFile = caFile.isEmpty() ? QString() : m_directory.filePath(caFile);
    endpoint.verifyTls = verify;
    if (pinned || wrongPin) {
        endpoint.pinnedKey =
            pinned ? m_pin : QStringLiteral("sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=");
    }
    const auto registry = std::make_shared<DeviceRegistry>();
    CurlEngine engine(registry, std::make_shared<IoLoop>());
    QString reason;
    QCOMPARE(registry->add(QStringLiteral("wall"), endpoint, reason), DeviceRegistry::Change::Added);
    HttpRequest request;
    request.deviceKey = QStringLiteral("wall");
    request.path = QStringLiteral("/reply.json");
    const HttpReply reply = engine.exchange(request);
    QCOMPARE(int(reply.state), state);
    QCOMPARE(reply.body, state == State::Success ? QByteArray("{\"code\":0}") : QByteArray());
}

void TlsTest::aPlainServerIsNoTlsServer()
{
    CurlEngine engine(std::make_shared<DeviceRegistry>(), std::make_shared<IoLoop>());
    HttpRequest request;
    request.deviceKey = QStringLiteral("http://127.0.0.1:") + m_port;
    request.path = QStringLiteral("/reply.json");
    QVERIFY(engine.exchange(request).state != State::Success);
}

QTEST_GUILESS_MAIN(TlsTest)
#include "tst_tls.moc"
