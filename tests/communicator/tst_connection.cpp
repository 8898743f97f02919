// SPDX-License-Identifier: MIT
#include "communicator/http/connection.h"
#include "enginebench.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

class ConnectionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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

QTEST_GUILESS_MAIN(ConnectionTest)
#include "tst_connection.moc"
