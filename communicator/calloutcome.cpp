// SPDX-License-Identifier: MIT
#include "communicator/calloutcome.h"

#include "communicator/http/requesthead.h"
#include "communicator/http/requesturl.h"
#include "communicator/packages/httpjsonpackage_p.h"
#include "communicator/packages/operationlog.h"
#include "communicator/packages/pendingreply.h"
#include "communicator/runtime/logging.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <mutex>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr int maxOutcomes = 1000;
// An envelope that explains a failure is short, so longer replies are not searched for it.
constexpr int maxEnvelopeBytes = 64 << 10;

// As in the promises of operations: a code that is not an integer is none that accepts.
int codeOf(const QJsonValue& code)
{
    constexpr int notAnInteger = -1;
    return code.isUndefined() ? 0 : code.toInt(notAnInteger);
}

void readEnvelope(const QByteArray& reply, ExchangeOutcome& outcome)
{
    if (reply.size() > maxEnvelopeBytes || reply.isEmpty()) {
        return;
    }
    const QJsonDocument document = QJsonDocument::fromJson(reply);
    const QJsonObject envelope = document.object();
    const QJsonValue code = envelope.value(QLatin1String("code"));
    const bool isSuccess = outcome.state == IHttpVersionTrigger::Success;
    outcome.code = isSuccess ? codeOf(code) : code.toInt(); // a failure has another reason
    outcome.isUnreadable = isSuccess && !document.isObject();
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

/// The outcome of an exchange that @p ended, an EndedExchange or an ExchangeRecord, without what names it.
template <class Ended>
ExchangeOutcome outcomeOf(const Ended& ended)
{
    ExchangeOutcome outcome;
    outcome.state = ended.state;
    outcome.status = ended.status;
    outcome.milliseconds = ended.milliseconds;
    outcome.reason = ended.reason;
    outcome.retryAfter = ended.retryAfter;
    readEnvelope(ended.reply, outcome);
    return outcome;
}

void setNames(ExchangeOutcome& outcome, ExchangeId id, const QString& deviceKey, const QByteArray& verb,
              const QByteArray& path)
{
    outcome.id = id;
    outcome.deviceKey = deviceKey;
    outcome.verb = verb;
    outcome.path = path;
}

QByteArray targetOf(const QString& path, const QMap<QString, QString>& placeHolders,
                    const QMap<QString, QString>& parameters)
{
    return path.isEmpty() ? QByteArray() : requestTarget(path, placeHolders, parameters);
}

bool failedForGood(const ExchangeOutcome& outcome)
{
    return !outcome.succeeded() && !outcome.isRepeated;
}

bool anyFailed(const QList<ExchangeOutcome>& all)
{
    return std::any_of(all.cbegin(), all.cend(), failedForGood);
}

QString textOfAll(const QList<ExchangeOutcome>& all, bool anyBegun, bool allEnded)
{
    const auto failed = std::find_if(all.crbegin(), all.crend(), failedForGood);
    if (failed != all.crend()) {
        return failed->text();
    }
    if (!allEnded) {
        return QStringLiteral("an exchange is still under way");
    }
    const auto unreadable =
        std::find_if(all.crbegin(), all.crend(), [](const ExchangeOutcome& one) { return one.isUnreadable; });
    if (unreadable != all.crend()) {
        return unreadable->text();
    }
    return anyBegun
               ? QStringLiteral("all exchanges succeeded")
               : QStringLiteral("nothing was sent: a cache answered, or the operation refused its arguments");
}

} // namespace

ExchangeOutcome ExchangeOutcome::of(const ExchangeRecord& record)
{
    ExchangeOutcome outcome = outcomeOf(record);
    setNames(outcome, record.id, record.deviceKey, record.verb, record.path);
    outcome.isRepeated = record.isRepeated;
    return outcome;
}

ExchangeOutcome ExchangeOutcome::of(const HttpJsonPackage& package)
{
    const HttpJsonPackage::Private& known = *package.d;
    EndedExchange ended = known.ended;
    ended.state = known.state;
    ended.status = package.replyStatus;
    ended.reply = known.received;
    ExchangeOutcome outcome = outcomeOf(ended);
    setNames(outcome, known.exchange, printableKey(known.deviceKey), verbOf(known.method),
             targetOf(known.path, known.placeHolderValues, known.queryParameters));
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
    } else if (isUnreadable) {
        why = QStringLiteral("succeeded, but the reply is not a JSON object");
    }
    const QString what = verb.isEmpty()
                             ? QString::fromUtf8(path)
                             : QString::fromLatin1(verb) + QLatin1Char(' ') + QString::fromUtf8(path);
    return QStringLiteral("%1 on %2: %3").arg(what, deviceKey, why);
}

