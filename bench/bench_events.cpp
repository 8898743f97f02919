// SPDX-License-Identifier: MIT
//
// Pushed events from the socket to an operator's handler: in bulk from a server that writes as fast as the
// socket takes it, one by one with one stream and with 200 streams open, and with the refresh of the caches
// that each event triggers. Only CabinetInfoOperator listens, since every operator reads every event. Its
// debug lines are dropped. All servers are processes of their own. And the memory of 1,000 streams that are
// open and silent. Usage: bench_events [--ratios] [bulk events]
#include "fixedserver.h"
#include "interleaved.h"
#include "peakmemory.h"
#include "ratios.h"
#include "serverprocess.h"

#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <simulator/iothreads.h>
#include <simulator/simulator.h>
#include <tessel/cabinetinfooperator.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

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
constexpr int idleStreams = 1000;
constexpr int watchdogMilliseconds = 60000;

const char unrelatedEvent[] =
    R"({"eventSender":"screen","eventType":"brightnessChange","eventData":{"screenID":1,"brightness":0.8}})";
const char refreshEvent[] = R"({"eventSender":"cabinet","eventType":"cabinetsChange","eventData":{}})";

/// Serves event streams one after another; each receives @p count events and then stays open.
void serveBulk(int count, const Ready& ready)
{
    constexpr int chunkBytes = 1000;
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener, 16) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return;
    }

    std::string chunk;
    for (int i = 0; i < chunkBytes; ++i) {
        chunk += "data: " + std::string(unrelatedEvent) + "\n\n";
    }
    std::thread([listener, chunk, count] {
        while (const int peer = accept(listener, nullptr, nullptr)) {
            char request[65536];
            bool open = recv(peer, request, sizeof request, 0) > 0 &&
                        sendAll(peer, "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");
            for (int sent = 0; open && sent < count; sent += chunkBytes) {
                open = sendAll(peer, chunk);
            }
            while (open && recv(peer, request, sizeof request, 0) > 0) {
            }
            close(peer);
        }
    }).detach();
    ready("127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
}

/// Serves simulated devices. Whenever all have an event stream, each pushes @p perDevice events in turn, with
/// a pause of @p microseconds after each, or none if that is 0.
void serveFleet(int devices, int perDevice, const char* event, int microseconds, const Ready& ready)
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
                    if (microseconds > 0) {
                        usleep(static_cast<useconds_t>(microseconds));
                    }
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

void measureBulk(const QStringList& keys, int events, const char* title)
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
}

void measureStreams(const QStringList& one, const QStringList& many)
{
    constexpr int eventCount = deviceCount * eventsPerDevice;
    std::vector<double> oneCpu;
    std::vector<double> manyCpu;
    for (int i = 0; i < rounds; ++i) {
        oneCpu.push_back(receive(one, eventCount, 0).cpu * 1e6 / eventCount);
        manyCpu.push_back(receive(many, eventCount, 0).cpu * 1e6 / eventCount);
    }
    std::printf("single events: %.1f us CPU each with one stream, %.1f with %d: ratio %.2f (wanted: at most "
                "1.5)\n",
                median(oneCpu), median(manyCpu), deviceCount, median(manyCpu) / median(oneCpu));
    printRatio("events/streams", median(manyCpu) / median(oneCpu));
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
    std::printf("an idle stream of %d: %.1f KiB (wanted: at most 8)\n", idleStreams, kibibytes);
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
    constexpr int pauseTime = 300;
    const ServerProcess bulk([&](const Ready& ready) { serveBulk(bulkEvents, ready); });
    const ServerProcess tenThousand([](const Ready& ready) { serveBulk(burstEvents, ready); });
    const ServerProcess single([](const Ready& ready) {
        serveFleet(1, deviceCount * eventsPerDevice, unrelatedEvent, pauseTime, ready);
    });
    const ServerProcess fleet([](const Ready& ready) {
        serveFleet(deviceCount, eventsPerDevice, unrelatedEvent, pauseTime, ready);
    });
    const ServerProcess burst([](const Ready& ready) { serveFleet(1, burstEvents, refreshEvent, 0, ready); });
    const ServerProcess burstFleet(
        [](const Ready& ready) { serveFleet(deviceCount, eventsPerDevice, refreshEvent, 0, ready); });

    const ServerProcess idle([](const Ready& ready) { serveBy(idleStreams, beginStream, ready); });
    measureIdleStreams(argc, argv, idle);

    const QCoreApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    CabinetInfoOperator::getInstance();
    HttpProxy::getInstance()->initialize(true);

    measureBulk(keysOf(tenThousand), burstEvents, "10,000 events on one device");
    measureBulk(keysOf(bulk), bulkEvents, "bulk on one device");
    measureStreams(keysOf(single), keysOf(fleet));
    measureRefresh(keysOf(burst), burstEvents, "10,000 events on one device, each refreshes two caches");
    measureRefresh(keysOf(burstFleet), deviceCount * eventsPerDevice,
                   "10 on each of 200 devices, each refreshes two caches");
    return 0;
}
