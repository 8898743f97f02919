// SPDX-License-Identifier: MIT
#include "communicator/events/ssereader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t maxRetryDigits = 9;   // eleven days, and far from any overflow
constexpr std::ptrdiff_t maxIdBytes = 4096; // it is sent back as a header

const char* find(const char* begin, const char* end, char wanted)
{
    const void* const found =
        begin == end ? nullptr : std::memchr(begin, wanted, static_cast<std::size_t>(end - begin));
    return found == nullptr ? end : static_cast<const char*>(found);
}

} // namespace

SseReader::SseReader(std::size_t maximumBytes, Sink sink)
    : m_maximumBytes(maximumBytes)
    , m_sink(std::move(sink))
{}

void SseReader::reset()
{
    m_begun = {};
}

std::optional<std::chrono::milliseconds> SseReader::takeRetry()
{
    return std::exchange(m_begun.retry, std::nullopt);
}

bool SseReader::feed(const char* bytes, std::size_t size)
{
    const char* position = bytes;
    const char* const end = bytes + size;
    if (m_begun.skipFeed && position != end) {
        m_begun.skipFeed = false;
        position += *position == '\n' ? 1 : 0;
    }
    // Each kind of line end is searched for again from where it was found, so that a text with only one kind
    // is not searched for the other over and over.
    const char* feedAt = find(position, end, '\n');
    const char* returnAt = find(position, end, '\r');
    while (position != end) {
        const char* const lineEnd = std::min(feedAt, returnAt);
        if (static_cast<std::size_t>(m_begun.partial.size() + (lineEnd - position)) > m_maximumBytes) {
            return tooLarge();
        }
        if (lineEnd == end) {
            m_begun.partial.append(position, static_cast<int>(end - position));
            return true;
        }
        bool taken = false;
        if (m_begun.partial.isEmpty()) {
            taken = line(position, lineEnd);
        } else {
            m_begun.partial.append(position, static_cast<int>(lineEnd - position));
            taken = line(m_begun.partial.constData(), m_begun.partial.constData() + m_begun.partial.size());
            m_begun.partial.resize(0);
        }
        if (!taken) {
            return false;
        }
        position = lineEnd + 1;
        if (lineEnd == returnAt) {
            if (position == end) {
                m_begun.skipFeed = true;
            } else if (position == feedAt) {
                ++position;
            }
        }
        feedAt = find(std::max(feedAt, position), end, '\n');
        returnAt = find(std::max(returnAt, position), end, '\r');
    }
    return true;
}

bool SseReader::line(const char* begin, const char* end)
{
    if (m_begun.atStart) {
        m_begun.atStart = false;
        if (std::string_view(begin, static_cast<std::size_t>(end - begin)).substr(0, byteOrderMark.size()) ==
            byteOrderMark) {
            begin += byteOrderMark.size();
        }
    }
    if (begin == end) {
        dispatch();
        return true;
    }
    const char* const colon = find(begin, end, ':');
    const std::string_view field(begin, static_cast<std::size_t>(colon - begin));
    const char* value = colon == end ? end : colon + 1;
    if (value != end && *value == ' ') {
        ++value;
    }
    if (field == "data") {
        return data(value, end);
    }
    if (field == "id") {
        if (end - value <= maxIdBytes && find(value, end, '\0') == end) {
            m_begun.id = QByteArray(value, static_cast<int>(end - value));
        }
    } else if (field == "event") {
        m_begun.isGap = std::string_view(value, static_cast<std::size_t>(end - value)) == "gap";
    } else if (field == "retry") {
        retry(value, end);
    }
    // A comment has an empty field name.
    return true;
}

// Skips an event that is too large: otherwise Last-Event-ID would make the device resend it after every
// reconnect.
bool SseReader::tooLarge()
{
    m_lastEventId = m_begun.id.value_or(m_lastEventId);
    return false;
}

bool SseReader::data(const char* begin, const char* end)
{
    const auto size = static_cast<std::size_t>(end - begin);
    std::optional<QByteArray>& data = m_begun.data;
    const auto before = data ? data->size() + 1 : 0; // with the line feed between the two
    if (static_cast<std::size_t>(before) + size + 1 > m_maximumBytes) {
        return tooLarge();
    }
    if (data) {
        *data += '\n';
        data->append(begin, static_cast<int>(size));
    } else {
        data = QByteArray(begin, static_cast<int>(size));
    }
    return true;
}

void SseReader::retry(const char* begin, const char* end)
{
    const bool isNumber =
        begin != end && std::all_of(begin, end, [](char c) { return c >= '0' && c <= '9'; });
    if (isNumber && static_cast<std::size_t>(end - begin) <= maxRetryDigits) {
        m_begun.retry =
            std::chrono::milliseconds(QByteArray(begin, static_cast<int>(end - begin)).toLongLong());
    }
}

void SseReader::dispatch()
{
    m_lastEventId = m_begun.id.value_or(m_lastEventId);
    Event event;
    event.isGap = std::exchange(m_begun.isGap, false);
    event.id = std::exchange(m_begun.id, std::nullopt);
    event.data = std::exchange(m_begun.data, std::nullopt);
    if (event.id || event.data || event.isGap) {
        m_sink(std::move(event));
    }
}

} // namespace Krelm::Communicator::HttpDevice
