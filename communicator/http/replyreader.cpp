// SPDX-License-Identifier: MIT
#include "communicator/http/replyreader.h"

#include "communicator/http/headername.h"

#include <json/jsonreader.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

// The maximum that is reserved for an announced length.
constexpr qint64 maxReserve = 1 << 20;
// Room after the text, which saves the JSON reader a copy.
constexpr qint64 padding = 64;

// Whether @p text begins as a JSON object or list does.
bool beginsAsContainer(const QByteArray& text)
{
    const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
    const std::size_t first = view.find_first_not_of(" \t\r\n", text.startsWith("\xEF\xBB\xBF") ? 3 : 0);
    return first != std::string_view::npos && (view[first] == '{' || view[first] == '[');
}

// Of all replies being received, on all threads.
std::atomic<qint64> bodiesInMemory{0};

} // namespace

ReplyReader::ReplyReader(const TransferLimits& limits)
    : m_limits(limits)
    , m_parser(*this, limits)
{}

ReplyReader::~ReplyReader()
{
    uncountBody();
}

bool ReplyReader::countBody(qint64 size)
{
    m_counted += size;
    // The large replies of one device must not fail the small ones of another.
    return bodiesInMemory.fetch_add(size) + size <= m_limits.allBodiesBytes ||
           m_counted <= m_limits.smallBodyBytes;
}

void ReplyReader::uncountBody()
{
    bodiesInMemory -= std::exchange(m_counted, 0);
}

void ReplyReader::reset()
{
    m_file.reset();
    restart();
}

void ReplyReader::restart()
{
    m_parser.reset();
    m_read = {};
    uncountBody();
}

bool ReplyReader::storeIn(const QString& path)
{
    m_file = std::make_unique<Tessel::Files::AtomicFile>(path);
    if (!m_file->open()) {
        failFile();
        return false;
    }
    return true;
}

QString ReplyReader::header(const QString& name) const
{
    return findHeader(m_read.headers, name) == m_read.headers.cend() ? QString()
                                                                     : *findHeader(m_read.headers, name);
}

qint64 ReplyReader::bodyLimit() const
{
    return m_file && hasSuccessStatus() ? m_limits.downloadBytes : m_limits.bodyBytes;
}

IHttpVersionTrigger::HttpSimpleState ReplyReader::fail(IHttpVersionTrigger::HttpSimpleState state,
                                                       const QString& error)
{
    m_read.error = error;
    return state;
}

IHttpVersionTrigger::HttpSimpleState ReplyReader::failFile()
{
    return fail(IHttpVersionTrigger::FileFailure,
                QStringLiteral("cannot write the destination: ") + m_file->error());
}

bool ReplyReader::breakOff(IHttpVersionTrigger::HttpSimpleState state)
{
    m_read.refusal = state;
    return false;
}

void ReplyReader::responseField(std::string_view name, std::string_view value)
{
    const QLatin1String spelled(name.data(), static_cast<int>(name.size()));
    const QString text = QString::fromUtf8(value.empty() ? "" : value.data(), static_cast<int>(value.size()));
    // Lines of the same name, in any case, form one list (RFC 9110, "Field Order").
    const auto earlier = findHeader(m_read.headers, spelled);
    if (earlier == m_read.headers.cend()) {
        m_read.headers.insert(spelled, text);
    } else {
        m_read.headers.insert(earlier.key(), *earlier + QLatin1String(", ") + text);
    }
}

bool ReplyReader::responseHead(const ResponseParser::Head& head)
{
    m_read.head = head;
    if (head.length > bodyLimit()) {
        return breakOff(fail(IHttpVersionTrigger::LimitExceeded, QStringLiteral("the reply is too large")));
    }
    // A partial reply would be mistaken for the whole.
    if (head.status == 206) {
        return breakOff(
            fail(IHttpVersionTrigger::Broken,
                 QStringLiteral("the device sent a partial reply (206), which was not requested")));
    }
    return true;
}

