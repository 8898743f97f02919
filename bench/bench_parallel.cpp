// SPDX-License-Identifier: MIT
//
// Many requests at once: 32 threads that read from 32 devices, against a QNetworkAccessManager in each; 1,000
// requests in flight to 100 devices, against one QNetworkAccessManager and one multi handle of libcurl; and
// how long a healthy device's call takes beside eight devices that flood. Usage: bench_parallel [--ratios]
// [rounds]
#include "fixedserver.h"
#include "interleaved.h"
#include "ratios.h"
#include "rawsocket.h"
#include "serverprocess.h"

#include <communicator/httpjsonpackage.h>
#include <communicator/httpproxy.h>
#include <tessel/capability.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <curl/curl.h>
#include <memory>
#include <thread>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

constexpr int threadCount = 32;
constexpr int readsPerThread = 1000; // so that the start of the threads hardly counts
constexpr int deviceCount = 100;
constexpr int requestCount = 1000;
constexpr int flooding = 8;
constexpr int healthyCalls = 1000;

const QString path = QStringLiteral("/api/v1/device/capability/chips");

std::string replyOf1Kilobyte()
{
    std::string body = R"({"code":0,"message":"ok","data":[)";
    for (int i = 0; i < 13; ++i) {
        body += (i == 0 ? "" : ",") + std::string(R"({"channels":16,"grayBits":14,"name":"DRV-)") +
                std::to_string(2000 + i) + R"(","type":)" + std::to_string(4096 + i) + '}';
    }
    body += "]}";
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "bench_parallel: %s failed\n", what);
    std::exit(1);
}

QStringList keysOf(const ServerProcess& server)
{
    QStringList keys = QString::fromStdString(server.address()).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (keys.isEmpty()) {
        fail("a server's start");
    }
    return keys;
}

QUrl urlOf(const QString& key)
{
    return QUrl(QStringLiteral("http://") + key + path);
}

QList<QVariant> decode(const QByteArray& body)
{
    return QJsonDocument::fromJson(body).object().value(QStringLiteral("data")).toArray().toVariantList();
}

struct Rate
{
    double reads = 0; ///< in a second
    double cpu = 0;   ///< processor time of this process for each, in microseconds
};

double processorMicroseconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// Lets each thread call the function returned by @p prepare, readsPerThread times.
Rate rateOf(const QStringList& keys, const std::function<std::function<void()>(const QString& key)>& prepare)
{
    QElapsedTimer clock;
    clock.start();
    const double before = processorMicroseconds();
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, key = keys[i]] {
            const std::function<void()> read = prepare(key);
            for (int call = 0; call < readsPerThread; ++call) {
                read();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    constexpr double reads = threadCount * readsPerThread;
    return {reads * 1e9 / static_cast<double>(clock.nsecsElapsed()),
            (processorMicroseconds() - before) / reads};
}

std::function<void()> readByLibrary(const QString& key)
{
    return [key] {
        QList<QVariant> result;
        if (!Capability::getInstance()->getAllChipType(key, result) || result.size() != 13) {
            fail("the library's call");
        }
    };
}

std::function<void()> readByManager(const QString& key)
{
    return [url = urlOf(key), manager = std::make_shared<QNetworkAccessManager>()] {
        QNetworkReply* const reply = manager->get(QNetworkRequest(url));
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        if (decode(reply->readAll()).size() != 13) {
            fail("the QNetworkAccessManager call");
        }
        delete reply;
    };
}

/// The most that is possible here, with the same threads.
std::function<void()> readByRawSocket(const QString& key)
{
    const QUrl url = urlOf(key);
    return [raw = std::make_shared<RawSocket>(url.host().toStdString(), url.port(), path.toStdString())] {
        if (!raw->get()) {
            fail("the raw socket's call");
        }
    };
}

void measureThreads(const QStringList& keys, int rounds)
{
    constexpr std::array readers = {readByLibrary, readByManager, readByRawSocket};
    std::vector<double> rates[readers.size()];
    std::vector<double> cpu[readers.size()];
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < readers.size(); ++i) {
            const Rate rate = rateOf(keys, readers[i]);
            rates[i].push_back(rate.reads);
            cpu[i].push_back(rate.cpu);
        }
    }
    const double toManager = median(rates[0]) / median(rates[1]);
    const double toRaw = median(rates[0]) / median(rates[2]);
    std::printf("%d threads on %d devices: %.0f reads/s, %.1f us CPU each; QNetworkAccessManager %.0f, %.1f: "
                "%.1f times as fast (wanted: at least 9); raw sockets %.0f, %.1f: %.2f times (wanted: at "
                "least 0.6)\n",
                threadCount, threadCount, median(rates[0]), median(cpu[0]), median(rates[1]), median(cpu[1]),
                toManager, median(rates[2]), median(cpu[2]), toRaw);
    printRatio("parallel/threads", toManager);
    printRatio("parallel/threads-raw", toRaw);
}

/// Starts all requests at once and waits for all replies.
void fetchByLibrary(const QStringList& keys)
{
    QEventLoop loop;
    int left = requestCount;
    for (int i = 0; i < requestCount; ++i) {
        auto* const package = new HttpJsonPackage(nullptr);
        package->setUrl(path);
        QObject::connect(package, &HttpJsonPackage::readyRead, &loop, [&](HttpJsonPackage* answered) {
            if (answered->getRoutesJsonDataListMap().size() != 13) {
                fail("a request in flight");
            }
            answered->deleteLater();
            if (--left == 0) {
                loop.quit();
            }
        });
        HttpProxy::getInstance()->get(keys[i % deviceCount], package);
    }
    loop.exec();
}

