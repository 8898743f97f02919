// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_REQUESTLIMITS_H
#define COMMUNICATOR_REQUESTLIMITS_H

#include <communicator/ihttpversiontrigger.h>

namespace Krelm::Communicator::HttpDevice {

/// How many requests that do not block are under way at once, with all devices together. Further ones wait in
/// order, and their time limit runs meanwhile. The room is shared: one device takes at most half of what is
/// left of it, and each may have one request under way in any case, until there are twice as many.
struct RequestLimits
{
    int normal = 0; ///< 0: a quarter of the descriptors that the process may open
    int daemon = 0; ///< of daemon requests, which count apart; 0: a sixteenth of the descriptors
    /// Whether a read (GET), blocking or not, is sent again if the device says that it is busy (429, 503):
    /// after the time that it asks for in `Retry-After`, or else after 0.1 s, doubled each time up to 5 s;
    /// up to a quarter more, so that requests do not come back together. All this happens within the time
    /// limit of the request; if the wait would exceed it, the request ends with the device's reply at once.
    /// Meanwhile it occupies no connection, and cancelling ends it at once. Writes are never repeated.
    bool repeatReads = false;
};

/// Has the limits hold for what begins from now on, whether the transport runs or not; negative ones stand
/// for 0. More than the process has descriptors for makes connections fail. May be called from any thread.
COMMUNICATOR_EXPORT void setRequestLimits(const RequestLimits& limits);

/// The limits that hold, none of them 0. May be called from any thread.
COMMUNICATOR_EXPORT RequestLimits requestLimits();

} // namespace Krelm::Communicator::HttpDevice

#endif
