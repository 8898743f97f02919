// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <communicator/httpproxy.h>
#include <simulator/simulator.h>
#include <tessel/allurlresource.h>
#include <tessel/capability.h>
#include <tessel/debuginfo.h>
#include <tessel/devicemanager.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QtPromise>

#include <QEventLoop>
#include <QTimer>

#include <memory>
#include <utility>
#include <vector>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::addExchangeObserver;
using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::exchangesBegun;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Krelm::Communicator::HttpDevice::ObserverHandle;
using Tessel::Protocol;
using Tessel::Simulator::Simulator;

namespace {

/// Writes the demonstration: headings, the calls as a program makes them, the exchanges under them, what
/// came.
class Page
{
public:
    explicit Page(Console& console)
        : m_console(console)
        , m_coloured(Console::hasColour(stdout))
    {}

    void heading(const QString& text)
    {
        const QString number = QString::number(++m_steps) + QStringLiteral(". ");
        m_console.out(QLatin1Char('\n') + styled("1", number + text) + QLatin1Char('\n'));
    }
    void call(const QString& code)
    {
        m_console.out(QStringLiteral("  ") + styled("36", code) + QLatin1Char('\n'));
    }
    void exchange(const QString& line)
    {
        m_console.out(QStringLiteral("    ") + styled("2", line) + QLatin1Char('\n'));
    }
    /// The first lines of @p text, and how many are left out.
    void result(const QString& text)
    {
        const int shown = 4;
        QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        const int more = lines.size() - shown;
        if (more > 1) {
            lines = lines.mid(0, shown);
            lines << QStringLiteral("... and %1 more lines").arg(more);
        }
        for (const QString& line : std::as_const(lines)) {
            m_console.out(QStringLiteral("      ") + line + QLatin1Char('\n'));
        }
    }
    void line(const QString& text) { m_console.out(text + QLatin1Char('\n')); }

private:
    QString styled(const char* style, const QString& text) const
    {
        return m_coloured ? QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(style), text) : text;
    }

    Console& m_console;
    const bool m_coloured;
    int m_steps = 0;
};

class Demo
{
public:
    explicit Demo(Console& console)
        : m_console(console)
        , m_page(console)
        , m_trace(addExchangeObserver(
              [this](const CallObserver::Record& record) { m_page.exchange(traceLine(record)); }))
        , m_scope(m_exchanges.collect())
    {}

    bool run()
    {
        m_page.line(
            QStringLiteral("Tessel: the library between an application and the controllers of an LED wall"));
        return startControllers() && startTransport() && readCapability() && testReceivingCards() &&
               loadScreens() && loadRecords() && answerFromCache() && followEvent() && setBrightness() &&
               finish();
    }

private:
    bool startControllers()
    {
        m_page.heading(QStringLiteral("Two controllers start, in software"));
        Tessel::Simulator::Options singleScreen;
        singleScreen.protocol = Protocol::SingleScreen;
        Tessel::Simulator::Options multiScreen;
        multiScreen.protocol = Protocol::MultiScreen;
        multiScreen.seed = 2;
        m_devices.push_back({QStringLiteral("studio"), std::make_unique<Simulator>(singleScreen)});
        m_devices.push_back({QStringLiteral("arena"), std::make_unique<Simulator>(multiScreen)});
        QList<QStringList> rows;
        for (const Controller& device : m_devices) {
            if (!device.simulator->start()) {
                return failed(device.name, device.simulator->errorString());
            }
            rows << QStringList{
                device.name, device.simulator->address(),
                QStringLiteral("%1 protocol, %2 cabinets")
                    .arg(QLatin1String(Tessel::protocolName(device.simulator->options().protocol)))
                    .arg(device.simulator->cabinetIds().size())};
        }
        m_page.result(aligned(rows));
        return true;
    }

