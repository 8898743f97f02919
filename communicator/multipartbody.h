// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_MULTIPARTBODY_H
#define COMMUNICATOR_MULTIPARTBODY_H

#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

#include <curl/curl.h>
#include <deque>

namespace Krelm::Communicator::HttpDevice {

/// A multipart/form-data body (RFC 7578) for one libcurl handle: binary parts are read from the caller's
/// buffers, files streamed from disk. It must outlive the exchange. Used by one thread at a time.
class MultipartBody
{
public:
    /// Builds the body of @p parts for @p easy.
    MultipartBody(CURL* easy, const QMap<QString, QVariant>& parts);
    ~MultipartBody();

    curl_mime* mime() const { return m_mime; }
    /// Why there is no such body, such as a file that cannot be read; empty when all is well.
    const QString& fault() const { return m_fault; }
    /// What an exchange with such a body ends with.
    IHttpVersionTrigger::HttpSimpleState state() const { return m_state; }

private:
    /// Bytes that libcurl reads piece by piece.
    struct Source
    {
        QByteArray bytes;
        qint64 position = 0;
    };
    static size_t read(char* buffer, size_t size, size_t count, void* source);
    static int seek(void* source, curl_off_t offset, int origin);

    void addBytes(curl_mimepart* part, const QByteArray& bytes, const char* type);
    void addText(curl_mimepart* part, const QString& text);
    void addJson(curl_mimepart* part, const QVariant& value);
    void addFile(curl_mimepart* part, const QVariant& url);

    curl_mime* m_mime;
    std::deque<Source> m_sources; ///< addresses are stable
    QString m_fault;
    IHttpVersionTrigger::HttpSimpleState m_state = IHttpVersionTrigger::Success;
    Q_DISABLE_COPY_MOVE(MultipartBody)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
