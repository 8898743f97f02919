// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_WALLCOPY_H
#define TESSELCTL_COMMANDS_WALLCOPY_H

#include "tesselctl/commands/wall.h"
#include "tesselctl/terminal/expected.h"

#include <QString>
#include <QVariant>

#include <vector>

namespace TesselCtl {

/// All that could be read of a wall, as the device sent it.
struct WallCopy
{
    QString protocol;       ///< `single-screen` or `multi-screen`
    QVariantMap values;     ///< by path
    QVariantMap unreadable; ///< why it could not be read, by path

    /// What `export` writes and `diff` and `apply` read.
    QVariantMap toObject() const;
    static Expected<WallCopy> fromFile(const QString& path);
};

/// Reads every path of the device that @p wall is on, which takes some hundred requests.
WallCopy copyOf(Wall& wall);

/// What differs between two copies: maps with `where`, `left` and `right`, of which one is missing where only
/// the other has a value. What a device measures or counts by itself is not compared.
QVariantList differencesOf(const WallCopy& left, const WallCopy& right);

/// A write that gives a wall a value of a copy.
struct CopyWrite
{
    QString path;
    QVariantMap body;
};

/// The writes that make a wall, of which @p now is a copy, like @p wanted; differences that no write of the
/// device API removes are not among them.
std::vector<CopyWrite> writesFor(const WallCopy& now, const WallCopy& wanted);

} // namespace TesselCtl

#endif
