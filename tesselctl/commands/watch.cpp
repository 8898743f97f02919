// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/changecommand.h"
#include "tesselctl/commands/liverun.h"
#include "tesselctl/requests/connections.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include <operations/operators.h>
#include <operations/signalcatcher.h>
#include <operations/suggestion.h>

#include <communicator/httpproxy.h>
#include <tessel/devicemanager.h>

#include <QDateTime>
#include <QLoggingCategory>
#include <QMetaMethod>

#include <optional>

namespace TesselCtl {

using Tessel::Operations::allOperators;
using Tessel::Operations::CaughtSignal;
using Tessel::Operations::didYouMean;
using Tessel::Operations::SignalCatcher;

using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

const char* const footer = R"(
One line per event: time, device, payload. One line per signal that an operator of the library raises: time, device if
the signal names one, Class::signal, its other arguments. One line per change of an event stream: time, device,
"connection", its state, why, and when the next attempt is. With --json, one object per line with time, kind (event,
signal, connection, logout or devices), device, payload and, for a signal, its name; the payload of a connection has
state, reason, since and nextAttempt.

--kind, --operator and --signal leave only some lines; --device is the filter for devices. --exec has the shell run a
command for each line that is left, one after the other: the payload is on its standard input as JSON, and the variables
TESSEL_KIND, TESSEL_DEVICE and TESSEL_SIGNAL say what it is. --count counts events, whatever the filters leave. SIGINT and SIGTERM end it with exit code 0.

Examples:
  tesselctl --device 192.168.0.10 watch
  tesselctl --device 192.168.0.10 watch --kind connection --exec 'mail -s "$TESSEL_DEVICE" me'
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 --json watch --seconds 60 | jq .payload)";

struct Options
{
    int count = 0;         ///< events to print; 0 is no limit
    int seconds = 0;       ///< to watch; 0 is no limit
    QStringList kinds;     ///< the only ones to print; empty: all
    QStringList operators; ///< the only classes whose signals are printed; empty: all
    QStringList raised;    ///< the only signals, without their class; empty: all
    QString command;       ///< to run for each; may be empty
};

QStringList kindNames()
{
    return {QStringLiteral("event"), QStringLiteral("signal"), QStringLiteral("connection"),
            QStringLiteral("logout"), QStringLiteral("devices")};
}

/// The class and the name of a signal such as `HWInfo::signal_sendDataChanged`.
QString classOf(const QString& raised)
{
    return raised.section(QStringLiteral("::"), 0, -2).section(QStringLiteral("::"), -1);
}
QString nameOf(const QString& raised)
{
    return raised.section(QStringLiteral("::"), -1);
}

/// What is wrong with the filters; empty if nothing is.
QString mistakeIn(const Options& options)
{
    QStringList classes;
    QStringList names;
    for (const QObject* const one : allOperators()) {
        const QMetaObject* const type = one->metaObject();
        classes << nameOf(QString::fromLatin1(type->className()));
        for (int i = type->methodOffset(); i < type->methodCount(); ++i) {
            if (type->method(i).methodType() == QMetaMethod::Signal) {
                names << QString::fromLatin1(type->method(i).name());
            }
        }
    }
    const auto unknown = [](const QStringList& given, const QStringList& known, const char* what) {
        for (const QString& one : given) {
            if (!known.contains(one)) {
                return QStringLiteral("unknown %1 \"%2\"").arg(QLatin1String(what), printable(one)) +
                       didYouMean(one, known);
            }
        }
        return QString();
    };
    for (const QString& mistake :
         {unknown(options.kinds, kindNames(), "kind"), unknown(options.operators, classes, "operator"),
          unknown(options.raised, names, "signal")}) {
        if (!mistake.isEmpty()) {
            return mistake;
        }
    }
    return {};
}

/// Prints what happens, line by line, and stops the command after as many events as it may print.
class Watcher : public QObject
{
public:
    /// @p command runs for each line; may be null.
    Watcher(LiveRun& run, const Options& options, ChangeCommand* command)
        : m_run(run)
        , m_options(options)
        , m_command(command)
        , m_remaining(options.count)
        , m_limited(options.count > 0)
        , m_catcher([this](const CaughtSignal& caught) { onSignal(caught); })
    {
        HttpProxy* const proxy = HttpProxy::getInstance();
        connect(proxy, &HttpProxy::deviceAutoReportData, this, &Watcher::onEvent);
        connect(proxy, &HttpProxy::deviceLogout, this, &Watcher::onLogout);
        connect(DeviceConnections::getInstance(), &DeviceConnections::connectionChanged, this,
                &Watcher::onConnection);
        connect(DeviceManager::getInstance(), &DeviceManager::deviceChanged, this, &Watcher::onDevices);
        // After the connections above, so that an event is printed before the signals that it causes.
        for (const QObject* one : allOperators()) {
            m_catcher.watch(one);
        }
    }

private:
    void onEvent(const QByteArray& data, const QString& deviceKey)
    {
        if (m_limited && m_remaining == 0) {
            return;
        }
        QVariant payload;
        if (m_run.asJson() || m_command) {
            const Expected<QVariant> json = parseJson(data);
            payload = json ? *json : QVariant(QString::fromUtf8(data));
        }
        print(QStringLiteral("event"), deviceKey, printable(QString::fromUtf8(data)), payload);
        if (m_limited && --m_remaining == 0) {
            LiveRun::stop();
        }
    }

