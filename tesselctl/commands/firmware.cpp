// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"
#include "tesselctl/commands/devicerun.h"

#include "tesselctl/commands/updateprogress.h"
#include "tesselctl/operations/sourcefile.h"
#include "tesselctl/terminal/expected.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/progressbar.h"

#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <chrono>
#include <functional>

namespace TesselCtl {

namespace {

using Map = QMap<QString, QVariant>;

constexpr auto pollInterval = std::chrono::milliseconds(500);
// An update that gets no further for so long is given up; cards that restart are silent for a while.
constexpr qint64 patience = 120000;
// A controller's firmware is held in memory.
constexpr qint64 sizeLimit = 1LL << 30;

/// Reads how far an update is. @return how the reading ended.
Outcome readProgress(const QString& device, bool controller, Map& reply)
{
    CallObserver exchanges;
    const CallObserver::Scope scope = exchanges.collect();
    if (controller) {
        HWInfo::getInstance()->getHWInfoUpdateProgress(device, reply);
    } else {
        CabinetInfoOperator::getInstance()->getRvCardsUpdateProgress(device, reply);
    }
    return exchanges.outcome();
}

/// Why @p path cannot be sent as firmware; empty when it can.
QString faultOfImage(const QString& path)
{
    QString fault = sourceFileError(path);
    const qint64 size = QFileInfo(path).size();
    if (!fault.isEmpty()) {
        return fault;
    }
    if (size > sizeLimit) {
        return QStringLiteral("is larger than 1 GiB");
    }
    return size == 0 ? QStringLiteral("is empty") : QString();
}

/// The further parts of the form; or which of @p fields is none.
Expected<Map> formOf(const QStringList& fields)
{
    Map form;
    for (const QString& field : fields) {
        const int equals = field.indexOf(QLatin1Char('='));
        if (equals <= 0) {
            return Mistake{QStringLiteral("\"%1\" is not NAME=VALUE").arg(printable(field))};
        }
        form.insert(field.left(equals), field.mid(equals + 1));
    }
    return form;
}

/// How far a device is with an update, as it tells.
class UpdateWatch
{
public:
    UpdateWatch(const QString& device, bool controller, DeviceRun& run, ProgressBar& bar)
        : m_device(device)
        , m_controller(controller)
        , m_run(run)
        , m_bar(bar)
    {}

    /// Reads how far it is and shows what came. @return how the reading ended.
    Outcome look()
    {
        Map reply;
        Outcome outcome = readProgress(m_device, m_controller, reply);
        m_latest = updateProgressOf(reply);
        if (m_latest.share >= 0) {
            m_bar.show(m_latest.share, m_latest.state);
        }
        return outcome;
    }

    /// Waits until the update ended; @p silence is how it ends when the device tells no progress.
    Outcome waitUntilDone(const Outcome& silence)
    {
        QElapsedTimer still;
        still.start();
        double reached = -1;
        Outcome outcome;
        do {
            outcome = look();
            if (m_latest.failed) {
                return {Failed, QStringLiteral("the device says: ") + m_latest.state};
            }
            if (outcome.code == Done && m_latest.share < 0) {
                return silence;
            }
            if (outcome.code == Refused || m_latest.share >= 1) {
                return outcome;
            }
            if (m_latest.share > reached) {
                reached = m_latest.share;
                still.restart();
            }
            if (still.hasExpired(patience)) {
                const QString stopped =
                    QStringLiteral("the update got no further for %1").arg(durationText(patience / 1000));
                return outcome.code == Done ? Outcome{TimedOut, stopped} : outcome;
            }
        } while (m_run.interruption().pause(pollInterval));
        return {Failed, {}};
    }

private:
    const QString m_device;
    const bool m_controller;
    DeviceRun& m_run;
    ProgressBar& m_bar;
    UpdateProgress m_latest;
};

/// The update of one device: its steps, and its progress beside them.
class Updater
{
public:
    Updater(const QString& device, const FirmwareUpdate& update, const Map& form, DeviceRun& run,
            Console& console)
        : m_device(device)
        , m_update(update)
        , m_form(form)
        , m_run(run)
        , m_bar(device, console)
        , m_watch(device, update.controller, run, m_bar)
    {}

    Outcome update() { return m_update.controller ? updateController() : updateCards(); }

private:
    Outcome updateController()
    {
        QFile file(m_update.file);
        if (!file.open(QIODevice::ReadOnly)) {
            return {Failed, file.errorString()};
        }
        const QByteArray image = file.readAll();
        auto* const controller = HWInfo::getInstance();
        const Outcome sent = step([this, controller, image] {
            Map reply;
            controller->putHWInfoUpdate(m_device, image, reply);
        });
        return sent.code == Done ? m_watch.waitUntilDone(toldNothing()) : sent;
    }

    Outcome updateCards()
    {
        auto* const cards = CabinetInfoOperator::getInstance();
        Map parts = m_form;
        parts.insert(m_update.part, QUrl::fromLocalFile(QFileInfo(m_update.file).absoluteFilePath()));
        Outcome outcome = step([this, cards, parts] {
            Map reply;
            cards->putRvCardsUpdate(m_device, parts, reply);
        });
        if (outcome.code != Done || m_update.uploadOnly) {
            return outcome;
        }
        parts = m_form;
        parts.insert(m_update.part, QFileInfo(m_update.file).fileName());
        outcome = step([this, cards, parts] {
            Map reply;
            cards->putRvCardsUpdateLoad(m_device, parts, reply);
        });
        return outcome.code == Done ? m_watch.waitUntilDone(toldNothing()) : outcome;
    }

