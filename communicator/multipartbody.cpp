// SPDX-License-Identifier: MIT
#include "communicator/multipartbody.h"

#include "communicator/jsonwriter.h"
#include "communicator/transferlimits.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <cstring>

namespace Krelm::Communicator::HttpDevice {

MultipartBody::MultipartBody(CURL* easy, const QMap<QString, QVariant>& parts)
    : m_mime(curl_mime_init(easy))
{
    for (auto it = parts.cbegin(); it != parts.cend(); ++it) {
        curl_mimepart* const part = curl_mime_addpart(m_mime);
        curl_mime_name(part, it.key().toUtf8().constData());
        switch (static_cast<QMetaType::Type>(it->userType())) {
        case QMetaType::QByteArray:
            addBytes(part, it->toByteArray(), "application/octet-stream");
            break;
        case QMetaType::QString:
            addText(part, it->toString());
            break;
        case QMetaType::QUrl:
            addFile(part, *it);
            break;
        default:
            addJson(part, *it);
            break;
        }
    }
}

MultipartBody::~MultipartBody()
{
    curl_mime_free(m_mime);
}

void MultipartBody::addBytes(curl_mimepart* part, const QByteArray& bytes, const char* type)
{
    m_sources.push_back({bytes, 0});
    curl_mime_data_cb(part, bytes.size(), &MultipartBody::read, &MultipartBody::seek, nullptr,
                      &m_sources.back());
    curl_mime_type(part, type);
}

void MultipartBody::addText(curl_mimepart* part, const QString& text)
{
    if (text.size() > MaximumConvertibleText) {
        m_fault = QStringLiteral("the text of a part is too long to be sent");
        m_state = IHttpVersionTrigger::InvalidRequest;
        return;
    }
    addBytes(part, text.toUtf8(), "text/plain");
}

void MultipartBody::addJson(curl_mimepart* part, const QVariant& value)
{
    Json::Unwritable why{};
    const QByteArray text = Json::write(value, &why);
    if (text.isEmpty()) {
        m_fault = QStringLiteral("a part ") + QLatin1String(Json::textOf(why));
        m_state = IHttpVersionTrigger::InvalidRequest;
    }
    addBytes(part, text, "application/json");
}

void MultipartBody::addFile(curl_mimepart* part, const QVariant& url)
{
    const QString path = url.toUrl().toLocalFile();
    const QFileInfo file(path);
    if (!file.isFile() || !file.isReadable() ||
        curl_mime_filedata(part, QFile::encodeName(path).constData()) != CURLE_OK) {
        m_fault = QStringLiteral("cannot read the file ") +
                  (path.isEmpty() ? QStringLiteral("of a part that names no local file") : path);
        m_state = IHttpVersionTrigger::FileFailure;
    }
}

size_t MultipartBody::read(char* buffer, size_t size, size_t count, void* source)
{
    auto* const from = static_cast<Source*>(source);
    const auto bytes = std::min(static_cast<qint64>(size * count), from->bytes.size() - from->position);
    std::memcpy(buffer, from->bytes.constData() + from->position, static_cast<size_t>(bytes));
    from->position += bytes;
    return static_cast<size_t>(bytes);
}

int MultipartBody::seek(void* source, curl_off_t offset, int origin)
{
    auto* const from = static_cast<Source*>(source);
    if (origin != SEEK_SET || offset < 0 || offset > from->bytes.size()) {
        return CURL_SEEKFUNC_FAIL;
    }
    from->position = offset;
    return CURL_SEEKFUNC_OK;
}

} // namespace Krelm::Communicator::HttpDevice
