// SPDX-License-Identifier: MIT
#include "communicator/events/eventstream.h"

#include "communicator/http/headername.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/retryafter.h"
#include "communicator/runtime/logging.h"

#include <QDateTime>
#include <QList>

#include <algorithm>
#include <array>
#include <netinet/in.h>
#include <random>
#include <simdjson.h>
#include <sys/socket.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

// Devices send up to 1 MiB; the rest is for names of fields and line ends.
constexpr size_t maxEventBytes = (1U << 20U) + (64U << 10U);
// Read at most this much of a reply that is not an event stream before closing its connection.
constexpr size_t maxOverhead = 64U << 10U;
// How much one stream may deliver before the others get their turn, and by how much it may overfill the
// queue.
constexpr size_t bytesPerTurn = 16U << 10U;
static_assert(bytesPerTurn >= largestTlsRecord, "a turn must read all that TLS may have buffered");

std::function<double()> randomNumbers()
{
    return
        [generator = std::minstd_rand(std::random_device()()),
         between = std::uniform_real_distribution<double>(0.0, 1.0)]() mutable { return between(generator); };
}

const char* textOf(ReconnectPolicy::Failure failure)
{
    switch (failure) {
    case ReconnectPolicy::Failure::Unreachable:
        return "the device does not answer";
    case ReconnectPolicy::Failure::Ended:
        return "the stream ended";
    case ReconnectPolicy::Failure::Silent:
        return "the stream timed out";
    case ReconnectPolicy::Failure::Refused:
        return "the device has no event stream";
    case ReconnectPolicy::Failure::LoginRefused:
        return "the device refused the login";
    case ReconnectPolicy::Failure::TooLarge:
        break;
    }
    return "an event is too large";
}

// Whether an id can be sent back to the device as a header: UTF-8 without control characters.
bool isSendable(const QByteArray& id)
{
    const QString text = QString::fromUtf8(id);
    return text.toUtf8() == id && !hasAsciiControl(text);
}

// Operators and applications read events as JSON, which is UTF-8 (RFC 8259).
bool isJson(const QByteArray& text)
{
    thread_local simdjson::dom::parser parser;
    return parser.parse(text.constData(), static_cast<std::size_t>(text.size())).error() == simdjson::SUCCESS;
}

} // namespace

EventStream::EventStream(StreamContext& context, std::shared_ptr<const Device> device, const Past& past)
    : m_context(context)
    , m_loop(context.loop)
    , m_device(std::move(device))
    , m_proxyEvents(context.proxyEvents)
    , m_reader(maxEventBytes, [this](SseReader::Event&& event) { eventCame(std::move(event)); })
    , m_reconnectPolicy(*this, context.timings, randomNumbers())
    , m_continuity(past.continuity)
    , m_owesReport(past.owesReport)
    , m_parser(*this, {})
{
    m_reader.setLastEventId(past.lastEventId);
    m_reconnectPolicy.start(IoLoop::Clock::now());
    scheduleTick();
}

EventStream::~EventStream()
{
    closeStream();
    if (m_timer) {
        m_loop.stopTimer(*m_timer);
    }
}

EventStream::Past EventStream::past() const
{
    const bool awaitsReport = m_owesReport || m_reportTimer || m_repeatTimer;
    return {m_reader.lastEventId(), m_continuity, awaitsReport || m_reconnectPolicy.isGone()};
}

void EventStream::openStream()
{
    m_reader.reset();
    m_parser.reset();
    m_isStream = false;
    m_isEventType = false;
    m_tooLarge = false;
    m_hasDroppedEvent = false;
    m_status = 0;
    m_retryAfter = {};
    m_overhead = 0;
    m_login.reset();
    m_open = true;
    setState(ConnectionState::Connecting, m_reason, std::nullopt);
    m_attempt =
        m_context.connector.connect(m_device, m_context.timings.connect, [this](ConnectResult opened) {
            m_attempt = nullptr;
            if (opened.connection) {
                use(std::move(opened.connection));
            } else {
                finished();
            }
        });
}

