// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/liverun.h"
#include "tesselctl/commands/monitortext.h"
#include "tesselctl/requests/callobserver.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

#include <communicator/httpjsonpackage.h>
#include <tessel/monitorinfo.h>
#include <tessel/warningtypes.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <utility>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Tessel::WarningType;
using UrlResource::MonitorInfo;

namespace {

const char* const footer = R"(
On a terminal, a table that is updated in place; otherwise one line per reading: time, device, fans, temperature,
voltage and the ranges of the values that its parts measured. Warnings that a device pushes appear above the table, with
a bell, or as lines of their own. With --json, one object per line with time, kind (reading or warning), device and data
or payload. SIGINT and SIGTERM end it with exit code 0. With --count, the exit code is that of the first device whose
last reading failed.

Examples:
  tesselctl --device 192.168.0.10 monitor
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 monitor --interval 10
  tesselctl --device wall=192.168.0.10 --json monitor --count 1 | jq .data.temperature)";

struct Options
{
    double interval = 2; ///< seconds between readings
    int count = 0;       ///< readings of each device; 0 is no limit
};

QString warningName(WarningType type)
{
    return QLatin1String(Tessel::warningRow(type).name());
}

/// What a device pushed on its own account.
struct Warning
{
    QString device;
    QString type;
    QVariant payload;

    bool operator==(const Warning& other) const
    {
        return device == other.device && type == other.type && payload == other.payload;
    }
};

/// Reads the devices with a timer and shows what they say: in a table that stays in its place on a
/// terminal, in lines elsewhere.
class Monitor : public QObject
{
public:
    Monitor(LiveRun& run, const Options& options)
        : m_run(run)
        , m_inPlace(!run.asJson() && isTerminal(stdout))
        , m_count(options.count)
    {
        for (const Device& device : run.devices()) {
            m_readings.push_back({device.name, {}, {Failed, QStringLiteral("not read yet")}, 0, nullptr});
        }
        const MonitorInfo* const monitor = MonitorInfo::getInstance();
        connect(monitor, &MonitorInfo::signal_tqWarningReport, this,
                [this](const QString& device, const QVariant& payload, int type) {
                    onWarning({device, warningName(static_cast<WarningType>(type)), payload});
                });
        connect(monitor, &MonitorInfo::signal_tqOutputStateChanged, this,
                [this](const QString& device, const QVariant& payload) {
                    onWarning({device, warningName(WarningType::Output), payload});
                });
        connect(monitor, &MonitorInfo::signal_cabinetWarningReport, this,
                [this](const QString& device, const QVariant& payload) {
                    onWarning({device, warningName(WarningType::Cabinet), payload});
                });
        connect(&m_timer, &QTimer::timeout, this, &Monitor::readAll);
        m_timer.start(static_cast<int>(options.interval * 1000));
        QTimer::singleShot(0, this, &Monitor::readAll);
    }

