// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_SSEREADER_H
#define COMMUNICATOR_EVENTS_SSEREADER_H

#include <QByteArray>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// Parses a stream of Server-Sent Events (WHATWG HTML, "Interpreting an event stream") from pieces that may
/// end anywhere. Text is passed on unchanged; the reader of an event has to deal with invalid UTF-8. Used by
/// one thread at a time.
class SseReader
{
public:
    /// The contents of one block of lines, which ends with an empty line.
    struct Event
    {
        std::optional<QByteArray> id;   ///< none if the block has no id
        std::optional<QByteArray> data; ///< lines joined by line feeds; none if the block is not an event
        bool isGap = false;             ///< its type is `gap`: the device has lost events before this one
    };
    /// Called for each block that has an id or data, or says that events were lost.
    using Sink = std::function<void(Event&& event)>;

    /// @p maximumBytes limits one line and the data of one event.
    SseReader(std::size_t maximumBytes, Sink sink);

    /// Begins a new stream: discards an incomplete event, and keeps the id of the last event.
    void reset();
    /// Reads the next piece.
    /// @return `false` if a line or an event is too large; the stream is then unusable.
    bool feed(const char* bytes, std::size_t size);

    /// The id of the last event, from which to resume; empty if there was none.
    const QByteArray& lastEventId() const { return m_lastEventId; }
    /// Sets the id of the last event that another reader received.
    void setLastEventId(const QByteArray& id) { m_lastEventId = id; }
    /// The reconnect delay requested by the stream since the last call, if any.
    std::optional<std::chrono::milliseconds> takeRetry();

private:
    bool line(const char* begin, const char* end);
    bool data(const char* begin, const char* end);
    bool tooLarge();
    void retry(const char* begin, const char* end);
    void dispatch();

    const std::size_t m_maximumBytes;
    const Sink m_sink;
    QByteArray m_lastEventId;
    /// What has been read of the stream and is still to come to an end.
    struct Begun
    {
        bool atStart = true;   ///< a byte-order mark may follow
        bool skipFeed = false; ///< a line feed now belongs to the preceding carriage return
        QByteArray partial;    ///< the line that the last piece ended in
        std::optional<QByteArray> id;
        std::optional<QByteArray> data;
        bool isGap = false;
        std::optional<std::chrono::milliseconds> retry;
    };
    Begun m_begun;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
