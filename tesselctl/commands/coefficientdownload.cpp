// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"
#include "tesselctl/commands/coefficients.h"
#include "tesselctl/commands/devicerun.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/progressbar.h"

#include <communicator/http/atomicfile.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::AtomicFile;

namespace {

const char* const footer = R"(
PATH is a directory, which ends in a slash or is there, and gets a file CABINET.json for each cabinet; or a file,
which gets a JSON object of cabinet and table, and only when all could be read. What "upload" reads is what
"download" writes. SIGINT and SIGTERM end it with exit code 1; a file is written whole or stays as it was.

Plain tables come as one list of the whole device, into a file. Multilayer and adaptive ones come by cabinet and
need --cabinets. Devices do not give the other kinds back.

Examples:
  tesselctl --device 192.168.0.10 coefficients download wall.json
  tesselctl --device 192.168.0.10 coefficients download tables/ --kind multilayer --cabinets 3,7)";

struct Options
{
    QString path; ///< file or directory
    CoefficientSelection selection;
};

using List = QList<QVariant>;

/// Reads tables from one device and shows how far that is.
class Loader
{
public:
    Loader(const CoefficientKind& kind, DeviceRun& run, int tables, Console& console)
        : m_kind(kind)
        , m_run(run)
        , m_device(run.devices().front().name)
        , m_bar(QStringLiteral("download"), console)
    {
        m_transfer.partName = QStringLiteral("tables");
        m_transfer.partsInAll = tables;
        m_clock.start();
    }

    /// Reads the table of a cabinet, or the one of the whole device. The text is that of the device: the
    /// library's lists are flattened and would not go back the way they came.
    Outcome load(const QString& cabinet, QVariant& table)
    {
        if (m_run.interruption().happened()) {
            return m_run.settled({Failed, {}});
        }
        List elements;
        showProgress({});
        CallObserver exchanges;
        workAndShow(
            [&] {
                const CallObserver::Scope scope = exchanges.collect();
                (Correctionop::getInstance()->*m_kind.load)(m_device, cabinet, elements);
            },
            [&] { showProgress(exchanges.progress()); });
        const auto record = exchanges.latest();
        if (!record) {
            return {Failed, QStringLiteral("no request was made")};
        }
        m_transfer.bytes += record->bytesReceived;
        m_transfer.parts += 1;
        showProgress({});
        Outcome outcome = m_run.settled(outcomeOf(*record));
        if (outcome.code != Done) {
            return outcome;
        }
        const Expected<QVariant> envelope = parseJson(record->reply);
        table = envelope ? envelope->toMap().value(QStringLiteral("data")) : QVariant();
        if (table.userType() != QMetaType::QVariantList) {
            return {Failed, QStringLiteral("the device sent no table")};
        }
        return {};
    }

    /// Makes room for other lines.
    void clearBar() { m_bar.clear(); }

private:
    // What a device has to tell is known while it sends the last table.
    void showProgress(const std::optional<CallObserver::Progress>& current)
    {
        Transfer transfer = m_transfer;
        transfer.milliseconds = m_clock.elapsed();
        transfer.bytesInAll = -1;
        double parts = transfer.parts;
        if (current) {
            transfer.bytes += current->bytesReceived;
            const bool last = transfer.parts + 1 == transfer.partsInAll;
            if (current->bytesToReceive > 0) {
                parts += fraction(current->bytesReceived, current->bytesToReceive);
                transfer.bytesInAll = last ? m_transfer.bytes + current->bytesToReceive : -1;
            }
        }
        m_bar.show(parts / transfer.partsInAll, transferText(transfer));
    }

    const CoefficientKind& m_kind;
    DeviceRun& m_run;
    const QString m_device;
    ProgressBar m_bar;
    QElapsedTimer m_clock;
    Transfer m_transfer;
};

/// Writes @p value into @p path, which stays as it was when that fails.
Outcome store(const QString& path, const QVariant& value)
{
    AtomicFile file(path);
    const QByteArray text = toJson(value, false) + '\n';
    if (file.open() && file.write(text.constData(), text.size()) && file.commit()) {
        return {};
    }
    return {Failed, QStringLiteral("%1: %2").arg(printable(path), file.reason())};
}

