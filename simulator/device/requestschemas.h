// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_REQUESTSCHEMAS_H
#define SIMULATOR_DEVICE_REQUESTSCHEMAS_H

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Tessel::Simulator {

/// A mistake in the body of a request.
struct BodyMistake
{
    std::string kind; ///< the same for the same mistake in another element of a list
    std::string text; ///< names the member, in ASCII
};

/// What the description of the device API says of the bodies of requests. A schema is made ready when it is
/// first asked for. Thread-safe.
class RequestSchemas
{
public:
    static constexpr std::size_t maxMistakes = 3; ///< that are told of one body

    static const RequestSchemas& instance();

    /// The first mistakes in @p body, sent by @p method to the path @p pattern; none if nothing is described
    /// there.
    std::vector<BodyMistake> mistakesIn(const std::string& pattern, const std::string& method,
                                        const nlohmann::json& body) const;

private:
    class Schemas;

    RequestSchemas();
    ~RequestSchemas();

    const std::unique_ptr<Schemas> m_schemas;
};

} // namespace Tessel::Simulator

#endif