    bool startTransport()
    {
        m_page.heading(QStringLiteral("The transport starts and learns where they are"));
        m_page.call(QStringLiteral("DeviceManager::getInstance()->initManager();"));
        // Before any operator listens, so that an event is printed before the signals that it causes.
        QObject::connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &m_context,
                         [this](const QByteArray& data, const QString& deviceKey) {
                             if (m_showsEvents) {
                                 m_page.result(deviceKey + QStringLiteral(" pushed ") +
                                               printable(QString::fromUtf8(data)));
                             }
                         });
        DeviceManager::getInstance()->initManager();
        for (const Controller& device : m_devices) {
            m_page.call(QStringLiteral("HttpProxy::getInstance()->addDevice(\"%1\", {\"%2\"});")
                            .arg(device.name, device.simulator->address()));
            DeviceEndpoint endpoint;
            endpoint.address = device.simulator->address();
            if (!HttpProxy::getInstance()->addDevice(device.name, endpoint)) {
                return failed(device.name, QStringLiteral("the transport refused its address"));
            }
        }
        return true;
    }

    bool readCapability()
    {
        m_page.heading(QStringLiteral("What chips does it know? A call is a request"));
        const QString device = m_devices.front().name;
        QList<QVariant> chips;
        m_page.call(QStringLiteral("Capability::getInstance()->getAllChipType(\"%1\", chips);").arg(device));
        if (!Capability::getInstance()->getAllChipType(device, chips) || chips.isEmpty()) {
            return failed(device);
        }
        m_page.result(humanText(chips));
        QList<QVariant> decoders;
        m_page.call(
            QStringLiteral("Capability::getInstance()->getRowDecodeType(\"%1\", decoders);").arg(device));
        if (!Capability::getInstance()->getRowDecodeType(device, decoders) || decoders.isEmpty()) {
            return failed(device);
        }
        m_page.result(humanText(decoders));
        return true;
    }

    bool testReceivingCards()
    {
        m_page.heading(QStringLiteral("The self test of a cabinet: the body is a map, the reply a list"));
        const QString device = m_devices.back().name;
        const QMap<QString, QVariant> what{{QStringLiteral("cabinetId"), 1}};
        QList<QVariant> parameters;
        m_page.call(QStringLiteral(
                        "DebugInfo::getInstance()->getParameters(\"%1\", {{\"cabinetId\", 1}}, parameters);")
                        .arg(device));
        if (!DebugInfo::getInstance()->getParameters(device, what, parameters)) {
            return failed(device);
        }
        m_page.result(humanText(parameters));
        const QMap<QString, QVariant> change{{QStringLiteral("cabinetId"), 1}, {QStringLiteral("mode"), 2}};
        QList<QVariant> outcome;
        m_page.call(QStringLiteral("DebugInfo::getInstance()->sendParameters(\"%1\", {{\"cabinetId\", 1}, "
                                   "{\"mode\", 2}}, outcome);")
                        .arg(device));
        if (!DebugInfo::getInstance()->sendParameters(device, change, outcome)) {
            return failed(device);
        }
        m_page.result(humanText(outcome));
        return true;
    }

    bool loadScreens()
    {
        m_page.heading(QStringLiteral("Screens: asked once, the library speaks each device's protocol"));
        for (const Controller& device : m_devices) {
            m_page.call(QStringLiteral("HWInfo::getInstance()->getHwProtoc(\"%1\", true);").arg(device.name));
            const bool isMultiScreen = HWInfo::getInstance()->getHwProtoc(device.name, true);
            const Protocol protocol = isMultiScreen ? Protocol::MultiScreen : Protocol::SingleScreen;
            if (protocol != device.simulator->options().protocol) {
                return failed(device.name, QStringLiteral("it spoke the wrong protocol"));
            }
            QMap<QString, QMap<QString, QVariant>> screens;
            m_page.call(
                QStringLiteral("ScreenInfo::getInstance()->getScreens(\"%1\", screens, false, %2);")
                    .arg(device.name, isMultiScreen ? QStringLiteral("true") : QStringLiteral("false")));
            if (!ScreenInfo::getInstance()->getScreens(device.name, screens, false, isMultiScreen) ||
                screens.isEmpty()) {
                return failed(device.name);
            }
            m_page.result(QStringLiteral("%1 protocol, screens: %2")
                              .arg(QLatin1String(Tessel::protocolName(protocol)),
                                   printable(screens.keys().join(QStringLiteral(", ")))));
            m_screens.insert(device.name, screens.firstKey());
        }
        return true;
    }

    bool loadRecords()
    {
        m_page.heading(QStringLiteral("Typed records by promise: both devices are asked at once"));
        QVector<QtPromise::QPromise<void>> promises;
        bool whole = true;
        for (const Controller& device : m_devices) {
            m_page.call(QStringLiteral("HWInfo::getInstance()->getHWInfo2(\"%1\").then("
                                       "[](const Tessel::DeviceInfo& info) { ... });")
                            .arg(device.name));
            promises << HWInfo::getInstance()
                            ->getHWInfo2(device.name)
                            .then(
                                [this, name = device.name](const Tessel::DeviceInfo& info) {
                                    m_page.result(QStringLiteral("%1 is \"%2\", a %3, at %4 (%5)")
                                                      .arg(name, printable(info.customName),
                                                           printable(info.name), printable(info.ip),
                                                           printable(info.mac)));
                                },
                                [&whole] { whole = false; });
        }
        QtPromise::all(promises).wait();
        return whole || failed(QStringLiteral("typed records"), QStringLiteral("one could not be loaded"));
    }

    bool answerFromCache()
    {
        m_page.heading(QStringLiteral("A cache: the second read sends nothing"));
        return readName() && readNameFromCache();
    }

    bool followEvent()
    {
        m_page.heading(QStringLiteral("A cache that follows its device: it is renamed, and says so"));
        const Controller& arena = m_devices.back();
        const int timeout = 5000; // milliseconds
        if (!arena.simulator->waitForEventStreams(1, timeout)) {
            return failed(arena.name, QStringLiteral("it opened no event stream"));
        }
        m_page.call(QStringLiteral("connect(HWInfo::getInstance(), &HWInfo::signal_sendDataChanged, ...);"));
        HWInfo* const info = HWInfo::getInstance();
        QEventLoop loop;
        bool refreshed = false;
        QObject::connect(info, &HWInfo::signal_customNameChanged, &loop,
                         [&](const QString& deviceKey, const QString& name) {
                             m_page.result(
                                 QStringLiteral("HWInfo raises signal_customNameChanged(\"%1\", \"%2\")")
                                     .arg(deviceKey, printable(name)));
                         });
        QObject::connect(info, &HWInfo::signal_sendDataChanged, &loop, [&] {
            m_page.result(QStringLiteral("HWInfo raises signal_sendDataChanged()"));
            refreshed = true;
            loop.quit();
        });
        QMap<QString, QVariant> reply;
        m_page.call(QStringLiteral("HWInfo::getInstance()->putHWInfoRename(\"%1\", "
                                   "{{\"customName\", \"North stand\"}}, reply);")
                        .arg(arena.name));
        if (!info->putHWInfoRename(arena.name,
                                   {{QStringLiteral("customName"), QStringLiteral("North stand")}}, reply)) {
            return failed(arena.name);
        }
        QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
        m_showsEvents = true;
        loop.exec();
        m_showsEvents = false;
        if (!refreshed) {
            return failed(arena.name, QStringLiteral("it pushed no event"));
        }
        return readNameFromCache() && (m_name == QLatin1String("North stand") ||
                                       failed(arena.name, QStringLiteral("the cache is stale")));
    }

    bool setBrightness()
    {
        m_page.heading(QStringLiteral("Brightness, written and read back by both protocols"));
        return writeBrightness(m_devices.front().name, 50, 50) &&
               writeBrightness(m_devices.back().name, 12750, 50) && noteTheQuotient();
    }

    bool noteTheQuotient()
    {
        m_page.result(
            QStringLiteral("the multi-screen protocol is sent the quotient by 255, and reads give that"));
        return true;
    }

    /// Writes @p brightness, and expects to read @p expected.
    bool writeBrightness(const QString& device, int brightness, int expected)
    {
        const QString screen = m_screens.value(device);
        ScreenInfo* const screens = ScreenInfo::getInstance();
        QMap<QString, QVariant> params;
        m_page.call(QStringLiteral("ScreenInfo::getInstance()->setBrightness(\"%1\", \"%2\", params, %3);")
                        .arg(device, screen)
                        .arg(brightness));
        if (!screens->setBrightness(device, screen, params, brightness)) {
            return failed(device);
        }
        m_exchanges.waitForAll(); // a write does not wait
        QMap<QString, QVariant> read;
        m_page.call(QStringLiteral("ScreenInfo::getInstance()->getBrightness(\"%1\", \"%2\", read, true);")
                        .arg(device, screen));
        if (!screens->getBrightness(device, screen, read, true)) {
            return failed(device);
        }
        m_page.result(humanText(read));
        return read.value(QStringLiteral("brightness")).toInt() == expected ||
               failed(device, QStringLiteral("it returned the wrong brightness"));
    }

    bool readName()
    {
        const QString device = m_devices.back().name;
        QMap<QString, QVariant> info;
        m_page.call(QStringLiteral("HWInfo::getInstance()->getHWInfo(\"%1\", info, false);").arg(device));
        if (!HWInfo::getInstance()->getHWInfo(device, info, false)) {
            return failed(device);
        }
        m_name = info.value(QStringLiteral("customName")).toString();
        m_page.result(QStringLiteral("info[\"customName\"] is \"%1\"").arg(printable(m_name)));
        return true;
    }

    bool readNameFromCache()
    {
        const quint64 before = exchangesBegun();
        if (!readName()) {
            return false;
        }
        if (exchangesBegun() != before) {
            return failed(m_devices.back().name,
                          QStringLiteral("a request was sent where the cache should answer"));
        }
        m_page.result(QStringLiteral("no request: the cache answered"));
        return true;
    }

    bool finish()
    {
        m_page.line(QString());
        m_page.line(
            QStringLiteral("All steps succeeded. Next: tesselctl --help, tesselctl ops, tesselctl routes."));
        return true;
    }

    bool failed(const QString& who, QString why = {})
    {
        if (why.isEmpty()) {
            why = m_exchanges.outcome(false).error;
        }
        m_console.error(QStringLiteral("demo: %1: %2").arg(who, why));
        return false;
    }

    struct Controller
    {
        QString name;
        std::unique_ptr<Simulator> simulator;
    };

    Console& m_console;
    Page m_page;
    const ObserverHandle m_trace;
    CallObserver m_exchanges;
    const CallObserver::Scope m_scope;
    QObject m_context; // of what this object listens to
    bool m_showsEvents = false;
    std::vector<Controller> m_devices;
    QMap<QString, QString> m_screens; ///< the first screen of each device
    QString m_name;                   ///< what the latest read of a description said
};

} // namespace

void addDemo(CommandParser& parser)
{
    CommandParser demo =
        parser.addCommand("demo", QStringLiteral("show the library at work on two simulated controllers"));
    demo.setFooter(QStringLiteral("\nNeeds no device. The exit code is 0 when every step succeeded."));
    demo.setRun(
        [](const Settings& /*settings*/, Console& console) { return Demo(console).run() ? Done : Failed; });
}

} // namespace TesselCtl