    void onLogout(const QString& deviceKey)
    {
        print(QStringLiteral("logout"), deviceKey, QStringLiteral("device disconnected"), {});
    }

    void onConnection(const DeviceConnection& connection)
    {
        print(QStringLiteral("connection"), connection.deviceKey,
              QStringLiteral("connection ") + connectionText(connection), connectionJson(connection));
    }

    void onSignal(const CaughtSignal& caught)
    {
        QString text = caught.name;
        if (!caught.payload.isEmpty()) {
            text += QStringLiteral("  ") + printable(QString::fromUtf8(toJson(caught.payload, false)));
        }
        print(QStringLiteral("signal"), caught.deviceKey, text, caught.payload, caught.name);
    }

    void onDevices()
    {
        // One notice comes per device that is added; the list is worth a line when it differs.
        const QStringList devices = HttpProxy::getInstance()->devices();
        if (devices == m_devices) {
            return;
        }
        m_devices = devices;
        print(QStringLiteral("devices"), {},
              QStringLiteral("devices: ") + printable(devices.join(QStringLiteral(", "))),
              QVariantList(devices.begin(), devices.end()));
    }

    void print(const QString& kind, const QString& deviceKey, const QString& text, const QVariant& payload,
               const QString& signal = {})
    {
        if (!isWanted(kind, signal)) {
            return;
        }
        if (m_command) {
            m_command->run({kind, deviceKey, signal, toJson(payload, false)});
        }
        if (m_run.asJson()) {
            QVariantMap line{{QStringLiteral("kind"), kind},
                             {QStringLiteral("device"), deviceKey.isNull() ? QVariant() : deviceKey},
                             {QStringLiteral("payload"), payload}};
            if (!signal.isEmpty()) {
                line.insert(QStringLiteral("signal"), signal);
            }
            m_run.printJson(line);
        } else {
            const QString device = deviceKey.isEmpty() ? QStringLiteral("-") : printable(deviceKey);
            m_run.print(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")) +
                        QStringLiteral("  ") + device + QStringLiteral("  ") + text + QLatin1Char('\n'));
        }
    }

    /// A filter of signals leaves no other kind, unless those are asked for.
    bool isWanted(const QString& kind, const QString& raised) const
    {
        const bool hasFilter = !m_options.operators.isEmpty() || !m_options.raised.isEmpty();
        if (m_options.kinds.isEmpty() ? hasFilter && raised.isEmpty() : !m_options.kinds.contains(kind)) {
            return false;
        }
        return raised.isEmpty() ||
               ((m_options.operators.isEmpty() || m_options.operators.contains(classOf(raised))) &&
                (m_options.raised.isEmpty() || m_options.raised.contains(nameOf(raised))));
    }

    LiveRun& m_run;
    const Options& m_options;
    ChangeCommand* const m_command;
    int m_remaining;
    const bool m_limited;
    QStringList m_devices;
    SignalCatcher m_catcher;
};

ExitCode runWatch(const Settings& settings, const Options& options, Console& console)
{
    LiveRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    // The transport logs what its streams do in this category, to standard error.
    QLoggingCategory::setFilterRules(
        QStringLiteral("default.debug=false\ntessel.http=false\ntessel.events.info=true"));
    std::optional<ChangeCommand> command;
    if (!options.command.isEmpty()) {
        command.emplace(options.command, settings.devices.secretVariable, console);
    }
    const Watcher watcher(run, options, command ? &*command : nullptr);
    // After the watcher: the operators are made here, unless it has made them.
    if (const QString mistake = mistakeIn(options); !mistake.isEmpty()) {
        console.error(mistake);
        return Usage;
    }
    const bool ran = run.run(options.seconds);
    if (command && !run.interruption().happened()) {
        command->finish();
    }
    return ran ? Done : Usage;
}

} // namespace

void addWatch(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser watch = parser.addCommand(
        "watch", QStringLiteral("print the events that devices push and the signals of operators"));
    watch.add("--count", options->count, QStringLiteral("stop after N events")).positive().placeholder("N");
    watch.add("--seconds", options->seconds, QStringLiteral("stop after N seconds"))
        .between(1, 1'000'000)
        .placeholder("N");
    watch
        .add("--kind", options->kinds,
             QStringLiteral("only these kinds of lines: ") + kindNames().join(QStringLiteral(", ")))
        .listed()
        .placeholder("KINDS");
    watch.add("--operator", options->operators, QStringLiteral("only signals of these classes"))
        .listed()
        .placeholder("CLASSES");
    watch.add("--signal", options->raised, QStringLiteral("only these signals"))
        .listed()
        .placeholder("NAMES");
    watch.add("--exec", options->command, QStringLiteral("run this command for each line"))
        .placeholder("COMMAND");
    watch.setFooter(QString::fromUtf8(footer));
    watch.setRun([options](const Settings& settings, Console& console) {
        return runWatch(settings, *options, console);
    });
}

} // namespace TesselCtl
