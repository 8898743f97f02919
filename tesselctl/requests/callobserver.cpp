// SPDX-License-Identifier: MIT
#include "tesselctl/requests/callobserver.h"

#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <communicator/jsonutil.h>

#include <QCoreApplication>
#include <QJsonDocument>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::addExchangeObserver;
using Krelm::Communicator::HttpDevice::addProgressObserver;
using Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
using Krelm::Communicator::HttpDevice::ObserverHandle;

namespace {

ExitCode exitCodeOf(IHttpVersionTrigger::HttpSimpleState state)
{
    switch (state) {
    case IHttpVersionTrigger::Success:
        return Done;
    case IHttpVersionTrigger::HostNotFound:
    case IHttpVersionTrigger::Unreachable:
    case IHttpVersionTrigger::Broken:
    case IHttpVersionTrigger::TlsFailure:
        return Unreachable;
    case IHttpVersionTrigger::TimedOut:
        return TimedOut;
    case IHttpVersionTrigger::HttpFailure:
        return Refused;
    default:
        return Failed;
    }
}

// What the reply's envelope says of a refusal: its code, and as text such as `code 7, "no such screen"`; none
// when it says nothing.
struct Refusal
{
    std::optional<qlonglong> code;
    QString text;
};

Refusal refusalIn(const QByteArray& reply)
{
    QMap<QString, QVariant> envelope;
    if (!JsonUtil::fromJsonToMapWithoutData(QString::fromUtf8(reply), envelope)) {
        return {};
    }
    const qlonglong code = envelope.value(QStringLiteral("code")).toLongLong();
    const QString message = envelope.value(QStringLiteral("message")).toString();
    if (code == 0) {
        return {};
    }
    return {code, QStringLiteral("code %1").arg(code) +
                      (message.isEmpty() ? QString() : QStringLiteral(", \"%1\"").arg(printable(message)))};
}

// What stands in the place of JSON in a reply with a good status; empty when JSON or nothing came.
QString otherThanJson(const QByteArray& reply)
{
    constexpr int shown = 60;
    QMap<QString, QVariant> object;
    if (reply.isEmpty() || JsonUtil::fromJsonToMapWithoutData(QString::fromUtf8(reply), object) ||
        QJsonDocument::fromJson(reply).isArray()) {
        return {};
    }
    const QString text = printable(QString::fromUtf8(reply.left(shown)));
    return QStringLiteral("the device answered, but not with JSON: \"%1%2\"")
        .arg(text, reply.size() > shown ? QStringLiteral("...") : QString());
}

} // namespace

CallObserver::CallObserver()
    : m_endObserver(addExchangeObserver([this](const Record& record) {
        if (record.isRepeated || !m_ids.contains(record.id)) {
            return;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(record);
        m_ended.notify_all();
    }))
    , m_progressObserver(addProgressObserver([this](const Progress& progress) {
        if (!m_ids.contains(progress.id)) {
            return;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_progress = progress;
    }))
{}

CallObserver::~CallObserver() = default;

void CallObserver::waitForAll()
{
    const auto allEnded = [this] { return m_records.size() >= m_ids.all().size(); };
    for (bool done = false; !done;) {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_ended.wait(lock, allEnded);
        }
        // A reply may have operators ask for more.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        const std::lock_guard<std::mutex> lock(m_mutex);
        done = allEnded();
    }
}

std::optional<CallObserver::Record> CallObserver::latest() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_records.empty() ? std::nullopt : std::optional<Record>(m_records.back());
}

std::optional<CallObserver::Progress> CallObserver::progress() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_progress;
}

Outcome CallObserver::outcome() const
{
    const std::optional<Record> record = latest();
    return record ? outcomeOf(*record) : Outcome{Failed, QStringLiteral("the operation sent no request")};
}

Outcome CallObserver::outcome(bool succeeded) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Outcome outcome = m_records.empty() ? Outcome() : outcomeOf(m_records.back());
    if (succeeded) {
        return outcome;
    }
    for (auto record = m_records.rbegin(); record != m_records.rend() && outcome.code == Done; ++record) {
        outcome = outcomeOf(*record);
    }
    if (outcome.code == Done) {
        outcome = {Failed,
                   m_records.empty()
                       ? QStringLiteral("the operation failed without sending a request")
                       : QStringLiteral("the request succeeded, but the operation found nothing to return")};
    }
    return outcome;
}

ObserverHandle traceExchanges(bool wanted, Console& console)
{
    if (!wanted) {
        return {};
    }
    return addExchangeObserver(
        [&console](const CallObserver::Record& record) { console.trace(traceLine(record)); });
}

QString traceLine(const CallObserver::Record& record)
{
    const QString status = record.status != 0 ? QString::number(record.status) : QStringLiteral("---");
    return QStringLiteral("%1  %2 %3  %4  %5 ms  %6 sent  %7 received")
        .arg(printable(record.deviceKey), QString::fromLatin1(record.verb).leftJustified(4),
             record.path.isEmpty() ? QStringLiteral("(no path)") : printable(QString::fromUtf8(record.path)),
             status)
        .arg(record.milliseconds)
        .arg(humanSize(record.bytesSent), humanSize(record.bytesReceived));
}

Outcome outcomeOf(const CallObserver::Record& record)
{
    const Refusal refusal = refusalIn(record.reply);
    Outcome outcome{exitCodeOf(record.state), printable(record.reason), record.status, refusal.code,
                    record.retryAfter};
    if (record.state == IHttpVersionTrigger::Success) {
        const QString other = otherThanJson(record.reply);
        outcome.code = refusal.code || !other.isEmpty() ? Refused : Done;
        outcome.error = refusal.code ? QStringLiteral("the device refused: ") + refusal.text : other;
    } else if (record.state == IHttpVersionTrigger::HttpFailure) {
        const QString status = QStringLiteral("the device refused: HTTP status %1").arg(record.status);
        outcome.error = refusal.code ? status + QStringLiteral(", ") + refusal.text : status;
    }
    return outcome;
}

} // namespace TesselCtl
