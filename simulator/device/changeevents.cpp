// SPDX-License-Identifier: MIT
#include <simulator/device/changeevents.h>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

json idsOf(const ResourceStore::Written& written)
{
    // A long list of ids would only mean that a client has to read the cabinets again.
    constexpr std::size_t listed = 64;
    json data = json::object();
    if (!written.all && written.ids.size() <= listed) {
        data["ids"] = json::array();
        for (const auto& id : written.ids) {
            if (!id.empty()) {
                data["ids"].push_back(id);
            }
        }
    }
    return data;
}

int inputIdOf(const ResourceStore::Written& written)
{
    const bool one = written.ids.size() == 1 && !written.ids.front().empty();
    return one && written.ids.front().front() != '{' ? std::stoi(written.ids.front()) : 0;
}

std::string textMember(const json& body, const char* member)
{
    const bool has = body.is_object() && body.contains(member) && body[member].is_string();
    return has ? body[member].get<std::string>() : std::string();
}

json payloadOf(PushEvent event, const ResourceStore::Written& written, const json& body)
{
    switch (event) {
    case PushEvent::CustomName:
        return textMember(body, "customName");
    case PushEvent::ScreenName:
        return textMember(body, "screenName");
    case PushEvent::Cabinets:
    case PushEvent::CabinetFlags:
        return idsOf(written);
    case PushEvent::Inputs:
        return inputIdOf(written);
    default:
        return nullptr;
    }
}

} // namespace

json eventObject(PushEvent event, json payload)
{
    const EventText& text = eventRow(event).text;
    json object{{text.source.key, text.source.text}};
    if (text.kind.key) {
        object[text.kind.key] = text.kind.text;
    }
    if (text.payload) {
        object[text.payload] = std::move(payload);
    }
    return object;
}

std::vector<std::string> changeEvents(const Route& route, const ResourceStore::Written& written,
                                      const json& body)
{
    std::vector<std::string> events;
    if (!written.changed) {
        return events;
    }
    for (const auto& event : {route.nameEvent, route.changeEvent}) {
        if (event) {
            events.push_back(eventObject(*event, payloadOf(*event, written, body))
                                 .dump(-1, ' ', false, json::error_handler_t::replace));
        }
    }
    return events;
}

} // namespace Tessel::Simulator
