// SPDX-License-Identifier: MIT
#ifndef FILES_ATOMICFILE_H
#define FILES_ATOMICFILE_H

#include <QSaveFile>
#include <QString>

namespace Tessel::Files {

/// Writes a file that replaces an existing one only after all of it is on disk. The data is first written to
/// a file beside it, which is deleted if the object is destroyed before that. Used by one thread at a time.
///
/// QSaveFile alone is not enough: if the disk is full, writing its last buffer can fail unnoticed, and a
/// truncated file would replace the old one.
class AtomicFile
{
public:
    explicit AtomicFile(const QString& path);

    /// Begins writing.
    /// @return whether a regular file can be written at the destination; see error().
    bool open();
    /// Appends @p size bytes.
    /// @return whether they were written; see error().
    bool write(const char* bytes, qint64 size);
    /// Flushes the file to disk and moves it to its destination. This must be the last call.
    /// @return whether the complete file is in place; see error().
    bool commit();
    /// Why the last call failed, as text for people.
    const QString& error() const { return m_error; }

private:
    bool fail(const QString& error);

    QSaveFile m_file;
    QString m_error;
    Q_DISABLE_COPY_MOVE(AtomicFile)
};

} // namespace Tessel::Files

#endif
