// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wall.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
A line for each device: its name, model, version, serial number and protocol, and how many screens and cabinets it has.

Examples:
  tesselctl --device 192.168.0.10 info
  tesselctl --device @stage info --output json)";

} // namespace

QVariantMap deviceInfo(Wall& wall)
{
    const QVariantMap hardware = wall.hardware();
    const int screens = wall.screens().size();
    const int cabinets = wall.cabinets().size();
    return {{QStringLiteral("name"), hardware.value(QStringLiteral("customName"))},
            {QStringLiteral("model"), hardware.value(QStringLiteral("name"))},
            {QStringLiteral("version"), hardware.value(QStringLiteral("version"))},
            {QStringLiteral("sn"), hardware.value(QStringLiteral("sn"))},
            {QStringLiteral("protocol"), wall.protocol()},
            {QStringLiteral("screens"), screens},
            {QStringLiteral("cabinets"), cabinets}};
}

void addInfo(CommandParser& parser)
{
    CommandParser info = parser.addCommand("info", QStringLiteral("show what each device is"));
    info.setFooter(QString::fromUtf8(footer));
    info.setRun([](const Settings& settings, Console& console) {
        const QStringList columns{QStringLiteral("name"),     QStringLiteral("model"),
                                  QStringLiteral("version"),  QStringLiteral("sn"),
                                  QStringLiteral("protocol"), QStringLiteral("screens"),
                                  QStringLiteral("cabinets")};
        return runTable(settings, console, columns,
                        [](Wall& wall) { return QVariantList{deviceInfo(wall)}; });
    });
}

} // namespace TesselCtl
