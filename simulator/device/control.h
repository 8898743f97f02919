// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_CONTROL_H
#define SIMULATOR_DEVICE_CONTROL_H

#include <simulator/device/device.h>

#include <string_view>

namespace Tessel::Simulator {

/// Whether @p path belongs to the control interface, that is, "/sim" and everything below.
bool isControlPath(std::string_view path);

/// Serves the control interface, which is not part of the device API. docs/simulator.md lists its methods,
/// paths and effects.
Reply controlReply(Device& device, Method method, const Target& target, const std::string& body);

} // namespace Tessel::Simulator

#endif