void EventStream::closeStream()
{
    m_open = false;
    setPaused(false);
    if (m_proofTimer) {
        m_loop.stopTimer(*m_proofTimer);
        m_proofTimer.reset();
    }
    if (m_reportTimer) {
        m_loop.stopTimer(*m_reportTimer);
        m_reportTimer.reset();
        m_owesReport = true;
    }
    if (m_repeatTimer) {
        m_loop.stopTimer(*m_repeatTimer);
        m_repeatTimer.reset();
        m_owesReport = true;
    }
    if (m_attempt != nullptr) {
        m_context.connector.cancel(m_attempt);
        m_attempt = nullptr;
    }
    m_connection.reset();
    m_head.clear();
}

// Reports the state to DeviceConnections. A device that is gone remains so until it is back.
void EventStream::setState(ConnectionState state, const QString& reason,
                           std::optional<std::chrono::milliseconds> next)
{
    const bool isAway = state == ConnectionState::Connecting || state == ConnectionState::Waiting;
    DeviceConnection connection;
    connection.deviceKey = m_device->key;
    connection.state = isAway && m_reconnectPolicy.isGone() ? ConnectionState::Gone : state;
    connection.reason = reason;
    if (next) {
        connection.nextAttempt = QDateTime::currentDateTimeUtc().addMSecs(next->count());
    }
    if (auto changed = m_context.board.put(std::move(connection))) {
        m_proxyEvents.push(ProxyEvent::of(*std::move(changed)));
    }
}

void EventStream::live()
{
    m_challenges = 0;
    qCInfo(eventLog, "%s: streaming", qPrintable(printableKey(m_device->key)));
    // The caches have dropped a device that was gone, whatever its stream proves.
    const bool wasGone = m_reconnectPolicy.isGone();
    m_reconnectPolicy.connected(IoLoop::Clock::now());
    scheduleTick();
    setState(ConnectionState::Live, {}, std::nullopt);
    const bool mayHaveMissed = m_continuity.opened(resumeId());
    const bool isOwed = std::exchange(m_owesReport, false);
    if (mayHaveMissed || wasGone || isOwed) {
        reportMissed();
    }
    if (m_continuity.isUnproven()) {
        m_proofTimer = m_loop.startTimer(IoLoop::Clock::now() + m_context.timings.proof, [this] {
            m_proofTimer.reset();
            if (m_continuity.nothingProven()) {
                reportMissed();
            }
        });
    }
}

void EventStream::eventCame(SseReader::Event&& event)
{
    const bool hasId = event.id && isSendable(*event.id);
    bool mayHaveMissed = hasId ? m_continuity.idCame(*event.id) : m_continuity.nothingProven();
    if (event.isGap) {
        mayHaveMissed = m_continuity.gapCame();
    }
    if (mayHaveMissed) {
        reportMissed();
    }
    if (!event.data || event.isGap) {
        return;
    }
    m_reconnectPolicy.delivered();
    if (isJson(*event.data)) {
        m_batch.push_back({ProxyEvent::Kind::Event, m_device->key, *std::move(event.data), m_quota});
    } else if (!std::exchange(m_hasDroppedEvent, true)) {
        qCWarning(eventLog,
                  "%s: an event was dropped because it is not JSON in UTF-8; further ones on this "
                  "connection are not reported",
                  qPrintable(printableKey(m_device->key)));
    }
}

