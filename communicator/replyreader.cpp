// SPDX-License-Identifier: MIT
#include "communicator/replyreader.h"

#include "communicator/jsonreader.h"

#include <QFile>

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// A length that a reply merely claims reserves no more than this.
constexpr qint64 MaximumReserve = 1 << 20;
// Room behind the text, which spares the JSON reader a copy.
constexpr qint64 Padding = 64;

// What is between @p begin and @p end without the blanks around it, not copied.
QByteArray trimmedView(const char* begin, const char* end)
{
    const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (begin != end && isBlank(*begin)) {
        ++begin;
    }
    while (begin != end && isBlank(end[-1])) {
        --end;
    }
    return QByteArray::fromRawData(begin, static_cast<int>(end - begin));
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
    m_file = std::make_unique<QSaveFile>(path);
    if (!m_file->open(QIODevice::WriteOnly)) {
        m_reason = QStringLiteral("the destination cannot be written: ") + m_file->errorString();
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
    const QByteArray text = QByteArray::fromRawData(line, static_cast<int>(size));
    if (text.startsWith("HTTP/")) {
        statusLine(text);
        return true;
    }
    if (m_headComplete) {
        return true; // a trailer
    }
    if (text.isEmpty()) {
        m_headComplete = true;
        if (m_length > bodyLimit()) {
            m_refusal = fail(IHttpVersionTrigger::LimitExceeded, QStringLiteral("the reply is too large"));
            return false;
        }
        return true;
    }
    return field(text);
}

void ReplyReader::statusLine(const QByteArray& line)
{
    const int blank = line.indexOf(' ');
    m_status = blank < 0
                   ? 0
                   : QByteArray(line.constData() + blank + 1, std::min(3, line.size() - blank - 1)).toInt();
    m_finalStatus = m_status >= 200;
    m_headComplete = false;
    m_length = -1;
    m_chunked = false;
    m_headers.clear();
}

bool ReplyReader::field(const QByteArray& line)
{
    const int colon = line.indexOf(':');
    if (colon <= 0) {
        return true;
    }
    const QByteArray name = trimmedView(line.constData(), line.constData() + colon);
    const QByteArray value = trimmedView(line.constData() + colon + 1, line.constData() + line.size());
    if (name.compare("content-length", Qt::CaseInsensitive) == 0) {
        bool isNumber = false;
        m_length = value.toLongLong(&isNumber);
        m_length = isNumber ? m_length : -1;
    } else if (name.compare("transfer-encoding", Qt::CaseInsensitive) == 0) {
        m_chunked = value.toLower().endsWith("chunked");
    }
    QString& entry = m_headers[QString::fromLatin1(name).toLower()];
    // Lines of one name are one list (RFC 9110, 5.3).
    entry =
        entry.isNull() ? QString::fromUtf8(value) : entry + QLatin1String(", ") + QString::fromUtf8(value);
    return true;
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
        if (m_file->write(bytes, size) != size) {
            m_refusal = fail(IHttpVersionTrigger::FileFailure,
                             QStringLiteral("the destination cannot be written: ") + m_file->errorString());
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
    if (closeDelimited && (m_file || !Json::isComplete(m_body))) {
        return fail(IHttpVersionTrigger::Broken, QStringLiteral("the reply tells no length and may be cut"));
    }
    if (m_file && !m_file->commit()) {
        return fail(IHttpVersionTrigger::FileFailure,
                    QStringLiteral("the destination cannot be written: ") + m_file->errorString());
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
