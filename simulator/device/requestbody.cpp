// SPDX-License-Identifier: MIT
#include <simulator/device/requestbody.h>

#include <simulator/routes/target.h>
#include <simulator/text/texttools.h>

#include <nlohmann/json.hpp>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

bool isFileType(std::string_view contentType)
{
    for (const std::string_view type : {"multipart/", "application/octet-stream", "image/", "video/"}) {
        if (startsWithNoCase(contentType, type)) {
            return true;
        }
    }
    return false;
}

// A query may contain invalid UTF-8, but stored text must not.
std::string validText(const std::string& text)
{
    return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
}

} // namespace

bool isFile(std::string_view contentType, const Route* route)
{
    return isFileType(contentType) ||
           (route && route->takesFiles && !startsWithNoCase(contentType, "application/json"));
}

json fileDescription(std::string_view contentType, std::uint64_t size)
{
    return {{"size", size}, {"contentType", validText(std::string(contentType))}};
}

json formDescription(const std::vector<FormPart>& parts)
{
    json all = json::array();
    json whole = json::object();
    for (const auto& part : parts) {
        json described = fileDescription(part.contentType, part.content.size());
        described["name"] = validText(part.name);
        if (!part.fileName.empty()) {
            described["fileName"] = validText(part.fileName);
            whole = described;
        }
        all.push_back(std::move(described));
    }
    whole["parts"] = std::move(all);
    return whole;
}

json queryObject(std::string_view query)
{
    json parameters = json::object();
    for (const auto& [name, value] : parseQuery(query)) {
        parameters[validText(name)] = validText(value);
    }
    return parameters;
}

} // namespace Tessel::Simulator
