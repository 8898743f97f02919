// SPDX-License-Identifier: MIT
#include "tesselctl/commands/wall.h"

#include "tesselctl/requests/dryrun.h"
#include "tesselctl/terminal/jsontext.h"

#include <communicator/httpjsonpackage.h>
#include <communicator/httpproxy.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/protocols.h>
#include <tessel/screeninfo.h>

#include <algorithm>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::Protocol;

namespace {

constexpr int notFound = 404;

/// The members of @p record that @p names has, under other names.
QVariantMap renamed(const QVariantMap& record, const QMap<QString, QString>& names)
{
    QVariantMap result;
    for (auto name = names.begin(); name != names.end(); ++name) {
        const QVariant value = record.value(name.key());
        if (value.isValid()) {
            result.insert(name.value(), value);
        }
    }
    return result;
}

/// What the receiving cards of each cabinet tell together: the highest temperature, the lowest voltage, and
/// all bit errors.
QMap<QString, QVariantMap> cardsByCabinet(const QVariantList& cards)
{
    QMap<QString, QVariantMap> byCabinet;
    for (const QVariant& one : cards) {
        const QVariantMap card = one.toMap();
        QVariantMap& cabinet = byCabinet[card.value(QStringLiteral("cabinetId")).toString()];
        const auto merge = [&](const char* name, double (*choose)(double, double)) {
            const QVariant value = card.value(QLatin1String(name));
            if (value.isValid()) {
                QVariant& known = cabinet[QLatin1String(name)];
                known = known.isValid() ? choose(known.toDouble(), value.toDouble()) : value.toDouble();
            }
        };
        merge("temperature", [](double left, double right) { return std::max(left, right); });
        merge("voltage", [](double left, double right) { return std::min(left, right); });
        merge("bitErrors", [](double left, double right) { return left + right; });
    }
    return byCabinet;
}

} // namespace

Wall::Wall(const QString& device, const Settings& settings)
    : m_device(device)
    , m_settings(settings)
{
    perform([&] { return m_isMultiScreen = HWInfo::getInstance()->getHwProtoc(m_device, true); });
    // One of the single-screen protocol does not know the question.
    if (m_outcome.status == notFound) {
        m_outcome = {};
    }
}

QString Wall::protocol() const
{
    return QLatin1String(
        Tessel::protocolName(m_isMultiScreen ? Protocol::MultiScreen : Protocol::SingleScreen));
}

bool Wall::perform(const std::function<bool()>& operation)
{
    if (m_outcome.code != Done) {
        return false;
    }
    CallObserver exchanges;
    bool succeeded = false;
    {
        const CallObserver::Scope scope = exchanges.collect();
        succeeded = operation();
        exchanges.waitForAll();
    }
    m_outcome = exchanges.outcome(succeeded);
    return m_outcome.code == Done;
}

QVariantMap Wall::hardware()
{
    QMap<QString, QVariant> hardware;
    perform([&] { return HWInfo::getInstance()->getHWInfo(m_device, hardware, true); });
    return hardware;
}

QVariantList Wall::screens()
{
    QMap<QString, QMap<QString, QVariant>> read;
    perform([&] { return ScreenInfo::getInstance()->getScreens(m_device, read, true, m_isMultiScreen); });
    QVariantList screens;
    for (const QMap<QString, QVariant>& screen : std::as_const(read)) {
        // Its size comes as an object or flattened.
        const QVariantMap size = screen.value(QStringLiteral("resolution")).toMap();
        QVariantMap record = screen;
        for (const char* side : {"width", "height"}) {
            const QVariant value = size.isEmpty()
                                       ? screen.value(QStringLiteral("resolution.") + QLatin1String(side))
                                       : size.value(QLatin1String(side));
            record.insert(QLatin1String(side), value);
        }
        screens << renamed(record, {{QStringLiteral("screenID"), QStringLiteral("screen")},
                                    {QStringLiteral("screenName"), QStringLiteral("name")},
                                    {QStringLiteral("width"), QStringLiteral("width")},
                                    {QStringLiteral("height"), QStringLiteral("height")},
                                    {QStringLiteral("brightness"), QStringLiteral("brightness")},
                                    {QStringLiteral("refreshRate"), QStringLiteral("refreshRate")},
                                    {QStringLiteral("enable"), QStringLiteral("enable")}});
    }
    return screens;
}

