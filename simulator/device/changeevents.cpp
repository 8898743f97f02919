// SPDX-License-Identifier: MIT
#include <simulator/device/changeevents.h>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

json change(const char* tag)
{
    return {{"dataType", "change"}, {"changeTag", tag}};
}

json cabinetEvent(const char* type, const ResourceStore::Written& written)
{
    // A long list of ids would tell a client no more than that it has to read the cabinets again.
    constexpr std::size_t listed = 64;
    json data = json::object();
    if (!written.all && written.ids.size() <= listed) {
        data["ids"] = json::array();
        for (const auto& id : written.ids) {
            if (!id.empty())
                data["ids"].push_back(id);
        }
    }
    return {{"eventSender", "cabinet"}, {"eventType", type}, {"eventData", std::move(data)}};
}

json inputEvent(const ResourceStore::Written& written)
{
    json event = change("inputsInfo");
    const bool one = written.ids.size() == 1 && !written.ids.front().empty();
    event["changeInputId"] = one && written.ids.front().front() != '{' ? std::stoi(written.ids.front()) : 0;
    return event;
}

bool isFlags(const std::string& property)
{
    for (const char* name : {"/flags", "/cabinetflags", "/recvcardflags", "/moduleflags"}) {
        if (property == std::string("/device/cabinet") + name)
            return true;
    }
    return false;
}

// What these routes do leaves the lists of cabinets and screens as they are.
bool isSilent(const std::string& property)
{
    for (const std::string_view prefix : {"/device/cabinet/selftest/", "/device/correctionop/"}) {
        if (property.compare(0, prefix.size(), prefix) == 0)
            return true;
    }
    return false;
}

std::string textMember(const json& body, const char* member)
{
    const bool has = body.is_object() && body.contains(member) && body[member].is_string();
    return has ? body[member].get<std::string>() : std::string();
}

json eventOf(const Route& route, const ResourceStore::Written& written)
{
    switch (route.family) {
    case Family::Screen:
        return change(route.property == "/device/screen/enable" ? "screensTagInfo" : "screensInfo");
    case Family::Cabinet:
        return cabinetEvent(isFlags(route.property) ? "allFlags" : "cabinetsChange", written);
    case Family::Input:
        return inputEvent(written);
    case Family::Output:
        return change("outputsInfo");
    case Family::Pipeline:
    case Family::Channel:
        // Quirk: The event of pipelines has capitals of its own.
        return {{"DataType", "Change"}, {"ChangeTag", "PipeLineInfo"}};
    case Family::Device:
        break;
    }
    return route.property.compare(0, 10, "/device/hw") == 0 && route.scope != Scope::Value ? change("hwInfo")
                                                                                           : json();
}

} // namespace

std::vector<std::string> changeEvents(const Route& route, const ResourceStore::Written& written,
                                      const json& body)
{
    std::vector<std::string> events;
    if (!written.changed || isSilent(route.property))
        return events;
    const auto push = [&events](const json& event) {
        events.push_back(event.dump(-1, ' ', false, json::error_handler_t::replace));
    };
    if (route.property == "/device/hw/customname")
        push({{"dataType", "customNameChange"}, {"name", textMember(body, "customName")}});
    else if (route.property == "/device/screen/name")
        push({{"dataType", "screenName"}, {"name", textMember(body, "screenName")}});
    const json event = eventOf(route, written);
    if (!event.is_null())
        push(event);
    return events;
}

} // namespace Tessel::Simulator
