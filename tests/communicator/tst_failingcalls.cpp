// SPDX-License-Identifier: MIT
//
// Each call of an exchange or a stream to the system fails in turn: those for sockets and for files.
#include "failingscenarios.h"

#include <replaced.h>

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool fails(int error)
{
    if (!callFails()) {
        return false;
    }
    errno = error;
    return true;
}

// A connection that can no longer be written to is broken for its reader, too.
bool breaks(int descriptor)
{
    if (plan != nullptr && plan->sendError != 0) {
        errno = plan->sendError;
        return ++plan->calls >= plan->failing;
    }
    if (!fails(EPIPE)) {
        return false;
    }
    ::shutdown(descriptor, SHUT_RDWR);
    errno = EPIPE;
    return true;
}

// The loop's own descriptors are none of the exchange's.
bool isFile(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

// These take the place of the system's, for the calls of all libraries.
extern "C" {

int socket(int domain, int type, int protocol)
{
    static const auto own = replaced<int(int, int, int)>("socket");
    return fails(EMFILE) ? -1 : own(domain, type, protocol);
}

int connect(int descriptor, const sockaddr* address, socklen_t length)
{
    static const auto own = replaced<int(int, const sockaddr*, socklen_t)>("connect");
    return fails(ENETUNREACH) ? -1 : own(descriptor, address, length);
}

ssize_t send(int descriptor, const void* bytes, size_t size, int flags)
{
    static const auto own = replaced<ssize_t(int, const void*, size_t, int)>("send");
    return breaks(descriptor) ? -1 : own(descriptor, bytes, size, flags);
}

ssize_t sendmsg(int descriptor, const msghdr* message, int flags)
{
    static const auto own = replaced<ssize_t(int, const msghdr*, int)>("sendmsg");
    return breaks(descriptor) ? -1 : own(descriptor, message, flags);
}

ssize_t recv(int descriptor, void* bytes, size_t size, int flags)
{
    static const auto own = replaced<ssize_t(int, void*, size_t, int)>("recv");
    return fails(ECONNRESET) ? -1 : own(descriptor, bytes, size, flags);
}

int setsockopt(int descriptor, int level, int name, const void* value, socklen_t length)
{
    static const auto own = replaced<int(int, int, int, const void*, socklen_t)>("setsockopt");
    return fails(ENOMEM) ? -1 : own(descriptor, level, name, value, length);
}

int getsockopt(int descriptor, int level, int name, void* value, socklen_t* length)
{
    static const auto own = replaced<int(int, int, int, void*, socklen_t*)>("getsockopt");
    return fails(ENOBUFS) ? -1 : own(descriptor, level, name, value, length);
}

int open64(const char* path, int flags, ...)
{
    static const auto own = replaced<int(const char*, int, ...)>("open64");
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return fails(EMFILE) ? -1 : own(path, flags, mode);
}

ssize_t read(int descriptor, void* bytes, size_t size)
{
    static const auto own = replaced<ssize_t(int, void*, size_t)>("read");
    return plan != nullptr && isFile(descriptor) && fails(EIO) ? -1 : own(descriptor, bytes, size);
}

ssize_t write(int descriptor, const void* bytes, size_t size)
{
    static const auto own = replaced<ssize_t(int, const void*, size_t)>("write");
    return plan != nullptr && isFile(descriptor) && fails(ENOSPC) ? -1 : own(descriptor, bytes, size);
}

int fsync(int descriptor)
{
    static const auto own = replaced<int(int)>("fsync");
    return fails(EIO) ? -1 : own(descriptor);
}

int rename(const char* from, const char* to)
{
    static const auto own = replaced<int(const char*, const char*)>("rename");
    return fails(EACCES) ? -1 : own(from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags)
{
    static const auto own = replaced<int(int, const char*, int, const char*, int)>("linkat");
    return fails(EACCES) ? -1 : own(fromFolder, from, toFolder, to, flags);
}

} // extern "C"

class TestFailingCalls : public QObject
{
    Q_OBJECT

    const std::vector<Scenario> m_scenarios = scenarios();

private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void whicheverCallFailsEverythingEndsAndNothingIsLeft_data() { rowsOf(m_scenarios); }
    void whicheverCallFailsEverythingEndsAndNothingIsLeft()
    {
        QFETCH(int, number);
        QFETCH(Plan::Lasts, lasts);
        const QString held = failInTurn(m_scenarios[std::size_t(number)], lasts, 200);
        QVERIFY2(held.isEmpty(), qPrintable(held));
    }

    void whatTheSystemDoesNotSendIsNotAwaited_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("from");
        for (const bool blocking : {true, false}) {
            const char* const how = blocking ? "blocking" : "non-blocking";
            QTest::addRow("a head, %s", how) << blocking << 0 << 1;
            QTest::addRow("a head and a body, %s", how) << blocking << 100 << 1;
            QTest::addRow("the rest of a body, %s", how) << blocking << 1000000 << 2;
        }
    }
    void whatTheSystemDoesNotSendIsNotAwaited()
    {
        QFETCH(bool, blocking);
        QFETCH(int, size);
        QFETCH(int, from);
        // The connection lives, and the device waits for the rest.
        const MisbehavingServer server(Mode::Stall);
        Bench bench;
        HttpRequest asked =
            request(server.address(), size > 0 ? HttpMethod::Put : HttpMethod::Get, QByteArray(size, 'b'));
        asked.expectedTime = 5000;
        Plan wanted(from, Plan::Lasts::No, ENOBUFS);
        const HttpReply reply = askWith(bench, asked, blocking, wanted);
        QCOMPARE(reply.state, State::Broken); // not TimedOut
        QVERIFY2(reply.reason.contains(qt_error_string(ENOBUFS)), qPrintable(reply.reason));
        QCOMPARE(server.deliveries(), 0);
    }
};

QTEST_GUILESS_MAIN(TestFailingCalls)
#include "tst_failingcalls.moc"