QVariantList Wall::cabinets()
{
    QVariantList read;
    QVariantList cards;
    perform([&] { return CabinetInfoOperator::getInstance()->getAllCabinetsInfo(m_device, read, true); });
    perform([&] { return CabinetInfoOperator::getInstance()->getAllCabinetsRxs(m_device, cards); });
    const QMap<QString, QVariantMap> measured = cardsByCabinet(cards);
    QVariantList cabinets;
    for (const QVariant& one : std::as_const(read)) {
        QVariantMap cabinet =
            renamed(one.toMap(), {{QStringLiteral("id"), QStringLiteral("id")},
                                  {QStringLiteral("screenID"), QStringLiteral("screen")},
                                  {QStringLiteral("outputID"), QStringLiteral("output")},
                                  {QStringLiteral("position.x"), QStringLiteral("x")},
                                  {QStringLiteral("position.y"), QStringLiteral("y")},
                                  {QStringLiteral("size.width"), QStringLiteral("width")},
                                  {QStringLiteral("size.height"), QStringLiteral("height")},
                                  {QStringLiteral("brightness"), QStringLiteral("brightness")},
                                  {QStringLiteral("version"), QStringLiteral("version")},
                                  {QStringLiteral("online"), QStringLiteral("online")}});
        const QVariantMap more = measured.value(cabinet.value(QStringLiteral("id")).toString());
        for (auto value = more.begin(); value != more.end(); ++value) {
            cabinet.insert(value.key(), value.value());
        }
        cabinets << cabinet;
    }
    return cabinets;
}

QVariantList Wall::inputs()
{
    QVariantList inputs;
    perform([&] { return InputInfo::getInstance()->getAllInputsInfo(m_device, inputs, true); });
    return inputs;
}

QVariantList Wall::outputs()
{
    QVariantList outputs;
    perform([&] { return OutputInfoOperator::getInstance()->getAllOutputsInfo(m_device, outputs, true); });
    return outputs;
}

QVariantMap Wall::monitorState()
{
    QMap<QString, QVariant> state;
    perform([&] { return UrlResource::MonitorInfo::getInstance()->getMonitorState(m_device, state); });
    return state;
}

Expected<QVariant> Wall::read(const QString& path)
{
    if (m_outcome.code != Done) {
        return Error{m_outcome.error};
    }
    HttpJsonPackage package(nullptr);
    package.setUrl(path);
    CallObserver exchanges;
    {
        const CallObserver::Scope scope = exchanges.collect();
        HttpProxy::getInstance()->getSync(m_device, &package);
        exchanges.waitForAll();
    }
    const Outcome outcome = exchanges.outcome();
    if (outcome.code != Done) {
        m_outcome = outcome.code == Refused ? m_outcome : outcome;
        return Error{outcome.error};
    }
    const Expected<QVariant> reply = parseJson(package.getReceiveData());
    return reply ? Expected<QVariant>(reply->toMap().value(QStringLiteral("data"))) : Error{reply.error()};
}

bool Wall::put(const QString& path, const QVariantMap& body) const
{
    HttpJsonPackage package(nullptr);
    package.setUrl(path);
    package.setRequestWithJsonObj(body);
    HttpProxy::getInstance()->putSync(m_device, &package);
    return package.getSimpleState() == HttpJsonPackage::Success;
}

bool Wall::write(const std::function<bool()>& operation)
{
    if (!m_settings.dryRun) {
        return perform(operation);
    }
    const DryRun dryRun;
    const bool done = perform(operation);
    m_unsent += dryRun.writes();
    return done;
}

DeviceRun::Result Wall::result(const QVariant& value, const QString& text) const
{
    if (m_outcome.code != Done) {
        return {m_outcome, {}, {}};
    }
    if (m_settings.dryRun && !m_unsent.isEmpty()) {
        return {m_outcome, m_unsent, unsentText(m_unsent)};
    }
    return {m_outcome, value, text};
}

ExitCode runTable(const Settings& settings, Console& console, const QStringList& columns,
                  const std::function<QVariantList(Wall& wall)>& rows)
{
    DeviceRun run(settings, console);
    DeviceRun::Kind kind;
    kind.isRead = true;
    kind.isTable = true;
    kind.columns = columns;
    return run.forEach(
        [&](const QString& device) {
            Wall wall(device, settings);
            const QVariantList read = rows(wall);
            return wall.result(read);
        },
        kind);
}

ExitCode runChange(const Settings& settings, Console& console,
                   const std::function<DeviceRun::Result(Wall& wall, const QString& device)>& change)
{
    DeviceRun run(settings, console);
    return run.forEach(
        [&](const QString& device) {
            Wall wall(device, settings);
            return change(wall, device);
        },
        DeviceRun::Kind());
}

} // namespace TesselCtl
