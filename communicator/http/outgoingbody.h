// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_OUTGOINGBODY_H
#define COMMUNICATOR_HTTP_OUTGOINGBODY_H

#include "communicator/http/connection.h"

#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QFile>
#include <QMap>
#include <QString>
#include <QVariant>

#include <deque>
#include <memory>

namespace Krelm::Communicator::HttpDevice {

/// The body of a request: bytes in memory, or a form (multipart/form-data, RFC 7578) whose files are read
/// from disk while they are sent. Nothing is copied. Used by one thread at a time.
class OutgoingBody
{
public:
    /// No body.
    void clear();
    /// The body @p bytes.
    void setBytes(const QByteArray& bytes);
    /// A form made of @p parts: bytes become binary parts, URLs of local files become files, strings become
    /// text, everything else JSON.
    /// @return Success, or why it cannot be sent; see error().
    IHttpVersionTrigger::HttpSimpleState setForm(const QMap<QString, QVariant>& parts);

    /// The media type of a form, including its boundary; empty for other bodies.
    const QByteArray& contentType() const { return m_contentType; }
    /// The total number of bytes.
    qint64 size() const { return m_size; }
    /// The number of bytes passed to consume().
    qint64 sent() const { return m_sent; }
    bool isSent() const { return m_sent == m_size; }
    /// The bytes to send next; empty if all were sent or a file can no longer be read, see hasFailed().
    Bytes next();
    /// The first @p size bytes of next() were sent.
    void consume(std::size_t size);
    /// Starts over.
    void rewind();

    /// Whether a file became unreadable or shorter.
    bool hasFailed() const { return m_failed; }
    /// Why the form cannot be sent.
    const QString& error() const { return m_error; }

private:
    struct Piece
    {
        QByteArray bytes; ///< of a piece in memory
        QString path;     ///< of a piece on disk
        qint64 size = 0;
    };

    void add(QByteArray bytes);
    IHttpVersionTrigger::HttpSimpleState addPart(const QString& name, const QVariant& value,
                                                 const QByteArray& boundary);

    std::deque<Piece> m_pieces;
    QByteArray m_contentType;
    qint64 m_size = 0;
    qint64 m_sent = 0;
    std::size_t m_piece = 0;       ///< the one being sent
    qint64 m_position = 0;         ///< in it
    std::unique_ptr<QFile> m_file; ///< of it
    QByteArray m_read;             ///< read from the file and not sent yet
    bool m_failed = false;
    QString m_error;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
