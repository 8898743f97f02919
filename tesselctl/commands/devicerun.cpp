// SPDX-License-Identifier: MIT
#include "tesselctl/commands/devicerun.h"

#include "tesselctl/commands/deviceresults.h"
#include "tesselctl/requests/deadline.h"
#include "tesselctl/requests/deviceprocesses.h"
#include "tesselctl/requests/dryrun.h"
#include "tesselctl/terminal/console.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/question.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <chrono>

namespace TesselCtl {

namespace {

using std::chrono::milliseconds;

// What a device is given before a read is done again; twice as long each time.
constexpr milliseconds firstPause(200);
constexpr milliseconds longestPause(10000);

/// A result as it travels between two processes of this program.
QByteArray packed(const DeviceRun::Result& result)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << int(result.outcome.code) << result.outcome.error << result.outcome.status
           << result.outcome.deviceCode.has_value() << result.outcome.deviceCode.value_or(0)
           << result.value.has_value() << result.value.value_or(QVariant()) << result.text;
    return bytes;
}

DeviceRun::Result unpacked(const QByteArray& bytes)
{
    DeviceRun::Result result;
    QDataStream stream(bytes);
    int code = 0;
    bool hasDeviceCode = false;
    qlonglong deviceCode = 0;
    bool hasValue = false;
    QVariant value;
    stream >> code >> result.outcome.error >> result.outcome.status >> hasDeviceCode >> deviceCode >>
        hasValue >> value >> result.text;
    result.outcome.code = static_cast<ExitCode>(code);
    if (hasDeviceCode) {
        result.outcome.deviceCode = deviceCode;
    }
    if (hasValue) {
        result.value = value;
    }
    return result;
}

/// Whether the same request may do better a little later.
bool mayPass(const Outcome& outcome)
{
    return outcome.code == Unreachable || outcome.code == TimedOut || outcome.status == 429 ||
           outcome.status == 503;
}

Outcome interruptedBy(int signal)
{
    return {static_cast<ExitCode>(128 + signal), QStringLiteral("interrupted")};
}

} // namespace

DeviceRun::DeviceRun(const Settings& settings, Console& console)
    : CommandRun(settings, console)
{
    addDevices();
}

Outcome DeviceRun::settled(const Outcome& outcome) const
{
    return outcome.code != Done && interruption().happened() ? interruptedBy(interruption().signal())
                                                             : outcome;
}

bool DeviceRun::beginAlone(const QString& what)
{
    if (devices().size() > 1) {
        console().error(QStringLiteral("%1 from one device only; give one --device").arg(what));
    }
    if (devices().size() != 1) {
        return false;
    }
    begin(forgetDevices);
    return true;
}

DeviceRun::Result DeviceRun::doOnce(const QString& device, const Work& work) const
{
    Result result{{Failed, {}}, {}, {}};
    if (!interruption().happened()) {
        result = work(device);
    }
    result.outcome = settled(result.outcome);
    return result;
}

DeviceRun::Result DeviceRun::doFor(const QString& device, const Work& work, const Kind& kind)
{
    begin(forgetDevices);
    const Deadline deadline(milliseconds(std::chrono::milliseconds::rep(settings().timeout * 1000)),
                            forgetDevices);
    Result result = doOnce(device, work);
    milliseconds pause = firstPause;
    for (int i = 0; kind.isRead && i < settings().retry && mayPass(result.outcome); ++i) {
        const milliseconds wanted(result.outcome.retryAfter);
        if (!interruption().pause(std::min(std::max(pause, wanted), longestPause)) || deadline.hasPassed()) {
            break;
        }
        pause *= 2;
        result = doOnce(device, work);
    }
    if (result.outcome.code != Done && deadline.hasPassed() && !interruption().happened()) {
        result = {{TimedOut, QStringLiteral("not done within %1 s").arg(settings().timeout)}, {}, {}};
    }
    return result;
}

ExitCode DeviceRun::forEach(const Work& work, const Kind& kind)
{
    if (devices().empty()) {
        return Usage;
    }
    DeviceResults results(settings(), kind, devices().size() > 1, console());
    collect(work, kind,
            [&results](const QString& device, const Result& result) { results.take(device, result); });
    return results.finish();
}

void DeviceRun::collect(const Work& work, const Kind& kind,
                        const std::function<void(const QString& device, const Result& result)>& take)
{
    const int count = static_cast<int>(devices().size());
    const auto nameOf = [this](int index) { return devices()[static_cast<std::size_t>(index)].name; };
    if (count == 1 && !kind.isApart) {
        take(nameOf(0), doFor(nameOf(0), work, kind));
        return;
    }
    bool failed = false;
    DeviceProcesses processes;
    processes.work = [&](int index) {
        console().expectTrace(); // of the others
        return packed(doFor(nameOf(index), work, kind));
    };
    if (settings().failFast) {
        processes.endsAll = [&](const QByteArray& report) {
            failed = failed || unpacked(report).outcome.code != Done;
            return failed;
        };
    }
    processes.take = [&](int index, const std::optional<QByteArray>& report, int signal) {
        Result result{{Failed, QStringLiteral("not done")}, {}, {}, true};
        if (report) {
            result = unpacked(*report);
        } else if (signal != 0) {
            result = {interruptedBy(signal), {}, {}};
        } else if (!failed) {
            result.outcome.error = QStringLiteral("the process for this device ended early");
            result.isSkipped = false;
        }
        // What was given up because of a failure is none itself.
        if (failed && result.outcome.code == Terminated) {
            result = {{Failed, QStringLiteral("given up")}, {}, {}, true};
        }
        take(nameOf(index), result);
    };
    processes.run(count, settings().parallel);
}

ExitCode DeviceRun::forEach(const std::function<Outcome(const QString& device)>& work, bool isRead)
{
    Kind kind;
    kind.isRead = isRead;
    kind.failure = false;
    const auto doIt = [&](const QString& device) -> Result {
        if (isRead || !settings().dryRun) {
            return {work(device), true, QStringLiteral(": ok\n")};
        }
        const DryRun dryRun;
        const Outcome outcome = work(device);
        return {outcome, dryRun.writes(), unsentText(dryRun.writes())};
    };
    return forEach(doIt, kind);
}

bool DeviceRun::mayDo(const QString& what) const
{
    if (settings().yes || settings().dryRun || !canAsk()) {
        return true;
    }
    const int count = static_cast<int>(devices().size());
    return isAnsweredYes(QStringLiteral("This cannot be undone. %1 of %2?")
                             .arg(what, count == 1 ? printable(devices().front().name)
                                                   : QStringLiteral("%1 devices").arg(count)));
}

} // namespace TesselCtl
