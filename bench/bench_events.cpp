// SPDX-License-Identifier: MIT
//
// Pushed events from the socket to an operator's handler: in bulk from a server that writes as fast as the
// socket takes it, on one stream and on 1,000; one by one with one stream and with 1,000 streams open; and
// with the refresh of the caches that each event triggers. And how 1,000 streams come back after an outage.
// Only CabinetInfoOperator listens, since every operator reads every event. Its debug lines are dropped. All
// servers are processes of their own. And the memory of 1,000 streams that are open and silent. Usage:
// bench_events [--ratios] [bulk events]
#include "fixedserver.h"
#include "interleaved.h"
#include "peakmemory.h"
#include "ratios.h"
#include "serverprocess.h"
#include "streamserver.h"

#include <communicator/deviceconnections.h>
#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <simulator/iothreads.h>
#include <simulator/simulator.h>
#include <tessel/cabinetinfooperator.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMap>
#include <QSet>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <thread>
#include <unistd.h>

using Krelm::Communicator::HttpDevice::ConnectionState;
using Krelm::Communicator::HttpDevice::DeviceConnection;
using Krelm::Communicator::HttpDevice::DeviceConnections;
using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::Simulator::IoThreads;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

namespace {

using Ready = std::function<void(const std::string&)>;

constexpr int deviceCount = 200;
constexpr int eventsPerDevice = 10;
constexpr int burstEvents = 10000;
constexpr int rounds = 5;
constexpr int streamCount = 1000;
constexpr int singleEvents = 4000;
constexpr int outageMilliseconds = 5000;
constexpr int watchdogMilliseconds = 60000;

const char unrelatedEvent[] =
    R"({"eventSender":"screen","eventType":"brightnessChange","eventData":{"screenID":1,"brightness":0.8}})";
const char refreshEvent[] = R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{}})";

/// @p count events, as they are on a stream.
std::string chunkOf(int count)
{
    std::string chunk;
    for (int i = 0; i < count; ++i) {
        chunk += "data: " + std::string(unrelatedEvent) + "\n\n";
    }
    return chunk;
}

/// Sends @p events events on @p streams streams, in chunks, as fast as the sockets take them.
StreamScript inBulk(int streams, int events)
{
    constexpr int chunkEvents = 100;
    StreamScript script;
    script.streams = streams;
    script.event = chunkOf(chunkEvents);
    script.times = events / chunkEvents;
    return script;
}

/// Sends single events, on one stream after the other.
StreamScript oneByOne(int streams)
{
    StreamScript script;
    script.streams = streams;
    script.event = chunkOf(1);
    script.times = singleEvents;
    script.pauseMicroseconds = 300;
    return script;
}

StreamScript outage()
{
    StreamScript script;
    script.streams = streamCount;
    script.outageMilliseconds = outageMilliseconds;
    return script;
}

/// Serves simulated devices. Whenever all have an event stream, each pushes @p perDevice events in turn.
void serveFleet(int devices, int perDevice, const char* event, const Ready& ready)
{
    const auto threads = std::make_shared<IoThreads>(1);
    std::vector<std::unique_ptr<Simulator>> fleet;
    std::string addresses;
    for (int i = 0; i < devices; ++i) {
        Options options;
        options.requestLog = 0;
        options.cabinets = 16;
        fleet.push_back(std::make_unique<Simulator>(options, threads));
        if (!fleet.back()->start()) {
            return;
        }
        addresses += fleet.back()->address().toStdString() + ' ';
    }
    std::atomic<bool> stopping{false};
    const auto haveStreams = [&](bool wanted) {
        return std::all_of(fleet.begin(), fleet.end(),
                           [&](const auto& device) { return (device->eventStreams() > 0) == wanted; });
    };
    const auto waitForStreams = [&](bool wanted) {
        while (!stopping && !haveStreams(wanted)) {
            usleep(1000);
        }
    };
    std::thread pusher([&] {
        while (!stopping) {
            waitForStreams(true);
            for (int i = 0; i < perDevice && !stopping; ++i) {
                for (const auto& device : fleet) {
                    device->pushEvent(event);
                }
            }
            waitForStreams(false);
        }
    });
    ready(addresses);
    stopping = true;
    pusher.join();
}

/// Serves an event stream that sends one event and then stays open and silent.
bool beginStream(int connection)
{
    return sendAll(connection, "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\ndata: " +
                                   std::string(unrelatedEvent) + "\n\n");
}

QStringList keysOf(const ServerProcess& server)
{
    QStringList keys = QString::fromStdString(server.address()).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (keys.isEmpty()) {
        std::fprintf(stderr, "bench_events: a server did not start\n");
        std::exit(1);
    }
    return keys;
}

