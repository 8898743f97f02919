// SPDX-License-Identifier: MIT
#ifndef FILES_ATOMICFILE_H
#define FILES_ATOMICFILE_H

#include <QSaveFile>
#include <QString>

namespace Tessel::Files {

/// A file that takes the place of an earlier one only once the disk has all of it. What is written goes
/// beside it first and is gone when the object is destroyed before. Used by one thread at a time.
///
/// QSaveFile alone does not do: the last buffer that it writes may fail unseen, when the disk is full, and a
/// cut file then takes the place of the old one.
class AtomicFile
{
public:
    explicit AtomicFile(const QString& path);

    /// Begins. @return whether a regular file can be written where it is to be; see error().
    bool open();
    /// Adds @p size bytes. @return whether the disk took them; see error().
    bool write(const char* bytes, qint64 size);
    /// Puts the file in its place. @return whether it is there, whole; see error(). It is the last call.
    bool commit();
    /// Why the last call failed, for people.
    const QString& error() const { return m_error; }

private:
    bool fail(const QString& error);

    QSaveFile m_file;
    QString m_error;
    Q_DISABLE_COPY_MOVE(AtomicFile)
};

} // namespace Tessel::Files

#endif
