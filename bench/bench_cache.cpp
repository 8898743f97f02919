// SPDX-License-Identifier: MIT
//
// reads that a cache answers, compared with copying the containers; and storing a reply with 10,000 cabinets
// in the cache, compared with QJsonDocument, toVariant() and the same flattening. The replies come from an
// engine within the process, so the figures include no network.
// Usage: bench_cache [--ratios] [rounds]
#include "cabinetlist.h"
#include "interleaved.h"
#include "peakmemory.h"
#include "ratios.h"

#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/screeninfo.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <cstdlib>

using Krelm::Communicator::HttpDevice::HttpEngine;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Krelm::Communicator::HttpDevice::HttpReply;
using Krelm::Communicator::HttpDevice::HttpRequest;

namespace {

constexpr int reads = 1000; // per timed call
const QString deviceKey = QStringLiteral("127.0.0.1:1");
const QString screenId = QStringLiteral("1");

/// Answers every request with the same text.
class FixedEngine : public HttpEngine
{
public:
    explicit FixedEngine(const QByteArray& text)
    {
        m_reply.status = 200;
        m_reply.body = text;
    }
    HttpReply exchange(const HttpRequest& /*request*/) override { return m_reply; }
    bool start(const HttpRequest& /*request*/, std::function<void(const HttpReply&)> done) override
    {
        done(m_reply);
        return true;
    }

private:
    HttpReply m_reply;
};

void answerWith(const QByteArray& text)
{
    HttpProxy::getInstance()->setEngine(std::make_unique<FixedEngine>(text));
}

void require(bool succeeded, const char* what)
{
    if (!succeeded) {
        std::fprintf(stderr, "bench_cache: %s failed\n", what);
        std::exit(1);
    }
}

void loadCabinets()
{
    require(CabinetInfoOperator::getInstance()->getAllCabinetsInfo(deviceKey, true), "the load");
}

/// The duration of @p load while the cache holds an earlier list. Measured in a separate process, because
/// memory freed by one side would slow down the other's allocations.
double reloadMilliseconds(const std::function<void()>& load)
{
    return measuredApart([&load] {
        load();
        QElapsedTimer clock;
        clock.start();
        load();
        return static_cast<double>(clock.nsecsElapsed()) / 1e6;
    });
}

template <class Read>
auto repeated(Read read)
{
    return [read] {
        for (int i = 0; i < reads; ++i) {
            read();
        }
    };
}

void printReads(const char* title, const char* name, const std::vector<Figures>& figures)
{
    constexpr double nanoseconds = 1000.0 / reads;
    std::printf("%-36s %7.1f ns, copying the containers %7.1f ns, ratio %.1f\n", title,
                figures[1].median * nanoseconds, figures[0].median * nanoseconds,
                figures[1].median / figures[0].median);
    printRatio(name, figures[1].median / figures[0].median);
}

} // namespace

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
    const QByteArray reply = cabinetListReply(10000);
    require(!reply.isEmpty(), "the making of the reply");

    // The cache keeps what it decodes, so the other side does too.
    QMap<QString, QVariantList> otherCache;
    const auto load = [&] {
        answerWith(reply);
        loadCabinets();
    };
    const auto otherLoad = [&] { otherCache[deviceKey] = documentList(reply); };
    const double ourPeak = addedPeak(load);
    const double otherPeak = addedPeak(otherLoad);
    std::vector<double> times;
    std::vector<double> otherTimes;
    for (int i = 0; i < rounds; ++i) {
        times.push_back(reloadMilliseconds(load));
        otherTimes.push_back(reloadMilliseconds(otherLoad));
    }

    const QCoreApplication app(argc, argv);
    answerWith(R"({"code":0,"message":"ok","data":{"mode":2}})");
    QVariantMap property;
    require(ScreenInfo::getInstance()->getDeviceScreenHdrparamHdrMode(deviceKey, screenId, property, true) &&
                !property.isEmpty(),
            "the load of the property");
    answerWith(reply);
    loadCabinets();
    otherCache[deviceKey] = documentList(reply);
    QVariantList cabinets;
    require(CabinetInfoOperator::getInstance()->getAllCabinetsInfo(deviceKey, cabinets, false) &&
                cabinets == otherCache[deviceKey],
            "the comparison of the caches");

    const QVariantMap propertySource = property;
    printReads("cached list of 10,000 cabinets", "cache/list",
               measureInterleaved({{"", repeated([&] { cabinets = otherCache.value(deviceKey); })},
                                   {"", repeated([&] {
                                        CabinetInfoOperator::getInstance()->getAllCabinetsInfo(
                                            deviceKey, cabinets, false);
                                    })}},
                                  rounds, 20));
    printReads("cached property of a screen", "cache/property",
               measureInterleaved({{"", repeated([&] {
                                        property = propertySource;
                                        property.detach();
                                    })},
                                   {"", repeated([&] {
                                        ScreenInfo::getInstance()->getDeviceScreenHdrparamHdrMode(
                                            deviceKey, screenId, property, false);
                                    })}},
                                  rounds, 20));

    std::printf(
        "reply of %.1f MB into the cache: %.1f ms, QJsonDocument %.1f ms: %.1f times as fast (wanted: "
        "at least 4)\n",
        reply.size() / 1e6, median(times), median(otherTimes), median(otherTimes) / median(times));
    std::printf("its peak memory: %.1f MiB, QJsonDocument %.1f MiB, ratio %.2f (wanted: at most 0.5)\n",
                ourPeak, otherPeak, ourPeak / otherPeak);
    printRatio("cache/load", median(otherTimes) / median(times));
    printRatio("cache/load-peak", ourPeak / otherPeak);
    return 0;
}
