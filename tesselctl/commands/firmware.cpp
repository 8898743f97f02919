// SPDX-License-Identifier: MIT
#include "commands.h"

#include "tesselctl/exchangeledger.h"
#include "tesselctl/jsontext.h"
#include "tesselctl/output.h"
#include "tesselctl/printable.h"
#include "tesselctl/progressbar.h"
#include "tesselctl/updateprogress.h"

#include <tessel/allurlresource.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace TesselCtl {

namespace {

using Map = QMap<QString, QVariant>;

constexpr auto pollInterval = std::chrono::milliseconds(500);
// An update that gets no further for so long is given up; cards that restart are silent for a while.
constexpr qint64 patience = 120000;
// A controller's firmware is held in memory.
constexpr qint64 sizeLimit = 1LL << 30;

QString pathOf(const char* routeKey)
{
    return AllUrlResource::getUrl(QLatin1String(routeKey));
}

const char* progressRoute(bool controller)
{
    return controller ? "Device_HwUpdateProgress" : "Device_RvCardUpdateProg";
}

bool readProgress(const QString& device, bool controller, Map& reply)
{
    return controller ? HWInfo::getInstance()->getHWInfoUpdateProgress(device, reply)
                      : CabinetInfoOperator::getInstance()->getRvCardsUpdateProgress(device, reply);
}

/// Why @p path cannot be sent; empty when it can.
QString faultOfSource(const QString& path)
{
    QFile file(path);
    if (QFileInfo(path).isDir())
        return QStringLiteral("is a directory");
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    if (file.size() > sizeLimit)
        return QStringLiteral("is larger than 1 GiB");
    return file.size() == 0 ? QStringLiteral("is empty") : QString();
}

/// The further parts of the form; @p problem says which of @p fields is none.
Map formOf(const QStringList& fields, QString& problem)
{
    Map form;
    for (const QString& field : fields) {
        const int equals = field.indexOf(QLatin1Char('='));
        if (equals <= 0)
            problem = QStringLiteral("\"%1\" is not NAME=VALUE").arg(printable(field));
        else
            form.insert(field.left(equals), field.mid(equals + 1));
    }
    return form;
}

/// The update of one device: its steps, and its progress beside them.
class Updater
{
public:
    Updater(const QString& device, const FirmwareUpdate& update, const Map& form, ExchangeLedger& ledger,
            Console& console)
        : m_device(device)
        , m_update(update)
        , m_form(form)
        , m_ledger(ledger)
        , m_bar(device, console)
    {}

    Outcome run()
    {
        Outcome outcome = m_update.controller ? updateController() : updateCards();
        m_bar.clear();
        return outcome;
    }

private:
    Outcome updateController()
    {
        QFile file(m_update.file);
        if (!file.open(QIODevice::ReadOnly))
            return {Failed, file.errorString()};
        const QByteArray image = file.readAll();
        const Outcome sent = step("Device_HwUpdate", [this, image] {
            Map reply;
            HWInfo::getInstance()->putHWInfoUpdate(m_device, image, reply);
        });
        return sent.code == Done ? waitUntilDone() : sent;
    }

    Outcome updateCards()
    {
        Map parts = m_form;
        parts.insert(m_update.part, QUrl::fromLocalFile(QFileInfo(m_update.file).absoluteFilePath()));
        Outcome outcome = step("Device_RvCardUpdate", [this, parts] {
            Map reply;
            CabinetInfoOperator::getInstance()->putRvCardsUpdate(m_device, parts, reply);
        });
        if (outcome.code != Done || m_update.uploadOnly)
            return outcome;
        parts = m_form;
        parts.insert(m_update.part, QFileInfo(m_update.file).fileName());
        outcome = step("Device_RvCardUpdateLoad", [this, parts] {
            Map reply;
            CabinetInfoOperator::getInstance()->putRvCardsUpdateLoad(m_device, parts, reply);
        });
        return outcome.code == Done ? waitUntilDone() : outcome;
    }

    /// Sends on a thread of its own, since that takes minutes, and shows meanwhile what the device says.
    Outcome step(const char* routeKey, const std::function<void()>& send)
    {
        m_bar.show(0, QStringLiteral("sending"));
        std::future<void> sent = std::async(std::launch::async, send);
        while (sent.wait_for(pollInterval) != std::future_status::ready) {
            const UpdateProgress progress = poll();
            if (progress.share >= 0)
                show(progress);
        }
        sent.get();
        return m_ledger.takeOutcome(m_device, pathOf(routeKey));
    }

    /// A device that tells no progress has done what it was told when it answered.
    Outcome waitUntilDone()
    {
        QElapsedTimer still;
        still.start();
        double reached = -1;
        while (!still.hasExpired(patience)) {
            const UpdateProgress progress = poll();
            if (progress.failed)
                return {Failed, QStringLiteral("the device says: ") + progress.state};
            if (m_polled.code == Done && progress.share < 0)
                return {};
            if (m_polled.code == Done)
                show(progress);
            if (m_polled.code == Refused)
                return m_polled;
            if (progress.share >= 1)
                return {};
            if (progress.share > reached) {
                reached = progress.share;
                still.restart();
            }
            std::this_thread::sleep_for(pollInterval);
        }
        const QString stopped =
            QStringLiteral("the update got no further for %1").arg(durationText(patience / 1000));
        return m_polled.code == Done ? Outcome{TimedOut, stopped} : m_polled;
    }

