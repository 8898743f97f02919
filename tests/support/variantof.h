// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_VARIANTOF_H
#define TESTS_SUPPORT_VARIANTOF_H

#include <QMetaType>
#include <QVariant>

/// A variant of the meta-type @p type: a copy of @p value, or the type's default if @p value is null.
inline QVariant variantOf(int type, const void* value = nullptr)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QVariant(type, value);
#else
    return QVariant(QMetaType(type), value);
#endif
}

#endif
