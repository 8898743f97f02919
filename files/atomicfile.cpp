// SPDX-License-Identifier: MIT
#include "files/atomicfile.h"

#include <QFileInfo>

#include <cerrno>
#include <unistd.h>

namespace Tessel::Files {

AtomicFile::AtomicFile(const QString& path)
    : m_file(path)
{}

bool AtomicFile::fail(const QString& error)
{
    m_error = error;
    return false;
}

bool AtomicFile::open()
{
    // Replacing a device or a pipe by a file would take it away from everyone else.
    const QFileInfo earlier(m_file.fileName());
    if (earlier.exists() && !earlier.isFile() && !earlier.isDir()) {
        return fail(QStringLiteral("not a regular file"));
    }
    return m_file.open(QIODevice::WriteOnly) || fail(m_file.errorString());
}

bool AtomicFile::write(const char* bytes, qint64 size)
{
    while (size > 0) {
        const ssize_t taken = ::write(m_file.handle(), bytes, static_cast<size_t>(size));
        if (taken != -1) {
            bytes += taken;
            size -= taken;
        } else if (errno != EINTR) {
            return fail(qt_error_string(errno));
        }
    }
    return true;
}

bool AtomicFile::commit()
{
    // Network file systems may report only now that they are full. Some file systems do not support this
    // call.
    if (::fsync(m_file.handle()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        return fail(qt_error_string(errno));
    }
    return m_file.commit() || fail(m_file.errorString());
}

} // namespace Tessel::Files
