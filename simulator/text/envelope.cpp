// SPDX-License-Identifier: MIT
#include <simulator/text/envelope.h>

#include <nlohmann/json.hpp>

namespace Tessel::Simulator {

SharedText envelope(int code, std::string_view message, std::string_view data)
{
    using nlohmann::json;
    // Paths in messages come from the network and may not be UTF-8.
    const auto text = json(message).dump(-1, ' ', false, json::error_handler_t::replace);
    std::string result;
    result.reserve(data.size() + text.size() + 48);
    result.append(R"({"code":)").append(std::to_string(code));
    result.append(R"(,"message":)").append(text);
    result.append(R"(,"data":)").append(data).append("}");
    return std::make_shared<const std::string>(std::move(result));
}

SharedText successEnvelope(std::string_view data)
{
    return envelope(0, "success", data);
}

} // namespace Tessel::Simulator
