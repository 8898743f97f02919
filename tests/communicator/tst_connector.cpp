// SPDX-License-Identifier: MIT
#include "communicator/http/connector.h"
#include "communicator/http/exchangereport.h"
#include "communicator/http/refusal.h"
#include "communicator/runtime/ioloop.h"
#include "deaflistener.h"
#include "misbehavingserver.h"
#include "sleepingthread.h"

#include <closedport.h>

#include <QtTest>

#include <fcntl.h>
#include <future>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;
using State = IHttpVersionTrigger;

namespace {

std::shared_ptr<const Device> deviceAt(const QString& address)
{
    return DeviceRegistry().find(address);
}

/// Connections to it are open without anybody who accepts them.
struct OpenListener
{
    OpenListener()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        if (::bind(socket, any, size) != 0 || ::listen(socket, 64) != 0 ||
            ::getsockname(socket, any, &size) != 0) {
            qFatal("nothing can listen");
        }
        port = ntohs(address.sin_port);
    }
    ~OpenListener() { ::close(socket); }
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(port); }

    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    quint16 port = 0;
    Q_DISABLE_COPY_MOVE(OpenListener)
};

/// A connector on a loop of its own.
struct Looping
{
    ~Looping()
    {
        loop.run([this] { connector.reset(); });
    }
    std::future<ConnectResult> connect(const QString& address, std::chrono::milliseconds limit)
    {
        auto done = std::make_shared<std::promise<ConnectResult>>();
        std::future<ConnectResult> result = done->get_future();
        loop.run([&] {
            attempt = connector->connect(deviceAt(address), limit, [done](ConnectResult opened) {
                done->set_value(std::move(opened));
            });
        });
        return result;
    }

    IoLoop loop;
    std::optional<Connector> connector{std::in_place, loop};
    Connector::Attempt attempt = nullptr;
};

ConnectResult connectTo(bool blocking, const QString& address, std::chrono::milliseconds limit)
{
    if (blocking) {
        BlockingConnector connector;
        return connector.connect(*deviceAt(address), limit);
    }
    Looping looping;
    return looping.connect(address, limit).get();
}

} // namespace