    /// A device that tells no progress has done what it was told when it answered.
    static Outcome toldNothing() { return {}; }

    /// Sends, and shows meanwhile the bytes on their way; and once they are all there what the device says,
    /// which may take minutes to answer.
    Outcome step(const std::function<void()>& send)
    {
        if (m_run.interruption().happened()) {
            return {Failed, {}};
        }
        QElapsedTimer begun;
        begun.start();
        QElapsedTimer looked;
        looked.start();
        m_bar.show(0, QStringLiteral("sending"));
        CallObserver exchanges;
        const auto work = [&] {
            const CallObserver::Scope scope = exchanges.collect();
            send();
        };
        workAndShow(work, [&] {
            const auto progress = exchanges.progress();
            if (progress && progress->bytesSent < progress->bytesToSend) {
                const Transfer transfer{progress->bytesSent, progress->bytesToSend, 0, 0, {},
                                        begun.elapsed()};
                m_bar.show(fraction(transfer.bytes, transfer.bytesInAll),
                           QStringLiteral("sending, ") + transferText(transfer));
            } else if (looked.hasExpired(pollInterval.count())) {
                m_watch.look();
                looked.restart();
            }
        });
        return exchanges.outcome();
    }

    const QString m_device;
    const FirmwareUpdate& m_update;
    const Map& m_form;
    DeviceRun& m_run;
    ProgressBar m_bar;
    UpdateWatch m_watch;
};

/// Has the transport put the firmware into the file @p path, which takes its place only when it is whole.
Outcome download(const QString& device, const QString& id, int type, const QString& path, DeviceRun& run,
                 Console& console)
{
    QElapsedTimer begun;
    begun.start();
    ProgressBar bar(QStringLiteral("download"), console);
    CallObserver exchanges;
    // It tells no failure; the exchange does.
    const auto work = [&] {
        const CallObserver::Scope scope = exchanges.collect();
        CabinetInfoOperator::getInstance()->getRvCardFirmware(device, id, type, path);
    };
    workAndShow(work, [&] {
        const auto progress = exchanges.progress();
        if (!progress) {
            return;
        }
        const qint64 all = progress->bytesToReceive;
        const Transfer transfer{progress->bytesReceived, all, 0, 0, {}, begun.elapsed()};
        bar.show(all < 0 ? -1 : fraction(transfer.bytes, all), transferText(transfer));
    });
    const auto record = exchanges.latest();
    if (!record) {
        return {Failed, QStringLiteral("no request was made")};
    }
    Outcome outcome = run.settled(outcomeOf(*record));
    using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
    if (record->state == State::FileFailure) {
        outcome.reason = QStringLiteral("%1: %2").arg(printable(path), outcome.reason);
    }
    return outcome;
}

} // namespace

ExitCode runFirmwareUpdate(const Settings& settings, const FirmwareUpdate& update, Console& console)
{
    QString problem = faultOfImage(update.file);
    if (!problem.isEmpty()) {
        problem = QStringLiteral("%1: %2").arg(printable(update.file), problem);
    }
    const Expected<Map> form = formOf(update.fields);
    if (problem.isEmpty()) {
        problem = form.error();
    }
    if (problem.isEmpty() && update.controller && (update.uploadOnly || !form->isEmpty())) {
        problem = QStringLiteral("a controller's firmware goes without a form: no --field, no --upload-only");
    }
    if (!problem.isEmpty()) {
        console.error(problem);
        return Usage;
    }
    DeviceRun run(settings, console);
    return run.forEach(
        [&](const QString& device) { return Updater(device, update, *form, run, console).update(); });
}

ExitCode runFirmwareProgress(const Settings& settings, bool controller, Console& console)
{
    DeviceRun run(settings, console);
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            Map reply;
            const Outcome outcome = readProgress(device, controller, reply);
            return {outcome, reply, QStringLiteral(":\n") + humanText(reply)};
        },
        QVariant());
}

ExitCode runFirmwareFollow(const Settings& settings, bool controller, Console& console)
{
    DeviceRun run(settings, console);
    return run.forEach([&](const QString& device) {
        ProgressBar bar(device, console);
        return UpdateWatch(device, controller, run, bar)
            .waitUntilDone({Failed, QStringLiteral("the device tells no progress")});
    });
}

ExitCode runFirmwareDownload(const Settings& settings, const QString& path, const QString& id, int type,
                             Console& console)
{
    if (settings.devices.devices.size() > 1) {
        console.error(QStringLiteral("firmware is downloaded from one device at a time"));
        return Usage;
    }
    DeviceRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    const QString device = run.devices().front().name;
    const Outcome outcome = download(device, id, type, path, run, console);
    if (outcome.code != Done) {
        console.error(QStringLiteral("%1: %2").arg(printable(device), outcome.reason));
        if (QFileInfo::exists(path)) {
            console.info(QStringLiteral("%1 stays as it was").arg(printable(path)));
        }
        return outcome.code;
    }
    const qint64 size = QFileInfo(path).size();
    if (settings.json) {
        console.out(QString::fromUtf8(toJson(
                        QVariantMap{{QStringLiteral("file"), path}, {QStringLiteral("bytes"), size}}, true)) +
                    QLatin1Char('\n'));
    } else {
        console.out(QStringLiteral("%1: %2\n").arg(printable(path), humanSize(size)));
    }
    return Done;
}

} // namespace TesselCtl
