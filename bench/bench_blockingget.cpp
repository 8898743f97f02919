// SPDX-License-Identifier: MIT
//
// A blocking GET of a 1 KB reply over keep-alive on loopback: the library against a hand-written socket
// client that does not decode (the floor), a bare libcurl handle with QJsonDocument, and
// QNetworkAccessManager with a nested event loop and QJsonDocument. All use the same server, which runs in a
// separate process.
#include "interleaved.h"
#include "ratios.h"
#include "rawsocket.h"
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

#include <curl/curl.h>
#include <sched.h>

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
    RawSocket raw(url.host().toStdString(), url.port(), path.toStdString());
    BareCurl curl(url.toEncoded());
    QNetworkAccessManager manager;
    QList<QVariant> result;

    // All variants that decode must return the same thirteen chips.
    if (!Capability::getInstance()->getAllChipType(deviceKey, result) || result.size() != 13 ||
        result != curl.get() || result != getByManager(manager, url)) {
        fail("the comparison of the replies");
    }

    const auto read = [&deviceKey](QList<QVariant>& chips) {
        if (!Capability::getInstance()->getAllChipType(deviceKey, chips)) {
            fail("the library's call");
        }
    };
    const auto figures = measureInterleaved(
        {{"raw socket, not decoded",
          [&] {
              if (!raw.get()) {
                  fail("the raw socket's call");
              }
          }},
         {"Capability::getAllChipType", [&] { read(result); }},
         {"the same, into a new list",
          [&] {
              QList<QVariant> chips;
              read(chips);
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
                library / figures[0].median, library / figures[3].median, library / figures[4].median);
    std::printf("into a new list: %.2f of bare libcurl\n", figures[2].median / figures[3].median);
    std::printf("system calls for each read: %.2f (wanted: at most 4)\n", systemCalls);
    printRatio("get/system-calls", systemCalls);
    printRatio("get/raw-socket", library / figures[0].median);
    printRatio("get/libcurl", library / figures[3].median);
    printRatio("get/qnetworkaccessmanager", library / figures[4].median);
    printRatio("get/new-list", figures[2].median / figures[3].median);
    return 0;
}
