// SPDX-License-Identifier: MIT
//
// A blocking GET of a 1 KB reply over keep-alive on loopback: the library against a hand-written socket
// client that does not decode (the floor), a bare libcurl handle with QJsonDocument, and
// QNetworkAccessManager with a nested event loop and QJsonDocument. All use the same server, which runs in a
// separate process.
#include "interleaved.h"
#include "ratios.h"
#include "serverprocess.h"
#include "systemcalls.h"

#include <simulator/simulator.h>
#include <tessel/capability.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

const QString path = QStringLiteral("/api/v1/device/capability/chips");

// 13 chips make an envelope of about 1 KB.
QByteArray chips()
{
    QJsonArray list;
    for (int i = 0; i < 13; ++i) {
        list.append(QJsonObject{{QStringLiteral("type"), 4096 + i},
                                {QStringLiteral("name"), QStringLiteral("DRV-%1").arg(2000 + i)},
                                {QStringLiteral("channels"), 16},
                                {QStringLiteral("grayBits"), 14 + i % 3}});
    }
    return QJsonDocument(list).toJson(QJsonDocument::Compact);
}

void serve(const std::function<void(const std::string&)>& ready)
{
    Tessel::Simulator::Options options;
    options.requestLog = 0;
    Tessel::Simulator::Simulator simulator(options);
    if (!simulator.start() || !simulator.setValue(path, chips())) {
        return;
    }
    ready(simulator.address().toStdString());
}

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "bench_blockingget: %s failed\n", what);
    std::exit(1);
}

QList<QVariant> decode(const QByteArray& body)
{
    return QJsonDocument::fromJson(body).object().value(QStringLiteral("data")).toArray().toVariantList();
}

/// The lower bound: a fixed request, one receive buffer, no decoding.
class RawSocket
{
public:
    RawSocket(const std::string& host, int port)
        : m_socket(socket(AF_INET, SOCK_STREAM, 0))
        , m_request("GET " + path.toStdString() + " HTTP/1.1\r\nHost: " + host + ":" + std::to_string(port) +
                    "\r\n\r\n")
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET, host.c_str(), &address.sin_addr);
        if (connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            fail("the raw socket's connect");
        }
        const int on = 1;
        setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~RawSocket() { close(m_socket); }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    void get()
    {
        if (send(m_socket, m_request.data(), m_request.size(), 0) < 0) {
            fail("the raw socket's send");
        }
        std::size_t length = 0;
        std::size_t whole = 0;
        do {
            const ssize_t got = recv(m_socket, m_buffer + length, sizeof m_buffer - length, 0);
            if (got <= 0) {
                fail("the raw socket's receive");
            }
            length += static_cast<std::size_t>(got);
            whole = whole ? whole : wholeLength(length);
        } while (whole == 0 || length < whole);
    }

private:
    /// The size of head and body once the head has arrived, 0 before.
    std::size_t wholeLength(std::size_t length) const
    {
        const std::string_view text(m_buffer, length);
        const std::size_t end = text.find("\r\n\r\n");
        const std::size_t field = text.find("Content-Length: ");
        if (end == std::string_view::npos || field == std::string_view::npos) {
            return 0;
        }
        return end + 4 + std::strtoul(m_buffer + field + 16, nullptr, 10);
    }

    int m_socket;
    std::string m_request;
    char m_buffer[65536];
};

class BareCurl
{
public:
    explicit BareCurl(const QByteArray& url)
        : m_handle(curl_easy_init())
    {
        curl_easy_setopt(m_handle, CURLOPT_URL, url.constData());
        curl_easy_setopt(m_handle, CURLOPT_NOPROXY, "*");
        curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &BareCurl::take);
        curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, this);
    }
    ~BareCurl() { curl_easy_cleanup(m_handle); }
    BareCurl(const BareCurl&) = delete;
    BareCurl& operator=(const BareCurl&) = delete;

    QList<QVariant> get()
    {
        m_body.resize(0);
        if (curl_easy_perform(m_handle) != CURLE_OK) {
            fail("the bare libcurl call");
        }
        return decode(m_body);
    }

private:
    static std::size_t take(char* data, std::size_t size, std::size_t count, void* self)
    {
        static_cast<BareCurl*>(self)->m_body.append(data, static_cast<int>(size * count));
        return size * count;
    }

    CURL* m_handle;
    QByteArray m_body;
};

QList<QVariant> getByManager(QNetworkAccessManager& manager, const QUrl& url)
{
    QNetworkReply* reply = manager.get(QNetworkRequest(url));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (reply->error() != QNetworkReply::NoError) {
        fail("the QNetworkAccessManager call");
    }
    const QByteArray body = reply->readAll();
    reply->deleteLater();
    return decode(body);
}

} // namespace

/// Client and server share a processor; otherwise each call would mostly measure how long it takes to wake an
/// idle processor.
void shareOneProcessor()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    if (sched_setaffinity(0, sizeof one, &one) != 0) {
        std::fprintf(stderr, "bench_blockingget: not on one processor, so expect noise\n");
    }
}

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    shareOneProcessor();
    const ServerProcess server(serve);
    if (server.address().empty()) {
        fail("the server's start");
    }
    const QString deviceKey = QString::fromStdString(server.address());
    const double systemCalls = systemCallsOf(
        [&deviceKey] {
            QList<QVariant> chips;
            if (!Capability::getInstance()->getAllChipType(deviceKey, chips)) {
                fail("the library's call");
            }
        },
        200);
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 40;

    const QUrl url(QStringLiteral("http://") + deviceKey + path);
    RawSocket raw(url.host().toStdString(), url.port());
    BareCurl curl(url.toEncoded());
    QNetworkAccessManager manager;
    QList<QVariant> result;

    // All variants that decode must return the same thirteen chips.
    if (!Capability::getInstance()->getAllChipType(deviceKey, result) || result.size() != 13 ||
        result != curl.get() || result != getByManager(manager, url)) {
        fail("the comparison of the replies");
    }

    const auto figures = measureInterleaved(
        {{"raw socket, not decoded", [&] { raw.get(); }},
         {"Capability::getAllChipType",
          [&] {
              if (!Capability::getInstance()->getAllChipType(deviceKey, result)) {
                  fail("the library's call");
              }
          }},
         {"bare libcurl, QJsonDocument", [&] { result = curl.get(); }},
         {"QNetworkAccessManager, QJsonDocument", [&] { result = getByManager(manager, url); }}},
        rounds, 250);

    std::printf("Blocking GET of a 1 KB reply, keep-alive, loopback; %d calls each, interleaved\n",
                rounds * 250);
    printFigures(figures);
    const double library = figures[1].median;
    std::printf("library / raw socket %.2f (wanted: at most 1.7), / bare libcurl %.2f (at most 0.6), "
                "/ QNetworkAccessManager %.2f (at most 0.167)\n",
                library / figures[0].median, library / figures[2].median, library / figures[3].median);
    std::printf("system calls for each read: %.2f (wanted: at most 4)\n", systemCalls);
    printRatio("get/system-calls", systemCalls);
    printRatio("get/raw-socket", library / figures[0].median);
    printRatio("get/libcurl", library / figures[2].median);
    printRatio("get/qnetworkaccessmanager", library / figures[3].median);
    return 0;
}
