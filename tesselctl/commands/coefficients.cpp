// SPDX-License-Identifier: MIT
#include "commands.h"
#include "devicerun.h"

#include "tesselctl/coefficientfiles.h"
#include "tesselctl/exchangeledger.h"
#include "tesselctl/exchangemeter.h"
#include "tesselctl/jsontext.h"
#include "tesselctl/output.h"
#include "tesselctl/printable.h"
#include "tesselctl/progressbar.h"
#include "tesselctl/resumecommand.h"
#include "tesselctl/terminationsignal.h"

#include <communicator/wholefile.h>
#include <tessel/allurlresource.h>
#include <tessel/correctionop.h>

#include <QtPromise>

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <set>
#include <utility>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::WholeFile;

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;
using Upload = QtPromise::QPromise<bool> (Correctionop::*)(const QString&, const List&);
using CabinetUpload = QtPromise::QPromise<Map> (Correctionop::*)(const QString&, const QString&, const List&);
using Load = bool (Correctionop::*)(const QString&, const QString&, List&);
using Action = bool (Correctionop::*)(const QString&, const Map&, Map&);

/// What the library has for a kind of coefficients; null where it has nothing.
struct Kind
{
    const char* name;
    Upload upload;
    const char* uploadRoute;
    // One cabinet by itself. The dynamic and low-gray forms have no path that names the cabinet, so these two
    // go as one list.
    CabinetUpload uploadCabinet;
    const char* uploadCabinetRoute;
    Load load;
    const char* loadRoute;
    Action save;
    const char* saveRoute;
    Action clear;
    const char* clearRoute;
};

const Kind kinds[] = {
    {"plain", &Correctionop::uploadCoefficientAsync, "Device_PutCabinetsCoefficient",
     &Correctionop::uploadCoefficient, "Device_PutCabinetCoefficients", &Correctionop::loadCoefficient,
     "Device_GetCabinetCoefficients", &Correctionop::saveCabinetsCoeffcient, "Device_SaveCabinetsCofficient",
     &Correctionop::clearCabinetsUserCoefficient, "Device_ClearCabinetsModuleCofficient"},
    {"multilayer", &Correctionop::uploadMultilayerCoefficientAsync,
     "Device_PutCabinetsMultilayerCoefficients", &Correctionop::uploadMultilayerCoefficient,
     "Device_PutCabinetMultilayerCoefficients", &Correctionop::loadMultilayerCoefficient,
     "Device_GetCabinetMultilayerCoefficients", &Correctionop::saveCabinetsMultilayerCoeffcient,
     "Device_SaveCabinetsMultilayerCofficient", &Correctionop::clearCabinetsMultilayerCoefficient,
     "Device_ClearCabinetsMultilayerCofficient"},
    {"adaptive", &Correctionop::uploadAdaptiveCoefficientAsync, "Device_PutCabinetsAdaptiveCoefficients",
     nullptr, nullptr, &Correctionop::loadAdaptiveCoefficient, "Device_GetCabinetMultilayerCoefficients",
     &Correctionop::saveCabinetsAdapCoeffcient, "Device_SaveCabinetsAdapCofficient", nullptr, nullptr},
    {"dynamic", &Correctionop::uploadDynamicCoefficientAsync, "Device_PutCabinetsDynamicCoefficients",
     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr},
    {"lowgray", &Correctionop::uploadLowGrayCoefficientAsync, "Device_PutCabinetsLowgrayCoefficients",
     nullptr, nullptr, nullptr, nullptr, &Correctionop::saveCabinetsLowgrayCoeffcient,
     "Device_SaveCabinetsLowgrayCofficient", &Correctionop::clearCabinetsLowgrayCoefficient,
     "Device_ClearCabinetsLowgrayCofficient"},
};

// The command line lets no other names through.
const Kind& kindOf(const QString& name)
{
    return *std::find_if(std::begin(kinds), std::end(kinds),
                         [&](const Kind& kind) { return name == QLatin1String(kind.name); });
}

QString pathOf(const char* routeKey, const QString& cabinet = {})
{
    return AllUrlResource::getUrl(QLatin1String(routeKey)).replace(QStringLiteral("{cid}"), cabinet);
}

/// One request: a table of one cabinet, or those of all in one list.
struct Job
{
    QString device;
    std::vector<const CoefficientTable*> tables;
    QString path;
    bool wholeList = false;

