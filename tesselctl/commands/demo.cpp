// SPDX-License-Identifier: MIT
#include "commands.h"

#include "tesselctl/exchanges.h"
#include "tesselctl/output.h"
#include "tesselctl/printable.h"

#include <communicator/httpproxy.h>
#include <simulator/simulator.h>
#include <tessel/allurlresource.h>
#include <tessel/capability.h>
#include <tessel/debuginfo.h>
#include <tessel/devicemanager.h>
#include <tessel/records/deviceinfo.h>
#include <zephserializer/jsonserializer.h>

#include <QtPromise>

#include <QEventLoop>
#include <QTimer>

#include <memory>
#include <utility>
#include <vector>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::Simulator::Protocol;
using Tessel::Simulator::Simulator;

namespace {

/// Reads the identity of a device without waiting for it: the way of an application to a typed record.
QtPromise::QPromise<Tessel::DeviceInfo> readDeviceInfo(const QString& deviceKey)
{
    auto* const package = new HttpJsonPackage(nullptr);
    package->setUrl(AllUrlResource::Device_Hwinfo);
    return QtPromise::QPromise<Tessel::DeviceInfo>{
        [&](const QtPromise::QPromiseResolve<Tessel::DeviceInfo>& resolve,
            const QtPromise::QPromiseReject<Tessel::DeviceInfo>& reject) {
            QObject::connect(package, &HttpJsonPackage::readyRead, package,
                             [resolve, reject](HttpJsonPackage* reply) {
                                 Tessel::DeviceInfo info;
                                 const Zeph::Serialize::JsonSerializer serializer;
                                 const bool whole =
                                     reply->getSimpleState() == 0 &&
                                     serializer.load(reply->getReceiveData(), &info, QStringLiteral("data"));
                                 whole ? resolve(info) : reject();
                             });
            HttpProxy::getInstance()->get(deviceKey, package);
        }}
        .finally([package] { package->deleteLater(); });
}

/// Writes the demonstration: headings, the calls as they stand in a program, the exchanges under them, what
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
        m_console.data(QLatin1Char('\n') + styled("1", number + text) + QLatin1Char('\n'));
    }
    void call(const QString& code)
    {
        m_console.data(QStringLiteral("  ") + styled("36", code) + QLatin1Char('\n'));
    }
    void exchange(const QString& line)
    {
        m_console.data(QStringLiteral("    ") + styled("2", line) + QLatin1Char('\n'));
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
        for (const QString& line : std::as_const(lines))
            m_console.data(QStringLiteral("      ") + line + QLatin1Char('\n'));
    }
    void line(const QString& text) { m_console.data(text + QLatin1Char('\n')); }

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
        , m_exchanges([this](const Exchanges::Record& record) { m_page.exchange(traceLine(record)); })
    {}

    bool run()
    {
        m_page.line(
            QStringLiteral("Tessel: the library between an application and the controllers of an LED wall"));
        return startControllers() && startTransport() && readCapabilities() && testReceivingCards() &&
               loadRecords() && receiveEvent() && finish();
    }

