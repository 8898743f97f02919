// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/latencies.h"
#include "tesselctl/commands/wall.h"

#include <tessel/allurlresource.h>

#include <QElapsedTimer>

#include <chrono>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Measures how long a device takes to answer reads: --count of them, one after the other and at most --rate in a second,
so that a wall in use is not disturbed. It reads what the device is; --route reads the path of another route, which
"tesselctl routes" lists. Nothing is ever written. Times are in milliseconds and include the transport of this program.

Examples:
  tesselctl --device 192.168.0.10 bench
  tesselctl --device @stage bench --count 500 --rate 50 --output json)";

struct Options
{
    int count = 100;
    double rate = 20; ///< reads in a second, at most
    QString route = QStringLiteral("Device_Hwinfo");
};

/// Reads as often as wanted, or until a signal comes or the device is lost.
Latencies measure(Wall& wall, const QString& path, const Options& options, const DeviceRun& run)
{
    Latencies latencies;
    const std::chrono::duration<double> interval(1 / options.rate);
    for (int i = 0; i < options.count && wall.outcome().code == Done && !run.interruption().happened(); ++i) {
        QElapsedTimer clock;
        clock.start();
        const bool answered = static_cast<bool>(wall.read(path));
        const double milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        if (answered) {
            latencies.add(milliseconds);
        } else {
            latencies.addError();
        }
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(interval) -
                          std::chrono::milliseconds(clock.elapsed());
        if (i + 1 < options.count && rest.count() > 0) {
            run.interruption().pause(rest);
        }
    }
    return latencies;
}

QString textOf(const QVariantMap& figures)
{
    QString text;
    for (const char* name : {"min", "p50", "p90", "p99", "max"}) {
        text +=
            QStringLiteral("  %1 %2").arg(QLatin1String(name), figures.value(QLatin1String(name)).toString());
    }
    return QStringLiteral(": %1 reads, %2 errors; ms%3\n")
        .arg(figures.value(QStringLiteral("requests")).toInt())
        .arg(figures.value(QStringLiteral("errors")).toInt())
        .arg(text);
}

ExitCode runBench(const Settings& settings, const Options& options, Console& console)
{
    const QString path = AllUrlResource::getInstance()->getMapAllUrl().value(options.route);
    if (path.isEmpty() || path.contains(QLatin1Char('{'))) {
        console.error(QStringLiteral("\"%1\" is not a route without placeholders; see tesselctl routes")
                          .arg(options.route));
        return Usage;
    }
    DeviceRun run(settings, console);
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            Wall wall(device, settings);
            const Latencies latencies = measure(wall, path, options, run);
            const QVariantMap figures = latencies.toObject();
            // What was measured before a failure counts.
            const bool isMeasured = figures.value(QStringLiteral("requests")).toInt() > 0;
            const Outcome outcome = isMeasured && !run.interruption().happened() ? Outcome() : wall.outcome();
            return {run.interruption().happened() ? Outcome{Failed, {}} : outcome, figures,
                    textOf(figures) + latencies.histogram()};
        },
        DeviceRun::Kind());
}

} // namespace

void addBench(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser bench =
        parser.addCommand("bench", QStringLiteral("measure how long devices take to answer reads"));
    bench.add("--count", options->count, QStringLiteral("how many reads"))
        .between(1, 10'000)
        .placeholder("N")
        .showDefault();
    bench.add("--rate", options->rate, QStringLiteral("at most so many in a second"))
        .between(0.1, 1000.0)
        .placeholder("N")
        .showDefault();
    bench.add("--route", options->route, QStringLiteral("the route to read"))
        .placeholder("KEY")
        .showDefault();
    bench.setFooter(QString::fromUtf8(footer));
    bench.setRun([options](const Settings& settings, Console& console) {
        return runBench(settings, *options, console);
    });
}

} // namespace TesselCtl
