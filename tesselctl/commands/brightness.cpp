// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"
#include "tesselctl/terminal/printable.h"

#include <tessel/screeninfo.h>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Without VALUE, a line for each screen with its brightness. With it, sets the brightness of all screens, or of one with
--screen, and says of which; 40 and 40% are the same. Devices of the multi-screen protocol set all their screens at
once, so --screen is for devices of the single-screen protocol.

Examples:
  tesselctl --device 192.168.0.10 brightness
  tesselctl --device 192.168.0.10 brightness 40%
  tesselctl --device @stage brightness 40% --dry-run)";

// ScreenInfo::setBrightness() divides by it what it sends to devices of the multi-screen protocol.
constexpr int multiScreenDivisor = 255;

struct Options
{
    QString value;  ///< empty: to be shown
    QString screen; ///< empty: all
};

DeviceRun::Result setBrightness(Wall& wall, const QString& device, const QString& onlyScreen, int percent)
{
    QStringList ids;
    const QVariantList screens = wall.screens();
    for (const QVariant& screen : screens) {
        ids << screen.toMap().value(QStringLiteral("screen")).toString();
    }
    if (wall.outcome().code == Done && !onlyScreen.isEmpty()) {
        if (!ids.contains(onlyScreen)) {
            return {{Failed, QStringLiteral("there is no screen %1; it has %2")
                                 .arg(printable(onlyScreen), printable(ids.join(QStringLiteral(", "))))},
                    {},
                    {}};
        }
        if (wall.isMultiScreen() && ids.size() > 1) {
            return {{Failed,
                     QStringLiteral("a device of the multi-screen protocol sets the brightness of all its "
                                    "screens at once; leave out --screen")},
                    {},
                    {}};
        }
    }
    // One write sets them all there.
    const QStringList written = !onlyScreen.isEmpty()  ? QStringList(onlyScreen)
                                : wall.isMultiScreen() ? ids.mid(0, 1)
                                                       : ids;
    bool isSent = true;
    for (const QString& id : written) {
        QMap<QString, QVariant> body;
        wall.write([&] {
            return ScreenInfo::getInstance()->setBrightness(
                device, id, body, wall.isMultiScreen() ? percent * multiScreenDivisor : percent);
        });
        isSent = isSent && !body.isEmpty();
    }
    if (wall.outcome().code == Done && !isSent) {
        return {{Failed, QStringLiteral("it has no cabinets, so that no brightness can be set")}, {}, {}};
    }
    const QStringList set = onlyScreen.isEmpty() ? ids : QStringList(onlyScreen);
    const QString which =
        set.size() == 1 ? QStringLiteral("screen %1").arg(printable(set.first()))
                        : QStringLiteral("all screens (%1)").arg(printable(set.join(QStringLiteral(", "))));
    return wall.result(QVariantMap{{QStringLiteral("brightness"), percent},
                                   {QStringLiteral("screens"), QVariantList(set.begin(), set.end())}},
                       QStringLiteral(": %1 %2 %\n").arg(which).arg(percent));
}

ExitCode runBrightness(const Settings& settings, const Options& options, Console& console)
{
    if (options.value.isEmpty()) {
        const QStringList columns{QStringLiteral("screen"), QStringLiteral("name"),
                                  QStringLiteral("brightness")};
        return runTable(settings, console, columns, [&](Wall& wall) {
            QVariantList shown;
            const QVariantList screens = wall.screens();
            for (const QVariant& one : screens) {
                const QVariantMap screen = one.toMap();
                const QString id = screen.value(QStringLiteral("screen")).toString();
                if (options.screen.isEmpty() || options.screen == id) {
                    shown << QVariantMap{
                        {QStringLiteral("screen"), id},
                        {QStringLiteral("name"), screen.value(QStringLiteral("name"))},
                        {QStringLiteral("brightness"), screen.value(QStringLiteral("brightness"))}};
                }
            }
            return shown;
        });
    }
    QString number = options.value;
    if (number.endsWith(QLatin1Char('%'))) {
        number.chop(1);
    }
    bool isNumber = false;
    const int percent = number.toInt(&isNumber);
    if (!isNumber || percent < 0 || percent > 100) {
        console.error(QStringLiteral("the brightness is a whole number from 0% to 100%, not \"%1\"")
                          .arg(printable(options.value)));
        return Usage;
    }
    return runChange(settings, console, [&](Wall& wall, const QString& device) {
        return setBrightness(wall, device, options.screen, percent);
    });
}

} // namespace

void addBrightness(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser brightness =
        parser.addCommand("brightness", QStringLiteral("show or set the brightness of screens"));
    brightness.add("VALUE", options->value, QStringLiteral("0% to 100%")).placeholder("");
    brightness.add("--screen", options->screen, QStringLiteral("only this screen")).placeholder("ID");
    brightness.setFooter(QString::fromUtf8(footer));
    brightness.setRun([options](const Settings& settings, Console& console) {
        return runBrightness(settings, *options, console);
    });
}

} // namespace TesselCtl
