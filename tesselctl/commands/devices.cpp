// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/deviceentries.h"
#include "tesselctl/commands/liverun.h"
#include "tesselctl/commands/wall.h"
#include "tesselctl/requests/connections.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

#include <QDateTime>
#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Opens the event stream of each device and prints a table: the state, what the device is as far as it can be read, since
when the state is, the time of the next attempt, and why the stream is not live. Without --device, these are all devices
of the devices file. The states are connecting, live, waiting, refused, gone and stopped. The command ends when the
first attempt has ended for each device. The exit code is that of the first device that is not live: 3 without a
connection, 5 if the device refuses.

With --follow it prints a line per change instead, until SIGINT or SIGTERM ends it with exit code 0. With --json, the
output is an array of objects with device, state, model, version, protocol, screens, cabinets, reason, since and
nextAttempt; with --follow, one object per line.

Examples:
  tesselctl --device 192.168.0.10 devices
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 devices --follow
  tesselctl --device wall=192.168.0.10 --json devices | jq .[].state)";

struct Options
{
    bool follow = false;
    int seconds = 0; ///< 0: no limit
};

// A device that stalls is shown without what it is.
constexpr double detailTimeout = 5;

QStringList detailNames()
{
    return {QStringLiteral("model"), QStringLiteral("version"), QStringLiteral("protocol"),
            QStringLiteral("screens"), QStringLiteral("cabinets")};
}

/// What each device is, as far as it can be read.
QMap<QString, QVariantMap> readDetails(DeviceRun& run, const Settings& settings)
{
    DeviceRun::Kind kind;
    kind.isApart = true;
    QMap<QString, QVariantMap> details;
    run.collect(
        [&settings](const QString& device) -> DeviceRun::Result {
            Wall wall(device, settings);
            const QVariantMap info = deviceInfo(wall);
            return {wall.outcome(), info, {}};
        },
        kind,
        [&details](const QString& device, const DeviceRun::Result& result) {
            if (result.outcome.code == Done && result.value) {
                details.insert(device, result.value->toMap());
            }
        });
    return details;
}

/// Prints the changes, or waits for the first attempts.
class Connections : public QObject
{
public:
    Connections(LiveRun& run, bool follow, QMap<QString, QVariantMap> details)
        : m_run(run)
        , m_follow(follow)
        , m_details(std::move(details))
    {
        connect(DeviceConnections::getInstance(), &DeviceConnections::connectionChanged, this,
                &Connections::onChange);
    }

    void printTable()
    {
        QVariantList json;
        QList<QStringList> rows{withDetails(connectionColumns(), detailNames())};
        for (const Device& device : m_run.devices()) {
            const DeviceConnection connection = DeviceConnections::getInstance()->connection(device.name);
            const QVariantMap details = m_details.value(device.name);
            QStringList cells;
            QVariantMap object = withDevice(connection);
            for (const QString& name : detailNames()) {
                const QVariant value = details.value(name);
                cells << (value.isValid() ? formatInline(value) : QStringLiteral("-"));
                object.insert(name, value);
            }
            rows << withDetails(connectionCells(connection), cells);
            json << object;
        }
        if (m_run.asJson()) {
            m_run.printList(json);
        } else {
            m_run.print(aligned(rows, tableWidth()));
        }
    }

    ExitCode exitCode() const
    {
        for (const Device& device : m_run.devices()) {
            const ExitCode code = exitCodeOf(DeviceConnections::getInstance()->connection(device.name));
            if (code != Done) {
                return code;
            }
        }
        return Done;
    }

private:
    /// @p cells of a connection with those that tell what the device is behind its state.
    static QStringList withDetails(const QStringList& cells, const QStringList& details)
    {
        return cells.mid(0, 2) + details + cells.mid(2);
    }

    static QVariantMap withDevice(const DeviceConnection& connection)
    {
        QVariantMap object = connectionJson(connection);
        object.insert(QStringLiteral("device"), connection.deviceKey);
        return object;
    }

    void onChange(const DeviceConnection& connection)
    {
        if (m_follow) {
            printChange(connection);
            return;
        }
        const std::vector<Device>& devices = m_run.devices();
        const bool allSettled = std::all_of(devices.begin(), devices.end(), [](const Device& device) {
            const DeviceConnection now = DeviceConnections::getInstance()->connection(device.name);
            return now.since.isValid() && isSettled(now);
        });
        if (allSettled) {
            LiveRun::stop();
        }
    }

    void printChange(const DeviceConnection& connection)
    {
        if (m_run.asJson()) {
            m_run.printJson(withDevice(connection));
        } else {
            m_run.print(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")) +
                        QStringLiteral("  ") + printable(connection.deviceKey) + QStringLiteral("  ") +
                        connectionText(connection) + QLatin1Char('\n'));
        }
    }

    LiveRun& m_run;
    const bool m_follow;
    const QMap<QString, QVariantMap> m_details; ///< of the devices that could be read
};

ExitCode runDevices(Settings settings, const Options& options, Console& console)
{
    if (settings.devices.devices.isEmpty()) {
        settings.devices.devices << QStringLiteral("*");
    }
    Settings reading = settings;
    reading.timeout = settings.timeout > 0 ? settings.timeout : detailTimeout;
    DeviceRun reader(reading, console);
    if (reader.devices().empty()) {
        return Usage;
    }
    const QMap<QString, QVariantMap> details =
        options.follow ? QMap<QString, QVariantMap>() : readDetails(reader, reading);
    LiveRun run(settings, console, reader.devices());
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ntessel.*=false"));
    Connections connections(run, options.follow, details);
    if (!run.run(options.seconds)) {
        return Usage;
    }
    if (options.follow) {
        return Done;
    }
    connections.printTable();
    return connections.exitCode();
}

} // namespace

void addDevices(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser devices = parser.addCommand(
        "devices", QStringLiteral("show whether the event streams of the devices are connected"));
    devices.addFlag("--follow", options->follow, QStringLiteral("print each change until interrupted"));
    devices.add("--seconds", options->seconds, QStringLiteral("stop after N seconds"))
        .between(1, 1'000'000)
        .placeholder("N");
    devices.setFooter(QString::fromUtf8(footer));
    devices.setRun([options](const Settings& settings, Console& console) {
        return runDevices(settings, *options, console);
    });
    addDeviceAdd(devices);
    addDeviceRemove(devices);
    addDeviceCheck(devices);
    addDeviceNames(devices);
}

} // namespace TesselCtl
