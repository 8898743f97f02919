// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_LIFECYCLE_H
#define COMMUNICATOR_RUNTIME_LIFECYCLE_H

namespace Krelm::Communicator::HttpDevice {

/// When the transport may run. It is open from the start, closes when the QCoreApplication goes or, without
/// one, when the process ends, and opens again with the next QCoreApplication. While it is closed nothing is
/// sent and nothing is called. May be used from any thread.
namespace Lifecycle {

/// Whether nothing may be sent or called any more.
bool isClosed();

/// Has @p stop called on each closing, after isClosed() turned true, and @p restart on each opening, after it
/// turned false. To be called once.
void onChange(void (*stop)(), void (*restart)());

} // namespace Lifecycle
} // namespace Krelm::Communicator::HttpDevice

#endif
