// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_DECODING_H
#define TESSEL_FRAMES_DECODING_H

#include <communicator/httpjsonpackage.h>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;

/// An output for the elements of the reply's array as parsed, instead of flattened.
struct AsParsed
{
    QList<QVariant>& list;
};
inline AsParsed asParsed(QList<QVariant>& list)
{
    return {list};
}

/// An output for the reply's headers.
struct ResponseHeaders
{
    QMap<QString, QString>& headers;
};
inline ResponseHeaders responseHeaders(QMap<QString, QString>& headers)
{
    return {headers};
}

/// An output for the reply's HTTP status; 0 if there was no reply.
struct HttpStatus
{
    int& status;
};
inline HttpStatus httpStatus(int& status)
{
    return {status};
}

/// Fills an output from a reply: from its body, unless the output says otherwise. Containers are empty after
/// a failure.
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
inline void decode(const HttpJsonPackage& package, const ResponseHeaders& out)
{
    out.headers = package.responseHeader();
}
inline void decode(const HttpJsonPackage& package, const HttpStatus& out)
{
    out.status = package.replyStatus;
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
