// SPDX-License-Identifier: MIT
#include <simulator/device/eventhub.h>

namespace Tessel::Simulator {
namespace {

// Beside the number of events, since one may be large.
constexpr std::size_t maxHistoryBytes = 16U << 20;

SharedText frameOf(std::uint64_t id, std::string_view data)
{
    std::string frame = "id: " + std::to_string(id) + "\n";
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

} // namespace

EventHub::EventHub(std::size_t historySize)
    : m_historySize(historySize)
{}

std::uint64_t EventHub::publish(std::string_view data)
{
    const std::lock_guard lock(m_mutex);
    const auto id = ++m_lastId;
    const auto frame = frameOf(id, data);
    m_history.emplace_back(id, frame);
    m_historyBytes += frame->size();
    while (m_history.size() > m_historySize || (m_historyBytes > maxHistoryBytes && m_history.size() > 1)) {
        m_historyBytes -= m_history.front().second->size();
        m_history.pop_front();
    }
    for (EventSink* sink : m_sinks) {
        sink->deliver(frame);
    }
    return id;
}

void EventHub::heartbeat()
{
    static const auto frame = std::make_shared<const std::string>(":\n\n");
    const std::lock_guard lock(m_mutex);
    for (EventSink* sink : m_sinks) {
        sink->deliver(frame);
    }
}

void EventHub::subscribe(EventSink& sink, std::optional<std::uint64_t> lastId)
{
    {
        const std::lock_guard lock(m_mutex);
        if (lastId) {
            const bool known = *lastId <= m_lastId;
            for (const auto& [id, frame] : m_history) {
                if (!known || id > *lastId) {
                    sink.deliver(frame);
                }
            }
        }
        m_sinks.insert(&sink);
    }
    m_streamsChanged.notify_all();
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
