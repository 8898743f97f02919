// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_REQUESTBODY_H
#define SIMULATOR_DEVICE_REQUESTBODY_H

#include <simulator/routes/route.h>
#include <simulator/text/multipartform.h>

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// Whether a body of @p contentType for @p route, which may be null, is a file rather than JSON.
bool isFile(std::string_view contentType, const Route* route);

/// The JSON that describes an uploaded file of @p size bytes to clients.
nlohmann::json fileDescription(std::string_view contentType, std::uint64_t size);
/// The same for a multipart form, with its file and all of its parts.
nlohmann::json formDescription(const std::vector<FormPart>& parts);

/// The parameters of a query as an object of strings, which replaces the missing body of a write.
nlohmann::json queryObject(std::string_view query);

} // namespace Tessel::Simulator

#endif
