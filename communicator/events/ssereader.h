// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_SSEREADER_H
#define COMMUNICATOR_EVENTS_SSEREADER_H

#include <QByteArray>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// Reads a stream of Server-Sent Events (WHATWG HTML, 9.2.6) from pieces that may end anywhere. Text is
/// passed on as it comes: what is not UTF-8 is left to the event's reader. Used by one thread at a time.
class SseReader
{
public:
    /// What one block of lines said, up to its empty line.
    struct Event
    {
        std::optional<QByteArray> id;   ///< none: the block named none
        std::optional<QByteArray> data; ///< lines joined by line feeds; none: the block is no event
        bool isGap = false;             ///< its type is `gap`: the device has lost events before this one
    };
    /// Called for each block that has an id or data.
    using Sink = std::function<void(Event&& event)>;

    /// @p maximumBytes bounds one line and the data of one event.
    SseReader(std::size_t maximumBytes, Sink sink);

    /// Begins a new stream: an event that had begun is dropped, the last event's id stays.
    void reset();
    /// Takes the next piece. @return false when a line or an event is too large; the stream is useless then.
    bool feed(const char* bytes, std::size_t size);

    /// The id of the last event, to resume after it; empty when there was none.
    const QByteArray& lastEventId() const { return m_lastEventId; }
    /// Sets the id of an event that another reader saw last.
    void setLastEventId(const QByteArray& id) { m_id = m_lastEventId = id; }
    /// The delay before reconnecting that the stream asked for, if it did since the last call.
    std::optional<std::chrono::milliseconds> takeRetry();

private:
    bool line(const char* begin, const char* end);
    bool data(const char* begin, const char* end);
    bool tooLarge();
    void retry(const char* begin, const char* end);
    void dispatch();

    const std::size_t m_maximumBytes;
    const Sink m_sink;
    bool m_atStart = true;   ///< a byte-order mark may come
    bool m_skipFeed = false; ///< a line feed now belongs to the carriage return before
    QByteArray m_partial;    ///< the line that the last piece ended in
    bool m_hasData = false;
    QByteArray m_data;
    bool m_hasId = false;
    QByteArray m_id;
    bool m_isGap = false;
    QByteArray m_lastEventId;
    std::optional<std::chrono::milliseconds> m_retry;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
