// SPDX-License-Identifier: MIT
#include "tesselctl/commands/liverun.h"

#include "tesselctl/terminal/console.h"
#include "tesselctl/terminal/jsontext.h"

#include <tessel/devicemanager.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>

#include <chrono>
#include <utility>

namespace TesselCtl {

LiveRun::LiveRun(const Settings& settings, Console& console)
    : CommandRun(settings, console)
{
    beginLive();
}

LiveRun::LiveRun(const Settings& settings, Console& console, std::vector<Device> devices)
    : CommandRun(settings, console, std::move(devices))
{
    beginLive();
}

void LiveRun::beginLive()
{
    if (!devices().empty()) {
        begin(Interruption::inEventLoopOf(QCoreApplication::instance(), &QCoreApplication::quit));
    }
}

bool LiveRun::run(int seconds)
{
    // In this order: a device that was read before is known already, and adding it again would open its
    // stream twice.
    if (!addDevices()) {
        return false;
    }
    DeviceManager::getInstance()->initManager();
    if (seconds > 0) {
        QTimer::singleShot(std::chrono::seconds(seconds), QCoreApplication::instance(),
                           &QCoreApplication::quit);
    }
    QCoreApplication::exec();
    return true;
}

void LiveRun::stop()
{
    QCoreApplication::quit();
}

void LiveRun::print(const QString& text)
{
    console().out(text);
    if (console().dataLost()) {
        stop();
    }
}

void LiveRun::printJson(QVariantMap object)
{
    object.insert(QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    // One document of YAML each, so that a reader need not wait for the end.
    print(settings().format() == Format::Yaml ? QStringLiteral("---\n") + formatted(object, Format::Yaml)
                                              : QString::fromUtf8(toJson(object, false)) + QLatin1Char('\n'));
}

} // namespace TesselCtl
