// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_CONTROL_H
#define SIMULATOR_DEVICE_CONTROL_H

#include <simulator/device/device.h>

#include <string_view>

namespace Tessel::Simulator {

/// Whether @p path belongs to the control interface: "/sim" and everything below.
bool isControlPath(std::string_view path);

/// Serves the control interface, which is no part of the device API:
///
/// | Verb | Path | Effect |
/// |---|---|---|
/// | GET | /sim | what is simulated |
/// | GET | /sim/counts | requests, inFlight, peakInFlight, streams, paths |
/// | GET | /sim/requests | the latest requests |
/// | GET | /sim/coefficients | uploads and bytes received; what each cabinet shows, size and SHA-256 of its
/// tables | | POST | /sim/events | pushes the body as an event; gives its id | | POST | /sim/warnings |
/// pushes a warning of the monitoring; gives its event's id | | POST | /sim/disconnect | closes all event
/// streams | | POST | /sim/logout, /sim/login | the device is gone, and back | | GET, POST, DELETE |
/// /sim/faults | waiting fault scripts; adds one or a list; drops all | | POST | /sim/reset | back to the
/// starting content |
Reply controlReply(Device& device, Method method, const Target& target, const std::string& body);

} // namespace Tessel::Simulator

#endif
