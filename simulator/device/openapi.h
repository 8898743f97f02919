// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_OPENAPI_H
#define SIMULATOR_DEVICE_OPENAPI_H

#include <string_view>

namespace Tessel::Simulator {

/// Where the description of the device API is served. A real controller has no such path.
constexpr std::string_view openApiPath = "/openapi.json";

/// The description of the device API, api/openapi.json. Its source is generated at build time. Any thread may
/// call it.
std::string_view openApiText();

} // namespace Tessel::Simulator

#endif
