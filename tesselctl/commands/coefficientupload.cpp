// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientkind.h"
#include "tesselctl/commands/coefficients.h"

#include "tesselctl/commands/coefficientfiles.h"
#include "tesselctl/commands/commandrun.h"
#include "tesselctl/commands/resumecommand.h"
#include "tesselctl/requests/callobserver.h"
#include "tesselctl/requests/dryrun.h"
#include "tesselctl/terminal/interruption.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/progressbar.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSet>
#include <QTimer>

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace TesselCtl {

namespace {

const char* const footer = R"(
PATH is a directory with one file per cabinet, CABINET.json, that holds a JSON array; or a file with a JSON object of
cabinets and arrays; or a file with one JSON array, which is sent unchanged. All files are checked before anything is
sent.

Plain and multilayer tables are sent one cabinet at a time. Adaptive, dynamic and lowgray tables are sent as one list,
those of all cabinets one after the other, because the device's paths for them do not name a cabinet.

A device that could not be reached three times in a row gets no further tables. The cabinets that failed are listed at
the end, with a command that retries only those; also after SIGINT or SIGTERM.

Examples:
  tesselctl --device 192.168.0.10 coefficients upload tables/
  tesselctl --device 192.168.0.10 coefficients upload wall.json --kind multilayer --parallel 8
  tesselctl --device wall=192.168.0.10 --json coefficients upload wall.json | jq .wall.failed)";

struct Options
{
    QString path; ///< file or directory
    CoefficientSelection selection;
    int parallel = 4; ///< requests under way at once
};

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

/// One request: a table of one cabinet, or those of all in one list.
struct Job
{
    QString device;
    std::vector<const CoefficientTable*> tables;
    bool wholeList = false;

    qint64 bytes() const
    {
        qint64 sum = 0;
        for (const CoefficientTable* table : tables) {
            sum += table->text.size();
        }
        return sum;
    }
};

/// What became of the cabinets of a device.
struct Result
{
    QStringList uploaded;
    QMap<QString, QString> failed; ///< with the error
    int lostInARow = 0;            ///< requests that found no device
};

/// Sends the jobs, a few at a time, and counts what came of them.
class Uploader
{
public:
    Uploader(const CoefficientKind& kind, std::vector<Job> jobs, int parallel, Console& console)
        : m_kind(kind)
        , m_jobs(std::move(jobs))
        , m_parallel(static_cast<std::size_t>(parallel))
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
        if (!m_underWay.empty()) {
            m_loop.exec();
        }
        redraw.stop();
        m_bar.clear();
        m_transfer.milliseconds = m_clock.elapsed();
    }

    /// Sends nothing more and gives up what is under way; what is not known to be done counts as failed.
    void stop()
    {
        m_stopped = true;
        forgetDevices();
        quitWhenIdle();
    }

    Result resultOf(const QString& device) const
    {
        Result result = m_results.value(device);
        const QSet<QString> uploaded(result.uploaded.begin(), result.uploaded.end());
        for (const Job& job : m_jobs) {
            if (job.device != device) {
                continue;
            }
            for (const CoefficientTable* table : job.tables) {
                if (!uploaded.contains(table->cabinet) && !result.failed.contains(table->cabinet)) {
                    result.failed.insert(table->cabinet, QStringLiteral("interrupted"));
                }
            }
        }
        return result;
    }
    ExitCode exitCode() const { return m_exitCode == Done && m_stopped ? Failed : m_exitCode; }
    const Transfer& transfer() const { return m_transfer; }

private:
    // A device that is away so often in a row gets no more requests: each may take its whole time limit.
    static constexpr int maxLostInARow = 3;

    void beginSome()
    {
        while (m_underWay.size() < m_parallel && m_next < m_jobs.size() && !m_stopped) {
            begin(m_jobs[m_next++]);
        }
    }

    void begin(const Job& job)
    {
        if (m_results[job.device].lostInARow >= maxLostInARow) {
            settle(job, {Unreachable, QStringLiteral("not sent: the device does not answer")});
            return;
        }
        List elements;
        for (const CoefficientTable* table : job.tables) {
            const Expected<QVariant> value = parseJson(table->text);
            if (!value) {
                settle(job, {Failed, printable(value.error())});
                return;
            }
            elements += value->toList();
        }
        CallObserver& exchanges = m_underWay[&job];
        const CallObserver::Scope scope = exchanges.collect();
        const auto done = [this, &job] { ended(job); };
        auto* const correction = Correctionop::getInstance();
        if (job.wholeList) {
            (correction->*m_kind.upload)(job.device, elements).then([done](bool) { done(); }, done);
        } else {
            (correction->*m_kind.uploadCabinet)(job.device, job.tables.front()->cabinet, elements)
                .then([done](const Map&) { done(); }, done);
        }
    }

    void ended(const Job& job)
    {
        const Outcome outcome = m_underWay.at(&job).outcome();
        m_underWay.erase(&job);
        if (!m_stopped) {
            settle(job, outcome);
            beginSome();
        }
        quitWhenIdle();
    }

    void quitWhenIdle()
    {
        if (m_underWay.empty()) {
            m_loop.quit();
        }
    }

    void settle(const Job& job, const Outcome& outcome)
    {
        Result& result = m_results[job.device];
        const bool lost = outcome.code == Unreachable || outcome.code == TimedOut;
        result.lostInARow = lost ? result.lostInARow + 1 : 0;
        for (const CoefficientTable* table : job.tables) {
            if (outcome.code == Done) {
                result.uploaded << table->cabinet;
            } else {
                result.failed.insert(table->cabinet, outcome.error);
            }
        }
        if (m_exitCode == Done) {
            m_exitCode = outcome.code;
        }
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
        for (const auto& [job, exchanges] : m_underWay) {
            transfer.bytes += bytesOnTheWay(*job, exchanges.progress());
        }
        m_bar.show(fraction(transfer.bytes, transfer.bytesInAll), transferText(transfer));
    }

    // As the file has them; they travel without its blanks. The last one counts when the device took the
    // table.
    static qint64 bytesOnTheWay(const Job& job, const std::optional<CallObserver::Progress>& progress)
    {
        if (!progress || progress->bytesToSend <= 0) {
            return 0;
        }
        const double share = fraction(progress->bytesSent, progress->bytesToSend);
        return static_cast<qint64>(share * static_cast<double>(job.bytes() - 1));
    }

    const CoefficientKind& m_kind;
    const std::vector<Job> m_jobs;
    const std::size_t m_parallel;
    const Krelm::Communicator::HttpDevice::ObserverHandle m_trace;
    ProgressBar m_bar;
    QEventLoop m_loop;
    QElapsedTimer m_clock;
    Transfer m_transfer;
    std::size_t m_next = 0;
    std::map<const Job*, CallObserver> m_underWay;
    bool m_stopped = false;
    QMap<QString, Result> m_results;
    ExitCode m_exitCode = Done;
};

