// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/requests/devicesfile.h"
#include "tesselctl/requests/network.h"
#include "tesselctl/terminal/console.h"
#include "tesselctl/terminal/interruption.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

#include <communicator/httpproxy.h>
#include <tessel/allurlresource.h>
#include <tessel/protocols.h>

#include <QRegularExpression>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::ExchangeIds;
using Krelm::Communicator::HttpDevice::ExchangeScope;
using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::Protocol;

namespace {

const char* const footer = R"(
Asks every address of the IPv4 network for its protocol version, --parallel at once and each once, and lists the devices
that answer. An address that says nothing for --timeout seconds, 1 if omitted, is passed over. A network may have 1024
addresses, which is a /22. A device that wants a login is listed without its name; add it with "devices add".

With --add, those that are not in the devices file yet are added to it, under the name that the device has, to the
--group and --site that are given.

Examples:
  tesselctl discover 127.0.0.1 --port 8080
  tesselctl discover 192.168.0.0/24
  tesselctl discover 192.168.0.0/24 --add --group stage)";

constexpr double usualTimeout = 1;
constexpr int unauthorised = 401;

struct Options
{
    QString network;
    int port = 80;
    bool add = false;
    QStringList groups;
    QString site;
};

/// Asks addresses on several threads.
class Search
{
public:
    Search(QStringList addresses, int expectedTime, ExchangeIds& ids)
        : m_addresses(std::move(addresses))
        , m_expectedTime(expectedTime)
        , m_ids(ids)
        , m_found(static_cast<std::size_t>(m_addresses.size()))
    {}

