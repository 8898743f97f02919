// SPDX-License-Identifier: MIT
#include "communicator/eventstream.h"

#include "communicator/curltransfer.h"
#include "communicator/logging.h"

#include <random>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr size_t MaximumEventBytes = (1U << 20U) + (64U << 10U);
constexpr size_t MaximumOverhead = 64U << 10U;

std::function<double()> randomNumbers()
{
    return
        [generator = std::minstd_rand(std::random_device()()),
         between = std::uniform_real_distribution<double>(0.0, 1.0)]() mutable { return between(generator); };
}

const char* textOf(EventSupervisor::Failure failure)
{
    switch (failure) {
    case EventSupervisor::Failure::Unreachable:
        return "the device does not answer";
    case EventSupervisor::Failure::Ended:
        return "the stream ended";
    case EventSupervisor::Failure::Silent:
        return "the stream fell silent";
    case EventSupervisor::Failure::Refused:
        return "the device offers no events";
    case EventSupervisor::Failure::LoginRefused:
        return "the device refused the login";
    case EventSupervisor::Failure::TooLarge:
        break;
    }
    return "an event is too large";
}

} // namespace

EventStream::EventStream(IoLoop& loop, CurlMulti& multi, std::shared_ptr<const Device> device,
                         NoticeQueue& notices, std::atomic<int>& paused, const EventTimings& timings)
    : m_loop(loop)
    , m_multi(multi)
    , m_device(std::move(device))
    , m_notices(notices)
    , m_pausedStreams(paused)
    , m_reader(MaximumEventBytes,
               [this](QByteArray&& data) {
                   m_batch.push_back({Notice::Kind::Event, m_device->key, std::move(data), m_backlog});
               })
    , m_supervisor(*this, timings, randomNumbers())
    , m_easy(curl_easy_init())
{
    m_supervisor.start(IoLoop::Clock::now());
    scheduleTick();
}

EventStream::~EventStream()
{
    closeStream();
    if (m_timer) {
        m_loop.stopTimer(*m_timer);
    }
    curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headerLines);
}

void EventStream::openStream()
{
    m_reader.reset();
    m_isStream = false;
    m_isEventType = false;
    m_tooLarge = false;
    m_status = 0;
    m_overhead = 0;
    curl_easy_reset(m_easy);
    curl_slist_free_all(m_headerLines);
    m_headerLines = curl_slist_append(nullptr, "Accept: text/event-stream");
    m_headerLines = curl_slist_append(m_headerLines, "Cache-Control: no-store");
    if (!m_reader.lastEventId().isEmpty()) {
        m_headerLines =
            curl_slist_append(m_headerLines, ("Last-Event-ID: " + m_reader.lastEventId()).constData());
    }
    setTransportOptions(m_easy);
    setDeviceOptions(m_easy, *m_device);
    curl_easy_setopt(m_easy, CURLOPT_URL, (m_device->baseUrl + "/api/v1/events").constData());
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, m_headerLines);
    curl_easy_setopt(m_easy, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(m_easy, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(m_easy, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(m_easy, CURLOPT_HEADERFUNCTION, &EventStream::onHeader);
    curl_easy_setopt(m_easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &EventStream::onBody);
    curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this);
    m_open = true;
    m_multi.add(m_easy, [this](CURLcode /*code*/) { finished(); });
}

void EventStream::closeStream()
{
    if (m_open) {
        m_open = false;
        setPaused(false);
        m_multi.remove(m_easy);
    }
}

void EventStream::deviceGone()
{
    qCInfo(eventLog, "%s: gone", qPrintable(printableKey(m_device->key)));
    m_notices.push({Notice::Kind::Logout, m_device->key, {}, nullptr});
}

void EventStream::failureSeen(EventSupervisor::Failure failure, bool first, std::chrono::milliseconds delay)
{
    if (first) {
        qCWarning(eventLog, "%s: %s", qPrintable(printableKey(m_device->key)), textOf(failure));
    }
    qCDebug(eventLog, "%s: %s, next attempt in %lld ms", qPrintable(printableKey(m_device->key)),
            textOf(failure), static_cast<long long>(delay.count()));
}

size_t EventStream::onHeader(char* line, size_t size, size_t count, void* self)
{
    const size_t bytes = size * count;
    auto* const stream = static_cast<EventStream*>(self);
    stream->m_overhead += bytes;
    const QByteArray text = QByteArray::fromRawData(line, static_cast<int>(bytes)).trimmed();
    return stream->m_overhead <= MaximumOverhead && stream->headerLine(text) ? bytes : 0;
}

bool EventStream::headerLine(const QByteArray& line)
{
    if (line.startsWith("HTTP/")) {
        m_status = line.mid(line.indexOf(' ') + 1, 3).toInt();
        m_isEventType = false;
    } else if (line.isEmpty()) {
        m_isStream = m_status == 200 && m_isEventType;
        if (m_isStream) {
            qCInfo(eventLog, "%s: streaming", qPrintable(printableKey(m_device->key)));
            m_supervisor.connected(IoLoop::Clock::now());
            scheduleTick();
        }
    } else if (qstrnicmp(line.constData(), "content-type:", 13) == 0) {
        m_isEventType = line.mid(13).trimmed().toLower().startsWith("text/event-stream");
    }
    return true;
}

size_t EventStream::onBody(char* bytes, size_t size, size_t count, void* self)
{
    return static_cast<EventStream*>(self)->body(bytes, size * count);
}

size_t EventStream::body(const char* bytes, size_t size)
{
    if (!m_isStream) {
        m_overhead += size;
        return m_overhead <= MaximumOverhead ? size : 0;
    }
    if (m_backlog->isFull()) {
        // Counted first and looked at again: whoever empties the queue meanwhile sees the count.
        setPaused(true);
        if (m_backlog->isFull()) {
            return CURL_WRITEFUNC_PAUSE;
        }
        setPaused(false);
    }
    const bool taken = m_reader.feed(bytes, size);
    if (const auto retry = m_reader.takeRetry()) {
        m_supervisor.setFirstDelay(*retry);
    }
    m_supervisor.heard(IoLoop::Clock::now());
    if (!m_batch.empty()) {
        m_notices.push(m_batch);
    }
    m_tooLarge = !taken;
    return taken ? size : 0;
}

void EventStream::setPaused(bool paused)
{
    if (paused != m_isPaused) {
        m_isPaused = paused;
        m_pausedStreams += paused ? 1 : -1;
        m_supervisor.setHeldBack(paused, IoLoop::Clock::now());
    }
}

void EventStream::resume()
{
    if (!m_isPaused || !m_backlog->isLow()) {
        return;
    }
    setPaused(false);
    // Hands over at once what libcurl holds, and may pause again.
    if (curl_easy_pause(m_easy, CURLPAUSE_CONT) != CURLE_OK) {
        closeStream();
        fail(failureOf());
    }
    scheduleTick();
}

EventSupervisor::Failure EventStream::failureOf() const
{
    using Failure = EventSupervisor::Failure;
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
    m_open = false;
    setPaused(false);
    fail(failureOf());
}

void EventStream::fail(EventSupervisor::Failure failure)
{
    m_supervisor.failed(failure, IoLoop::Clock::now());
    scheduleTick();
}

void EventStream::scheduleTick()
{
    const auto deadline = m_supervisor.deadline();
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
            m_supervisor.tick(IoLoop::Clock::now());
            scheduleTick();
        });
    }
}

} // namespace Krelm::Communicator::HttpDevice