    UpdateProgress poll()
    {
        Map reply;
        readProgress(m_device, m_update.controller, reply);
        m_polled = m_ledger.takeOutcome(m_device, pathOf(progressRoute(m_update.controller)));
        return updateProgressOf(reply);
    }

    void show(const UpdateProgress& progress) { m_bar.show(progress.share, progress.state); }

    const QString m_device;
    const FirmwareUpdate& m_update;
    const Map& m_form;
    ExchangeLedger& m_ledger;
    ProgressBar m_bar;
    Outcome m_polled; ///< how the latest reading of the progress ended
};

} // namespace

ExitCode runFirmwareUpdate(const Settings& settings, const FirmwareUpdate& update, Console& console)
{
    QString problem = faultOfSource(update.file);
    if (!problem.isEmpty())
        problem = QStringLiteral("%1: %2").arg(printable(update.file), problem);
    const Map form = formOf(update.fields, problem);
    if (problem.isEmpty() && update.controller && (update.uploadOnly || !form.isEmpty()))
        problem = QStringLiteral("a controller's firmware goes without a form: no --field, no --upload-only");
    if (!problem.isEmpty()) {
        console.complain(problem);
        return Usage;
    }
    const std::vector<Device> devices = startDevices(settings.devices, console);
    if (devices.empty())
        return Usage;
    ExchangeLedger ledger(settings.trace, console);
    QVariantMap results;
    ExitCode code = Done;
    for (const Device& device : devices) {
        const Outcome outcome = Updater(device.name, update, form, ledger, console).run();
        results.insert(device.name, outcome.code == Done);
        if (outcome.code != Done)
            console.complain(QStringLiteral("%1: %2").arg(printable(device.name), outcome.reason));
        else if (!settings.json)
            console.data(printable(device.name) + QStringLiteral(": ok\n"));
        if (code == Done)
            code = outcome.code;
    }
    if (settings.json)
        console.data(QString::fromUtf8(toJson(results, true)) + QLatin1Char('\n'));
    return code;
}

ExitCode runFirmwareProgress(const Settings& settings, bool controller, Console& console)
{
    const std::vector<Device> devices = startDevices(settings.devices, console);
    if (devices.empty())
        return Usage;
    ExchangeLedger ledger(settings.trace, console);
    QVariantMap results;
    ExitCode code = Done;
    for (const Device& device : devices) {
        Map reply;
        readProgress(device.name, controller, reply);
        const Outcome outcome = ledger.takeOutcome(device.name, pathOf(progressRoute(controller)));
        results.insert(device.name, outcome.code == Done ? QVariant(reply) : QVariant());
        if (outcome.code != Done)
            console.complain(QStringLiteral("%1: %2").arg(printable(device.name), outcome.reason));
        else if (!settings.json)
            console.data(printable(device.name) + QStringLiteral(":\n") + humanText(reply));
        if (code == Done)
            code = outcome.code;
    }
    if (settings.json)
        console.data(QString::fromUtf8(toJson(results, true)) + QLatin1Char('\n'));
    return code;
}

ExitCode runFirmwareDownload(const Settings& settings, const QString& path, const QString& id, int type,
                             Console& console)
{
    if (settings.devices.devices.size() > 1) {
        console.complain(QStringLiteral("firmware is downloaded from one device at a time"));
        return Usage;
    }
    const std::vector<Device> devices = startDevices(settings.devices, console);
    if (devices.empty())
        return Usage;
    const QString device = devices.front().name;
    ExchangeLedger ledger(settings.trace, console);
    // It tells no failure; the exchange does. The transport puts the file in its place only when it is whole.
    CabinetInfoOperator::getInstance()->getRvCardFirmware(device, id, type, path);
    QString route = pathOf("Device_RvCardFirmware");
    route.replace(QStringLiteral("{type}"), QString::number(type)).replace(QStringLiteral("{id}"), id);
    const Outcome outcome = ledger.takeOutcome(device, route);
    if (outcome.code != Done) {
        console.complain(QStringLiteral("%1: %2").arg(printable(device), outcome.reason));
        if (QFileInfo::exists(path))
            console.remark(QStringLiteral("%1 stays as it was").arg(printable(path)));
        return outcome.code;
    }
    const qint64 size = QFileInfo(path).size();
    if (settings.json)
        console.data(
            QString::fromUtf8(
                toJson(QVariantMap{{QStringLiteral("file"), path}, {QStringLiteral("bytes"), size}}, true)) +
            QLatin1Char('\n'));
    else
        console.data(QStringLiteral("%1: %2\n").arg(printable(path), humanSize(size)));
    return Done;
}

} // namespace TesselCtl
