// SPDX-License-Identifier: MIT
#include "communicator/events/eventstream.h"

#include "communicator/http/requesthead.h"
#include "communicator/runtime/logging.h"

#include <QList>

#include <array>
#include <netinet/in.h>
#include <random>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr size_t maxEventBytes = (1U << 20U) + (64U << 10U);
constexpr size_t maxOverhead = 64U << 10U;
// What one stream may deliver before the others have their turn, and by how much it may overfill the queue.
constexpr size_t bytesPerTurn = 16U << 10U;
static_assert(bytesPerTurn >= largestTlsRecord, "what TLS held back no readiness would announce");

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
        return "the stream fell silent";
    case ReconnectPolicy::Failure::Refused:
        return "the device offers no events";
    case ReconnectPolicy::Failure::LoginRefused:
        return "the device refused the login";
    case ReconnectPolicy::Failure::TooLarge:
        break;
    }
    return "an event is too large";
}

} // namespace

EventStream::EventStream(IoLoop& loop, Connector& connector, std::shared_ptr<const Device> device,
                         ProxyEventQueue& proxyEvents, std::atomic<int>& paused, const EventTimings& timings,
                         const QByteArray& lastEventId)
    : m_loop(loop)
    , m_connector(connector)
    , m_device(std::move(device))
    , m_proxyEvents(proxyEvents)
    , m_pausedStreams(paused)
    , m_reader(maxEventBytes,
               [this](QByteArray&& data) {
                   m_batch.push_back({ProxyEvent::Kind::Event, m_device->key, std::move(data), m_quota});
               })
    , m_reconnectPolicy(*this, timings, randomNumbers())
    , m_connectLimit(timings.connect)
    , m_parser(*this, {})
{
    m_reader.setLastEventId(lastEventId);
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

void EventStream::openStream()
{
    m_reader.reset();
    m_parser.reset();
    m_isStream = false;
    m_isEventType = false;
    m_tooLarge = false;
    m_status = 0;
    m_overhead = 0;
    m_attempt = m_connector.connect(m_device, m_connectLimit, [this](ConnectResult opened) {
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
    setPaused(false);
    if (m_attempt != nullptr) {
        m_connector.cancel(m_attempt);
        m_attempt = nullptr;
    }
    if (m_watched != 0) {
        m_loop.unwatch(m_connection->socket());
        m_watched = 0;
    }
    m_connection.reset();
    m_head.clear();
}

void EventStream::writeHead()
{
    RequestHead head;
    head.method = QByteArrayLiteral("GET");
    head.target = QByteArrayLiteral("/api/v1/events");
    head.headers = {{QStringLiteral("Accept"), QStringLiteral("text/event-stream")},
                    {QStringLiteral("Cache-Control"), QStringLiteral("no-store")}};
    if (!m_reader.lastEventId().isEmpty()) {
        head.headers.insert(QStringLiteral("Last-Event-ID"), QString::fromUtf8(m_reader.lastEventId()));
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
    const std::uint32_t wanted = m_isPaused ? 0U : m_head.isEmpty() ? EPOLLIN : EPOLLIN | EPOLLOUT;
    if (wanted == m_watched) {
        return;
    }
    m_watched = wanted;
    if (wanted == 0) {
        m_loop.unwatch(m_connection->socket()); // the end of the connection would be told again and again
    } else {
        m_loop.watch(m_connection->socket(), wanted, [this](std::uint32_t events) { ready(events); });
    }
}

void EventStream::ready(std::uint32_t events)
{
    if ((events & EPOLLOUT) != 0) {
        send();
    }
    if (m_connection && (events & ~std::uint32_t(EPOLLOUT)) != 0) {
        receive();
    }
}

void EventStream::receive()
{
    std::array<char, bytesPerTurn> buffer;
    // Counted first and looked at again: whoever empties the queue meanwhile sees the count.
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
    m_proxyEvents.push({ProxyEvent::Kind::Logout, m_device->key, {}, nullptr});
}

void EventStream::failureSeen(ReconnectPolicy::Failure failure, bool first, std::chrono::milliseconds delay)
{
    if (first) {
        qCWarning(eventLog, "%s: %s", qPrintable(printableKey(m_device->key)), textOf(failure));
    }
    qCDebug(eventLog, "%s: %s, next attempt in %lld ms", qPrintable(printableKey(m_device->key)),
            textOf(failure), static_cast<long long>(delay.count()));
}

void EventStream::responseField(std::string_view name, std::string_view value)
{
    const QByteArray text = QByteArray(value.data(), static_cast<int>(value.size()));
    const auto isNamed = [name](const char* wanted) {
        return name.size() == qstrlen(wanted) && qstrnicmp(name.data(), wanted, uint(name.size())) == 0;
    };
    if (isNamed("content-type")) {
        m_isEventType = text.split(';').first().trimmed().toLower() == "text/event-stream";
    } else if (isNamed("www-authenticate")) {
        m_challenge += (m_challenge.isEmpty() ? QString() : QStringLiteral(", ")) + QString::fromUtf8(text);
    }
}

bool EventStream::responseHead(const ResponseParser::Head& head)
{
    m_status = head.status;
    m_isStream = m_status == 200 && m_isEventType;
    if (m_isStream) {
        m_wasChallenged = false;
        qCInfo(eventLog, "%s: streaming", qPrintable(printableKey(m_device->key)));
        m_reconnectPolicy.connected(IoLoop::Clock::now());
        scheduleTick();
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
    m_tooLarge = !taken;
    return taken;
}

void EventStream::setPaused(bool paused)
{
    if (paused != m_isPaused) {
        m_isPaused = paused;
        m_pausedStreams += paused ? 1 : -1;
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
    if (answerChallenge()) {
        openStream();
    } else {
        fail(failure);
    }
}

// A digest login begins with a refusal; the second attempt carries the answer and is a part of the first.
bool EventStream::answerChallenge()
{
    const QString challenge = std::exchange(m_challenge, {});
    const bool answered = m_status == 401 && m_device->digest && !m_wasChallenged &&
                          m_device->digest->takeChallenge(challenge, m_authorization);
    m_wasChallenged = answered;
    return answered;
}

void EventStream::fail(ReconnectPolicy::Failure failure)
{
    m_reconnectPolicy.failed(failure, IoLoop::Clock::now());
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
