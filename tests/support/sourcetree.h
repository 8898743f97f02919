// SPDX-License-Identifier: MIT
//
// The files of the source tree, for tests that read them. Define TESSEL_SOURCE_DIR.
#ifndef TESTS_SUPPORT_SOURCETREE_H
#define TESTS_SUPPORT_SOURCETREE_H

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>

/// The headers and sources below @p directory, relative to the root of the tree like @p directory itself.
inline QStringList sourcesBelow(const QString& directory)
{
    const QString root = QStringLiteral(TESSEL_SOURCE_DIR);
    QStringList files;
    QDirIterator it(root + '/' + directory, {"*.h", "*.cpp", "*.inl"}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        files << QDir(root).relativeFilePath(it.next());
    }
    return files;
}

/// The text of a file of the tree; empty if it cannot be read.
inline QString textOf(const QString& file)
{
    QFile source(QStringLiteral(TESSEL_SOURCE_DIR "/") + file);
    return source.open(QIODevice::ReadOnly) ? QString::fromUtf8(source.readAll()) : QString();
}

/// The same without comments.
inline QString codeOf(const QString& file)
{
    static const QRegularExpression comment("//[^\n]*");
    return textOf(file).remove(comment);
}

#endif