void fetchByManager(QNetworkAccessManager& manager, const QStringList& keys)
{
    QEventLoop loop;
    int left = requestCount;
    for (int i = 0; i < requestCount; ++i) {
        QNetworkReply* const reply = manager.get(QNetworkRequest(urlOf(keys[i % deviceCount])));
        QObject::connect(reply, &QNetworkReply::finished, &loop, [&, reply] {
            if (decode(reply->readAll()).size() != 13) {
                fail("a request of QNetworkAccessManager");
            }
            reply->deleteLater();
            if (--left == 0) {
                loop.quit();
            }
        });
    }
    loop.exec();
}

/// One multi handle, on the waiting thread.
class CurlMulti
{
public:
    CurlMulti()
        : m_multi(curl_multi_init())
    {
        curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, 1000L);
        curl_multi_setopt(m_multi, CURLMOPT_MAX_HOST_CONNECTIONS, 3L);
    }
    ~CurlMulti() { curl_multi_cleanup(m_multi); }
    CurlMulti(const CurlMulti&) = delete;
    CurlMulti& operator=(const CurlMulti&) = delete;

    void fetch(const QStringList& keys)
    {
        std::vector<QByteArray> bodies(requestCount);
        for (int i = 0; i < requestCount; ++i) {
            CURL* const easy = curl_easy_init();
            curl_easy_setopt(easy, CURLOPT_URL, urlOf(keys[i % deviceCount]).toEncoded().constData());
            curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
            curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
            curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlMulti::take);
            curl_easy_setopt(easy, CURLOPT_WRITEDATA, &bodies[static_cast<std::size_t>(i)]);
            curl_easy_setopt(easy, CURLOPT_PRIVATE, &bodies[static_cast<std::size_t>(i)]);
            curl_multi_add_handle(m_multi, easy);
        }
        for (int left = requestCount; left > 0;) {
            int running = 0;
            curl_multi_perform(m_multi, &running);
            int queued = 0;
            while (const CURLMsg* const message = curl_multi_info_read(m_multi, &queued)) {
                CURL* const easy = message->easy_handle;
                QByteArray* body = nullptr;
                curl_easy_getinfo(easy, CURLINFO_PRIVATE, &body);
                if (decode(*body).size() != 13) {
                    fail("a request of libcurl");
                }
                curl_multi_remove_handle(m_multi, easy);
                curl_easy_cleanup(easy);
                --left;
            }
            if (left > 0) {
                curl_multi_poll(m_multi, nullptr, 0, 1000, nullptr);
            }
        }
    }

private:
    static std::size_t take(char* data, std::size_t size, std::size_t count, void* body)
    {
        static_cast<QByteArray*>(body)->append(data, static_cast<int>(size * count));
        return size * count;
    }

    CURLM* m_multi;
};

void measureInFlight(const QStringList& keys, int rounds)
{
    QNetworkAccessManager manager;
    CurlMulti curl;
    const auto figures =
        measureInterleaved({{"library", [&] { fetchByLibrary(keys); }},
                            {"one multi handle of libcurl", [&] { curl.fetch(keys); }},
                            {"QNetworkAccessManager", [&] { fetchByManager(manager, keys); }}},
                           rounds, 1);
    std::printf("%d requests in flight to %d devices\n", requestCount, deviceCount);
    printFigures(figures);
    printRatio("parallel/in-flight-libcurl", figures[1].cpu / figures[0].cpu);
    printRatio("parallel/in-flight-manager", figures[2].cpu / figures[0].cpu);
}

/// Answers with an endless body, in chunks of one byte.
bool flood(int connection)
{
    std::string chunks;
    for (int i = 0; i < 4096; ++i) {
        chunks += "1\r\nx\r\n";
    }
    bool open =
        sendAll(connection,
                "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n");
    while (open) {
        open = sendAll(connection, chunks);
    }
    return false;
}

/// Keeps one request to @p key in progress.
void keepAsking(const QString& key)
{
    auto* const package = new HttpJsonPackage(nullptr);
    package->setUrl(path);
    QObject::connect(package, &HttpJsonPackage::readyRead, package, [key](HttpJsonPackage* answered) {
        answered->deleteLater();
        keepAsking(key);
    });
    HttpProxy::getInstance()->get(key, package);
}

void measureBesideFloods(const QStringList& floods, const QString& healthy)
{
    for (const QString& key : floods) {
        keepAsking(key);
    }
    std::vector<double> milliseconds;
    for (int i = 0; i < healthyCalls; ++i) {
        QElapsedTimer clock;
        clock.start();
        HttpJsonPackage package(nullptr);
        package.setUrl(path);
        QEventLoop loop;
        QObject::connect(&package, &HttpJsonPackage::readyRead, &loop, &QEventLoop::quit);
        HttpProxy::getInstance()->get(healthy, &package);
        loop.exec();
        milliseconds.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        if (package.getRoutesJsonDataListMap().size() != 13) {
            fail("a call beside the floods");
        }
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    const double late = milliseconds[healthyCalls * 99 / 100];
    std::printf(
        "a call beside %d devices that flood: median %.2f ms, 99th percentile %.2f ms (wanted: below 20), "
        "worst %.2f ms\n",
        flooding, milliseconds[healthyCalls / 2], late, milliseconds.back());
    printRatio("parallel/beside-floods", late);
}

} // namespace

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 7;
    const ServerProcess server([](const auto& ready) { serveFixed(deviceCount, replyOf1Kilobyte(), ready); });
    const ServerProcess floods([](const auto& ready) { serveBy(flooding, flood, ready); });
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const QCoreApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QStringList keys = keysOf(server);

    measureThreads(keys, rounds);
    measureInFlight(keys, rounds);
    measureBesideFloods(keysOf(floods), keys.first());
    return 0;
}
