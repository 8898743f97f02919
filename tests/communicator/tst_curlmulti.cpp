// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include "communicator/http/curlmulti.h"
#include "communicator/runtime/ioloop.h"

#include <QtTest>

#include <arpa/inet.h>
#include <array>
#include <future>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Krelm::Communicator::HttpDevice;

namespace {

/// An address where attempts to connect hang: nobody accepts them, and no more may wait.
class DeafListener
{
public:
    DeafListener(const char* address, quint16 port)
        : m_listener(newSocket())
    {
        m_address.sin_family = AF_INET;
        m_address.sin_port = htons(port);
        ::inet_pton(AF_INET, address, &m_address.sin_addr);
        m_listens = ::bind(m_listener, generic(), sizeof m_address) == 0 && ::listen(m_listener, 0) == 0;
        for (int& waiting : m_waiting) {
            waiting = newSocket();
            static_cast<void>(::connect(waiting, generic(), sizeof m_address)); // hangs, as is wanted
        }
    }
    ~DeafListener()
    {
        for (const int waiting : m_waiting) {
            ::close(waiting);
        }
        ::close(m_listener);
    }
    bool listens() const { return m_listens; }

private:
    static int newSocket() { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }
    const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&m_address); }

    sockaddr_in m_address{};
    const int m_listener;
    std::array<int, 3> m_waiting{};
    bool m_listens = false;
    Q_DISABLE_COPY_MOVE(DeafListener)
};

} // namespace

class CurlMultiTest : public QObject
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

QTEST_GUILESS_MAIN(CurlMultiTest)
#include "tst_curlmulti.moc"