// A cache whose refresh failed stays as it was, and no other event would make up for it. A device that keeps
// failing is asked less and less often.
void EventStream::readFailed()
{
    if (m_repeatTimer || m_reportTimer) {
        return;
    }
    if (!m_open || !m_isStream) {
        m_owesReport = true;
        return;
    }
    const EventTimings& timings = m_context.timings;
    const auto now = IoLoop::Clock::now();
    if (now - m_repeatedAt > 2 * timings.longestDelay) {
        m_repeats = 0;
    }
    constexpr int maxDoublings = 20; // keeps the product in range; the longest delay is reached before
    const int doublings = std::min(m_repeats++, maxDoublings);
    m_repeatedAt = now + std::min<std::chrono::milliseconds>(
                             timings.firstDelay * (std::int64_t(1) << doublings), timings.longestDelay);
    m_repeatTimer = m_loop.startTimer(m_repeatedAt, [this] {
        m_repeatTimer.reset();
        reportMissed();
    });
}

// Devices are reported in turn, and only while their streams are open, so that caches are read from a device
// that is there. One whose ids never fit must not have all its caches read with each event.
void EventStream::reportMissed()
{
    if (m_reportTimer) {
        return;
    }
    const auto now = IoLoop::Clock::now();
    if (m_reported && now < *m_reported + m_untilReport) {
        m_reportTimer = m_loop.startTimer(*m_reported + m_untilReport, [this] {
            m_reportTimer.reset();
            reportMissed();
        });
        return;
    }
    const auto turn = std::max(now, m_context.reportsFrom);
    m_context.reportsFrom = turn + m_context.timings.reportGap;
    m_reportTimer = m_loop.startTimer(turn, [this] {
        m_reportTimer.reset();
        tellMissed();
    });
}

void EventStream::tellMissed()
{
    const auto now = IoLoop::Clock::now();
    const bool isCalm = !m_reported || now - *m_reported > 4 * m_untilReport;
    m_untilReport = isCalm ? m_context.timings.reportAgain
                           : std::min(2 * m_untilReport, m_context.timings.longestReportAgain);
    m_reported = now;
    qCInfo(eventLog, "%s: events may have been missed; every kind of change is reported",
           qPrintable(printableKey(m_device->key)));
    m_proxyEvents.push({ProxyEvent::Kind::EventsMissed, m_device->key, {}, nullptr});
    for (const QByteArray& event : m_context.board.changeEvents()) {
        m_batch.push_back({ProxyEvent::Kind::Event, m_device->key, event, m_quota});
    }
    m_proxyEvents.push(m_batch);
}

// The id sent to the device as a header; empty if no id is known, or only one that cannot be sent in a
// header.
QByteArray EventStream::resumeId() const
{
    const QByteArray& id = m_reader.lastEventId();
    return isSendable(id) ? id : QByteArray();
}

void EventStream::writeHead()
{
    RequestHead head;
    head.method = QByteArrayLiteral("GET");
    head.target = QByteArrayLiteral("/api/v1/events");
    head.headers = {{QStringLiteral("Accept"), QStringLiteral("text/event-stream")},
                    {QStringLiteral("Cache-Control"), QStringLiteral("no-store")}};
    if (const QByteArray id = resumeId(); !id.isEmpty()) {
        head.headers.insert(QStringLiteral("Last-Event-ID"), QString::fromUtf8(id));
    }
    m_head = HttpDevice::writeHead(head, *m_device, m_authorization);
}

