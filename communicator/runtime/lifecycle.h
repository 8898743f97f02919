// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_LIFECYCLE_H
#define COMMUNICATOR_RUNTIME_LIFECYCLE_H

namespace Krelm::Communicator::HttpDevice {

/// When the transport may run. It is open at first, closes when the QCoreApplication is destroyed or, without
/// one, when the process ends, and opens again with the next QCoreApplication. While it is closed, nothing is
/// sent and no callbacks are called. May be used from any thread.
namespace Lifecycle {

/// Whether nothing may be sent or called any more.
bool isClosed();

/// Registers @p stop, called on each closing, after isClosed() has become true, and @p restart, called on
/// each opening, after it has become false. Call this once.
void onChange(void (*stop)(), void (*restart)());

/// Loads libcurl with what it brings, and libuv, and sees to it that the transport is closed before their
/// exit handlers run. Call this before the first connection.
void prepareConnections();

} // namespace Lifecycle
} // namespace Krelm::Communicator::HttpDevice

#endif
