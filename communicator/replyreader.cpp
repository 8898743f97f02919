// SPDX-License-Identifier: MIT
#include "communicator/replyreader.h"

#include "communicator/headername.h"

#include <json/jsonreader.h>

#include <algorithm>
#include <cstddef>

namespace Krelm::Communicator::HttpDevice {

namespace {

// A length that a reply merely claims reserves no more than this.
constexpr qint64 MaximumReserve = 1 << 20;
// Room behind the text, which spares the JSON reader a copy.
constexpr qint64 Padding = 64;

// @p text without the blanks around it.
std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view Blanks = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(Blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(Blanks) + 1 - first);
}

bool isNamed(std::string_view name, std::string_view wanted)
{
    return name.size() == wanted.size() && qstrnicmp(name.data(), wanted.data(), uint(wanted.size())) == 0;
}

} // namespace

ReplyReader::ReplyReader(const TransferLimits& limits)
    : m_limits(limits)
{}

void ReplyReader::reset()
{
    m_file.reset();
    m_refusal = IHttpVersionTrigger::Success;
    m_reason.clear();
    m_status = 0;
    m_finalStatus = false;
    m_headComplete = false;
    m_length = -1;
    m_chunked = false;
    m_headerBytes = 0;
    m_headerLines = 0;
    m_headers.clear();
    m_body.clear();
    m_received = 0;
}

bool ReplyReader::storeIn(const QString& path)
{
    m_file = std::make_unique<WholeFile>(path);
    if (!m_file->open()) {
        failFile();
        m_file.reset();
        return false;
    }
    return true;
}

qint64 ReplyReader::bodyLimit() const
{
    return m_file && hasSuccessStatus() ? m_limits.downloadBytes : m_limits.bodyBytes;
}

IHttpVersionTrigger::HttpSimpleState ReplyReader::fail(IHttpVersionTrigger::HttpSimpleState state,
                                                       const QString& reason)
{
    m_reason = reason;
    return state;
}

IHttpVersionTrigger::HttpSimpleState ReplyReader::failFile()
{
    return fail(IHttpVersionTrigger::FileFailure,
                QStringLiteral("the destination cannot be written: ") + m_file->reason());
}

bool ReplyReader::headerLine(const char* line, qint64 size)
{
    m_headerBytes += size;
    m_headerLines += 1;
    if (m_headerBytes > m_limits.headerBytes || m_headerLines > m_limits.headerLines) {
        m_refusal =
            fail(IHttpVersionTrigger::LimitExceeded, QStringLiteral("the reply's headers are too large"));
        return false;
    }
    while (size > 0 && (line[size - 1] == '\n' || line[size - 1] == '\r')) {
        --size;
    }
    const std::string_view text(line, static_cast<std::size_t>(size));
    if (text.substr(0, 5) == "HTTP/") {
        statusLine(text);
        return true;
    }
    if (m_headComplete) {
        return true; // a trailer
    }
    if (text.empty()) {
        m_headComplete = true;
        if (m_length > bodyLimit()) {
            m_refusal = fail(IHttpVersionTrigger::LimitExceeded, QStringLiteral("the reply is too large"));
            return false;
        }
        return true;
    }
    field(text);
    return true;
}

void ReplyReader::statusLine(std::string_view line)
{
    const std::size_t blank = line.find(' ');
    const std::string_view code =
        blank == std::string_view::npos ? std::string_view() : line.substr(blank + 1, 3);
    m_status = QByteArray(code.data(), static_cast<int>(code.size())).toInt();
    m_finalStatus = m_status >= 200;
    m_headComplete = false;
    m_length = -1;
    m_chunked = false;
    m_headers.clear();
}

void ReplyReader::field(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == 0 || colon == std::string_view::npos) {
        return;
    }
    const std::string_view name = trimmed(line.substr(0, colon));
    const std::string_view value = trimmed(line.substr(colon + 1));
    if (isNamed(name, "content-length")) {
        bool isNumber = false;
        m_length = QByteArray(value.data(), static_cast<int>(value.size())).toLongLong(&isNumber);
        m_length = isNumber ? m_length : -1;
    } else if (isNamed(name, "transfer-encoding")) {
        m_chunked = value.size() >= 7 && isNamed(value.substr(value.size() - 7), "chunked");
    }
    const QLatin1String spelled(name.data(), static_cast<int>(name.size()));
    const QString text = QString::fromUtf8(value.empty() ? "" : value.data(), static_cast<int>(value.size()));
    // Lines of one name, however spelled, are one list (RFC 9110, 5.3).
    const auto earlier = findHeader(m_headers, spelled);
    if (earlier == m_headers.cend()) {
        m_headers.insert(spelled, text);
    } else {
        m_headers.insert(earlier.key(), *earlier + QLatin1String(", ") + text);
    }
}

bool ReplyReader::takeFinalStatus()
{
    return std::exchange(m_finalStatus, false);
}

bool ReplyReader::bodyBytes(const char* bytes, qint64 size)
{
    if (m_received + size > bodyLimit()) {
        m_refusal = fail(IHttpVersionTrigger::LimitExceeded, QStringLiteral("the reply is too large"));
        return false;
    }
    m_received += size;
    if (m_file && hasSuccessStatus()) {
        if (!m_file->write(bytes, size)) {
            m_refusal = failFile();
            return false;
        }
        return true;
    }
    if (m_body.isEmpty()) {
        m_body.reserve(static_cast<int>(std::min(std::max(m_length, size), MaximumReserve) + Padding));
    }
    m_body.append(bytes, static_cast<int>(size));
    return true;
}

IHttpVersionTrigger::HttpSimpleState ReplyReader::judge(IHttpVersionTrigger::HttpSimpleState exchange)
{
    if (m_refusal != IHttpVersionTrigger::Success) {
        return m_refusal;
    }
    if (exchange != IHttpVersionTrigger::Success) {
        return exchange;
    }
    // libcurl is content with a connection that ends inside the head.
    if (!m_headComplete || m_status < 200) {
        return fail(IHttpVersionTrigger::Broken,
                    QStringLiteral("the connection ended within the reply's head"));
    }
    if (!hasSuccessStatus()) {
        return fail(IHttpVersionTrigger::HttpFailure, QStringLiteral("HTTP status %1").arg(m_status));
    }
    // A body that only the end of the connection delimits may have been cut anywhere; a JSON text shows
    // whether it was.
    const bool closeDelimited = m_length < 0 && !m_chunked && m_status != 204;
    if (closeDelimited && (m_file || !JsonText::isComplete(m_body))) {
        return fail(IHttpVersionTrigger::Broken, QStringLiteral("the reply tells no length and may be cut"));
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
    if (m_headComplete && m_status >= 200) {
        reply.status = m_status;
        reply.headers = std::move(m_headers);
    }
    if (reply.state == IHttpVersionTrigger::Success || reply.state == IHttpVersionTrigger::HttpFailure) {
        reply.body = std::move(m_body);
    }
    m_headers.clear();
    m_body.clear();
    return reply;
}

} // namespace Krelm::Communicator::HttpDevice
