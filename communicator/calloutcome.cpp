// SPDX-License-Identifier: MIT
#include "communicator/calloutcome.h"

#include <communicator/httpjsonpackage.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr int maxOutcomes = 1000;
// An envelope that explains a failure is short, so longer replies are not searched for it.
constexpr int maxEnvelopeBytes = 64 << 10;

void readEnvelope(const QByteArray& reply, ExchangeOutcome& outcome)
{
    if (reply.size() > maxEnvelopeBytes) {
        return;
    }
    const QJsonObject envelope = QJsonDocument::fromJson(reply).object();
    outcome.code = envelope.value(QLatin1String("code")).toInt();
    outcome.message = envelope.value(QLatin1String("message")).toString();
}

QString stateText(IHttpVersionTrigger::HttpSimpleState state)
{
    switch (state) {
    case IHttpVersionTrigger::Success:
        return QStringLiteral("succeeded");
    case IHttpVersionTrigger::InvalidRequest:
        return QStringLiteral("the request could not be sent");
    case IHttpVersionTrigger::HostNotFound:
        return QStringLiteral("the host name has no address");
    case IHttpVersionTrigger::Unreachable:
        return QStringLiteral("no connection to the device");
    case IHttpVersionTrigger::TimedOut:
        return QStringLiteral("no reply in time");
    case IHttpVersionTrigger::Broken:
        return QStringLiteral("the reply is incomplete or not HTTP");
    case IHttpVersionTrigger::HttpFailure:
        return QStringLiteral("the device answered with an error");
    case IHttpVersionTrigger::LimitExceeded:
        return QStringLiteral("the reply is too large");
    case IHttpVersionTrigger::TlsFailure:
        return QStringLiteral("no trusted TLS session");
    case IHttpVersionTrigger::FileFailure:
        return QStringLiteral("a file could not be read or written");
    case IHttpVersionTrigger::Aborted:
        return QStringLiteral("the request was cancelled, the device removed or the transport stopped");
    }
    return {};
}

} // namespace

ExchangeOutcome ExchangeOutcome::of(const ExchangeRecord& record)
{
    ExchangeOutcome outcome;
    outcome.id = record.id;
    outcome.deviceKey = record.deviceKey;
    outcome.verb = record.verb;
    outcome.path = record.path;
    outcome.state = record.state;
    outcome.status = record.status;
    outcome.milliseconds = record.milliseconds;
    outcome.reason = record.reason;
    readEnvelope(record.reply, outcome);
    return outcome;
}

ExchangeOutcome ExchangeOutcome::of(const HttpJsonPackage& package)
{
    ExchangeOutcome outcome;
    outcome.deviceKey = package.getDevkey();
    outcome.path = package.getUrl().toUtf8();
    outcome.state = package.getSimpleState();
    outcome.status = package.replyStatus;
    readEnvelope(package.getReceiveData(), outcome);
    return outcome;
}

bool ExchangeOutcome::succeeded() const
{
    return state == IHttpVersionTrigger::Success && code == 0;
}

QString ExchangeOutcome::text() const
{
    const QString said = message.isEmpty() ? QString() : QStringLiteral(": ") + message;
    QString why = stateText(state);
    if (code != 0) {
        why = QStringLiteral("the device refused it%1 (code %2)").arg(said).arg(code);
    } else if (!reason.isEmpty()) {
        why = reason + said;
    } else if (state != IHttpVersionTrigger::Success && status != 0) {
        why = QStringLiteral("HTTP status %1%2").arg(status).arg(said);
    }
    const QString what = verb.isEmpty()
                             ? QString::fromUtf8(path)
                             : QString::fromLatin1(verb) + QLatin1Char(' ') + QString::fromUtf8(path);
    return QStringLiteral("%1 on %2: %3").arg(what, deviceKey, why);
}

class Q_DECL_HIDDEN CallOutcome::Private
{
public:
    Private()
        : scope(ids)
        , observer(addExchangeObserver([this](const ExchangeRecord& record) { ended(record); }))
    {}

    QList<ExchangeOutcome> outcomes() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_outcomes;
    }
    quint64 endedCount() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_ended;
    }

private:
    void ended(const ExchangeRecord& record)
    {
        if (!ids.contains(record.id)) {
            return;
        }
        const ExchangeOutcome outcome = ExchangeOutcome::of(record);
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_ended;
        m_outcomes.append(outcome);
        if (m_outcomes.size() > maxOutcomes) {
            m_outcomes.removeFirst();
        }
    }

    mutable std::mutex m_mutex; ///< guards the two below
    QList<ExchangeOutcome> m_outcomes;
    quint64 m_ended = 0;

public:
    ExchangeIds ids;
    ExchangeScope scope;
    ObserverHandle observer; ///< last, so that it is destroyed first
};

CallOutcome::CallOutcome()
    : d(std::make_unique<Private>())
{}

CallOutcome::~CallOutcome() = default;

QList<ExchangeOutcome> CallOutcome::exchanges() const
{
    return d->outcomes();
}

bool CallOutcome::hasFailed() const
{
    const QList<ExchangeOutcome> all = d->outcomes();
    return std::any_of(all.cbegin(), all.cend(),
                       [](const ExchangeOutcome& outcome) { return !outcome.succeeded(); });
}

QString CallOutcome::text() const
{
    const QList<ExchangeOutcome> all = d->outcomes();
    const auto failed = std::find_if(all.crbegin(), all.crend(),
                                     [](const ExchangeOutcome& outcome) { return !outcome.succeeded(); });
    if (failed != all.crend()) {
        return failed->text();
    }
    const std::size_t begun = d->ids.all().size();
    if (begun > d->endedCount()) {
        return QStringLiteral("an exchange is still under way");
    }
    return begun == 0
               ? QStringLiteral("nothing was sent: a cache answered, or the operation refused its arguments")
               : QStringLiteral("all exchanges succeeded");
}

ExchangeIds& CallOutcome::ids()
{
    return d->ids;
}

} // namespace Krelm::Communicator::HttpDevice
