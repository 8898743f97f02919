// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/deviceentries.h"
#include "tesselctl/commands/liverun.h"
#include "tesselctl/requests/connections.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

#include <QDateTime>
#include <QLoggingCategory>

#include <algorithm>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Opens the event stream of each device and prints a table: the state, since when, the time of the next attempt, and why
the stream is not live. The states are connecting, live, waiting, refused, gone and stopped. The command ends when the
first attempt has ended for each device. The exit code is that of the first device that is not live: 3 without a
connection, 5 if the device refuses.

With --follow it prints a line per change instead, until SIGINT or SIGTERM ends it with exit code 0. With --json, the
output is an array of objects with device, state, reason, since and nextAttempt; with --follow, one object per line.

Examples:
  tesselctl --device 192.168.0.10 devices
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 devices --follow
  tesselctl --device wall=192.168.0.10 --json devices | jq .[].state)";

struct Options
{
    bool follow = false;
    int seconds = 0; ///< 0: no limit
};

/// Prints the changes, or waits for the first attempts.
class Connections : public QObject
{
public:
    Connections(LiveRun& run, bool follow)
        : m_run(run)
        , m_follow(follow)
    {
        connect(DeviceConnections::getInstance(), &DeviceConnections::connectionChanged, this,
                &Connections::onChange);
    }

    void printTable()
    {
        QVariantList json;
        QList<QStringList> rows{connectionColumns()};
        for (const Device& device : m_run.devices()) {
            const DeviceConnection connection = DeviceConnections::getInstance()->connection(device.name);
            rows << connectionCells(connection);
            json << withDevice(connection);
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
};

ExitCode runDevices(Settings settings, const Options& options, Console& console)
{
    if (settings.devices.devices.isEmpty()) {
        settings.devices.devices << QStringLiteral("*");
    }
    LiveRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ntessel.*=false"));
    Connections connections(run, options.follow);
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
