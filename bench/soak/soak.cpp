// SPDX-License-Identifier: MIT
//
// Works with a fleet of simulated devices for as long as wanted, as an application would: from several
// threads, blocking and not, while values change on the devices and the devices misbehave. At each checkpoint
// calls and misbehaviour stop, and once all is quiet every cache has to equal its device, and memory,
// descriptors and threads must not have grown since the warm-up, which is the first quarter.
#include "caches.h"
#include "calls.h"
#include "footprint.h"

#include <communicator/deviceconnections.h>
#include <communicator/httpproxy.h>
#include <communicator/requestlimits.h>
#include <simulator/iothreads.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using Tessel::Simulator::IoThreads;

namespace {

struct Settings
{
    double minutes = 10;
    int devices = 50;
    quint32 seed = 1;
    double checkpoint = 30; ///< seconds between two
    int patience = 120;     ///< seconds until all must be quiet and every cache right
    QString broken;         ///< what is broken on purpose after the warm-up
};

/// Runs the event loop until @p reached, which is asked every few milliseconds. @return whether it was in
/// time.
bool waitUntil(const std::function<bool()>& reached, int seconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!reached()) {
        if (clock.elapsed() > qint64(seconds) * 1000) {
            return false;
        }
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

class Soak
{
public:
    explicit Soak(const Settings& settings)
        : m_settings(settings)
        , m_random(settings.seed)
    {}

    /// @return the exit code.
    int run()
    {
        std::setvbuf(stdout, nullptr, _IOLBF, 0);
        if (!m_folder.isValid() || !startFleet()) {
            std::fprintf(stderr, "soak: the devices could not be started\n");
            return 2;
        }
        m_callers = std::make_unique<BlockingCallers>(m_fleet, m_settings.seed, m_folder.path());
        QTimer steps;
        QObject::connect(&steps, &QTimer::timeout, [this] { step(); });

        const int count = std::max(3, int(m_settings.minutes * 60 / m_settings.checkpoint));
        const int warmUp = std::max(2, count / 4);
        QElapsedTimer clock;
        clock.start();
        QStringList faults;
        for (int number = 1; number <= count && faults.isEmpty(); ++number) {
            steps.start(stepMilliseconds);
            m_callers->resume();
            QEventLoop work;
            QTimer::singleShot(int(m_settings.checkpoint * 1000), &work, &QEventLoop::quit);
            work.exec();
            steps.stop();
            m_callers->pause();
            faults = checkpoint(number, number <= warmUp, clock.elapsed());
            if (number == warmUp) {
                breakOnPurpose();
            }
        }
        m_callers.reset();
        faults << removeFleet();
        for (const QString& fault : faults) {
            std::printf("FAULT %s\n", qPrintable(fault));
        }
        std::printf(
            "%s after %.1f minutes: %d devices, %llu exchanges that succeeded, %llu that failed, %llu "
            "faults, %llu changes, %llu events, %llu times all read anew\n",
            faults.isEmpty() ? "sound" : "FAILED", double(clock.elapsed()) / 60000, int(m_fleet.size()),
            static_cast<unsigned long long>(m_traffic.succeeded()),
            static_cast<unsigned long long>(m_traffic.failed()), static_cast<unsigned long long>(m_faults),
            static_cast<unsigned long long>(m_changes), static_cast<unsigned long long>(m_events),
            static_cast<unsigned long long>(m_missed));
        return faults.isEmpty() ? 0 : 1;
    }

private:
    static constexpr int stepMilliseconds = 10;

    bool startFleet()
    {
        HttpProxy* const proxy = HttpProxy::getInstance();
        RequestLimits limits;
        limits.repeatReads = true;
        setRequestLimits(limits);
        QObject::connect(proxy, &HttpProxy::deviceAutoReportData, [this] { ++m_events; });
        QObject::connect(DeviceConnections::getInstance(), &DeviceConnections::eventsMissed,
                         [this] { ++m_missed; });
        const auto threads = std::make_shared<IoThreads>(1);
        m_atStart = footprint();
        for (int i = 0; i < m_settings.devices; ++i) {
            m_fleet.push_back(std::make_unique<SoakDevice>(i, threads));
            SoakDevice& device = *m_fleet.back();
            if (!device.start() || !proxy->addDevice(device.key, device.endpoint()) || !fillCaches(device)) {
                return false;
            }
        }
        proxy->initialize(true);
        return waitUntil([] { return allAreLive(); }, m_settings.patience);
    }

    static bool allAreLive()
    {
        const auto connections = DeviceConnections::getInstance()->connections();
        return !connections.isEmpty() &&
               std::all_of(connections.begin(), connections.end(), [](const DeviceConnection& connection) {
                   return connection.state == ConnectionState::Live;
               });
    }

    SoakDevice& anyDevice()
    {
        return *m_fleet[static_cast<std::size_t>(m_random.bounded(int(m_fleet.size())))];
    }

    // What happens in a hundredth of a second: a call, and now and then a change or a fault.
    void step()
    {
        callWithoutWaiting(anyDevice(), m_random);
        if (m_random.bounded(4) == 0) {
            anyDevice().changeByItself(m_random);
            ++m_changes;
        }
        // Each device misbehaves every five seconds.
        if (m_random.bounded(5000 / stepMilliseconds) < int(m_fleet.size())) {
            anyDevice().misbehave(m_random);
            ++m_faults;
        }
        if (m_random.bounded(10) == 0) {
            for (const auto& device : m_fleet) {
                device->advance();
            }
        }
    }

    QStringList checkpoint(int number, bool isWarmUp, qint64 elapsed)
    {
        // The last change of a value is followed by a fault, so that nothing later makes up for what is lost.
        for (const auto& device : m_fleet) {
            for (int i = 0; i < 3; ++i) {
                device->changeByItself(m_random);
            }
            device->misbehave(m_random);
        }
        m_changes += 3 * m_fleet.size();
        m_faults += m_fleet.size();
        waitUntil([] { return false; }, 1);
        for (const auto& device : m_fleet) {
            device->behave();
        }
        QElapsedTimer clock;
        clock.start();
        QStringList faults;
        if (!waitUntil([this] { return m_callers->isQuiet() && m_traffic.isQuiet() && allAreLive(); },
                       m_settings.patience)) {
            faults << whatIsNotQuiet();
        }
        // What was reported of the devices last is still being read.
        QStringList stale;
        waitUntil(
            [&] {
                stale = m_traffic.isQuiet() ? allStaleCaches() : QStringList{QString()};
                return stale.isEmpty();
            },
            m_settings.patience);
        for (const QString& name : allStaleCaches()) {
            faults << QStringLiteral("a cache differs from its device, %1").arg(name);
        }
        if (m_callers->unexplained() > 0) {
            faults
                << QStringLiteral("%1 calls returned false without a reason").arg(m_callers->unexplained());
        }
        const double settled = double(clock.elapsed()) / 1000;

        const Footprint now = judge(isWarmUp, faults);
        std::printf(
            "checkpoint %d%s  %.0f s  quiet after %.1f s  exchanges %llu + %llu failed  faults %llu  "
            "resident %.1f MiB  allocated %.1f MiB  sockets %d  other descriptors %d  threads %d  %s\n",
            number, isWarmUp ? " (warm-up)" : "", double(elapsed) / 1000, settled,
            static_cast<unsigned long long>(m_traffic.succeeded()),
            static_cast<unsigned long long>(m_traffic.failed()), static_cast<unsigned long long>(m_faults),
            now.resident, now.allocated, now.sockets, now.otherDescriptors, now.threads,
            faults.isEmpty() ? "ok" : "FAULT");
        return faults;
    }

    Footprint judge(bool isWarmUp, QStringList& faults)
    {
        Footprint now = footprint();
        if (isWarmUp) {
            m_warm = greatestOf(m_warm, now);
            return now;
        }
        const Allowance allowance(int(m_fleet.size()), callerThreads + 1);
        QStringList grown;
        // A thread that has renewed a token needs a moment to end.
        waitUntil(
            [&] {
                now = footprint();
                grown = growth(m_warm, now, allowance);
                return grown.isEmpty();
            },
            5);
        faults << grown;
        return now;
    }

    // Without devices nothing of them is left: no connection, whatever was kept idle, and no thread.
    QStringList removeFleet()
    {
        for (const auto& device : m_fleet) {
            HttpProxy::getInstance()->removeDevice(device->key);
        }
        int left = 0;
        const bool isClosed = waitUntil(
            [&] {
                left = footprint().sockets - m_atStart.sockets - int(m_fleet.size());
                return left <= 0;
            },
            10);
        return isClosed ? QStringList()
                        : QStringList{
                              QStringLiteral("%1 sockets are open after all devices were removed").arg(left)};
    }

    QString whatIsNotQuiet()
    {
        QStringList open;
        if (!m_callers->isQuiet()) {
            open << QStringLiteral("a blocking call has not returned");
        }
        if (!m_traffic.isQuiet()) {
            open << QStringLiteral("an exchange has not finished");
        }
        for (const DeviceConnection& connection : DeviceConnections::getInstance()->connections()) {
            if (connection.state != ConnectionState::Live) {
                open << QStringLiteral("%1 is %2: %3")
                            .arg(connection.deviceKey, connectionStateName(connection.state),
                                 connection.reason);
            }
        }
        return QStringLiteral("not quiet after %1 s: %2").arg(m_settings.patience).arg(open.join(", "));
    }

    QStringList allStaleCaches() const
    {
        QStringList stale;
        for (const auto& device : m_fleet) {
            stale << staleCaches(*device);
        }
        return stale;
    }

    void breakOnPurpose()
    {
        const QStringList broken = m_settings.broken.split(QLatin1Char(','), Qt::SkipEmptyParts);
        if (broken.contains("cache")) {
            deafenACache();
        }
        if (broken.contains("descriptors")) {
            for (int i = 0; i < 100; ++i) {
                open("/dev/null", O_RDONLY | O_CLOEXEC);
            }
        }
        if (broken.contains("threads")) {
            std::thread([] {
                for (;;) {
                    std::this_thread::sleep_for(std::chrono::hours(1));
                }
            }).detach();
        }
        if (broken.contains("memory")) {
            m_leak.assign(std::size_t(256) << 20, 'x');
        }
    }

    const Settings m_settings;
    QRandomGenerator m_random;
    QTemporaryDir m_folder;
    Traffic m_traffic;
    Fleet m_fleet;
    std::unique_ptr<BlockingCallers> m_callers;
    Footprint m_atStart;
    Footprint m_warm;
    std::vector<char> m_leak;
    quint64 m_faults = 0;
    quint64 m_changes = 0;
    quint64 m_events = 0;
    quint64 m_missed = 0;
};

Settings settingsOf(const QCoreApplication& app)
{
    Settings settings;
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Works with simulated devices that misbehave, and fails when a cache differs from its device or "
        "memory, descriptors or threads grow. Exit code: 0 sound, 1 a fault, 2 not started."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("minutes"), QStringLiteral("how long; 10 if omitted"), QStringLiteral("number")},
        {QStringLiteral("devices"), QStringLiteral("how many; 50 if omitted"), QStringLiteral("number")},
        {QStringLiteral("seed"), QStringLiteral("of what happens; 1 if omitted"), QStringLiteral("number")},
        {QStringLiteral("checkpoint"), QStringLiteral("seconds of work between two; 30 if omitted"),
         QStringLiteral("seconds")},
        {QStringLiteral("patience"),
         QStringLiteral("how long all may take to be quiet and right; 120 if omitted"),
         QStringLiteral("seconds")},
        {QStringLiteral("break"),
         QStringLiteral("what is broken on purpose after the warm-up, to see it noticed: cache, memory, "
                        "descriptors or threads, or several with commas"),
         QStringLiteral("what")},
    });
    parser.process(app);
    bool isValid = parser.positionalArguments().isEmpty();
    const auto number = [&](const char* name, double value, double least, double most) {
        if (parser.isSet(QLatin1String(name))) {
            bool isNumber = false;
            value = parser.value(QLatin1String(name)).toDouble(&isNumber);
            isValid = isValid && isNumber && value >= least && value <= most;
        }
        return value;
    };
    settings.minutes = number("minutes", settings.minutes, 0, 1e6);
    settings.devices = int(number("devices", settings.devices, 1, 1000));
    settings.seed = quint32(number("seed", settings.seed, 0, 4e9));
    settings.checkpoint = number("checkpoint", settings.checkpoint, 0.1, 1e5);
    settings.patience = int(number("patience", settings.patience, 1, 1e5));
    settings.broken = parser.value(QStringLiteral("break"));
    for (const QString& what : settings.broken.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        isValid = isValid && QStringList{"cache", "memory", "descriptors", "threads"}.contains(what);
    }
    if (!isValid) {
        std::fprintf(stderr, "soak: an argument is not valid; see soak --help\n");
        std::exit(2);
    }
    return settings;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    const Settings settings = settingsOf(app);
    // Faults are expected, and so are warnings of them.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtFatalMsg) {
            std::fprintf(stderr, "%s\n", qPrintable(text));
        }
    });
    return Soak(settings).run();
}