/// Why @p path cannot be written to; empty when it can.
QString faultOfDestination(const QString& path, bool directory, const QStringList& cabinets)
{
    if (!directory) {
        AtomicFile file(path);
        return file.open() ? QString() : file.reason();
    }
    for (const QString& cabinet : cabinets) {
        if (cabinet.contains(QLatin1Char('/'))) {
            return QStringLiteral("cabinet %1 gives no file name").arg(printable(cabinet));
        }
    }
    if (!QDir().mkpath(path)) {
        return QStringLiteral("the directory cannot be made");
    }
    return QFileInfo(path).isWritable() ? QString() : QStringLiteral("the directory cannot be written");
}

/// Reads coefficients from one device into a file, or into one file per cabinet where the path is a
/// directory. What a failure would cut short stays as it was.
ExitCode runDownload(const Settings& settings, const Options& options, Console& console)
{
    const QString& path = options.path;
    const QString& kindName = options.selection.kind;
    const QStringList cabinets = options.selection.cabinetNames();
    const CoefficientKind& kind = coefficientKind(kindName);
    const bool directory = path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir();
    QString problem;
    if (!kind.load) {
        problem = QStringLiteral("devices do not give %1 coefficients back").arg(kindName);
    } else if (settings.devices.devices.size() > 1) {
        problem = QStringLiteral("coefficients are downloaded from one device at a time");
    } else if (kind.loadsByCabinet && cabinets.isEmpty()) {
        problem = QStringLiteral("%1 coefficients are read by cabinet; say --cabinets").arg(kindName);
    } else if (!kind.loadsByCabinet && (directory || !cabinets.isEmpty())) {
        problem = QStringLiteral("devices give %1 coefficients as one list; name a file and no cabinets")
                      .arg(kindName);
    }
    if (!problem.isEmpty()) {
        console.error(problem);
        return Usage;
    }
    DeviceRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    const QString fault = faultOfDestination(path, directory, cabinets);
    if (!fault.isEmpty()) {
        console.error(QStringLiteral("%1: %2").arg(printable(path), fault));
        return Failed;
    }

    const QString device = run.devices().front().name;
    const QStringList names = kind.loadsByCabinet ? cabinets : QStringList(QString());
    Loader loader(kind, run, names.size(), console);
    QVariantMap tables;
    ExitCode code = Done;
    for (const QString& name : names) {
        QVariant table;
        Outcome outcome = loader.load(name, table);
        if (outcome.code == Done && directory) {
            outcome = store(QDir(path).filePath(name + QStringLiteral(".json")), table);
        } else if (outcome.code == Done) {
            tables.insert(name, table);
        }
        if (outcome.code == Done) {
            continue;
        }
        loader.clearBar();
        console.error(QStringLiteral("%1: %2: %3").arg(printable(device), cabinetText(name), outcome.reason));
        if (code == Done) {
            code = outcome.code;
        }
    }
    loader.clearBar();
    if (code == Done && !directory) {
        const Outcome stored = store(path, kind.loadsByCabinet ? QVariant(tables) : tables.first());
        code = stored.code;
        if (code != Done) {
            console.error(stored.reason);
        }
    }
    if (code != Done && !directory && QFileInfo::exists(path)) {
        console.info(QStringLiteral("%1 stays as it was").arg(printable(path)));
    }
    return code;
}

} // namespace

void addCoefficientDownload(CommandParser& coefficients)
{
    const auto options = std::make_shared<Options>();
    CommandParser download = coefficients.addCommand("download", QStringLiteral("write tables into files"));
    download.add("PATH", options->path, QStringLiteral("file or directory")).required().placeholder("");
    options->selection.addKind(download);
    options->selection.addCabinets(download, QStringLiteral("those to read"));
    download.setFooter(QString::fromUtf8(footer));
    download.setRun([options](const Settings& settings, Console& console) {
        return runDownload(settings, *options, console);
    });
}

} // namespace TesselCtl
