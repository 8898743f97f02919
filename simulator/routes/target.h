// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_TARGET_H
#define SIMULATOR_ROUTES_TARGET_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// A request target (RFC 7230, section 5.3), taken apart.
struct Target
{
    std::string path; ///< decoded
    std::vector<std::string>
        segments;      ///< decoded one by one, so that an encoded slash stays within its segment
    std::string query; ///< as it came
};

/// Takes origin form and absolute form. Nothing when the target is neither or has a broken percent sign.
std::optional<Target> parseTarget(std::string_view target);

/// The parameters of a query, decoded, in order.
std::vector<std::pair<std::string, std::string>> parseQuery(std::string_view query);

} // namespace Tessel::Simulator

#endif
