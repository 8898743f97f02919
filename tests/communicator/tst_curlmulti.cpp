// SPDX-License-Identifier: MIT
#include "deaflistener.h"
#include "misbehavingserver.h"

#include "communicator/http/curlmulti.h"
#include "communicator/runtime/ioloop.h"

#include <QtTest>

#include <future>
#include <memory>
#include <optional>
#include <utility>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;

class TestCurlMulti : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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
