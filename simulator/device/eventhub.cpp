// SPDX-License-Identifier: MIT
#include <simulator/device/eventhub.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <random>

namespace Tessel::Simulator {
namespace {

// Beside the number of events, since one may be large.
constexpr std::size_t maxHistoryBytes = 16U << 20;

std::string idLine(std::string_view epoch, std::uint64_t sequence)
{
    return "id: " + std::string(epoch) + ':' + std::to_string(sequence) + '\n';
}

std::string anyEpoch()
{
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08x", std::random_device()());
    return text.data();
}

SharedText frameOf(std::string frame, std::string_view data)
{
    for (;;) {
        const auto end = data.find_first_of("\r\n");
        frame.append("data: ").append(data.substr(0, end)).append("\n");
        if (end == std::string_view::npos) {
            break;
        }
        const bool pair = data[end] == '\r' && end + 1 < data.size() && data[end + 1] == '\n';
        data.remove_prefix(end + (pair ? 2 : 1));
    }
    frame += '\n';
    return std::make_shared<const std::string>(std::move(frame));
}

// The sequence number of an id from this run of the device.
std::optional<std::uint64_t> sequenceOf(std::string_view id, std::string_view epoch)
{
    if (id.substr(0, epoch.size()) != epoch || id.substr(epoch.size(), 1) != ":") {
        return std::nullopt;
    }
    std::uint64_t sequence = 0;
    const char* const end = id.data() + id.size();
    const auto [rest, error] = std::from_chars(id.data() + epoch.size() + 1, end, sequence);
    return error == std::errc() && rest == end ? std::optional(sequence) : std::nullopt;
}

} // namespace

EventHub::EventHub(std::size_t historySize)
    : m_historySize(historySize)
    , m_epoch(anyEpoch())
{}

std::uint64_t EventHub::publish(std::string_view data)
{
    const std::lock_guard lock(m_mutex);
    const auto id = ++m_lastId;
    const auto frame = frameOf(idLine(m_epoch, id), data);
    m_history.emplace_back(id, frame);
    m_historyBytes += frame->size();
    trimHistory();
    for (EventSink* sink : m_sinks) {
        sink->deliver(frame);
    }
    return id;
}

void EventHub::trimHistory()
{
    while (m_history.size() > m_historySize || (m_historyBytes > maxHistoryBytes && m_history.size() > 1)) {
        m_historyBytes -= m_history.front().second->size();
        m_history.pop_front();
    }
}

void EventHub::forget()
{
    const std::lock_guard lock(m_mutex);
    m_history.clear();
    m_historyBytes = 0;
}

void EventHub::setMemory(std::size_t events)
{
    const std::lock_guard lock(m_mutex);
    m_historySize = events;
    trimHistory();
}

void EventHub::heartbeat()
{
    static const auto frame = std::make_shared<const std::string>(":\n\n");
    const std::lock_guard lock(m_mutex);
    for (EventSink* sink : m_sinks) {
        sink->deliver(frame);
    }
}

void EventHub::subscribe(EventSink& sink, std::string_view lastId)
{
    {
        const std::lock_guard lock(m_mutex);
        // The discarded events end here.
        const std::uint64_t forgotten = m_history.empty() ? m_lastId : m_history.front().first - 1;
        std::uint64_t after = m_lastId;
        bool isGap = false;
        if (!lastId.empty()) {
            const auto named = sequenceOf(lastId, m_epoch);
            isGap = !named || *named > m_lastId || *named < forgotten;
            after = isGap ? forgotten : *named;
        }
        const std::string begin = idLine(m_epoch, after);
        sink.deliver(isGap ? frameOf("event: gap\n" + begin, "{}")
                           : std::make_shared<const std::string>(begin + '\n'));
        for (const auto& [id, frame] : m_history) {
            if (id > after) {
                sink.deliver(frame);
            }
        }
        m_sinks.insert(&sink);
    }
    m_streamsChanged.notify_all();
}

void EventHub::startAnew()
{
    const std::lock_guard lock(m_mutex);
    m_epoch = anyEpoch();
    m_history.clear();
    m_historyBytes = 0;
    m_lastId = 0;
}

std::string EventHub::epoch() const
{
    const std::lock_guard lock(m_mutex);
    return m_epoch;
}

void EventHub::unsubscribe(EventSink& sink)
{
    {
        const std::lock_guard lock(m_mutex);
        m_sinks.erase(&sink);
    }
    m_streamsChanged.notify_all();
}

int EventHub::streams() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_sinks.size());
}

bool EventHub::waitForStreams(int count, std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_streamsChanged.wait_for(lock, timeout,
                                     [&] { return static_cast<int>(m_sinks.size()) >= count; });
}

} // namespace Tessel::Simulator