    /// Reads nothing more and gives up what is under way, untold.
    void end()
    {
        m_ending = true;
        m_timer.stop();
        forgetDevices();
        const auto underWay = [](const Reading& reading) { return reading.underWay != nullptr; };
        while (std::any_of(m_readings.begin(), m_readings.end(), underWay)) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// That of the first device whose latest reading failed.
    ExitCode exitCode() const
    {
        const auto failed = std::find_if(m_readings.begin(), m_readings.end(),
                                         [](const Reading& reading) { return reading.outcome.code != Done; });
        return failed == m_readings.end() ? Done : failed->outcome.code;
    }

private:
    struct Reading
    {
        QString device;
        QVariantMap data; ///< the latest that came
        Outcome outcome;  ///< of the latest attempt
        int attempts = 0;
        std::unique_ptr<CallObserver> underWay; ///< null between the attempts
    };

    void readAll()
    {
        for (Reading& reading : m_readings) {
            const bool enough = m_count > 0 && reading.attempts == m_count;
            if (reading.underWay || enough) {
                continue;
            }
            reading.underWay = std::make_unique<CallObserver>();
            const CallObserver::Scope scope = reading.underWay->collect();
            MonitorInfo::getInstance()->getMonitorData(
                reading.device, [this, &reading](HttpJsonPackage* package) {
                    package->deleteLater();
                    const std::unique_ptr<CallObserver> exchanges = std::move(reading.underWay);
                    if (!m_ending) {
                        onReading(reading, exchanges->outcome(), package->getReceiveData());
                    }
                });
        }
    }

    void onReading(Reading& reading, const Outcome& outcome, const QByteArray& reply)
    {
        ++reading.attempts;
        reading.outcome = outcome;
        if (reading.outcome.code == Done) {
            const Expected<QVariant> envelope = parseJson(reply);
            if (envelope) {
                reading.data = envelope->toMap().value(QStringLiteral("data")).toMap();
            } else {
                reading.outcome = {Failed, QStringLiteral("the reply is not valid JSON: ") +
                                               printable(envelope.error())};
            }
        }
        show(reading);
        const bool all = std::all_of(m_readings.begin(), m_readings.end(),
                                     [this](const Reading& one) { return one.attempts == m_count; });
        if (m_count > 0 && all) {
            m_timer.stop();
            LiveRun::stop();
        }
    }

    void show(const Reading& reading)
    {
        const bool failed = reading.outcome.code != Done;
        if (m_inPlace) {
            repaint({});
        } else if (m_run.asJson()) {
            printJson(QStringLiteral("reading"), reading.device,
                      {{QStringLiteral("data"), failed ? QVariant() : QVariant(reading.data)},
                       {QStringLiteral("error"), failed ? reading.outcome.error : QVariant()}});
        } else if (failed) {
            m_run.error(QStringLiteral("%1: %2").arg(printable(reading.device), reading.outcome.error));
        } else {
            const QStringList columns = monitorColumns();
            const QStringList cells = monitorCells(reading.data);
            QStringList words{now(), printable(reading.device)};
            for (int i = 0; i < columns.size(); ++i) {
                words << columns[i] + QLatin1Char(' ') + cells[i];
            }
            m_run.print(words.join(QStringLiteral("  ")) + QLatin1Char('\n'));
        }
    }

    // A warning is signalled twice, one right after the other; it is shown once, when both have come.
    void onWarning(const Warning& warning)
    {
        if (m_warnings.contains(warning)) {
            return;
        }
        m_warnings << warning;
        if (m_warnings.size() == 1) {
            QTimer::singleShot(0, this, &Monitor::showWarnings);
        }
    }

    void showWarnings()
    {
        QStringList lines;
        for (const Warning& warning : std::exchange(m_warnings, {})) {
            if (m_run.asJson()) {
                printJson(
                    QStringLiteral("warning"), warning.device,
                    {{QStringLiteral("type"), warning.type}, {QStringLiteral("payload"), warning.payload}});
                continue;
            }
            lines << QStringLiteral("%1  %2  warning %3: %4")
                         .arg(now(), printable(warning.device), warning.type, formatInline(warning.payload));
        }
        if (m_inPlace) {
            m_run.print(QStringLiteral("\a"));
            repaint(lines);
        } else if (!lines.isEmpty()) {
            m_run.print(lines.join(QLatin1Char('\n')) + QLatin1Char('\n'));
        }
    }

    void repaint(const QStringList& above)
    {
        QList<QStringList> rows{QStringList{QStringLiteral("device")} + monitorColumns()};
        QStringList errors;
        for (const Reading& reading : m_readings) {
            const QString device = printable(reading.device);
            rows << QStringList{device} + monitorCells(reading.data);
            if (reading.outcome.code != Done) {
                errors << device + QStringLiteral(": ") + reading.outcome.error;
            }
        }
        QStringList lines = aligned(rows).split(QLatin1Char('\n'), Qt::SkipEmptyParts) + errors;
        lines << QStringLiteral("as of ") + now() + QStringLiteral("; press Ctrl-C to stop");
        m_run.print(repainted(m_painted, above, lines, terminalColumns(stdout)));
        m_painted = lines.size();
    }

    void printJson(const QString& kind, const QString& device, QVariantMap line)
    {
        line.insert(QStringLiteral("kind"), kind);
        line.insert(QStringLiteral("device"), device);
        m_run.printJson(line);
    }

    static QString now()
    {
        return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    }

    LiveRun& m_run;
    const bool m_inPlace;
    const int m_count;
    QTimer m_timer;
    std::vector<Reading> m_readings; // as many as there are from the start: callbacks refer to them
    QList<Warning> m_warnings;       // signalled and not yet shown
    bool m_ending = false;
    int m_painted = 0; // lines of the table on the terminal
};

ExitCode runMonitor(const Settings& settings, const Options& options, Console& console)
{
    LiveRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    Monitor monitor(run, options);
    if (!run.run()) {
        return Usage;
    }
    monitor.end();
    return run.interruption().happened() ? Done : monitor.exitCode();
}

} // namespace

void addMonitor(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser monitor =
        parser.addCommand("monitor", QStringLiteral("show fans, temperatures, voltages and warnings, live"));
    monitor.add("--interval", options->interval, QStringLiteral("time between readings"))
        .between(0.1, 86400.0)
        .placeholder("SECONDS")
        .showDefault();
    monitor.add("--count", options->count, QStringLiteral("stop after N readings of each device"))
        .positive()
        .placeholder("N");
    monitor.setFooter(QString::fromUtf8(footer));
    monitor.setRun([options](const Settings& settings, Console& console) {
        return runMonitor(settings, *options, console);
    });
}

} // namespace TesselCtl
