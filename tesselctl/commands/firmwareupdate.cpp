// SPDX-License-Identifier: MIT
#include "tesselctl/commands/firmware.h"

#include "tesselctl/commands/devicerun.h"
#include "tesselctl/commands/updatewatch.h"
#include "tesselctl/operations/sourcefile.h"
#include "tesselctl/terminal/expected.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/progressbar.h"

#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <functional>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Sends the firmware to the receiving cards, has the cards load it and waits until the device reports that the update is
done. Several devices are updated at once. The names of the form's parts depend on the device: --part names
the one with the file, --field adds others; the request to load has the file's name under --part and the same fields.
SIGINT and SIGTERM end it with exit code 130 or 143; the device keeps what it has received.

Examples:
  tesselctl --device 192.168.0.10 firmware update card.bin
  tesselctl --device 192.168.0.10 firmware update card.bin --part firmware --field type=1
  tesselctl --device 192.168.0.10 firmware update controller.bin --controller)";

using Map = QMap<QString, QVariant>;

// A controller's firmware is held in memory.
constexpr qint64 sizeLimit = 1LL << 30;

struct Options
{
    QString file;
    bool controller = false;               ///< for the controller itself, not for its receiving cards
    QString part = QStringLiteral("file"); ///< name of the file's part in the form that receiving cards take
    QStringList fields;                    ///< NAME=VALUE: further parts of that form
    bool uploadOnly = false;               ///< the cards get the file and do not load it yet
};

/// Whether the file @p path can be sent as firmware.
Expected<void> checkImage(const QString& path)
{
    Expected<void> usable = checkSourceFile(path);
    const qint64 size = QFileInfo(path).size();
    if (usable && size > sizeLimit) {
        return Error{QStringLiteral("%1: file is larger than 1 GiB").arg(printable(path))};
    }
    if (usable && size == 0) {
        return Error{QStringLiteral("%1: file is empty").arg(printable(path))};
    }
    return usable;
}

/// The further parts of the form.
Expected<Map> formOf(const QStringList& fields)
{
    Map form;
    for (const QString& field : fields) {
        const int equals = field.indexOf(QLatin1Char('='));
        if (equals <= 0) {
            return Error{QStringLiteral("--field must be NAME=VALUE, not \"%1\"").arg(printable(field))};
        }
        form.insert(field.left(equals), field.mid(equals + 1));
    }
    return form;
}

/// The further parts of the form; or the first thing that is wrong with the options.
Expected<Map> checkedForm(const Options& options)
{
    if (const Expected<void> usable = checkImage(options.file); !usable) {
        return Error{usable.error()};
    }
    Expected<Map> form = formOf(options.fields);
    if (form && options.controller && (options.uploadOnly || !form->isEmpty())) {
        return Error{QStringLiteral(
            "a controller's firmware is sent without a form; leave out --field and --upload-only")};
    }
    return form;
}

/// The update of one device: its steps, and its progress beside them.
class Updater
{
public:
    Updater(const QString& device, const Options& update, const Map& form, DeviceRun& run, Console& console)
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
        return sent.code == Done ? m_watch.waitUntilDone(noProgress()) : sent;
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
        return outcome.code == Done ? m_watch.waitUntilDone(noProgress()) : outcome;
    }

    /// A device that reports no progress is done when it has answered.
    static Outcome noProgress() { return {}; }

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
            } else if (looked.hasExpired(updatePollInterval.count())) {
                m_watch.look();
                looked.restart();
            }
        });
        return exchanges.outcome();
    }

    const QString m_device;
    const Options& m_update;
    const Map& m_form;
    DeviceRun& m_run;
    ProgressBar m_bar;
    UpdateWatch m_watch;
};

/// Updates the firmware of every device, one after the other, and waits until the device says that it is
/// done.
ExitCode runUpdate(const Settings& settings, const Options& update, Console& console)
{
    const Expected<Map> form = checkedForm(update);
    if (!form) {
        console.error(form.error());
        return Usage;
    }
    DeviceRun run(settings, console);
    if (!run.devices().empty() && !run.mayDo(QStringLiteral("Update the firmware"))) {
        return Failed;
    }
    return run.forEach(
        [&](const QString& device) { return Updater(device, update, *form, run, console).update(); });
}

} // namespace

void addFirmwareUpdate(CommandParser& firmware)
{
    const auto options = std::make_shared<Options>();
    CommandParser update =
        firmware.addCommand("update", QStringLiteral("send firmware and wait until the update is done"));
    update.add("FILE", options->file, QStringLiteral("the firmware")).required().placeholder("");
    update.addFlag("--controller", options->controller,
                   QStringLiteral("update the controller instead of its receiving cards"));
    update.add("--part", options->part, QStringLiteral("name of the form part with the file"))
        .placeholder("NAME")
        .showDefault();
    update.add("--field", options->fields, QStringLiteral("another part of the form; repeatable"))
        .placeholder("NAME=VALUE")
        .repeatable();
    update.addFlag("--upload-only", options->uploadOnly,
                   QStringLiteral("do not have the cards load the firmware"));
    update.setFooter(QString::fromUtf8(footer));
    update.setRun([options](const Settings& settings, Console& console) {
        return runUpdate(settings, *options, console);
    });
}

} // namespace TesselCtl