bool ReplyReader::responseBody(const char* bytes, std::size_t size)
{
    const auto count = static_cast<qint64>(size);
    if (m_read.received + count > bodyLimit()) {
        return breakOff(fail(IHttpVersionTrigger::LimitExceeded, QStringLiteral("the reply is too large")));
    }
    m_read.received += count;
    if (m_file && hasSuccessStatus()) {
        return m_file->write(bytes, count) || breakOff(failFile());
    }
    if (!countBody(count)) {
        return breakOff(
            fail(IHttpVersionTrigger::LimitExceeded,
                 QStringLiteral("the replies being received together exceed their common limit")));
    }
    if (m_read.body.isEmpty()) {
        m_read.body.reserve(
            static_cast<int>(std::min(std::max(m_read.head.length, count), maxReserve) + padding));
    }
    m_read.body.append(bytes, static_cast<int>(count));
    if (hasTooManyTokens(static_cast<int>(count))) {
        return breakOff(fail(IHttpVersionTrigger::LimitExceeded,
                             QStringLiteral("the reply holds more than %1 million JSON tokens")
                                 .arg(JsonText::maxTokens / 1000000)));
    }
    return true;
}

// A text never has more tokens than bytes, so most texts need not be counted. Counting starts when half the
// limit has been received and covers two bytes for each new one, so that it has caught up at the limit and no
// turn is long. What is neither an object nor a list becomes nothing, however long it is.
bool ReplyReader::hasTooManyTokens(int added)
{
    if (m_read.body.size() <= JsonText::maxTokens / 2 || m_read.isPlain) {
        return false;
    }
    const int searched = std::min(int(m_read.body.size()), m_read.searched + 2 * added);
    m_read.tokens.add(m_read.body.constData() + m_read.searched,
                      static_cast<std::size_t>(searched - m_read.searched));
    m_read.searched = searched;
    if (m_read.tokens.count() <= JsonText::maxTokens) {
        return false;
    }
    m_read.isPlain = !beginsAsContainer(m_read.body);
    return !m_read.isPlain;
}

IHttpVersionTrigger::HttpSimpleState ReplyReader::judge(IHttpVersionTrigger::HttpSimpleState exchange)
{
    if (m_read.refusal != IHttpVersionTrigger::Success) {
        return m_read.refusal;
    }
    if (exchange != IHttpVersionTrigger::Success) {
        return exchange;
    }
    switch (m_parser.state()) {
    case ResponseParser::State::Malformed:
        return fail(IHttpVersionTrigger::Broken, m_parser.error());
    case ResponseParser::State::TooLarge:
        return fail(IHttpVersionTrigger::LimitExceeded, m_parser.error());
    case ResponseParser::State::Complete:
        break;
    default:
        return fail(IHttpVersionTrigger::Broken,
                    !m_parser.hasBegun() ? QStringLiteral("the connection ended without a reply")
                    : status() != 0
                        ? QStringLiteral("the connection ended in the middle of the reply's body")
                        : QStringLiteral("the connection ended in the middle of the reply's head"));
    }
    if (!hasSuccessStatus()) {
        return fail(IHttpVersionTrigger::HttpFailure, QStringLiteral("HTTP status %1").arg(status()));
    }
    // A body delimited only by the end of the connection may be truncated anywhere; a JSON text shows whether
    // it is.
    if (m_read.head.untilClose && (m_file || !JsonText::isComplete(m_read.body))) {
        return fail(IHttpVersionTrigger::Broken,
                    QStringLiteral("the reply has no length and may be truncated"));
    }
    if (m_file && !m_file->commit()) {
        return failFile();
    }
    return IHttpVersionTrigger::Success;
}

HttpReply ReplyReader::finish(IHttpVersionTrigger::HttpSimpleState exchange)
{
    HttpReply reply;
    reply.state = judge(exchange);
    m_file.reset();
    auto headers = std::exchange(m_read.headers, {});
    auto body = std::exchange(m_read.body, {});
    reply.status = status();
    if (reply.status != 0) {
        reply.headers = std::move(headers);
    }
    if (reply.state == IHttpVersionTrigger::Success || reply.state == IHttpVersionTrigger::HttpFailure) {
        reply.body = std::move(body);
    }
    uncountBody();
    return reply;
}

} // namespace Krelm::Communicator::HttpDevice
