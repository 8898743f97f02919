// SPDX-License-Identifier: MIT
#include "deaflistener.h"
#include "misbehavingserver.h"

#include "communicator/http/curlmulti.h"
#include "communicator/runtime/ioloop.h"

#include <QtTest>

#include <future>
#include <memory>

using namespace Krelm::Communicator::HttpDevice;

class TestCurlMulti : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anAddressThatDoesNotAnswerIsFollowedByTheNext()
    {
        MisbehavingServer server;
        const DeafListener deaf("127.0.0.2", server.port());
        QVERIFY(deaf.listens());
        const QByteArray port = QByteArray::number(server.port());
        curl_slist* const names =
            curl_slist_append(nullptr, ("wall.test:" + port + ":127.0.0.2,127.0.0.1").constData());
        CURL* const easy = curl_easy_init();
        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
        curl_easy_setopt(easy, CURLOPT_RESOLVE, names);
        curl_easy_setopt(easy, CURLOPT_URL, ("http://wall.test:" + port + "/").constData());
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, 3000L);
        curl_easy_setopt(
            easy, CURLOPT_WRITEFUNCTION,
            +[](char*, size_t size, size_t count, void*) { return size * count; });

        std::promise<CURLcode> ended;
        {
            IoLoop loop;
            std::unique_ptr<CurlMulti> multi;
            loop.run([&] {
                multi = std::make_unique<CurlMulti>(loop, 1);
                multi->add(easy, [&](CURLcode result) { ended.set_value(result); });
            });
            const CURLcode code = ended.get_future().get();
            loop.run([&] {
                multi->remove(easy);
                multi.reset();
            });
            QCOMPARE(code, CURLE_OK);
        }
        curl_easy_cleanup(easy);
        curl_slist_free_all(names);
        QCOMPARE(server.received().size(), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(TestCurlMulti)
#include "tst_curlmulti.moc"
