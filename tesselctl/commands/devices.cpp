// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/requests/connections.h"
#include "tesselctl/terminal/interruption.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <tessel/devicemanager.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QLoggingCategory>
#include <QTimer>

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
    Connections(const Settings& settings, const Options& options, const std::vector<Device>& devices,
                Console& console)
        : m_json(settings.json)
        , m_follow(options.follow)
        , m_devices(devices)
        , m_console(console)
    {
        connect(DeviceConnections::getInstance(), &DeviceConnections::connectionChanged, this,
                &Connections::onChange);
    }

    void printTable() const
    {
        QVariantList json;
        QList<QStringList> rows{connectionColumns()};
        for (const Device& device : m_devices) {
            const DeviceConnection connection = DeviceConnections::getInstance()->connection(device.name);
            rows << connectionCells(connection);
            json << withDevice(connection);
        }
        m_console.out(m_json ? QString::fromUtf8(toJson(json, true)) + QLatin1Char('\n') : aligned(rows));
    }

    ExitCode exitCode() const
    {
        for (const Device& device : m_devices) {
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
        const bool allSettled = std::all_of(m_devices.begin(), m_devices.end(), [](const Device& device) {
            const DeviceConnection now = DeviceConnections::getInstance()->connection(device.name);
            return now.since.isValid() && isSettled(now);
        });
        if (allSettled) {
            QCoreApplication::quit();
        }
    }

    void printChange(const DeviceConnection& connection)
    {
        const QDateTime now = QDateTime::currentDateTime();
        if (m_json) {
            QVariantMap line = withDevice(connection);
            line.insert(QStringLiteral("time"), now.toUTC().toString(Qt::ISODateWithMs));
            m_console.out(QString::fromUtf8(toJson(line, false)) + QLatin1Char('\n'));
        } else {
            m_console.out(now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")) + QStringLiteral("  ") +
                          printable(connection.deviceKey) + QStringLiteral("  ") +
                          connectionText(connection) + QLatin1Char('\n'));
        }
        if (m_console.dataLost()) {
            QCoreApplication::quit();
        }
    }

    const bool m_json;
    const bool m_follow;
    const std::vector<Device>& m_devices;
    Console& m_console;
};

ExitCode runDevices(const Settings& settings, const Options& options, Console& console)
{
    const Expected<std::vector<Device>> devices = readDevices(settings.devices);
    if (!devices) {
        console.error(devices.error());
        return Usage;
    }
    const Interruption interruption(
        Interruption::inEventLoopOf(QCoreApplication::instance(), &QCoreApplication::quit));
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ntessel.*=false"));
    const auto trace = traceExchanges(settings.trace, console);
    const Connections connections(settings, options, *devices, console);
    DeviceManager::getInstance()->initManager();
    if (const Expected<void> added = addDevices(*devices); !added) {
        console.error(added.error());
        return Usage;
    }
    if (options.seconds > 0) {
        QTimer::singleShot(std::chrono::seconds(options.seconds), QCoreApplication::instance(),
                           &QCoreApplication::quit);
    }
    QCoreApplication::exec();
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
}

} // namespace TesselCtl
