// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_LISTOF_H
#define TESSEL_FRAMES_LISTOF_H

#include <QList>
#include <QVariant>

namespace Tessel {

/// The elements of @p value if it is a list. QVariant::toList() would also make one of the characters of a
/// text with Qt 6.
inline QList<QVariant> listOf(const QVariant& value)
{
    const bool isText = value.userType() == QMetaType::QString || value.userType() == QMetaType::QByteArray;
    return isText ? QList<QVariant>() : value.toList();
}

} // namespace Tessel

#endif
