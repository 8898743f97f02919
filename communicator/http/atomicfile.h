// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_ATOMICFILE_H
#define COMMUNICATOR_HTTP_ATOMICFILE_H

#include <communicator/ihttpversiontrigger.h>

#include <QSaveFile>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// Writes a file that replaces an existing one only after all of it is on disk. The data is first written to
/// a file beside it, which is deleted if the object is destroyed before that. Used by one thread at a time.
///
/// QSaveFile alone is not enough: if the disk is full, writing its last buffer can fail unnoticed, and a
/// truncated file would replace the old one.
class COMMUNICATOR_EXPORT AtomicFile
{
public:
    explicit AtomicFile(const QString& path);

    /// Begins writing.
    /// @return whether a regular file can be written at the destination; see reason().
    bool open();
    /// Appends @p size bytes.
    /// @return whether they were written; see reason().
    bool write(const char* bytes, qint64 size);
    /// Flushes the file to disk and moves it to its destination. This must be the last call.
    /// @return whether the complete file is in place; see reason().
    bool commit();
    /// Why the last call failed, as text for people.
    const QString& reason() const { return m_reason; }

private:
    bool fail(const QString& reason);

    QSaveFile m_file;
    QString m_reason;
    Q_DISABLE_COPY_MOVE(AtomicFile)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