double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// The cost of the events from one opening of the streams, starting with the first event's handler.
struct Run
{
    double seconds = 0;      ///< to the last event's handler
    double cpu = 0;          ///< processor time until then
    double freshSeconds = 0; ///< to the last cache's refresh
};

/// Opens the streams of @p keys, waits for @p events events in all and @p refreshes refreshed caches, and
/// closes the streams.
Run receive(const QStringList& keys, int events, int refreshes)
{
    HttpProxy* const proxy = HttpProxy::getInstance();
    CabinetInfoOperator* const cabinets = CabinetInfoOperator::getInstance();
    QEventLoop loop;
    QElapsedTimer clock;
    Run run;
    int seen = 0;
    int fresh = 0;
    double cpuBefore = 0;
    // Connected after the operator, so it runs after the operator's handler.
    const auto onEvent = QObject::connect(
        proxy, &HttpProxy::deviceAutoReportData, &loop, [&](const QByteArray&, const QString&) {
            if (seen++ == 0) {
                clock.start();
                cpuBefore = processorSeconds();
            }
            if (seen == events) {
                run.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
                run.cpu = processorSeconds() - cpuBefore;
                if (refreshes == 0) {
                    loop.quit();
                }
            }
        });
    const auto onFresh = [&](const QString&) {
        if (++fresh == refreshes) {
            run.freshSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
            loop.quit();
        }
    };
    QObject::connect(cabinets, &CabinetInfoOperator::signal_sendDataChanged, &loop, onFresh);
    QObject::connect(cabinets, &CabinetInfoOperator::signal_rvCardsInfoChanged, &loop, onFresh);
    QTimer::singleShot(watchdogMilliseconds, &loop, [&] {
        std::fprintf(stderr, "bench_events: only %d of %d events and %d of %d refreshes came\n", seen, events,
                     fresh, refreshes);
        std::exit(1);
    });
    for (const QString& key : keys) {
        DeviceEndpoint endpoint;
        endpoint.address = key;
        proxy->addDevice(key, endpoint);
    }
    loop.exec();
    for (const QString& key : keys) {
        proxy->removeDevice(key);
    }
    return run;
}

double measureBulk(const QStringList& keys, int events, const char* title)
{
    std::vector<double> rates;
    std::vector<double> cpu;
    for (int i = 0; i < rounds; ++i) {
        const Run run = receive(keys, events, 0);
        rates.push_back(events / run.seconds);
        cpu.push_back(run.cpu * 1e6 / events);
    }
    std::printf("%s: %.0f events/s (wanted: at least 500000 in bulk), %.2f us CPU each, both threads\n",
                title, median(rates), median(cpu));
    return median(rates);
}

void measureStreams(const QStringList& one, const QStringList& many)
{
    std::vector<double> oneCpu;
    std::vector<double> manyCpu;
    for (int i = 0; i < rounds; ++i) {
        oneCpu.push_back(receive(one, singleEvents, 0).cpu * 1e6 / singleEvents);
        manyCpu.push_back(receive(many, singleEvents, 0).cpu * 1e6 / singleEvents);
    }
    std::printf("single events: %.1f us CPU each with one stream, %.1f with %d: ratio %.2f (wanted: at most "
                "1.5)\n",
                median(oneCpu), median(manyCpu), streamCount, median(manyCpu) / median(oneCpu));
    printRatio("events/streams", median(manyCpu) / median(oneCpu));
}

/// Prints how many streams came back in each tenth of a second after an outage of all of them.
void measureReconnects(const QStringList& keys)
{
    constexpr int binMilliseconds = 100;
    QEventLoop loop;
    QElapsedTimer clock;
    QMap<qint64, int> bins;
    QSet<QString> back;
    const auto onChange = [&](const DeviceConnection& connection) {
        if (connection.state == ConnectionState::Waiting && !clock.isValid()) {
            clock.start();
        }
        if (connection.state == ConnectionState::Live && clock.isValid()) {
            ++bins[clock.elapsed() / binMilliseconds];
            back.insert(connection.deviceKey);
            if (back.size() == keys.size()) {
                loop.quit();
            }
        }
    };
    QObject::connect(DeviceConnections::getInstance(), &DeviceConnections::connectionChanged, &loop,
                     onChange);
    QTimer::singleShot(watchdogMilliseconds, &loop, [&] {
        std::fprintf(stderr, "bench_events: only %d streams came back\n", int(back.size()));
        std::exit(1);
    });
    for (const QString& key : keys) {
        DeviceEndpoint endpoint;
        endpoint.address = key;
        HttpProxy::getInstance()->addDevice(key, endpoint);
    }
    loop.exec();
    for (const QString& key : keys) {
        HttpProxy::getInstance()->removeDevice(key);
    }
    std::printf("%d streams after an outage of %d ms, how many came back in each tenth of a second:\n",
                int(keys.size()), outageMilliseconds);
    int most = 0;
    for (auto bin = bins.cbegin(); bin != bins.cend(); ++bin) {
        std::printf("  %5.1f s %4d %s\n", double(bin.key()) * binMilliseconds / 1000, bin.value(),
                    std::string(static_cast<std::size_t>(bin.value() / 4), '*').c_str());
        most = std::max(most, bin.value());
    }
    printRatio("events/reconnect-peak", double(most) / double(keys.size()));
}