class Q_DECL_HIDDEN OperationOutcome::Private
{
public:
    std::vector<LoggedExchange> exchanges;
};

OperationOutcome::OperationOutcome() = default;
OperationOutcome::~OperationOutcome() = default;
OperationOutcome::OperationOutcome(const OperationOutcome& other) = default;
OperationOutcome::OperationOutcome(OperationOutcome&& other) noexcept = default;
OperationOutcome& OperationOutcome::operator=(const OperationOutcome& other) = default;
OperationOutcome& OperationOutcome::operator=(OperationOutcome&& other) noexcept = default;

OperationOutcome OperationOutcome::last()
{
    OperationOutcome outcome;
    if (const OperationLog* const log = OperationLog::ofThread()) {
        const auto known = std::make_shared<Private>();
        known->exchanges = log->exchanges();
        outcome.d = known;
    }
    return outcome;
}

std::vector<ExchangeId> OperationOutcome::ids() const
{
    std::vector<ExchangeId> ids;
    if (d) {
        for (const LoggedExchange& exchange : d->exchanges) {
            ids.push_back(exchange.id);
        }
    }
    return ids;
}

QList<ExchangeOutcome> OperationOutcome::exchanges() const
{
    QList<ExchangeOutcome> outcomes;
    if (!d) {
        return outcomes;
    }
    for (const LoggedExchange& exchange : d->exchanges) {
        const std::optional<EndedExchange> ended =
            exchange.pending ? exchange.pending->ended() : exchange.ended;
        if (!ended) {
            continue;
        }
        ExchangeOutcome outcome = outcomeOf(*ended);
        setNames(outcome, exchange.id, printableKey(exchange.deviceKey), verbOf(exchange.method),
                 targetOf(exchange.path, exchange.placeHolders, exchange.parameters));
        outcomes.append(outcome);
    }
    return outcomes;
}

bool OperationOutcome::isFinished() const
{
    return exchanges().size() == int(ids().size());
}

bool OperationOutcome::hasFailed() const
{
    return anyFailed(exchanges());
}

QString OperationOutcome::text() const
{
    const QList<ExchangeOutcome> ended = exchanges();
    const std::size_t begun = ids().size();
    return textOfAll(ended, begun > 0, begun == std::size_t(ended.size()));
}

namespace {

/// What a CallOutcome has collected. An observer keeps it: one that another thread is in may outlast its
/// handle.
class CollectedOutcomes
{
public:
    ExchangeIds ids;

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
    void ended(const ExchangeRecord& record)
    {
        if (!ids.contains(record.id)) {
            return;
        }
        const ExchangeOutcome outcome = ExchangeOutcome::of(record);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ended += record.isRepeated ? 0 : 1;
        m_outcomes.append(outcome);
        if (m_outcomes.size() > maxOutcomes) {
            m_outcomes.removeFirst();
        }
    }

private:
    mutable std::mutex m_mutex; ///< guards the two below
    QList<ExchangeOutcome> m_outcomes;
    quint64 m_ended = 0;
};

} // namespace

class Q_DECL_HIDDEN CallOutcome::Private
{
public:
    Private()
        : scope(collected->ids)
        , observer(
              addExchangeObserver([all = collected](const ExchangeRecord& record) { all->ended(record); }))
    {}

    const std::shared_ptr<CollectedOutcomes> collected = std::make_shared<CollectedOutcomes>();
    ExchangeScope scope;
    ObserverHandle observer; ///< last, so that it is destroyed first
};

CallOutcome::CallOutcome()
    : d(std::make_unique<Private>())
{}

CallOutcome::~CallOutcome() = default;

QList<ExchangeOutcome> CallOutcome::exchanges() const
{
    return d->collected->outcomes();
}

bool CallOutcome::hasFailed() const
{
    return anyFailed(d->collected->outcomes());
}

QString CallOutcome::text() const
{
    const QList<ExchangeOutcome> all = d->collected->outcomes();
    const std::size_t begun = d->collected->ids.all().size();
    return textOfAll(all, begun > 0, begun <= d->collected->endedCount());
}

ExchangeIds& CallOutcome::ids()
{
    return d->collected->ids;
}

} // namespace Krelm::Communicator::HttpDevice
