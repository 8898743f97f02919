// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_TRANSFERLIMITS_H
#define COMMUNICATOR_HTTP_TRANSFERLIMITS_H

#include <QtGlobal>

#include <limits>

namespace Krelm::Communicator::HttpDevice {

/// The time limit, in milliseconds, of an exchange whose package or request sets none.
constexpr int defaultExpectedTime = 10000;

/// The maximum length of path and query, in bytes. libcurl's own limit is twice as high.
constexpr int maxTargetLength = 4 << 20;
/// The maximum length of a request header's name and of its value, in UTF-16 units.
constexpr int maxHeaderLength = 1 << 20;
/// The longest text that QString::toUtf8() can convert, in UTF-16 units: it allocates three bytes for each,
/// and its int overflows beyond that.
constexpr int maxConvertibleText = std::numeric_limits<int>::max() / 3;

/// The limits of a reply; an exchange that exceeds them ends with `LimitExceeded`.
struct TransferLimits
{
    qint64 bodyBytes = qint64(256) << 20;      ///< a body kept in memory
    qint64 allBodiesBytes = qint64(512) << 20; ///< the bodies in memory of all replies being received
    qint64 downloadBytes = qint64(16) << 30;   ///< a body stored in a file
    qint64 headerBytes = 64 << 10; ///< all header lines of an exchange together, interim replies included
    int headerLines = 256;         ///< their number
};

} // namespace Krelm::Communicator::HttpDevice

#endif