    qint64 bytes() const
    {
        qint64 sum = 0;
        for (const CoefficientTable* table : tables)
            sum += table->text.size();
        return sum;
    }
};

/// What became of the cabinets of a device.
struct Result
{
    QStringList uploaded;
    QMap<QString, QString> failed; ///< with the reason
    int lostInARow = 0;            ///< requests that found no device
};

/// Sends the jobs, a few at a time, and counts what came of them.
class Uploader
{
public:
    Uploader(const Kind& kind, std::vector<Job> jobs, int parallel, bool trace, Console& console)
        : m_kind(kind)
        , m_jobs(std::move(jobs))
        , m_parallel(static_cast<std::size_t>(parallel))
        , m_ledger(trace, console)
        , m_bar(QStringLiteral("upload"), console)
    {
        m_transfer.partName = QStringLiteral("cabinets");
        for (const Job& job : m_jobs) {
            m_transfer.bytesInAll += job.bytes();
            m_transfer.partsInAll += static_cast<int>(job.tables.size());
        }
    }

    void run()
    {
        m_clock.start();
        showProgress();
        beginSome();
        QTimer redraw;
        QObject::connect(&redraw, &QTimer::timeout, &redraw, [this] { showProgress(); });
        redraw.start(redrawInterval);
        if (!m_underWay.empty())
            m_loop.exec();
        redraw.stop();
        m_bar.clear();
        m_transfer.milliseconds = m_clock.elapsed();
    }

    /// Sends nothing more and gives up what is under way; what was not told done counts as failed.
    void stop()
    {
        m_stopped = true;
        forgetDevices();
        quitWhenIdle();
    }

    Result resultOf(const QString& device) const
    {
        Result result = m_results.value(device);
        for (const Job& job : m_jobs) {
            for (const CoefficientTable* table : job.tables) {
                const bool told =
                    result.uploaded.contains(table->cabinet) || result.failed.contains(table->cabinet);
                if (job.device == device && !told)
                    result.failed.insert(table->cabinet, QStringLiteral("interrupted"));
            }
        }
        return result;
    }
    ExitCode exitCode() const { return m_exitCode == Done && m_stopped ? Failed : m_exitCode; }
    const Transfer& transfer() const { return m_transfer; }

private:
    // A device that is away so often in a row is not asked again: each try may take its whole time limit.
    static constexpr int patience = 3;

    void beginSome()
    {
        while (m_underWay.size() < m_parallel && m_next < m_jobs.size() && !m_stopped)
            begin(m_jobs[m_next++]);
    }

    void begin(const Job& job)
    {
        if (m_results[job.device].lostInARow >= patience) {
            settle(job, {Unreachable, QStringLiteral("not sent, the device does not answer")});
            return;
        }
        List elements;
        for (const CoefficientTable* table : job.tables) {
            QVariant value;
            QString problem;
            if (!parseJson(table->text, value, problem)) {
                settle(job, {Failed, printable(problem)});
                return;
            }
            elements += value.toList();
        }
        m_underWay.insert(&job);
        const auto done = [this, &job] { ended(job); };
        auto* const correction = Correctionop::getInstance();
        if (job.wholeList)
            (correction->*m_kind.upload)(job.device, elements).then([done](bool) { done(); }, done);
        else
            (correction->*m_kind.uploadCabinet)(job.device, job.tables.front()->cabinet, elements)
                .then([done](const Map&) { done(); }, done);
    }

    void ended(const Job& job)
    {
        m_underWay.erase(&job);
        if (!m_stopped) {
            settle(job, m_ledger.takeOutcome(job.device, job.path));
            beginSome();
        }
        quitWhenIdle();
    }

    void quitWhenIdle()
    {
        if (m_underWay.empty())
            m_loop.quit();
    }

    void settle(const Job& job, const Outcome& outcome)
    {
        Result& result = m_results[job.device];
        const bool lost = outcome.code == Unreachable || outcome.code == TimedOut;
        result.lostInARow = lost ? result.lostInARow + 1 : 0;
        for (const CoefficientTable* table : job.tables) {
            if (outcome.code == Done)
                result.uploaded << table->cabinet;
            else
                result.failed.insert(table->cabinet, outcome.reason);
        }
        if (m_exitCode == Done)
            m_exitCode = outcome.code;
        if (outcome.code == Done) {
            m_transfer.bytes += job.bytes();
            m_transfer.parts += static_cast<int>(job.tables.size());
        }
        showProgress();
    }

