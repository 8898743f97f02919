// SPDX-License-Identifier: MIT
#include "communicator/http/outgoingbody.h"

#include "communicator/http/transferlimits.h"
#include "json/jsonwriter.h"

#include <QFileInfo>
#include <QUrl>
#include <QUuid>

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// Read at once, so that the reading costs little beside the sending, and that many uploads cost little
// memory.
constexpr qint64 fileBlock = 256 << 10;

QByteArray newBoundary()
{
    return "----------------------" + QUuid::createUuid().toByteArray(QUuid::Id128);
}

// As browsers write it (WHATWG HTML, "multipart/form-data encoding algorithm").
QByteArray quoted(const QString& text)
{
    QByteArray utf8 = text.toUtf8();
    utf8.replace('\n', "%0A").replace('\r', "%0D").replace('"', "%22");
    return '"' + utf8 + '"';
}

QByteArray typeOfFile(const QString& path)
{
    static const struct
    {
        const char* suffix;
        const char* type;
    } known[] = {{"gif", "image/gif"},      {"jpg", "image/jpeg"},    {"jpeg", "image/jpeg"},
                 {"png", "image/png"},      {"svg", "image/svg+xml"}, {"txt", "text/plain"},
                 {"htm", "text/html"},      {"html", "text/html"},    {"pdf", "application/pdf"},
                 {"xml", "application/xml"}};
    const QString suffix = QFileInfo(path).suffix().toLower();
    for (const auto& entry : known) {
        if (suffix == QLatin1String(entry.suffix)) {
            return entry.type;
        }
    }
    return QByteArrayLiteral("application/octet-stream");
}

} // namespace

void OutgoingBody::clear()
{
    m_pieces.clear();
    m_contentType.clear();
    m_size = 0;
    m_error.clear();
    rewind();
}

void OutgoingBody::setBytes(const QByteArray& bytes)
{
    clear();
    add(bytes);
}

void OutgoingBody::add(QByteArray bytes)
{
    if (!bytes.isEmpty()) {
        m_size += bytes.size();
        const qint64 size = bytes.size();
        m_pieces.push_back({std::move(bytes), {}, size});
    }
}

IHttpVersionTrigger::HttpSimpleState OutgoingBody::setForm(const QMap<QString, QVariant>& parts)
{
    clear();
    const QByteArray boundary = newBoundary();
    m_contentType = "multipart/form-data; boundary=" + boundary;
    for (auto part = parts.cbegin(); part != parts.cend(); ++part) {
        const auto state = addPart(part.key(), *part, boundary);
        if (state != IHttpVersionTrigger::Success) {
            return state;
        }
    }
    add("--" + boundary + "--\r\n");
    return IHttpVersionTrigger::Success;
}

IHttpVersionTrigger::HttpSimpleState OutgoingBody::addPart(const QString& name, const QVariant& value,
                                                           const QByteArray& boundary)
{
    const QByteArray start = "--" + boundary + "\r\nContent-Disposition: form-data; name=" + quoted(name);
    const auto addBytes = [&](const char* type, const QByteArray& bytes) {
        add(start + "\r\nContent-Type: " + type + "\r\n\r\n");
        add(bytes);
        add("\r\n");
        return IHttpVersionTrigger::Success;
    };
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::QByteArray:
        return addBytes("application/octet-stream", value.toByteArray());
    case QMetaType::QString:
        if (value.toString().size() > maxConvertibleText) {
            m_error = QStringLiteral("a text part is too long to be sent");
            return IHttpVersionTrigger::InvalidRequest;
        }
        return addBytes("text/plain", value.toString().toUtf8());
    case QMetaType::QUrl: {
        const QString path = value.toUrl().toLocalFile();
        const QFileInfo file(path);
        if (!file.isFile() || !file.isReadable()) {
            m_error = QStringLiteral("cannot read the file ") +
                      (path.isEmpty() ? QStringLiteral("of a part whose URL is not a local file") : path);
            return IHttpVersionTrigger::FileFailure;
        }
        add(start + "; filename=" + quoted(file.fileName()) + "\r\nContent-Type: " + typeOfFile(path) +
            "\r\n\r\n");
        if (file.size() > 0) {
            m_pieces.push_back({{}, path, file.size()});
            m_size += file.size();
        }
        add("\r\n");
        return IHttpVersionTrigger::Success;
    }
    default: {
        Json::Unwritable why{};
        const QByteArray text = Json::write(value, &why);
        if (text.isEmpty()) {
            m_error = QStringLiteral("a part ") + QLatin1String(Json::textOf(why));
            return IHttpVersionTrigger::InvalidRequest;
        }
        return addBytes("application/json", text);
    }
    }
}

Bytes OutgoingBody::next()
{
    if (m_failed || m_piece == m_pieces.size()) {
        return {};
    }
    const Piece& piece = m_pieces[m_piece];
    if (piece.path.isEmpty()) {
        return {piece.bytes.constData() + m_position, static_cast<std::size_t>(piece.size - m_position)};
    }
    if (m_read.isEmpty()) {
        if (!m_file) {
            m_file = std::make_unique<QFile>(piece.path);
            m_failed = !m_file->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        }
        m_read = m_failed ? QByteArray() : m_file->read(std::min(fileBlock, piece.size - m_position));
        m_failed = m_read.isEmpty();
        if (m_failed) {
            m_error = QStringLiteral("cannot read the file ") + piece.path;
            return {};
        }
    }
    return {m_read.constData(), static_cast<std::size_t>(m_read.size())};
}

void OutgoingBody::consume(std::size_t size)
{
    const auto bytes = static_cast<qint64>(size);
    m_sent += bytes;
    m_position += bytes;
    if (m_file) {
        m_read.remove(0, static_cast<int>(bytes));
    }
    if (m_piece < m_pieces.size() && m_position == m_pieces[m_piece].size) {
        ++m_piece;
        m_position = 0;
        m_file.reset();
        m_read.clear();
    }
}

void OutgoingBody::rewind()
{
    m_sent = 0;
    m_piece = 0;
    m_position = 0;
    m_file.reset();
    m_read.clear();
    m_failed = false;
}

} // namespace Krelm::Communicator::HttpDevice
