// SPDX-License-Identifier: MIT
//
// Each call of an exchange to the system fails in turn.
#include "enginebench.h"

#include <replaced.h>

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Which call of a thread fails; only those of threads that have one are looked at, so that the server is
/// not.
struct Plan
{
    int calls = 0;   ///< so far
    int failing = 0; ///< the number of the one that fails, from 1; 0 for none
    /// With it, only sending fails, from that call on, and its connection lives.
    int sendError = 0;
};
thread_local Plan* plan = nullptr;

bool fails(int error)
{
    if (plan == nullptr || plan->sendError != 0 || ++plan->calls != plan->failing) {
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

namespace {

const QByteArray oldContent("old");

int descriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

/// Asks on the thread that does the work according to @p wanted.
HttpReply askWith(Bench& bench, const HttpRequest& asked, bool blocking, Plan& wanted)
{
    if (blocking) {
        plan = &wanted;
    } else {
        bench.loop->run([&] { plan = &wanted; });
    }
    HttpReply reply = bench.ask(asked, blocking);
    plan = nullptr;
    bench.loop->run([] { plan = nullptr; });
    return reply;
}

} // namespace

class TestFailingCalls : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void whicheverCallFailsAnExchangeEndsAndLeavesNothingBehind_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<bool>("blocking");
        for (const char* const what : {"get", "put", "form", "download"}) {
            for (const bool blocking : {true, false}) {
                QTest::addRow("%s, %s", what, blocking ? "blocking" : "non-blocking") << what << blocking;
            }
        }
    }
    void whicheverCallFailsAnExchangeEndsAndLeavesNothingBehind()
    {
        QFETCH(QString, what);
        QFETCH(bool, blocking);
        QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("file"));
        MisbehavingServer server(Mode::Answer);
        HttpRequest asked = request(server.address());
        asked.expectedTime = 2000;
        if (what == QLatin1String("put")) {
            asked.method = HttpMethod::Put;
            asked.body = QByteArray(300000, 'b');
        } else if (what == QLatin1String("form")) {
            asked.method = HttpMethod::Post;
            asked.multipart = true;
            asked.parts = {{QStringLiteral("file"), QUrl::fromLocalFile(path)},
                           {QStringLiteral("text"), QStringLiteral("x")}};
        } else if (what == QLatin1String("download")) {
            asked.downloadPath = path;
        }
        const bool isDownload = what == QLatin1String("download");
        const HttpRequest plain = request(server.address());

        // Whatever is made once for the process is made now.
        {
            Bench bench;
            QCOMPARE(bench.ask(plain, blocking).state, State::Success);
        }
        const int before = descriptors();
        int failed = 0;
        int steps = 0;
        for (int step = 1;; ++step) {
            QVERIFY2(step < 200, "the number of calls grows");
            writeFile(path, oldContent);
            asked.path = QStringLiteral("/api/v1/step%1").arg(step);
            Plan wanted{0, step};
            {
                Bench bench;
                const HttpReply reply = askWith(bench, asked, blocking, wanted);
                const QByteArray call = "call " + QByteArray::number(step);
                if (reply.state == State::Success) {
                    QCOMPARE(reply.body, isDownload ? QByteArray() : goodBody);
                    QVERIFY2(contentOf(path) == (isDownload ? goodBody : oldContent), call.constData());
                } else {
                    ++failed;
                    QVERIFY2(!reply.reason.isEmpty(), call.constData());
                    QVERIFY2(contentOf(path) == oldContent, call.constData());
                }
                QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden),
                         QStringList{QStringLiteral("file")});
                // The engine is as good as before.
                QCOMPARE(bench.ask(plain, blocking).state, State::Success);
            }
            steps = step;
            if (wanted.calls < step) {
                break; // no call is left that has not failed
            }
        }
        QVERIFY2(steps > 3, "the calls are not seen");
        QVERIFY2(failed > 1, "no failing call was noticed");
        // The server has closed all its connections, too, and so read all that has come.
        QTRY_VERIFY2(descriptors() <= before, "descriptors were left open");
        if (asked.method != HttpMethod::Get) {
            QMap<QByteArray, int> arrivals;
            for (const MisbehavingServer::Received& request : server.received()) {
                const int times = ++arrivals[request.target];
                QVERIFY2(request.target == "/api/v1/x" || times == 1, request.target.constData());
            }
        }
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
        Plan wanted{0, from, ENOBUFS};
        const HttpReply reply = askWith(bench, asked, blocking, wanted);
        QCOMPARE(reply.state, State::Broken); // not TimedOut
        QVERIFY2(reply.reason.contains(qt_error_string(ENOBUFS)), qPrintable(reply.reason));
        QCOMPARE(server.deliveries(), 0);
    }
};

QTEST_GUILESS_MAIN(TestFailingCalls)
#include "tst_failingcalls.moc"
