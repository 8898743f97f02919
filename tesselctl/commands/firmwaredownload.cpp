// SPDX-License-Identifier: MIT
#include "tesselctl/commands/firmware.h"

#include "tesselctl/commands/devicerun.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/progressbar.h"

#include <tessel/cabinetinfooperator.h>

#include <QElapsedTimer>
#include <QFileInfo>

namespace TesselCtl {

namespace {

const char* const footer = R"(
The file is replaced when the download is complete. After an error, SIGINT or SIGTERM it is unchanged, and no partial
file remains.

Examples:
  tesselctl --device 192.168.0.10 firmware download card.bin --id 3 --type 1)";

struct Options
{
    QString path; ///< where to
    QString id;   ///< the receiving card
    int type = 0; ///< which of its firmwares
};

/// Has the transport put the firmware into the file, which takes its place only when it is whole.
Outcome download(const QString& device, const Options& options, DeviceRun& run, Console& console)
{
    QElapsedTimer begun;
    begun.start();
    ProgressBar bar(QStringLiteral("download"), console);
    CallObserver exchanges;
    // Its return value says nothing; the exchange does.
    const auto work = [&] {
        const CallObserver::Scope scope = exchanges.collect();
        CabinetInfoOperator::getInstance()->getRvCardFirmware(device, options.id, options.type, options.path);
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
        return {Failed, QStringLiteral("the operation sent no request")};
    }
    Outcome outcome = run.settled(outcomeOf(*record));
    using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
    if (record->state == State::FileFailure) {
        outcome.error = QStringLiteral("%1: %2").arg(printable(options.path), outcome.error);
    }
    return outcome;
}

/// Reads a firmware of a receiving card of one device into a file, which stays as it was when that fails.
ExitCode runDownload(const Settings& settings, const Options& options, Console& console)
{
    const QString& path = options.path;
    DeviceRun run(settings, console);
    if (!run.beginAlone(QStringLiteral("firmware can be downloaded"))) {
        return Usage;
    }
    const QString device = run.devices().front().name;
    const Outcome outcome = download(device, options, run, console);
    if (outcome.code != Done) {
        console.error(QStringLiteral("%1: %2").arg(printable(device), outcome.error));
        if (QFileInfo::exists(path)) {
            console.info(QStringLiteral("%1 is unchanged").arg(printable(path)));
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

} // namespace

void addFirmwareDownload(CommandParser& firmware)
{
    const auto options = std::make_shared<Options>();
    CommandParser download =
        firmware.addCommand("download", QStringLiteral("save the firmware of a receiving card to a file"));
    download.add("FILE", options->path, QStringLiteral("where to; unchanged when the download fails"))
        .required()
        .placeholder("");
    download.add("--id", options->id, QStringLiteral("the receiving card")).required().placeholder("ID");
    download.add("--type", options->type, QStringLiteral("which of its firmwares"))
        .placeholder("N")
        .showDefault();
    download.setFooter(QString::fromUtf8(footer));
    download.setRun([options](const Settings& settings, Console& console) {
        return runDownload(settings, *options, console);
    });
}

} // namespace TesselCtl
