// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_EXITCODE_H
#define TESSELCTL_EXITCODE_H

namespace TesselCtl {

/// What the process returns; part of the interface, listed by --help.
enum ExitCode {
    Done = 0,
    Failed = 1,      ///< anything that no other code names
    Usage = 2,       ///< the command line is wrong; nothing was sent
    Unreachable = 3, ///< no connection to the device, or it ended early
    TimedOut = 4,    ///< the device did not answer in time
    Refused = 5,     ///< the device answered no: an HTTP status other than 2xx, or a `code` other than 0
    // As a shell counts a program that a signal ended: 128 and its number.
    Interrupted = 130, ///< SIGINT ended a call
    Terminated = 143   ///< SIGTERM did
};

} // namespace TesselCtl

#endif
