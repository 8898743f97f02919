// SPDX-License-Identifier: MIT
#include "communicator/events/eventchannels.h"
#include "communicator/exchangeobserver.h"
#include "enginebench.h"
#include "tlsserver.h"

#include <QDir>
#include <QTemporaryFile>

#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <future>
#include <thread>

namespace {

// Several records of TLS, and less than a socket takes whose reader does not read.
constexpr int bodySize = 60000;
// What is left of them after the first one.
constexpr int waitingCount = 43000;

/// The bytes that wait on the one connection of this process to @p port.
int waitingFrom(quint16 port)
{
    for (const QString& name : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const int descriptor = name.toInt();
        int bytes = 0;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port &&
            ::ioctl(descriptor, FIONREAD, &bytes) == 0) {
            return bytes;
        }
    }
    return 0;
}

} // namespace

class TestEngineTurns : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }
    void whatADeviceSendsOverTlsComesInTurns_data();
    void whatADeviceSendsOverTlsComesInTurns();
    void aLargeUploadGoesOutInTurns_data();
    void aLargeUploadGoesOutInTurns();
};

void TestEngineTurns::whatADeviceSendsOverTlsComesInTurns_data()
{
    QTest::addColumn<bool>("isStream");
    QTest::addColumn<QByteArray>("reply");
    QByteArray events;
    while (events.size() < bodySize) {
        events += "data: 1\n\n";
    }
    QTest::newRow("reply") << false
                           << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 60000\r\n\r\n") +
                                  QByteArray(bodySize, ' ');
    QTest::newRow("events") << true << "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n" + events;
}

// At the first piece that comes, on the loop's thread, the test waits until much more is there, and posts a
// task: that has to run before all of it is read.
void TestEngineTurns::whatADeviceSendsOverTlsComesInTurns()
{
    QFETCH(bool, isStream);
    QFETCH(QByteArray, reply);
    TlsServer server;
    if (!server.isAvailable()) {
        QSKIP("the openssl program is not installed");
    }
    QVERIFY(server.start(TlsServer::Serves::WholeReplies));
    const QString path = isStream ? QStringLiteral("/api/v1/events") : QStringLiteral("/api/v1/x");
    QVERIFY(server.serve(path, reply));
    const quint16 port = server.address().section(QLatin1Char(':'), 1).toUShort();

    Bench bench;
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("https://") + server.address();
    endpoint.verifyTls = false;
    bench.add(QStringLiteral("wall"), endpoint);
    std::promise<int> left;
    std::future<int> waiting = left.get_future();
    std::atomic<bool> isFirst{true};
    const auto firstPiece = [&] {
        if (!isFirst.exchange(false)) {
            return;
        }
        const QDeadlineTimer timeout(10000);
        while (waitingFrom(port) < waitingCount && !timeout.hasExpired()) {
            std::this_thread::yield();
        }
        bench.loop->post([&] { left.set_value(waitingFrom(port)); });
    };
    ProxyEventQueue* queue = nullptr;
    bool isDelivering = false;
    bool isWaiting = false;
    ProxyEventQueue events([&] {
        isWaiting = true;
        while (!isDelivering && isWaiting) {
            isWaiting = false;
            isDelivering = true;
            queue->deliver([&firstPiece](const ProxyEvent& event) {
                if (event.kind == ProxyEvent::Kind::Event) {
                    firstPiece();
                }
            });
            isDelivering = false;
        }
    });
    queue = &events;
    ConnectionBoard board;
    std::unique_ptr<EventChannels> channels;
    if (isStream) {
        channels = std::make_unique<EventChannels>(bench.loop, events, board);
        channels->open(bench.registry->find(QStringLiteral("wall")), {});
    } else {
        setProgressObserver([&](const ExchangeProgress& progress) {
            if (progress.bytesReceived > 0) {
                firstPiece();
            }
        });
        bench.engine.start(request(QStringLiteral("wall")), [](const HttpReply&) {});
    }
    const bool ran = waiting.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    setProgressObserver({});
    channels.reset();
    bench.engine.stop();
    QVERIFY(ran);
    QVERIFY(waiting.get() >= waitingCount);
}

void TestEngineTurns::aLargeUploadGoesOutInTurns_data()
{
    QTest::addColumn<bool>("isForm");
    QTest::addColumn<bool>("isTls");
    // A device may take a form faster than its files can be read.
    QTest::newRow("form") << true << false;
    QTest::newRow("form over TLS") << true << true;
    QTest::newRow("bytes over TLS") << false << true;
}

void TestEngineTurns::aLargeUploadGoesOutInTurns()
{
    QFETCH(bool, isForm);
    QFETCH(bool, isTls);
    constexpr int replyBytes = 64 << 20;
    MisbehavingServer server;
    TlsServer tlsServer;
    Bench bench;
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    if (isTls) {
        if (!tlsServer.isAvailable()) {
            QSKIP("the openssl program is not installed");
        }
        QVERIFY(tlsServer.start());
        endpoint.address = QStringLiteral("https://") + tlsServer.address();
        endpoint.verifyTls = false;
    }
    bench.add(QStringLiteral("wall"), endpoint);
    HttpRequest asked = request(QStringLiteral("wall"), HttpMethod::Put);
    QTemporaryFile file;
    if (isForm) {
        QVERIFY(file.open() && file.resize(replyBytes));
        asked.multipart = true;
        asked.parts.insert(QStringLiteral("file"), QUrl::fromLocalFile(file.fileName()));
    } else {
        asked.body = QByteArray(replyBytes, '\n');
    }
    qint64 sent = 0; // on the loop's thread
    std::promise<qint64> sentInTurn;
    std::future<qint64> turn = sentInTurn.get_future();
    setProgressObserver([&](const ExchangeProgress& progress) {
        if (std::exchange(sent, progress.bytesSent) == 0 && sent > 0) {
            bench.loop->post([&] { sentInTurn.set_value(sent); });
        }
    });
    bench.engine.start(asked, [](const HttpReply&) {});
    const bool ran = turn.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    setProgressObserver({});
    bench.engine.stop();
    QVERIFY(ran);
    const qint64 bytes = turn.get();
    QVERIFY2(bytes > 0 && bytes <= 1 << 20, qPrintable(QString::number(bytes)));
}

QTEST_GUILESS_MAIN(TestEngineTurns)
#include "tst_engine_turns.moc"