private:
    bool startControllers()
    {
        m_page.heading(QStringLiteral("Two controllers start, in software"));
        Tessel::Simulator::Options older;
        older.protocol = Protocol::SingleScreen;
        Tessel::Simulator::Options newer;
        newer.protocol = Protocol::MultiScreen;
        newer.seed = 2;
        m_devices.push_back({QStringLiteral("studio"), std::make_unique<Simulator>(older)});
        m_devices.push_back({QStringLiteral("arena"), std::make_unique<Simulator>(newer)});
        QList<QStringList> rows;
        for (const Controller& device : m_devices) {
            if (!device.simulator->start())
                return failed(device.name, device.simulator->errorString());
            const QString kind = device.simulator->options().protocol == Protocol::SingleScreen
                                     ? QStringLiteral("older protocol, one screen")
                                     : QStringLiteral("newer protocol, several screens");
            rows << QStringList{
                device.name, device.simulator->address(),
                QStringLiteral("%1, %2 cabinets").arg(kind).arg(device.simulator->cabinetIds().size())};
        }
        m_page.result(aligned(rows));
        return true;
    }

    bool startTransport()
    {
        m_page.heading(QStringLiteral("The transport starts and learns where they are"));
        m_page.call(QStringLiteral("DeviceManager::getInstance()->initManager();"));
        DeviceManager::getInstance()->initManager();
        for (const Controller& device : m_devices) {
            m_page.call(QStringLiteral("HttpProxy::getInstance()->addDevice(\"%1\", {\"%2\"});")
                            .arg(device.name, device.simulator->address()));
            DeviceEndpoint endpoint;
            endpoint.address = device.simulator->address();
            if (!HttpProxy::getInstance()->addDevice(device.name, endpoint))
                return failed(device.name, QStringLiteral("the transport does not take it"));
        }
        return true;
    }

    bool readCapabilities()
    {
        m_page.heading(QStringLiteral("What chips do they know? One call, one request"));
        for (const Controller& device : m_devices) {
            QList<QVariant> chips;
            m_page.call(
                QStringLiteral("Capability::getInstance()->getAllChipType(\"%1\", chips);").arg(device.name));
            if (!Capability::getInstance()->getAllChipType(device.name, chips) || chips.isEmpty())
                return failed(device.name);
            m_page.result(humanText(chips));

            QList<QVariant> decoders;
            m_page.call(QStringLiteral("Capability::getInstance()->getRowDecodeType(\"%1\", decoders);")
                            .arg(device.name));
            if (!Capability::getInstance()->getRowDecodeType(device.name, decoders) || decoders.isEmpty())
                return failed(device.name);
            m_page.result(humanText(decoders));
        }
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
        if (!DebugInfo::getInstance()->getParameters(device, what, parameters))
            return failed(device);
        m_page.result(humanText(parameters));

        const QMap<QString, QVariant> change{{QStringLiteral("cabinetId"), 1}, {QStringLiteral("mode"), 2}};
        QList<QVariant> outcome;
        m_page.call(QStringLiteral("DebugInfo::getInstance()->sendParameters(\"%1\", {{\"cabinetId\", 1}, "
                                   "{\"mode\", 2}}, outcome);")
                        .arg(device));
        if (!DebugInfo::getInstance()->sendParameters(device, change, outcome))
            return failed(device);
        m_page.result(humanText(outcome));
        return true;
    }

    bool loadRecords()
    {
        m_page.heading(
            QStringLiteral("Typed records by promise: both are asked at once, nobody waits in turn"));
        QVector<QtPromise::QPromise<void>> promises;
        bool whole = true;
        for (const Controller& device : m_devices) {
            m_page.call(
                QStringLiteral("readDeviceInfo(\"%1\").then([](const Tessel::DeviceInfo& info) { ... });")
                    .arg(device.name));
            promises << readDeviceInfo(device.name)
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
        return whole || failed(QStringLiteral("a record"), QStringLiteral("could not be loaded"));
    }

    bool receiveEvent()
    {
        m_page.heading(QStringLiteral("A controller speaks up: somebody gave it another name"));
        m_page.call(
            QStringLiteral("connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, ...);"));
        const Controller& arena = m_devices.back();
        QEventLoop loop;
        bool received = false;
        QObject::connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &loop,
                         [&](const QByteArray& data, const QString& deviceKey) {
                             m_page.result(deviceKey + QStringLiteral(" pushed ") +
                                           printable(QString::fromUtf8(data)));
                             received = true;
                             loop.quit();
                         });
        const int patience = 5000;
        if (!arena.simulator->waitForEventStreams(1, patience))
            return failed(arena.name, QStringLiteral("no event stream"));
        QTimer::singleShot(patience, &loop, &QEventLoop::quit);
        arena.simulator->setValue(AllUrlResource::getUrl(QStringLiteral("Device_Rename")),
                                  R"({"customName":"North stand"})");
        loop.exec();
        return received || failed(arena.name, QStringLiteral("no event came"));
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
        if (why.isEmpty())
            why = m_exchanges.outcome(false).reason;
        m_console.complain(QStringLiteral("demo: %1: %2").arg(who, why));
        return false;
    }

    struct Controller
    {
        QString name;
        std::unique_ptr<Simulator> simulator;
    };

    Console& m_console;
    Page m_page;
    Exchanges m_exchanges;
    std::vector<Controller> m_devices;
};

} // namespace

ExitCode runDemo(Console& console)
{
    return Demo(console).run() ? Done : Failed;
}

} // namespace TesselCtl
