// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"

#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Has the hardware show a picture of its own: NUMBER, whose meaning depends on the device, or off, which is 0. The device
shows it on the whole wall; with --cabinets, these cabinets show it instead.

Examples:
  tesselctl --device 192.168.0.10 test-pattern 3
  tesselctl --device 192.168.0.10 test-pattern off
  tesselctl --device 192.168.0.10 test-pattern 3 --cabinets 1,2)";

struct Options
{
    QString pattern;
    QStringList cabinets; ///< empty: the whole wall
};

ExitCode runTestPattern(const Settings& settings, const Options& options, Console& console)
{
    bool isNumber = false;
    const int number = options.pattern == QLatin1String("off") ? 0 : options.pattern.toInt(&isNumber);
    if ((!isNumber && options.pattern != QLatin1String("off")) || number < 0) {
        console.error(QStringLiteral("a test pattern is a number from 0, or off"));
        return Usage;
    }
    QVariantMap body{{QStringLiteral("pattern"), number}};
    if (!options.cabinets.isEmpty()) {
        body.insert(QStringLiteral("ids"), QVariantList(options.cabinets.begin(), options.cabinets.end()));
    }
    return runChange(settings, console, [&](Wall& wall, const QString& device) {
        wall.write([&] {
            QMap<QString, QVariant> reply;
            return options.cabinets.isEmpty()
                       ? HWInfo::getInstance()->putHWInfoTestModePattern(device, body, reply)
                       : CabinetInfoOperator::getInstance()->setMutiTestPattern(device, body, reply);
        });
        const QString where = options.cabinets.isEmpty()
                                  ? QStringLiteral("the whole wall")
                                  : QStringLiteral("%1 cabinets").arg(options.cabinets.size());
        return wall.result(body, QStringLiteral(": test pattern %1 on %2\n").arg(number).arg(where));
    });
}

} // namespace

void addTestPattern(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser pattern =
        parser.addCommand("test-pattern", QStringLiteral("show a test pattern, or end it"));
    pattern.add("NUMBER", options->pattern, QStringLiteral("the number of the pattern, or off"))
        .required()
        .placeholder("");
    pattern.add("--cabinets", options->cabinets, QStringLiteral("only these cabinets, separated by commas"))
        .listed()
        .placeholder("IDS");
    pattern.setFooter(QString::fromUtf8(footer));
    pattern.setRun([options](const Settings& settings, Console& console) {
        return runTestPattern(settings, *options, console);
    });
}

} // namespace TesselCtl
