// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"
#include "tesselctl/commands/coefficients.h"
#include "tesselctl/commands/devicerun.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/progressbar.h"

#include <files/atomicfile.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

namespace TesselCtl {

using Tessel::Files::AtomicFile;

namespace {

const char* const footer = R"(
PATH is a directory, which ends in a slash or exists, and gets one file per cabinet, CABINET.json; or a file, which gets
a JSON object of cabinets and tables, and only if all of them could be read. "upload" reads what "download" writes.
SIGINT and SIGTERM end it with exit code 130 or 143. A file is replaced as a whole or left unchanged.

Plain tables are returned as one list for the whole device, into a file. Multilayer and adaptive tables are returned by
cabinet and need --cabinets. Devices do not return the other kinds.

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
            return {Failed, QStringLiteral("the operation sent no request")};
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
            return {Failed, QStringLiteral("the reply holds no table")};
        }
        return {};
    }

    /// Makes room for other lines.
    void clearBar() { m_bar.clear(); }

private:
    // The size of everything is known while the last table comes.
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
    return {Failed, QStringLiteral("%1: %2").arg(printable(path), file.error())};
}

/// Whether @p path can be written to; a directory is created.
Expected<void> checkDestination(const QString& path, bool directory, const QStringList& cabinets)
{
    const auto error = [&path](const QString& text) {
        return Error{QStringLiteral("%1: %2").arg(printable(path), text)};
    };
    if (!directory) {
        AtomicFile file(path);
        return file.open() ? Expected<void>() : error(file.error());
    }
    for (const QString& cabinet : cabinets) {
        if (cabinet.contains(QLatin1Char('/'))) {
            return error(QStringLiteral("cabinet %1 cannot name a file in a directory; download into a file")
                             .arg(printable(cabinet)));
        }
    }
    if (!QDir().mkpath(path)) {
        return error(QStringLiteral("cannot create the directory"));
    }
    return QFileInfo(path).isWritable() ? Expected<void>()
                                        : error(QStringLiteral("the directory is not writable"));
}

/// Whether devices return what is asked for, in that form.
Expected<void> checkSelection(const CoefficientKind& kind, const Options& options, bool directory)
{
    const QString& name = options.selection.kind;
    const bool hasCabinets = !options.selection.cabinetNames().isEmpty();
    if (!kind.load) {
        return Error{
            QStringLiteral("devices cannot return %1 coefficients; choose another --kind").arg(name)};
    }
    if (kind.loadsByCabinet && !hasCabinets) {
        return Error{QStringLiteral("%1 coefficients are read by cabinet; use --cabinets").arg(name)};
    }
    if (!kind.loadsByCabinet && (directory || hasCabinets)) {
        return Error{
            QStringLiteral("devices return %1 coefficients as one list; use a file as PATH and no --cabinets")
                .arg(name)};
    }
    return {};
}

/// Reads coefficients from one device into a file, or into one file per cabinet where the path is a
/// directory. What a failure would cut short stays as it was.
ExitCode runDownload(const Settings& settings, const Options& options, Console& console)
{
    const QString& path = options.path;
    const QStringList cabinets = options.selection.cabinetNames();
    const CoefficientKind& kind = coefficientKind(options.selection.kind);
    const bool directory = path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir();
    if (const Expected<void> possible = checkSelection(kind, options, directory); !possible) {
        console.error(possible.error());
        return Usage;
    }
    DeviceRun run(settings, console);
    if (!run.beginAlone(QStringLiteral("coefficients can be downloaded"))) {
        return Usage;
    }
    if (const Expected<void> writable = checkDestination(path, directory, cabinets); !writable) {
        console.error(writable.error());
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
        console.error(QStringLiteral("%1: %2: %3").arg(printable(device), cabinetText(name), outcome.error));
        if (code == Done) {
            code = outcome.code;
        }
    }
    loader.clearBar();
    if (code == Done && !directory) {
        const Outcome stored = store(path, kind.loadsByCabinet ? QVariant(tables) : tables.first());
        code = stored.code;
        if (code != Done) {
            console.error(stored.error);
        }
    }
    if (code != Done && !directory && QFileInfo::exists(path)) {
        console.info(QStringLiteral("%1 is unchanged").arg(printable(path)));
    }
    return code;
}

} // namespace

void addCoefficientDownload(CommandParser& coefficients)
{
    const auto options = std::make_shared<Options>();
    CommandParser download = coefficients.addCommand("download", QStringLiteral("save tables to files"));
    download.add("PATH", options->path, QStringLiteral("file or directory")).required().placeholder("");
    options->selection.addKind(download);
    options->selection.addCabinets(download, QStringLiteral("the cabinets to read"));
    download.setFooter(QString::fromUtf8(footer));
    download.setRun([options](const Settings& settings, Console& console) {
        return runDownload(settings, *options, console);
    });
}

} // namespace TesselCtl
