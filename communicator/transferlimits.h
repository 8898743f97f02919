// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_TRANSFERLIMITS_H
#define COMMUNICATOR_TRANSFERLIMITS_H

#include <QtGlobal>

namespace Krelm::Communicator::HttpDevice {

/// Milliseconds for an exchange whose package or request sets no limit.
constexpr int DefaultExpectedTime = 10000;

/// How much of a reply the transport takes; beyond it an exchange ends with `LimitExceeded`.
struct TransferLimits
{
    qint64 bodyBytes = qint64(256) << 20;    ///< a body kept in memory
    qint64 downloadBytes = qint64(16) << 30; ///< a body stored in a file
    qint64 headerBytes = 64 << 10; ///< all header lines of an exchange together, interim replies included
    int headerLines = 256;         ///< their number
};

} // namespace Krelm::Communicator::HttpDevice

#endif
