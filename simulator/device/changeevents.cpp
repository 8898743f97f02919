// SPDX-License-Identifier: MIT
#include <simulator/device/changeevents.h>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

json cabinetEvent(PushEvent event, const ResourceStore::Written& written)
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
    return eventObject(event, std::move(data));
}

json inputEvent(const ResourceStore::Written& written)
{
    const bool one = written.ids.size() == 1 && !written.ids.front().empty();
    const int id = one && written.ids.front().front() != '{' ? std::stoi(written.ids.front()) : 0;
    return eventObject(PushEvent::Inputs, id);
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
        return eventObject(route.property == "/device/screen/enable" ? PushEvent::ScreenTags
                                                                     : PushEvent::Screens);
    case Family::Cabinet:
        return cabinetEvent(isFlags(route.property) ? PushEvent::CabinetFlags : PushEvent::Cabinets, written);
    case Family::Input:
        return inputEvent(written);
    case Family::Output:
        return eventObject(PushEvent::Outputs);
    case Family::Pipeline:
    case Family::Channel:
        return eventObject(PushEvent::Pipelines);
    case Family::Device:
        break;
    }
    return route.property.compare(0, 10, "/device/hw") == 0 && route.scope != Scope::Value
               ? eventObject(PushEvent::HwInfo)
               : json();
}

} // namespace

json eventObject(PushEvent event, json payload)
{
    const EventText& text = eventRow(event).text;
    json object{{text.source.key, text.source.text}};
    if (text.kind.key)
        object[text.kind.key] = text.kind.text;
    if (text.payload)
        object[text.payload] = std::move(payload);
    return object;
}

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
        push(eventObject(PushEvent::CustomName, textMember(body, "customName")));
    else if (route.property == "/device/screen/name")
        push(eventObject(PushEvent::ScreenName, textMember(body, "screenName")));
    const json event = eventOf(route, written);
    if (!event.is_null())
        push(event);
    return events;
}

} // namespace Tessel::Simulator