    void showProgress()
    {
        Transfer transfer = m_transfer;
        transfer.milliseconds = m_clock.elapsed();
        for (const Job* job : m_underWay)
            transfer.bytes += bytesOnTheWay(*job);
        m_bar.show(shareOf(transfer.bytes, transfer.bytesInAll), transferText(transfer));
    }

    // As the file has them; they travel without its blanks. The last one counts when the device took the
    // table.
    qint64 bytesOnTheWay(const Job& job) const
    {
        const auto progress = m_meter.progress(job.device, job.path);
        if (!progress || progress->bytesToSend <= 0)
            return 0;
        const double share = shareOf(progress->bytesSent, progress->bytesToSend);
        return static_cast<qint64>(share * static_cast<double>(job.bytes() - 1));
    }

    const Kind& m_kind;
    const std::vector<Job> m_jobs;
    const std::size_t m_parallel;
    ExchangeLedger m_ledger;
    const ExchangeMeter m_meter;
    ProgressBar m_bar;
    QEventLoop m_loop;
    QElapsedTimer m_clock;
    Transfer m_transfer;
    std::size_t m_next = 0;
    std::set<const Job*> m_underWay;
    bool m_stopped = false;
    QMap<QString, Result> m_results;
    ExitCode m_exitCode = Done;
};

std::vector<Job> jobsFor(const Kind& kind, const std::vector<Device>& devices,
                         const std::vector<CoefficientTable>& tables)
{
    const bool perCabinet = kind.uploadCabinet && !tables.front().cabinet.isEmpty();
    std::vector<Job> jobs;
    for (const Device& device : devices) {
        Job whole{device.name, {}, pathOf(kind.uploadRoute), true};
        for (const CoefficientTable& table : tables) {
            if (perCabinet)
                jobs.push_back(
                    {device.name, {&table}, pathOf(kind.uploadCabinetRoute, table.cabinet), false});
            else
                whole.tables.push_back(&table);
        }
        if (!perCabinet)
            jobs.push_back(whole);
    }
    return jobs;
}

QString resumeOf(const Settings& settings, const CoefficientUpload& upload, const QString& device,
                 QStringList cabinets)
{
    QStringList command{QStringLiteral("coefficients"), QStringLiteral("upload"),
                        QFileInfo(upload.path).absoluteFilePath(), QStringLiteral("--kind"), upload.kind};
    if (upload.parallel != CoefficientUpload().parallel)
        command << QStringLiteral("--parallel") << QString::number(upload.parallel);
    cabinets.removeAll(QString());
    std::sort(cabinets.begin(), cabinets.end(), cabinetBefore);
    if (!cabinets.isEmpty())
        command << QStringLiteral("--cabinets") << cabinets.join(QLatin1Char(','));
    return resumeCommand(settings, device, command);
}

QString cabinetText(const QString& cabinet)
{
    return cabinet.isEmpty() ? QStringLiteral("all cabinets")
                             : QStringLiteral("cabinet ") + printable(cabinet);
}

QString uploadedText(const QStringList& cabinets)
{
    if (cabinets.size() == 1)
        return cabinetText(cabinets.first()) + QStringLiteral(" uploaded");
    return QStringLiteral("%1 cabinets uploaded").arg(cabinets.size());
}

void tellFailures(const QString& device, const Result& result, const QString& resume, Console& console)
{
    QStringList cabinets = result.failed.keys();
    std::sort(cabinets.begin(), cabinets.end(), cabinetBefore);
    for (const QString& cabinet : std::as_const(cabinets))
        console.complain(QStringLiteral("%1: %2: %3")
                             .arg(printable(device), cabinetText(cabinet), result.failed.value(cabinet)));
    const int all = cabinets.size() + result.uploaded.size();
    if (all > 1)
        console.remark(QStringLiteral("%1 of %2 cabinets of %3 failed; to upload those:")
                           .arg(cabinets.size())
                           .arg(all)
                           .arg(printable(device)));
    else
        console.remark(QStringLiteral("to upload again:"));
    console.remark(QStringLiteral("  ") + resume);
}

ExitCode act(const Settings& settings, Action action, const char* routeKey, const QStringList& cabinets,
             Console& console)
{
    DeviceRun run(settings, console);
    return run.forEach([&](const QString& device) {
        Map result;
        (Correctionop::getInstance()->*action)(device, {{QStringLiteral("cids"), cabinets}}, result);
        return run.ledger().takeOutcome(device, pathOf(routeKey));
    });
}

