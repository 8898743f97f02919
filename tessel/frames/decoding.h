// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_DECODING_H
#define TESSEL_FRAMES_DECODING_H

#include <communicator/httpjsonpackage.h>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;

/// An output that takes the elements of the reply's array as parsed instead of flattened.
struct AsParsed
{
    QList<QVariant>& list;
};
inline AsParsed asParsed(QList<QVariant>& list)
{
    return {list};
}

/// The part of a reply that an output receives; its type selects the decoder. Containers are empty after a
/// failure.
inline void decode(const HttpJsonPackage& package, QMap<QString, QVariant>& out)
{
    package.readRoutesJsonMap(out);
}
inline void decode(const HttpJsonPackage& package, QList<QVariant>& out)
{
    package.readRoutesJsonDataListMap(out);
}
inline void decode(const HttpJsonPackage& package, const AsParsed& out)
{
    package.readJsonDataListMap(out.list);
}
/// The reply's headers.
inline void decode(const HttpJsonPackage& package, QMap<QString, QString>& out)
{
    out = package.responseHeader();
}
/// The reply's HTTP status.
inline void decode(const HttpJsonPackage& package, int& out)
{
    out = package.replyStatus;
}

/// Replaces @p entry of a cache. Others may copy it meanwhile, so that it is not written into.
template <class Entry>
void decodeEntry(const HttpJsonPackage& package, Entry& entry)
{
    Entry read;
    decode(package, read);
    entry = read;
}

inline bool succeeded(const HttpJsonPackage& package)
{
    return package.getSimpleState() == 0;
}

} // namespace Tessel

#endif
