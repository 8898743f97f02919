// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_TRANSFERLIMITS_H
#define COMMUNICATOR_HTTP_TRANSFERLIMITS_H

#include <QtGlobal>

#include <limits>

namespace Krelm::Communicator::HttpDevice {

/// Milliseconds for an exchange whose package or request sets no limit.
constexpr int defaultExpectedTime = 10000;

/// The longest path and query that go out, in bytes. What is under libcurl refuses twice as many.
constexpr int maxTargetLength = 4 << 20;
/// The longest name and the longest value of a header that go out, in UTF-16 units.
constexpr int maxHeaderLength = 1 << 20;
/// The longest text that QString::toUtf8() converts, in UTF-16 units: it reckons with three bytes for each,
/// and an int overflows beyond.
constexpr int maxConvertibleText = std::numeric_limits<int>::max() / 3;

/// How much of a reply the transport takes; beyond it an exchange ends with `LimitExceeded`.
struct TransferLimits
{
    qint64 bodyBytes = qint64(256) << 20;      ///< a body kept in memory
    qint64 allBodiesBytes = qint64(512) << 20; ///< the bodies in memory of all replies that are coming in
    qint64 downloadBytes = qint64(16) << 30;   ///< a body stored in a file
    qint64 headerBytes = 64 << 10; ///< all header lines of an exchange together, interim replies included
    int headerLines = 256;         ///< their number
};

} // namespace Krelm::Communicator::HttpDevice

#endif