/// Reads tables from one device and shows how far that is.
class Loader
{
public:
    Loader(const Kind& kind, DeviceRun& run, int tables, Console& console)
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
        if (m_run.interruption().happened())
            return m_run.settled({Failed, {}});
        const QString path = pathOf(m_kind.loadRoute, cabinet);
        List elements;
        showProgress({});
        auto* const correction = Correctionop::getInstance();
        workAndShow([&] { (correction->*m_kind.load)(m_device, cabinet, elements); },
                    [&] { showProgress(m_run.meter().progress(m_device, path)); });
        const auto record = m_run.ledger().take(m_device, path);
        if (!record)
            return {Failed, QStringLiteral("no request was made")};
        m_transfer.bytes += record->bytesReceived;
        m_transfer.parts += 1;
        showProgress({});
        Outcome outcome = m_run.settled(outcomeOf(*record));
        if (outcome.code != Done)
            return outcome;
        QVariant envelope;
        QString problem;
        parseJson(record->reply, envelope, problem);
        table = envelope.toMap().value(QStringLiteral("data"));
        if (table.userType() != QMetaType::QVariantList)
            return {Failed, QStringLiteral("the device sent no table")};
        return {};
    }

    /// Makes room for other lines.
    void clearBar() { m_bar.clear(); }

private:
    // What a device has to tell is known while it sends the last table.
    void showProgress(const std::optional<ExchangeMeter::Progress>& current)
    {
        Transfer transfer = m_transfer;
        transfer.milliseconds = m_clock.elapsed();
        transfer.bytesInAll = -1;
        double parts = transfer.parts;
        if (current) {
            transfer.bytes += current->bytesReceived;
            const bool last = transfer.parts + 1 == transfer.partsInAll;
            if (current->bytesToReceive > 0) {
                parts += shareOf(current->bytesReceived, current->bytesToReceive);
                transfer.bytesInAll = last ? m_transfer.bytes + current->bytesToReceive : -1;
            }
        }
        m_bar.show(parts / transfer.partsInAll, transferText(transfer));
    }

    const Kind& m_kind;
    DeviceRun& m_run;
    const QString m_device;
    ProgressBar m_bar;
    QElapsedTimer m_clock;
    Transfer m_transfer;
};

/// Writes @p value into @p path, which stays as it was when that fails.
Outcome store(const QString& path, const QVariant& value)
{
    WholeFile file(path);
    const QByteArray text = toJson(value, false) + '\n';
    if (file.open() && file.write(text.constData(), text.size()) && file.commit())
        return {};
    return {Failed, QStringLiteral("%1: %2").arg(printable(path), file.reason())};
}

/// Why @p path cannot be written to; empty when it can.
QString faultOfDestination(const QString& path, bool directory, const QStringList& cabinets)
{
    if (!directory) {
        WholeFile file(path);
        return file.open() ? QString() : file.reason();
    }
    for (const QString& cabinet : cabinets) {
        if (cabinet.contains(QLatin1Char('/')))
            return QStringLiteral("cabinet %1 gives no file name").arg(printable(cabinet));
    }
    if (!QDir().mkpath(path))
        return QStringLiteral("the directory cannot be made");
    return QFileInfo(path).isWritable() ? QString() : QStringLiteral("the directory cannot be written");
}

} // namespace

