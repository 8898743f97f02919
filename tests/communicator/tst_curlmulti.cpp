// SPDX-License-Identifier: MIT
#include "deaflistener.h"
#include "misbehavingserver.h"

#include "communicator/http/curlmulti.h"
#include "communicator/runtime/ioloop.h"

#include <QDir>
#include <QtTest>

#include <array>
#include <fcntl.h>
#include <future>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;

namespace {

QList<int> descriptors()
{
    QList<int> found;
    for (const QString& name : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        if (::fcntl(name.toInt(), F_GETFD) >= 0) { // which the one of the list no longer is
            found << name.toInt();
        }
    }
    return found;
}

bool isInherited(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) == 0;
}

} // namespace

class TestCurlMulti : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void programsInheritNothingOfANewHandleAndAllElseAsBefore()
    {
        // The application's own local sockets lie between the two of the handle: some without anything in
        // them, one with a byte whose sender has gone.
        const int gap = ::open("/dev/null", O_RDONLY);
        std::array<int, 2> idle{};
        std::array<int, 2> half{};
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, idle.data()), 0);
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, half.data()), 0);
        QCOMPARE(::write(half[1], "x", 1), ssize_t(1));
        ::close(half[1]);
        const QList<int> before = descriptors();
        ::close(gap);

        CURLM* const multi = newMulti();
        QList<int> own;
        for (const int descriptor : descriptors()) {
            if (descriptor == gap || !before.contains(descriptor)) {
                own << descriptor;
            }
        }
        QVERIFY(own.size() >= 2);
        QVERIFY(own.contains(gap));
        for (const int descriptor : own) {
            QVERIFY2(!isInherited(descriptor), qPrintable(QString::number(descriptor)));
        }
        for (const int descriptor : {idle[0], idle[1], half[0]}) {
            QVERIFY2(isInherited(descriptor), qPrintable(QString::number(descriptor)));
            ::close(descriptor);
        }
        curl_multi_cleanup(multi);
        for (const int descriptor : own) {
            QVERIFY(::fcntl(descriptor, F_GETFD) == -1);
        }
    }

    void anAddressThatFailsIsFollowedByTheNext_data()
    {
        QTest::addColumn<bool>("refuses");
        QTest::addColumn<int>("limit");
        QTest::newRow("it does not answer") << false << 3000;
        QTest::newRow("it refuses after a while") << true << 60000; // not only when half the limit has passed
    }
    void anAddressThatFailsIsFollowedByTheNext()
    {
        QFETCH(bool, refuses);
        QFETCH(int, limit);
        MisbehavingServer server;
        std::optional<DeafListener> first(std::in_place, "127.0.0.2", server.port());
        QVERIFY(first->listens());
        const QByteArray port = QByteArray::number(server.port());
        curl_slist* const names =
            curl_slist_append(nullptr, ("wall.test:" + port + ":127.0.0.2,127.0.0.1").constData());
        std::promise<void> begun;
        CURL* const easy = curl_easy_init();
        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
        curl_easy_setopt(easy, CURLOPT_RESOLVE, names);
        curl_easy_setopt(easy, CURLOPT_URL, ("http://wall.test:" + port + "/").constData());
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, long(limit));
        curl_easy_setopt(
            easy, CURLOPT_OPENSOCKETFUNCTION, +[](void* self, curlsocktype, curl_sockaddr* address) {
                if (auto* const waited = std::exchange(*static_cast<std::promise<void>**>(self), nullptr)) {
                    waited->set_value();
                }
                return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
            });
        std::promise<void>* waited = &begun;
        curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, &waited);
        curl_easy_setopt(
            easy, CURLOPT_WRITEFUNCTION,
            +[](char*, size_t size, size_t count, void*) { return size * count; });

        std::promise<CURLcode> ended;
        std::future<CURLcode> result = ended.get_future();
        {
            IoLoop loop;
            std::unique_ptr<CurlMulti> multi;
            loop.run([&] {
                multi = std::make_unique<CurlMulti>(loop, 1);
                multi->add(easy, [&](CURLcode code) { ended.set_value(code); });
            });
            begun.get_future().wait();
            if (refuses) {
                loop.run([] {}); // the attempt is under way
                first.reset();   // what is sent next, a second later, is refused
            }
            const std::future_status status = result.wait_for(20s);
            loop.run([&] {
                multi->remove(easy);
                multi.reset();
            });
            QCOMPARE(status, std::future_status::ready);
        }
        QCOMPARE(result.get(), CURLE_OK);
        curl_easy_cleanup(easy);
        curl_slist_free_all(names);
        QCOMPARE(server.received().size(), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(TestCurlMulti)
#include "tst_curlmulti.moc"