std::vector<Job> jobsFor(const CoefficientKind& kind, const std::vector<Device>& devices,
                         const std::vector<CoefficientTable>& tables)
{
    const bool perCabinet = kind.uploadCabinet && !tables.front().cabinet.isEmpty();
    std::vector<Job> jobs;
    for (const Device& device : devices) {
        Job whole{device.name, {}, true};
        for (const CoefficientTable& table : tables) {
            if (perCabinet) {
                jobs.push_back({device.name, {&table}, false});
            } else {
                whole.tables.push_back(&table);
            }
        }
        if (!perCabinet) {
            jobs.push_back(whole);
        }
    }
    return jobs;
}

QString resumeOf(const Settings& settings, const Options& options, const QString& device,
                 QStringList cabinets)
{
    QStringList command{QStringLiteral("coefficients"), QStringLiteral("upload"),
                        QFileInfo(options.path).absoluteFilePath(), QStringLiteral("--kind"),
                        options.selection.kind};
    if (options.parallel != Options().parallel) {
        command << QStringLiteral("--parallel") << QString::number(options.parallel);
    }
    cabinets.removeAll(QString());
    std::sort(cabinets.begin(), cabinets.end(), cabinetBefore);
    if (!cabinets.isEmpty()) {
        command << QStringLiteral("--cabinets") << cabinets.join(QLatin1Char(','));
    }
    return resumeCommand(settings, device, command);
}

QString uploadedText(const QStringList& cabinets)
{
    if (cabinets.size() == 1) {
        return cabinetText(cabinets.first()) + QStringLiteral(" uploaded");
    }
    return QStringLiteral("%1 cabinets uploaded").arg(cabinets.size());
}