void EventStream::use(std::unique_ptr<Connection> connection)
{
    m_connection = std::move(connection);
    const int on = 1;
    ::setsockopt(m_connection->socket(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    writeHead();
    send();
}

void EventStream::send()
{
    while (!m_head.isEmpty()) {
        const Connection::Result result =
            m_connection->send({m_head.constData(), static_cast<std::size_t>(m_head.size())}, {}, false);
        if (result.status == Connection::Status::Waiting) {
            break;
        }
        if (result.status != Connection::Status::Moved) {
            finished();
            return;
        }
        m_head.remove(0, static_cast<int>(result.bytes));
    }
    if (m_head.isEmpty()) {
        m_head = QByteArray(); // an idle stream keeps no buffer
    }
    watch();
}

void EventStream::watch()
{
    // Not even for the end of a connection that is paused, which would be reported over and over.
    const std::uint32_t wanted = m_isPaused         ? 0U
                                 : m_head.isEmpty() ? IoLoop::Readable
                                                    : IoLoop::Readable | IoLoop::Writable;
    m_connection->watch(m_loop, wanted, [this](std::uint32_t events) { ready(events); });
}

void EventStream::ready(std::uint32_t events)
{
    if ((events & IoLoop::Writable) != 0) {
        send();
    }
    if (m_connection && (events & IoLoop::Readable) != 0) {
        receive();
    }
}

void EventStream::receive()
{
    std::array<char, bytesPerTurn> buffer;
    // Count first, then check again: a thread that empties the queue meanwhile sees the count.
    if (m_quota->isFull()) {
        setPaused(true);
        if (m_quota->isFull()) {
            watch();
            return;
        }
        setPaused(false);
    }
    const Connection::Result result = m_connection->receive(buffer.data(), buffer.size());
    if (result.status == Connection::Status::Waiting) {
        return;
    }
    const ResponseParser::State state = result.status == Connection::Status::Moved
                                            ? m_parser.feed(buffer.data(), result.bytes)
                                            : m_parser.end();
    if (state != ResponseParser::State::Reading || result.status != Connection::Status::Moved) {
        finished();
    }
}

void EventStream::deviceGone()
{
    qCInfo(eventLog, "%s: gone", qPrintable(printableKey(m_device->key)));
    const auto due = m_reconnectPolicy.deadline();
    const auto wait = due && !m_open ? std::optional(std::chrono::duration_cast<std::chrono::milliseconds>(
                                           *due - IoLoop::Clock::now()))
                                     : std::nullopt;
    setState(ConnectionState::Gone, m_reason, wait);
    m_proxyEvents.push({ProxyEvent::Kind::Logout, m_device->key, {}, nullptr});
}

void EventStream::failureSeen(ReconnectPolicy::Failure failure, bool first, std::chrono::milliseconds delay)
{
    if (first) {
        qCWarning(eventLog, "%s: %s", qPrintable(printableKey(m_device->key)), textOf(failure));
    }
    qCDebug(eventLog, "%s: %s, next attempt in %lld ms", qPrintable(printableKey(m_device->key)),
            textOf(failure), static_cast<long long>(delay.count()));
    m_challenge.clear(); // the next attempt is another request
    m_challenges = 0;
    m_reason = QString::fromLatin1(textOf(failure));
    if (m_status != 0 && !m_isStream) {
        m_reason += QStringLiteral(" (HTTP status %1)").arg(m_status);
    }
    const bool isBusy = m_status == 429 || m_status >= 500;
    const bool isRefusal = failure == ReconnectPolicy::Failure::LoginRefused ||
                           (failure == ReconnectPolicy::Failure::Refused && !isBusy);
    setState(isRefusal ? ConnectionState::Refused : ConnectionState::Waiting, m_reason, delay);
}

void EventStream::responseField(std::string_view name, std::string_view value)
{
    const QByteArray text = QByteArray(value.data(), static_cast<int>(value.size()));
    if (isNamed(name, "content-type")) {
        m_isEventType = text.split(';').first().trimmed().toLower() == "text/event-stream";
    } else if (isNamed(name, "www-authenticate")) {
        m_challenge += (m_challenge.isEmpty() ? QString() : QStringLiteral(", ")) + QString::fromUtf8(text);
    } else if (isNamed(name, "retry-after")) {
        m_retryAfter = retryAfter(text).value_or(std::chrono::milliseconds(0));
    }
}

bool EventStream::responseHead(const ResponseParser::Head& head)
{
    m_status = head.status;
    m_isStream = m_status == 200 && m_isEventType;
    if (m_isStream) {
        if (m_device->token) {
            m_device->token->accepted(m_authorization);
        }
        live();
    }
    return true;
}

bool EventStream::responseBody(const char* bytes, std::size_t size)
{
    if (!m_isStream) {
        m_overhead += size;
        return m_overhead <= maxOverhead;
    }
    const bool taken = m_reader.feed(bytes, size);
    if (const auto retry = m_reader.takeRetry()) {
        m_reconnectPolicy.setFirstDelay(*retry);
    }
    m_reconnectPolicy.heard(IoLoop::Clock::now());
    if (!m_batch.empty()) {
        m_proxyEvents.push(m_batch);
    }
    if (!taken) {
        m_tooLarge = true;
        m_continuity.interrupted(); // the event is skipped
    }
    return taken;
}

void EventStream::setPaused(bool paused)
{
    if (paused != m_isPaused) {
        m_isPaused = paused;
        m_context.paused += paused ? 1 : -1;
        m_reconnectPolicy.setHeldBack(paused, IoLoop::Clock::now());
    }
}

void EventStream::resume()
{
    if (!m_isPaused || !m_quota->isLow()) {
        return;
    }
    setPaused(false);
    watch();
    scheduleTick();
}

ReconnectPolicy::Failure EventStream::failureOf() const
{
    using Failure = ReconnectPolicy::Failure;
    if (m_tooLarge) {
        return Failure::TooLarge;
    }
    if (m_isStream) {
        return Failure::Ended;
    }
    if (m_status == 401 || m_status == 403) {
        return Failure::LoginRefused;
    }
    return m_status >= 200 ? Failure::Refused : Failure::Unreachable;
}

void EventStream::finished()
{
    const ReconnectPolicy::Failure failure = failureOf();
    closeStream();
    if (answerChallenge() || awaitLogin()) {
        openStream();
    } else if (m_status == 204) { // WHATWG HTML, "Processing model": no further attempts
        m_reconnectPolicy.ended();
        scheduleTick();
        qCWarning(eventLog, "%s: the device ended its events for good (HTTP status 204)",
                  qPrintable(printableKey(m_device->key)));
        setState(ConnectionState::Stopped, QStringLiteral("the device ended its events (HTTP status 204)"),
                 std::nullopt);
    } else {
        fail(failure);
    }
}

// A digest login begins with a refusal; the second attempt has the answer and counts as part of the first.
bool EventStream::answerChallenge()
{
    const QString challenge = std::exchange(m_challenge, {});
    return takeChallenge(*m_device, m_status, challenge, m_authorization, m_challenges);
}

// A stream whose token was refused is opened again as soon as there is another one, whoever asks for it.
// @return whether there is one already.
bool EventStream::awaitLogin()
{
    if (m_status != 401 || !m_device->token || m_authorization.isEmpty()) {
        return false;
    }
    m_login = std::make_shared<TokenLogin::Ticket>();
    const auto waiter = [this, &loop = m_loop, awaited = std::weak_ptr(m_login)](bool /*renewed*/) {
        loop.post([this, awaited] {
            if (!awaited.expired()) {
                m_reconnectPolicy.retryNow(IoLoop::Clock::now());
                scheduleTick();
            }
        });
    };
    return m_device->token->refused(m_authorization, *m_login, waiter, true) == TokenLogin::Verdict::Renewed;
}

void EventStream::fail(ReconnectPolicy::Failure failure)
{
    if (!m_isStream) {
        m_continuity.interrupted();
    }
    m_reconnectPolicy.failed(failure, IoLoop::Clock::now(),
                             maySayWhenToComeBack(m_status) ? m_retryAfter : decltype(m_retryAfter)());
    scheduleTick();
}

void EventStream::scheduleTick()
{
    const auto deadline = m_reconnectPolicy.deadline();
    if (m_timer && deadline && m_timer->first <= *deadline) {
        return; // the tick comes early enough and sets the next one
    }
    if (m_timer) {
        m_loop.stopTimer(*m_timer);
        m_timer.reset();
    }
    if (deadline) {
        m_timer = m_loop.startTimer(*deadline, [this] {
            m_timer.reset();
            m_reconnectPolicy.tick(IoLoop::Clock::now());
            scheduleTick();
        });
    }
}

} // namespace Krelm::Communicator::HttpDevice