class TestConnector : public QObject
{
    Q_OBJECT
private:
    void bothWays()
    {
        QTest::addColumn<bool>("blocking");
        QTest::newRow("blocking") << true;
        QTest::newRow("on a loop") << false;
    }

private Q_SLOTS:
    void aConnectionIsOpenedAndNothingSent_data() { bothWays(); }
    void aConnectionIsOpenedAndNothingSent()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server;
        const ConnectResult result = connectTo(blocking, server.address(), 10s);
        QCOMPARE(result.state, State::Success);
        QCOMPARE(result.error, QString());
        QVERIFY(result.connection);
        const int socket = result.connection->socket();
        int value = 0;
        socklen_t size = sizeof value;
        QCOMPARE(::getsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &value, &size), 0);
        QVERIFY(value != 0); // small requests do not wait for the reply to the last one
        QVERIFY((::fcntl(socket, F_GETFD) & FD_CLOEXEC) != 0);
        QVERIFY(result.connection->isQuiet());
        QTRY_COMPARE(server.connections(), 1);
        QCOMPARE(server.deliveries(), 0);
    }

    void aFailureSaysWhy_data() { bothWays(); }
    void aFailureSaysWhy()
    {
        QFETCH(bool, blocking);
        const ClosedPort closed;
        const ConnectResult refused = connectTo(blocking, closed.address(), 10s);
        QVERIFY(!refused.connection);
        QCOMPARE(refused.state, State::Unreachable);
        QVERIFY2(refused.error.contains(QString::number(closed.port())), qPrintable(refused.error));
        const ConnectResult unknown = connectTo(blocking, QStringLiteral("wall.invalid"), 10s);
        QVERIFY(!unknown.connection);
        QVERIFY(unknown.state == State::HostNotFound || unknown.state == State::TimedOut);
        QVERIFY(!unknown.error.isEmpty());
    }

    void theLimitHolds_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<int>("limit");
        for (const bool blocking : {true, false}) {
            for (const int limit : {200, 1, 0, -5}) { // no time left is not the same as no limit
                QTest::addRow("%d ms, %s", limit, blocking ? "blocking" : "on a loop") << blocking << limit;
            }
        }
    }
    void theLimitHolds()
    {
        QFETCH(bool, blocking);
        QFETCH(int, limit);
        const DeafListener deaf("127.0.0.1", 0);
        QVERIFY(deaf.listens());
        const ConnectResult result = connectTo(blocking, QStringLiteral("127.0.0.1:%1").arg(deaf.port()),
                                               std::chrono::milliseconds(limit));
        QVERIFY(!result.connection);
        QCOMPARE(result.state, State::TimedOut);
    }

    void abortEndsAnAttemptAndThoseThatFollow()
    {
        const DeafListener deaf("127.0.0.1", 0);
        QVERIFY(deaf.listens());
        const auto device = deviceAt(QStringLiteral("127.0.0.1:%1").arg(deaf.port()));
        BlockingConnector connector;
        std::atomic<bool> begins{false};
        ConnectResult result;
        std::thread connecting([&] {
            begins = true;
            result = connector.connect(*device, 1h);
        });
        while (!begins) {
            std::this_thread::yield();
        }
        connector.abort();
        connecting.join();
        QVERIFY(!result.connection);
        QCOMPARE(result.state, State::Aborted);
        QCOMPARE(result.error, abortedError());
        const ConnectResult later = connector.connect(*device, 1h);
        QVERIFY(!later.connection);
        QCOMPARE(later.state, State::Aborted);
    }

    void abortDoesNotWaitForTheNextLook()
    {
        const DeafListener deaf("127.0.0.1", 0);
        QVERIFY(deaf.listens());
        const auto device = deviceAt(QStringLiteral("127.0.0.1:%1").arg(deaf.port()));
        BlockingConnector patient;
        std::atomic<bool> isOver{false};
        std::thread other([&] {
            patient.connect(*device, 900ms);
            isOver = true;
        });
        BlockingConnector connector;
        std::atomic<pid_t> thread{0};
        ConnectResult result;
        std::thread connecting([&] {
            thread = pid_t(::syscall(SYS_gettid));
            result = connector.connect(*device, 1h);
        });
        while (thread == 0 || !sleeps(thread)) {
            std::this_thread::yield();
        }
        connector.abort();
        connecting.join();
        const bool wasFirst = !isOver;
        other.join();
        QCOMPARE(result.state, State::Aborted);
        QVERIFY(wasFirst);
    }

    // Each limit ends the attempt at another place; the last place is where the connection is there and gets
    // a descriptor of its own.
    void withoutAFreeDescriptorAnAttemptSaysWhatFailed_data() { bothWays(); }
    void withoutAFreeDescriptorAnAttemptSaysWhatFailed()
    {
        QFETCH(bool, blocking);
        const OpenListener listener;
        const auto device = deviceAt(listener.address());
        Looping looping;
        looping.loop.run([] {}); // has its descriptors
        rlimit usual{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &usual), 0);
        const int lowest = ::dup(0);
        QVERIFY(lowest >= 0);
        ::close(lowest);
        QStringList reasons;
        bool isOpen = false;
        for (int more = 0; more < 16 && !isOpen; ++more) {
            rlimit tight = usual;
            tight.rlim_cur = rlim_t(lowest) + rlim_t(more);
            QCOMPARE(::setrlimit(RLIMIT_NOFILE, &tight), 0);
            BlockingConnector connector;
            ConnectResult result =
                blocking ? connector.connect(*device, 10s) : looping.connect(listener.address(), 10s).get();
            ::setrlimit(RLIMIT_NOFILE, &usual);
            isOpen = result.connection != nullptr;
            QCOMPARE(result.state == State::Success, isOpen);
            QVERIFY(result.state != State::Aborted);
            QCOMPARE(result.error.isEmpty(), isOpen);
            if (!isOpen) {
                reasons << QStringLiteral("%1 %2").arg(result.state).arg(result.error);
            }
        }
        QVERIFY(isOpen);
        const QString lost =
            QStringLiteral("%1 the connection was lost right after it was opened").arg(State::Broken);
        QVERIFY2(reasons.contains(lost), qPrintable(reasons.join(QLatin1Char('\n'))));
    }

    void anAttemptThatIsGivenUpTellsNothing()
    {
        const DeafListener deaf("127.0.0.1", 0);
        QVERIFY(deaf.listens());
        const QString address = QStringLiteral("127.0.0.1:%1").arg(deaf.port());
        std::future<ConnectResult> ended;
        {
            Looping looping;
            std::future<ConnectResult> cancelled = looping.connect(address, 300ms);
            looping.loop.run([&] { looping.connector->cancel(looping.attempt); });
            // Another one with the same limit, so that the first one's has passed.
            QCOMPARE(looping.connect(address, 300ms).get().state, State::TimedOut);
            QVERIFY_EXCEPTION_THROWN(cancelled.get(), std::future_error); // its handler is gone
            ended = looping.connect(address, 1h);
        }
        QVERIFY_EXCEPTION_THROWN(ended.get(), std::future_error);
    }
};

QTEST_GUILESS_MAIN(TestConnector)
#include "tst_connector.moc"
