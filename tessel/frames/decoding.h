// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_DECODING_H
#define TESSEL_FRAMES_DECODING_H

#include "tessel/frames/transportoffer.h"

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

/// Reads a reply into @p out as @p decoder, called @p name, would return it. What @p out holds is used again
/// where the transport can do so, which takes two thirds of the instructions.
template <auto decoder, class Data>
void readReply(const HttpJsonPackage& package, Data& out, const char* name)
{
    using Reader = void (*)(const HttpJsonPackage&, Data&);
    static const auto reader = reinterpret_cast<Reader>(offeredByTransport("replyReader", name));
    if (reader != nullptr) {
        reader(package, out);
    } else {
        out = (package.*decoder)();
    }
}

/// Fills an output from a reply: from its body, unless the output says otherwise. Containers are empty after
/// a failure.
inline void decode(const HttpJsonPackage& package, QMap<QString, QVariant>& out)
{
    readReply<&HttpJsonPackage::getRoutesJsonMap>(package, out, "getRoutesJsonMap");
}
inline void decode(const HttpJsonPackage& package, QList<QVariant>& out)
{
    readReply<&HttpJsonPackage::getRoutesJsonDataListMap>(package, out, "getRoutesJsonDataListMap");
}
inline void decode(const HttpJsonPackage& package, const AsParsed& out)
{
    readReply<&HttpJsonPackage::getJsonDataListMap>(package, out.list, "getJsonDataListMap");
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
