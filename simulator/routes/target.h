// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_TARGET_H
#define SIMULATOR_ROUTES_TARGET_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// A parsed request target (RFC 9112, "Request Target").
struct Target
{
    std::string path; ///< decoded
    std::vector<std::string>
        segments;      ///< decoded one by one, so that an encoded slash stays within its segment
    std::string query; ///< as received
};

/// Parses the origin form and the absolute form. Returns nothing if the target has neither form or contains
/// an invalid percent-encoding.
std::optional<Target> parseTarget(std::string_view target);

/// The decoded parameters of a query, in order.
std::vector<std::pair<std::string, std::string>> parseQuery(std::string_view query);

} // namespace Tessel::Simulator

#endif