void reportFailures(const QString& device, const Result& result, const QString& resume, Console& console)
{
    QStringList cabinets = result.failed.keys();
    std::sort(cabinets.begin(), cabinets.end(), cabinetBefore);
    for (const QString& cabinet : std::as_const(cabinets)) {
        console.error(QStringLiteral("%1: %2: %3")
                          .arg(printable(device), cabinetText(cabinet), result.failed.value(cabinet)));
    }
    const int all = cabinets.size() + result.uploaded.size();
    if (all > 1) {
        console.info(QStringLiteral("%1 of %2 cabinets of %3 failed; to retry them:")
                         .arg(cabinets.size())
                         .arg(all)
                         .arg(printable(device)));
    } else {
        console.info(QStringLiteral("to retry:"));
    }
    console.info(QStringLiteral("  ") + resume);
}

/// Uploads coefficients to every device; lists the cabinets that failed and the command that retries them.
ExitCode runUpload(const Settings& settings, const Options& options, Console& console)
{
    Expected<std::vector<CoefficientTable>> tables = readCoefficients(options.path);
    if (tables) {
        tables = tablesOf(*std::move(tables), options.selection.cabinetNames());
    }
    if (!tables) {
        console.error(tables.error());
        return Usage;
    }
    Uploader* running = nullptr;
    CommandRun run(settings, console);
    if (run.devices().empty()) {
        return Usage;
    }
    run.begin(Interruption::inEventLoopOf(QCoreApplication::instance(), [&running] {
        if (running) {
            running->stop();
        }
    }));
    if (!run.addDevices()) {
        return Usage;
    }

    // The library logs on which threads its uploads run.
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ndefault.debug=false"));
    const CoefficientKind& kind = coefficientKind(options.selection.kind);
    Uploader uploader(kind, jobsFor(kind, run.devices(), *tables), options.parallel, console);
    running = &uploader;
    std::optional<DryRun> dryRun;
    if (settings.dryRun) {
        dryRun.emplace();
    }
    uploader.run();
    if (dryRun) {
        console.out(settings.format() == Format::Table
                        ? QStringLiteral("upload") + unsentText(dryRun->writes())
                        : formatted(dryRun->writes(), settings.format()));
        return uploader.exitCode();
    }
    QVariantMap results;
    for (const Device& device : run.devices()) {
        const Result result = uploader.resultOf(device.name);
        QString resume;
        if (!result.failed.isEmpty()) {
            resume = resumeOf(settings, options, device.name, result.failed.keys());
            reportFailures(device.name, result, resume, console);
        }
        QVariantMap failed;
        for (auto cabinet = result.failed.begin(); cabinet != result.failed.end(); ++cabinet) {
            failed.insert(cabinet.key(), cabinet.value());
        }
        results.insert(device.name,
                       QVariantMap{{QStringLiteral("uploaded"),
                                    QVariantList(result.uploaded.begin(), result.uploaded.end())},
                                   {QStringLiteral("failed"), failed},
                                   {QStringLiteral("resume"), resume.isEmpty() ? QVariant() : resume}});
        if (!settings.json && !result.uploaded.isEmpty()) {
            console.out(
                QStringLiteral("%1: %2\n").arg(printable(device.name), uploadedText(result.uploaded)));
        }
    }
    if (settings.json) {
        console.out(QString::fromUtf8(toJson(results, true)) + QLatin1Char('\n'));
    }
    return run.interruption().happened() ? static_cast<ExitCode>(128 + run.interruption().signal())
                                         : uploader.exitCode();
}

} // namespace

void addCoefficientUpload(CommandParser& coefficients)
{
    const auto options = std::make_shared<Options>();
    CommandParser upload = coefficients.addCommand("upload", QStringLiteral("send tables from files"));
    upload.add("PATH", options->path, QStringLiteral("file or directory")).required().placeholder("");
    options->selection.addKind(upload);
    options->selection.addCabinets(upload, QStringLiteral("only these cabinets; without it, all in PATH"));
    upload.add("--parallel", options->parallel, QStringLiteral("concurrent requests"))
        .between(1, 16)
        .placeholder("N")
        .showDefault();
    upload.setFooter(QString::fromUtf8(footer));
    upload.setRun([options](const Settings& settings, Console& console) {
        return runUpload(settings, *options, console);
    });
}

} // namespace TesselCtl