/// Bytes that this process has allocated.
double allocated()
{
    const auto now = mallinfo2();
    return static_cast<double>(now.uordblks + now.hblkhd);
}

/// Adds the devices and returns when each has delivered an event.
void open(const QStringList& keys)
{
    HttpProxy* const proxy = HttpProxy::getInstance();
    QEventLoop loop;
    int waiting = static_cast<int>(keys.size());
    QObject::connect(proxy, &HttpProxy::deviceAutoReportData, &loop, [&] {
        if (--waiting == 0) {
            loop.quit();
        }
    });
    QTimer::singleShot(watchdogMilliseconds, &loop, [&] {
        std::fprintf(stderr, "bench_events: %d of %d streams did not open\n", waiting,
                     static_cast<int>(keys.size()));
        std::exit(1);
    });
    for (const QString& key : keys) {
        DeviceEndpoint endpoint;
        endpoint.address = key;
        proxy->addDevice(key, endpoint);
    }
    loop.exec();
}

/// Measured in a separate process. The first stream is not counted, because it includes one-time costs of the
/// transport.
void measureIdleStreams(int& argc, char** argv, const ServerProcess& server)
{
    const double kibibytes = measuredApart([&] {
        const QCoreApplication app(argc, argv);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        HttpProxy::getInstance()->initialize(true);
        const QStringList keys = keysOf(server);
        open(keys.mid(0, 1));
        const double before = allocated();
        open(keys.mid(1));
        return (allocated() - before) / 1024 / static_cast<double>(keys.size() - 1);
    });
    std::printf("an idle stream of %d: %.1f KiB (wanted: at most 8)\n", streamCount, kibibytes);
    printRatio("events/idle-stream", kibibytes);
}

void measureRefresh(const QStringList& keys, int events, const char* title)
{
    const Run run = receive(keys, events, 2 * events);
    std::printf("%s: all handled after %.0f ms, last of %d refreshes after %.0f ms\n", title,
                run.seconds * 1e3, 2 * events, run.freshSeconds * 1e3);
}

} // namespace

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    const int bulkEvents = argc > 1 ? std::atoi(argv[1]) : 500000;
    const ServerProcess bulk([&](const Ready& ready) { serveStreams(inBulk(1, bulkEvents), ready); });
    const ServerProcess manyBulk(
        [&](const Ready& ready) { serveStreams(inBulk(streamCount, bulkEvents), ready); });
    const ServerProcess tenThousand([](const Ready& ready) { serveStreams(inBulk(1, burstEvents), ready); });
    const ServerProcess single([](const Ready& ready) { serveStreams(oneByOne(1), ready); });
    const ServerProcess many([](const Ready& ready) { serveStreams(oneByOne(streamCount), ready); });
    const ServerProcess failing([](const Ready& ready) { serveStreams(outage(), ready); });
    const ServerProcess burst([](const Ready& ready) { serveFleet(1, burstEvents, refreshEvent, ready); });
    const ServerProcess burstFleet(
        [](const Ready& ready) { serveFleet(deviceCount, eventsPerDevice, refreshEvent, ready); });

    const ServerProcess idle([](const Ready& ready) { serveBy(streamCount, beginStream, ready); });
    measureIdleStreams(argc, argv, idle);

    const QCoreApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    CabinetInfoOperator::getInstance();
    HttpProxy::getInstance()->initialize(true);

    measureBulk(keysOf(tenThousand), burstEvents, "10,000 events on one device");
    const double oneRate = measureBulk(keysOf(bulk), bulkEvents, "bulk on one device");
    const double manyRate = measureBulk(keysOf(manyBulk), bulkEvents, "bulk on 1,000 devices");
    printRatio("events/bulk-streams", manyRate / oneRate);
    measureStreams(keysOf(single), keysOf(many));
    measureReconnects(keysOf(failing));
    measureRefresh(keysOf(burst), burstEvents, "10,000 events on one device, each refreshes two caches");
    measureRefresh(keysOf(burstFleet), deviceCount * eventsPerDevice,
                   "10 on each of 200 devices, each refreshes two caches");
    return 0;
}
