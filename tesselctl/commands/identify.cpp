// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"

#include <tessel/cabinetinfooperator.h>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Lights the indicator lights of the cabinets, all of them or those of --cabinets, so that somebody in front of the wall
finds them; --off ends that.

Examples:
  tesselctl --device 192.168.0.10 identify
  tesselctl --device 192.168.0.10 identify --cabinets 7,12
  tesselctl --device 192.168.0.10 identify --off)";

struct Options
{
    QStringList cabinets; ///< empty: all
    bool off = false;
};

DeviceRun::Result identify(Wall& wall, const QString& device, const Options& options)
{
    QVariantList ids(options.cabinets.begin(), options.cabinets.end());
    if (ids.isEmpty()) {
        const QVariantList cabinets = wall.cabinets();
        for (const QVariant& cabinet : cabinets) {
            ids << cabinet.toMap().value(QStringLiteral("id"));
        }
    }
    const QVariantMap body{{QStringLiteral("ids"), ids}, {QStringLiteral("enable"), !options.off}};
    if (!ids.isEmpty()) {
        wall.write([&] {
            QMap<QString, QVariant> reply;
            return CabinetInfoOperator::getInstance()->setCabMultLightState(device, body, reply);
        });
    }
    return wall.result(body, QStringLiteral(": the lights of %1 cabinets are %2\n")
                                 .arg(ids.size())
                                 .arg(options.off ? QStringLiteral("off") : QStringLiteral("on")));
}

} // namespace

void addIdentify(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser command = parser.addCommand("identify", QStringLiteral("light the indicators of cabinets"));
    command.add("--cabinets", options->cabinets, QStringLiteral("only these cabinets, separated by commas"))
        .listed()
        .placeholder("IDS");
    command.addFlag("--off", options->off, QStringLiteral("turn them off"));
    command.setFooter(QString::fromUtf8(footer));
    command.setRun([options](const Settings& settings, Console& console) {
        return runChange(settings, console,
                         [&](Wall& wall, const QString& device) { return identify(wall, device, *options); });
    });
}

} // namespace TesselCtl
