// SPDX-License-Identifier: MIT
//
// Reading from the caches that requests fill. See request.md for when to use which.
#ifndef TESSEL_FRAMES_CACHEACCESS_H
#define TESSEL_FRAMES_CACHEACCESS_H

#include <tessel/frames/operationscope.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QVariant>

#include <utility>

namespace Tessel {

/// Whether @p cache can be used for the device. @p force requires a fetch whatever the cache holds; an
/// operator with a watch flag passes `force || !m_isWatch`. @p mutex, if given, guards the cache.
// Quirk: An empty entry counts as cached.
template <class Entry>
bool cached(const QMap<QString, Entry>& cache, const QString& deviceKey, bool force, QMutex* mutex = nullptr)
{
    if (force) {
        return false;
    }
    const QMutexLocker lock(mutex);
    const bool isKnown = cache.contains(deviceKey);
    if (isKnown) {
        nothingIsSent();
    }
    return isKnown;
}

/// Copies the result of a read-through from the cache: @p loaded is its result, and @p out is left unchanged
/// on `false`.
template <class Entry>
bool outputFromCache(bool loaded, const QMap<QString, Entry>& cache, const QString& deviceKey, Entry& out)
{
    if (loaded) {
        out = cache.value(deviceKey);
    }
    return loaded;
}

/// Copies the first element of @p list whose member `id` @p matches accepts. @return whether there is one;
/// @p out is left unchanged on `false`.
template <class Matches>
bool copyElementWhere(const QList<QVariant>& list, Matches matches, QMap<QString, QVariant>& out)
{
    for (const QVariant& element : list) {
        QMap<QString, QVariant> map = element.toMap();
        if (matches(map.value(QStringLiteral("id")))) {
            out = std::move(map);
            return true;
        }
    }
    return false;
}

/// The same for the element whose `id` equals @p id, a number as its text. An element without `id` never
/// matches.
inline bool copyElement(const QList<QVariant>& list, const QString& id, QMap<QString, QVariant>& out)
{
    // Not ==, for which "02" and 2 are equal with Qt 6.
    return copyElementWhere(
        list, [&id](const QVariant& found) { return found.canConvert<QString>() && found.toString() == id; },
        out);
}

} // namespace Tessel

#endif
