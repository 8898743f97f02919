// SPDX-License-Identifier: MIT
#include "communicator/http/connection.h"
#include "enginebench.h"
#include "socketends.h"

#include <QtTest>

#include <array>
#include <atomic>
#include <csignal>
#include <future>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

using Status = Connection::Status;
using namespace std::chrono_literals;

namespace {

// No wait of these tests may last so long; one that does not end shows.
constexpr auto never = std::chrono::hours(24 * 365);

Bytes bytes(const QByteArray& text)
{
    return {text.constData(), std::size_t(text.size())};
}

} // namespace

class TestConnection : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aRecordOfTlsHasTheSizeThatItMayHave() { QCOMPARE(largestTlsRecord, std::size_t(16384)); }

    void bothPiecesGoOutInTheirOrder()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        QCOMPARE(connection.socket(), ends.ours);
        const Connection::Result sent = connection.send(bytes("one"), bytes("three"), false);
        QCOMPARE(sent.status, Status::Moved);
        QCOMPARE(sent.bytes, std::size_t(8));
        QCOMPARE(ends.hear(8), QByteArray("onethree"));
        QCOMPARE(ends.held(), 0);
    }

    // libuv ends the process when it finds a closed descriptor among those it is to watch.
    void aWatchedConnectionLeavesTheLoopBeforeItIsClosed_data()
    {
        QTest::addColumn<bool>("atOnce");
        QTest::newRow("in the turn in which it was watched") << true;
        QTest::newRow("later") << false;
    }
    void aWatchedConnectionLeavesTheLoopBeforeItIsClosed()
    {
        QFETCH(bool, atOnce);
        const SocketEnds ends;
        const int duplicate = ::dup(ends.ours); // keeps the socket open
        IoLoop loop;
        std::unique_ptr<Connection> connection;
        std::atomic<int> told{0};
        loop.run([&] {
            connection = std::make_unique<Connection>(ends.ours);
            connection->watch(loop, IoLoop::Readable, [&](std::uint32_t) { ++told; });
            if (atOnce) {
                connection.reset();
            }
        });
        loop.run([&] { connection.reset(); });
        ends.say("x");
        loop.run([] {});
        loop.run([] {}); // a whole round lies between
        QCOMPARE(told.load(), 0);
        ::close(duplicate);
    }

    void aConnectionIsWatchedForWhatItSaidLast()
    {
        const SocketEnds ends;
        IoLoop loop;
        std::unique_ptr<Connection> connection;
        std::atomic<int> readable{0};
        std::atomic<int> writable{0};
        const auto watch = [&](std::uint32_t events) {
            connection->watch(loop, events, [&](std::uint32_t ready) {
                char byte{};
                readable += (ready & IoLoop::Readable) != 0 ? 1 : 0;
                writable += (ready & IoLoop::Writable) != 0 ? 1 : 0;
                connection->receive(&byte, sizeof byte);
            });
        };
        loop.run([&] {
            connection = std::make_unique<Connection>(ends.ours);
            watch(IoLoop::Writable);
        });
        QTRY_VERIFY(writable > 0);
        loop.run([&] { watch(IoLoop::Readable); });
        const int writableThen = writable;
        ends.say("x");
        QTRY_COMPARE(readable.load(), 1);
        loop.run([&] { watch(0); });
        ends.say("x");
        loop.run([] {});
        loop.run([] {});
        QCOMPARE(readable.load(), 1);
        QCOMPARE(writable.load(), writableThen);
        loop.run([&] { watch(IoLoop::Readable); });
        QTRY_COMPARE(readable.load(), 2);
        loop.run([&] { connection.reset(); });
    }

    void whatIsToShareAPacketIsHeldUntilTheRestComes()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        QCOMPARE(connection.send(bytes("one"), {}, true).bytes, std::size_t(3));
        QCOMPARE(ends.held(), 3);
        QCOMPARE(connection.send({}, bytes("two"), false).bytes, std::size_t(3));
        QCOMPARE(ends.hear(6), QByteArray("onetwo"));
        QCOMPARE(ends.held(), 0);
    }

    void sendingNeverWaits()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        char byte = 0;
        QCOMPARE(connection.receiveWithin(1ms, &byte, 1).status, Status::Waiting); // from now on it blocks
        const QByteArray much(1 << 20, 'x');
        Connection::Result result{Status::Moved, 0};
        qint64 sent = 0;
        while (result.status == Status::Moved && sent < (qint64(1) << 30)) {
            result = connection.send(bytes(much), bytes(much), false);
            sent += qint64(result.bytes);
        }
        QCOMPARE(result.status, Status::Waiting);
        QCOMPARE(result.bytes, std::size_t(0));
        QVERIFY(!connection.wait(true, 1ms));
    }

    void sendingToAPeerThatHasGoneFails()
    {
        SocketEnds ends;
        Connection connection(ends.ours);
        ends.reset();
        QVERIFY(connection.wait(false, never)); // the reset has come
        const Connection::Result result = connection.send(bytes("x"), {}, false);
        QCOMPARE(result.status, Status::Failed);
        QCOMPARE(result.bytes, std::size_t(0));
    }

    void whatCameIsReceived_data()
    {
        QTest::addColumn<bool>("waiting");
        QTest::newRow("at once") << false;
        QTest::newRow("or waited for") << true;
    }
    void whatCameIsReceived()
    {
        QFETCH(bool, waiting);
        SocketEnds ends;
        Connection connection(ends.ours);
        std::array<char, 16> buffer{};
        const auto receive = [&](std::chrono::milliseconds limit) {
            return waiting ? connection.receiveWithin(limit, buffer.data(), buffer.size())
                           : connection.receive(buffer.data(), buffer.size());
        };
        Connection::Result result = receive(2ms);
        QCOMPARE(result.status, Status::Waiting);
        QCOMPARE(result.bytes, std::size_t(0));
        ends.say("x");
        QVERIFY(connection.wait(false, never));
        result = receive(never);
        QCOMPARE(result.status, Status::Moved);
        QCOMPARE(result.bytes, std::size_t(1));
        QCOMPARE(buffer[0], 'x');
        ends.close();
        QVERIFY(connection.wait(false, never));
        result = receive(never);
        QCOMPARE(result.status, Status::Closed);
        QCOMPARE(result.bytes, std::size_t(0));
    }

    void aResetFailsTheReceiver()
    {
        for (const bool waiting : {false, true}) {
            SocketEnds ends;
            Connection connection(ends.ours);
            ends.reset();
            QVERIFY(connection.wait(false, never));
            char byte = 0;
            QCOMPARE(
                (waiting ? connection.receiveWithin(never, &byte, 1) : connection.receive(&byte, 1)).status,
                Status::Failed);
        }
    }

    void aShorterLimitFollowsALongerOne()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        char byte = 0;
        ends.say("x");
        QCOMPARE(connection.receiveWithin(never, &byte, 1).status, Status::Moved);
        QCOMPARE(connection.receiveWithin(20ms, &byte, 1).status, Status::Waiting);
        QCOMPARE(::fcntl(ends.ours, F_GETFL) & (O_NONBLOCK | O_APPEND | O_ASYNC), 0);
        QCOMPARE(connection.receiveWithin(0ms, &byte, 1).status, Status::Waiting); // 0 would be no limit
    }

    void aSignalEndsTheWaitAndNotTheConnection()
    {
        struct sigaction before
        {};
        struct sigaction ignoring
        {};
        ignoring.sa_handler = [](int) {};
        QCOMPARE(::sigaction(SIGUSR1, &ignoring, &before), 0);
        const SocketEnds ends;
        Connection connection(ends.ours);
        std::atomic<bool> returned{false};
        Status status = Status::Moved;
        std::thread waiter([&] {
            char byte = 0;
            status = connection.receiveWithin(1h, &byte, 1).status;
            returned = true;
        });
        while (!returned) {
            ::pthread_kill(waiter.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
        waiter.join();
        ::sigaction(SIGUSR1, &before, nullptr);
        QCOMPARE(status, Status::Waiting);
    }

    void aWaiterIsWokenByTheEnd()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        auto status = std::async(std::launch::async, [&] {
            char byte = 0;
            Connection::Result result = connection.receiveWithin(never, &byte, 1);
            while (result.status == Status::Waiting) {
                result = connection.receiveWithin(never, &byte, 1);
            }
            return result.status;
        });
        connection.shutDown();
        QCOMPARE(status.get(), Status::Closed);
        QCOMPARE(ends.hear(1), QByteArray());
    }

    void waitingTellsWhetherSomethingCanBeReceived()
    {
        SocketEnds ends;
        Connection connection(ends.ours);
        QVERIFY(!connection.wait(false, 2ms));
        QVERIFY(!connection.wait(false, -5ms));
        QVERIFY(!connection.wait(true, never)); // can be sent
        ends.say("x");
        QVERIFY(connection.wait(false, never));
        char byte = 0;
        QCOMPARE(connection.receive(&byte, 1).status, Status::Moved);
        ends.reset();
        QVERIFY(connection.wait(true, never));
        // The bits that poll() reports for a reset and for a full shutdown remain set.
        QCOMPARE(connection.receive(&byte, 1).status, Status::Failed);
        QVERIFY(connection.wait(true, never));
    }

    void onlyAnOpenConnectionWithoutBytesIsQuiet()
    {
        SocketEnds ends;
        Connection connection(ends.ours);
        QVERIFY(connection.isQuiet());
        ends.say("x");
        QVERIFY(connection.wait(false, never));
        QVERIFY(!connection.isQuiet());
        char byte = 0;
        QCOMPARE(connection.receive(&byte, 1).bytes, std::size_t(1)); // it was looked at, not taken
        QVERIFY(connection.isQuiet());
        ends.close();
        QVERIFY(connection.wait(false, never));
        QVERIFY(!connection.isQuiet());
        SocketEnds others;
        Connection other(others.ours);
        others.reset();
        QVERIFY(other.wait(false, never));
        QVERIFY(!other.isQuiet());
    }

    void theSocketEndsWithItsConnection()
    {
        const SocketEnds ends;
        {
            const Connection connection(ends.ours);
            QVERIFY(::fcntl(ends.ours, F_GETFD) >= 0);
        }
        QCOMPARE(ends.hear(1), QByteArray());
        QCOMPARE(::fcntl(ends.ours, F_GETFD), -1);
    }

    void initTestCase() { muteLog(); }

    // The timers of the kernel's sockets are late by up to an eighth.
    void aReceiveEndsWithinItsLimitThoughTheKernelIsLate()
    {
        int ends[2];
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        {
            Connection connection(ends[0]);
            for (const int limit : {10000, 9998, 9990, 5000, 20000, 400, 100}) {
                QCOMPARE(::send(ends[1], "x", 1, 0), ssize_t(1));
                char byte = 0;
                const auto result =
                    connection.receiveWithin(std::chrono::milliseconds(limit), &byte, sizeof byte);
                QCOMPARE(result.bytes, std::size_t(1));
                timeval set{};
                socklen_t size = sizeof set;
                QCOMPARE(::getsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &set, &size), 0);
                const qint64 milliseconds = set.tv_sec * 1000 + set.tv_usec / 1000;
                QVERIFY(milliseconds > 0);
                QVERIFY2(milliseconds + milliseconds / 8 <= limit, qPrintable(QString::number(milliseconds)));
            }
        }
        ::close(ends[1]);
    }

    void theKernelIsToldThreeFifthsOfTheLimit()
    {
        const SocketEnds ends;
        Connection connection(ends.ours);
        // The limit stays as it is while it is neither too long nor much too short.
        for (const auto& [limit, wanted] :
             {std::pair(10000, 6000), {7500, 6000}, {24000, 6000}, {7000, 4200}, {100000, 60000}}) {
            ends.say("x");
            char byte = 0;
            QCOMPARE(connection.receiveWithin(std::chrono::milliseconds(limit), &byte, 1).status,
                     Status::Moved);
            timeval set{};
            socklen_t size = sizeof set;
            QCOMPARE(::getsockopt(ends.ours, SOL_SOCKET, SO_RCVTIMEO, &set, &size), 0);
            QCOMPARE(int(set.tv_sec * 1000 + set.tv_usec / 1000), wanted);
        }
    }

    void aThreadWithASmallStackMaySendRequests()
    {
        struct Task
        {
            Bench bench;
            HttpRequest asked;
            HttpReply reply;
        };
        MisbehavingServer server;
        Task task;
        task.asked = request(server.address());
        task.reply.state = State::Aborted;
        pthread_attr_t attributes;
        QCOMPARE(pthread_attr_init(&attributes), 0);
        QCOMPARE(pthread_attr_setstacksize(&attributes, 128 << 10), 0);
        pthread_t thread{};
        const int error = pthread_create(
            &thread, &attributes,
            [](void* argument) -> void* {
                auto* const own = static_cast<Task*>(argument);
                own->reply = own->bench.engine.exchange(own->asked);
                return nullptr;
            },
            &task);
        pthread_attr_destroy(&attributes);
        QCOMPARE(error, 0);
        QCOMPARE(pthread_join(thread, nullptr), 0);
        QCOMPARE(task.reply.state, State::Success);
    }
};

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"