ExitCode runCoefficientUpload(const Settings& settings, const CoefficientUpload& upload, Console& console)
{
    QString problem;
    std::vector<CoefficientTable> tables = readCoefficients(upload.path, problem);
    if (problem.isEmpty())
        keepCabinets(tables, upload.cabinets, problem);
    if (!problem.isEmpty()) {
        console.complain(problem);
        return Usage;
    }
    const std::vector<Device> devices = readDevices(settings.devices, console);
    if (devices.empty())
        return Usage;
    Uploader* running = nullptr;
    const TerminationSignal stop([&] {
        if (running)
            running->stop();
    });
    if (!addDevices(devices, console))
        return Usage;

    // The library tells on which threads its uploads run.
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ndefault.debug=false"));
    const Kind& kind = kindOf(upload.kind);
    Uploader uploader(kind, jobsFor(kind, devices, tables), upload.parallel, settings.trace, console);
    running = &uploader;
    uploader.run();
    QVariantMap results;
    for (const Device& device : devices) {
        const Result result = uploader.resultOf(device.name);
        QString resume;
        if (!result.failed.isEmpty()) {
            resume = resumeOf(settings, upload, device.name, result.failed.keys());
            tellFailures(device.name, result, resume, console);
        }
        QVariantMap failed;
        for (auto cabinet = result.failed.begin(); cabinet != result.failed.end(); ++cabinet)
            failed.insert(cabinet.key(), cabinet.value());
        results.insert(device.name,
                       QVariantMap{{QStringLiteral("uploaded"),
                                    QVariantList(result.uploaded.begin(), result.uploaded.end())},
                                   {QStringLiteral("failed"), failed},
                                   {QStringLiteral("resume"), resume.isEmpty() ? QVariant() : resume}});
        if (!settings.json && !result.uploaded.isEmpty())
            console.data(
                QStringLiteral("%1: %2\n").arg(printable(device.name), uploadedText(result.uploaded)));
    }
    if (settings.json)
        console.data(QString::fromUtf8(toJson(results, true)) + QLatin1Char('\n'));
    return uploader.exitCode();
}

ExitCode runCoefficientDownload(const Settings& settings, const QString& path, const QString& kindName,
                                const QStringList& cabinets, Console& console)
{
    const Kind& kind = kindOf(kindName);
    const bool directory = path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir();
    const bool perCabinet =
        kind.load && AllUrlResource::getUrl(QLatin1String(kind.loadRoute)).contains(QStringLiteral("{cid}"));
    QString problem;
    if (!kind.load)
        problem = QStringLiteral("devices do not give %1 coefficients back").arg(kindName);
    else if (settings.devices.devices.size() > 1)
        problem = QStringLiteral("coefficients are downloaded from one device at a time");
    else if (perCabinet && cabinets.isEmpty())
        problem = QStringLiteral("%1 coefficients are read by cabinet; say --cabinets").arg(kindName);
    else if (!perCabinet && (directory || !cabinets.isEmpty()))
        problem = QStringLiteral("devices give %1 coefficients as one list; name a file and no cabinets")
                      .arg(kindName);
    if (!problem.isEmpty()) {
        console.complain(problem);
        return Usage;
    }
    DeviceRun run(settings, console);
    if (run.devices().empty())
        return Usage;
    const QString fault = faultOfDestination(path, directory, cabinets);
    if (!fault.isEmpty()) {
        console.complain(QStringLiteral("%1: %2").arg(printable(path), fault));
        return Failed;
    }

    const QString device = run.devices().front().name;
    const QStringList names = perCabinet ? cabinets : QStringList(QString());
    Loader loader(kind, run, names.size(), console);
    QVariantMap tables;
    ExitCode code = Done;
    for (const QString& name : names) {
        QVariant table;
        Outcome outcome = loader.load(name, table);
        if (outcome.code == Done && directory)
            outcome = store(QDir(path).filePath(name + QStringLiteral(".json")), table);
        else if (outcome.code == Done)
            tables.insert(name, table);
        if (outcome.code == Done)
            continue;
        loader.clearBar();
        console.complain(
            QStringLiteral("%1: %2: %3").arg(printable(device), cabinetText(name), outcome.reason));
        if (code == Done)
            code = outcome.code;
    }
    loader.clearBar();
    if (code == Done && !directory) {
        const Outcome stored = store(path, perCabinet ? QVariant(tables) : tables.first());
        code = stored.code;
        if (code != Done)
            console.complain(stored.reason);
    }
    if (code != Done && !directory && QFileInfo::exists(path))
        console.remark(QStringLiteral("%1 stays as it was").arg(printable(path)));
    return code;
}

ExitCode runCoefficientSave(const Settings& settings, const QString& kindName, const QStringList& cabinets,
                            Console& console)
{
    const Kind& kind = kindOf(kindName);
    if (kind.save)
        return act(settings, kind.save, kind.saveRoute, cabinets, console);
    console.complain(QStringLiteral("devices do not save %1 coefficients").arg(kindName));
    return Usage;
}

ExitCode runCoefficientClear(const Settings& settings, const QString& kindName, const QStringList& cabinets,
                             Console& console)
{
    const Kind& kind = kindOf(kindName);
    if (kind.clear)
        return act(settings, kind.clear, kind.clearRoute, cabinets, console);
    console.complain(QStringLiteral("devices do not clear %1 coefficients").arg(kindName));
    return Usage;
}

} // namespace TesselCtl