    /// @return what was found, in the order of the addresses.
    QVariantList run(int parallel)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < std::min(parallel, static_cast<int>(m_addresses.size())); ++i) {
            threads.emplace_back([this] { askSome(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QVariantList found;
        for (const QVariantMap& device : m_found) {
            if (!device.isEmpty()) {
                found << device;
            }
        }
        return found;
    }

private:
    void askSome()
    {
        const ExchangeScope scope(m_ids);
        for (int i = m_next++; i < m_addresses.size() && !m_ids.isCancelled(); i = m_next++) {
            m_found[static_cast<std::size_t>(i)] = ask(m_addresses[i]);
        }
    }

    /// The device at @p address; empty if there is none.
    QVariantMap ask(const QString& address) const
    {
        HttpJsonPackage version(nullptr);
        get(QStringLiteral("Device_Protoc"), address, version);
        if (version.replyStatus == 0) {
            return {};
        }
        // One of the single-screen protocol does not know the question.
        const bool isMultiScreen = version.getSimpleState() == HttpJsonPackage::Success;
        HttpJsonPackage reply(nullptr);
        get(QStringLiteral("Device_Hwinfo"), address, reply);
        if (reply.replyStatus == unauthorised) {
            return {{QStringLiteral("address"), address},
                    {QStringLiteral("login"), QStringLiteral("needed")}};
        }
        const Expected<QVariant> json = parseJson(reply.getReceiveData());
        const QVariantMap hardware =
            json ? json->toMap().value(QStringLiteral("data")).toMap() : QVariantMap();
        if (reply.getSimpleState() != HttpJsonPackage::Success || !hardware.contains(QStringLiteral("sn"))) {
            return {};
        }
        const Protocol protocol = isMultiScreen ? Protocol::MultiScreen : Protocol::SingleScreen;
        return {{QStringLiteral("address"), address},
                {QStringLiteral("name"), hardware.value(QStringLiteral("customName"))},
                {QStringLiteral("model"), hardware.value(QStringLiteral("name"))},
                {QStringLiteral("version"), hardware.value(QStringLiteral("version"))},
                {QStringLiteral("protocol"), QLatin1String(Tessel::protocolName(protocol))}};
    }

    void get(const QString& routeKey, const QString& address, HttpJsonPackage& package) const
    {
        package.setUrl(AllUrlResource::getInstance()->getMapAllUrl().value(routeKey));
        package.setExpectedTime(m_expectedTime);
        HttpProxy::getInstance()->getSync(address, &package);
    }

    const QStringList m_addresses;
    const int m_expectedTime;
    ExchangeIds& m_ids;
    std::atomic<int> m_next{0};
    std::vector<QVariantMap> m_found; ///< each written by one thread, and read when they have ended
};

/// The name of a device in the devices file: the one that it has, as far as it can be one, and that none of
/// @p taken is.
QString entryName(const QVariantMap& device, const QStringList& taken)
{
    static const QRegularExpression unusable(QStringLiteral("[^\\w.-]+"),
                                             QRegularExpression::UseUnicodePropertiesOption);
    QString name =
        device.value(QStringLiteral("name")).toString().toLower().replace(unusable, QStringLiteral("-"));
    while (name.startsWith(QLatin1Char('-'))) {
        name.remove(0, 1);
    }
    name = name.isEmpty() ? device.value(QStringLiteral("address")).toString().section(QLatin1Char(':'), 0, 0)
                          : name;
    QString free = name;
    for (int i = 2; taken.contains(free); ++i) {
        free = QStringLiteral("%1-%2").arg(name).arg(i);
    }
    return free;
}

/// Adds to the file those of @p found that it does not have; each of them then has its name as member
/// `device`.
Expected<void> addTo(DevicesFile& file, QVariantList& found, const Options& options)
{
    for (QVariant& one : found) {
        QVariantMap device = one.toMap();
        if (device.contains(QStringLiteral("device")) || device.contains(QStringLiteral("login"))) {
            continue;
        }
        QStringList taken;
        for (const DeviceEntry& entry : file.devices()) {
            taken << entry.name;
        }
        DeviceEntry entry;
        entry.name = entryName(device, taken);
        entry.address = device.value(QStringLiteral("address")).toString();
        entry.groups = options.groups;
        entry.site = options.site;
        if (Expected<void> added = file.add(entry); !added) {
            return added;
        }
        device.insert(QStringLiteral("device"), entry.name);
        one = device;
    }
    return {};
}

ExitCode print(const Settings& settings, const QVariantList& found, Console& console)
{
    const Expected<QVariantList> rows = arranged(found, settings.table);
    if (!rows) {
        console.error(rows.error());
        return Usage;
    }
    if (settings.format() != Format::Table) {
        console.out(formatted(*rows, settings.format()));
    } else if (!rows->isEmpty()) {
        const QStringList columns{QStringLiteral("address"),  QStringLiteral("name"),
                                  QStringLiteral("model"),    QStringLiteral("version"),
                                  QStringLiteral("protocol"), QStringLiteral("login"),
                                  QStringLiteral("device")};
        console.out(tableText(
            *rows, settings.table.columns.isEmpty() ? columnsOf(*rows, columns) : settings.table.columns,
            tableWidth()));
    }
    return Done;
}

ExitCode runDiscover(const Settings& settings, const Options& options, Console& console)
{
    const Expected<QStringList> hosts = hostsOf(options.network);
    Expected<DevicesFile> file = DevicesFile::read(DevicesFile::pathFor(settings.devices.file), false);
    for (const QString& error : {hosts.error(), file.error()}) {
        if (!error.isEmpty()) {
            console.error(error);
            return Usage;
        }
    }
    QStringList addresses;
    for (const QString& host : *hosts) {
        addresses << (options.port == 80 ? host : QStringLiteral("%1:%2").arg(host).arg(options.port));
    }
    ExchangeIds ids;
    const Interruption interruption([&ids] { ids.cancel(); });
    const auto trace = traceExchanges(settings.trace, console);
    const double seconds = settings.timeout > 0 ? settings.timeout : usualTimeout;
    // Both are there before other threads begin.
    HttpProxy::getInstance();
    AllUrlResource::getInstance();
    QVariantList found = Search(addresses, static_cast<int>(seconds * 1000), ids).run(settings.parallel);
    for (QVariant& one : found) {
        QVariantMap device = one.toMap();
        for (const DeviceEntry& entry : file->devices()) {
            if (entry.address == device.value(QStringLiteral("address"))) {
                device.insert(QStringLiteral("device"), entry.name);
            }
        }
        one = device;
    }
    Expected<void> added;
    if (options.add && !interruption.happened()) {
        added = addTo(*file, found, options);
    }
    const ExitCode code = print(settings, found, console);
    console.info(QStringLiteral("%1 of %2 addresses have a device").arg(found.size()).arg(addresses.size()));
    if (interruption.happened()) {
        console.error(QStringLiteral("interrupted"));
        return static_cast<ExitCode>(128 + interruption.signal());
    }
    if (!added) {
        console.error(added.error());
        return Failed;
    }
    return code;
}

} // namespace

void addDiscover(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser discover = parser.addCommand("discover", QStringLiteral("find the devices in a network"));
    discover.add("NETWORK", options->network, QStringLiteral("such as 192.168.0.0/24"))
        .required()
        .placeholder("");
    discover.add("--port", options->port, QStringLiteral("TCP port of the devices"))
        .between(1, 65535)
        .placeholder("PORT")
        .showDefault();
    discover.addFlag("--add", options->add, QStringLiteral("add what is found to the devices file"));
    discover.add("--group", options->groups, QStringLiteral("a group for what is added; repeatable"))
        .placeholder("GROUP")
        .repeatable();
    discover.add("--site", options->site, QStringLiteral("where it is")).placeholder("SITE");
    discover.setFooter(QString::fromUtf8(footer));
    discover.setRun([options](const Settings& settings, Console& console) {
        return runDiscover(settings, *options, console);
    });
}

} // namespace TesselCtl
