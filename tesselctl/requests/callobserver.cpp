// SPDX-License-Identifier: MIT
#include "tesselctl/requests/callobserver.h"

#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <communicator/jsonutil.h>

#include <QCoreApplication>

#include <condition_variable>
#include <mutex>
#include <vector>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::exchangesBegun;
using Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
using Krelm::Communicator::HttpDevice::setExchangeObserver;

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

// What the reply's envelope says of a refusal, such as `code 7, "no such screen"`; empty when it says
// nothing.
QString refusalIn(const QByteArray& reply)
{
    QMap<QString, QVariant> envelope;
    if (!JsonUtil::fromJsonToMapWithoutData(QString::fromUtf8(reply), envelope))
        return {};
    const qlonglong code = envelope.value(QStringLiteral("code")).toLongLong();
    const QString message = envelope.value(QStringLiteral("message")).toString();
    if (code == 0)
        return {};
    return QStringLiteral("code %1").arg(code) +
           (message.isEmpty() ? QString() : QStringLiteral(", \"%1\"").arg(printable(message)));
}

} // namespace

struct CallObserver::State
{
    std::mutex mutex; // guards the records
    std::vector<Record> records;
    std::condition_variable ended; // with every record
};

CallObserver::CallObserver(std::function<void(const Record&)> shown)
    : m_state(std::make_shared<State>())
{
    setExchangeObserver([state = m_state, shown = std::move(shown)](const Record& record) {
        if (shown)
            shown(record);
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->records.push_back(record);
        state->ended.notify_all();
    });
}

CallObserver::~CallObserver()
{
    setExchangeObserver({});
}

void CallObserver::begin()
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->records.clear();
    m_begunBefore = exchangesBegun();
}

void CallObserver::waitForAll()
{
    const auto allEnded = [this] { return m_state->records.size() >= exchangesBegun() - m_begunBefore; };
    for (bool done = false; !done;) {
        {
            std::unique_lock<std::mutex> lock(m_state->mutex);
            m_state->ended.wait(lock, allEnded);
        }
        // A reply may have operators ask for more.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        done = allEnded();
    }
}

Outcome CallObserver::outcome(bool succeeded) const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const std::vector<Record>& records = m_state->records;
    Outcome outcome = records.empty() ? Outcome() : outcomeOf(records.back());
    if (succeeded)
        return outcome;
    for (auto record = records.rbegin(); record != records.rend() && outcome.code == Done; ++record)
        outcome = outcomeOf(*record);
    if (outcome.code == Done)
        outcome = {Failed, QStringLiteral("the operation failed without a request that did")};
    return outcome;
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
    const QString refusal = refusalIn(record.reply);
    if (record.state == IHttpVersionTrigger::Success)
        return refusal.isEmpty() ? Outcome()
                                 : Outcome{Refused, QStringLiteral("the device refused: ") + refusal};
    if (record.state == IHttpVersionTrigger::HttpFailure) {
        const QString status = QStringLiteral("the device refused: HTTP status %1").arg(record.status);
        return {Refused, refusal.isEmpty() ? status : status + QStringLiteral(", ") + refusal};
    }
    return {exitCodeOf(record.state), printable(record.reason)};
}

} // namespace TesselCtl
