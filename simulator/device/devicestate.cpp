// SPDX-License-Identifier: MIT
#include <simulator/device/devicestate.h>

#include <simulator/device/changeevents.h>
#include <simulator/device/requestbody.h>
#include <simulator/resources/addressing.h>
#include <simulator/resources/fixtures.h>
#include <simulator/text/jsontools.h>
#include <simulator/text/multipartform.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

// Larger bodies are stored as text, because parsed they would need many times their size.
constexpr std::size_t maxValueBytes = 256U << 10;
constexpr std::size_t maxListBytes = 8U << 20;

std::string idOf(const RouteTable::Match& match)
{
    return match.values.empty() ? std::string() : match.values.front();
}

// A client may send the name as either member; it is stored as the one that the record has.
void renameMember(json& body, const char* from, const char* to)
{
    if (body.is_object() && !body.contains(to) && body.contains(from)) {
        body[to] = body[from];
        body.erase(from);
    }
}

} // namespace

DeviceState::DeviceState(const Options& options, EventHub& events)
    : m_store(Wall(options))
    , m_coefficients(m_store.wall(), options.coefficientLimit)
    , m_events(events)
{}

bool DeviceState::serves(const Route* route) const
{
    return route && (!route->multiScreenOnly || wall().multiScreen());
}

Reply DeviceState::read(const RouteTable::Match& match)
{
    if (match.route->scope == Scope::Firmware) {
        Reply reply = successReply(m_cardFirmware.read(match.values[0], match.values[1]));
        reply.contentType = "application/octet-stream";
        return reply;
    }
    auto text = match.route->coefficients ? m_coefficients.read(*match.route, idOf(match))
                                          : m_store.read(*match.route, idOf(match));
    return text ? successReply(std::move(text)) : failureReply(404, "no such instance: " + idOf(match));
}

void DeviceState::advanceProgress(const Route& route)
{
    if (isMeasured(route.value)) {
        m_store.measure();
        return;
    }
    if (route.value != SpecialValue::UpdateProgress) {
        return;
    }
    constexpr int stride = 25;
    json update = parseJson(*m_store.read(route, {}))["data"];
    if (update["state"] != "running") {
        return;
    }
    const int progress = std::min(100, update["progress"].get<int>() + stride);
    writeAt(route.pattern.c_str(), {},
            {{"progress", progress}, {"state", progress == 100 ? "done" : "running"}});
}

std::uint64_t DeviceState::warn(const std::string& eventType, const json& data)
{
    const auto type = warningTypeNamed(eventType);
    if (!type) {
        return 0;
    }
    const json warned = Fixtures::warning(*type, wall(), m_store.measure());
    if (warned.is_null()) {
        return 0;
    }
    const json event = eventObject(warningRow(*type).event, data.is_null() ? warned : data);
    return m_events.publish(event.dump(-1, ' ', false, json::error_handler_t::replace));
}

Reply DeviceState::writeJson(const RouteTable::Match& match, std::string text)
{
    const Route& route = *match.route;
    const bool list =
        route.scope == Scope::Plural || route.scope == Scope::Collection || route.scope == Scope::Instance;
    const bool coefficients = route.coefficients.has_value();
    if (coefficients || text.size() > (list ? maxListBytes : maxValueBytes)) {
        if (!isJson(text)) {
            return failureReply(400, "the body is not valid JSON");
        }
        return coefficients ? writeCoefficients(match, text) : writeText(match, std::move(text));
    }
    json value = parseJson(text);
    if (value.is_discarded()) {
        return failureReply(400, "the body is not valid JSON");
    }
    return write(match, std::move(value));
}

Reply DeviceState::writeCoefficients(const RouteTable::Match& match, std::string_view text)
{
    switch (m_coefficients.upload(*match.route, idOf(match), text)) {
    case CoefficientStore::UploadResult::NoCabinet:
        return failureReply(404, "no such cabinet: " + idOf(match));
    case CoefficientStore::UploadResult::NoSpace:
        return failureReply(507, "the controller has no space for more");
    case CoefficientStore::UploadResult::Done:
        break;
    }
    return successReply(successEnvelope());
}

Reply DeviceState::writeFile(const RouteTable::Match& match, std::string_view contentType,
                             std::string_view body, std::uint64_t bodySize)
{
    if (!match.route->takesFiles) {
        return failureReply(415, "this resource accepts only JSON");
    }
    if (!isMultipartForm(contentType)) {
        return write(match, fileDescription(contentType, bodySize));
    }
    const auto parts = formParts(contentType, body);
    if (!parts) {
        return failureReply(400, "the body is not a valid multipart form");
    }
    if (match.route->effect == WriteEffect::UploadCardFirmware) {
        for (const auto& part : *parts) {
            if (!part.fileName.empty()) {
                m_cardFirmware.upload(part.content);
            }
        }
    }
    return write(match, formDescription(*parts));
}

Reply DeviceState::write(const RouteTable::Match& match, json body)
{
    const Route& route = *match.route;
    if (route.effect == WriteEffect::NameDevice) {
        renameMember(body, "name", "customName");
    } else if (route.effect == WriteEffect::NameScreen) {
        renameMember(body, "name", "screenName");
    }
    const auto written = m_store.write(route, idOf(match), body);
    if (written.status == ResourceStore::Written::Status::Done) {
        applyEffects(match, written);
    }
    return outcome(route, written, body);
}

Reply DeviceState::writeText(const RouteTable::Match& match, std::string text)
{
    return outcome(*match.route, m_store.writeText(*match.route, idOf(match), std::move(text)), {});
}

Reply DeviceState::outcome(const Route& route, const ResourceStore::Written& written, const json& body)
{
    if (written.status == ResourceStore::Written::Status::NoInstance) {
        return failureReply(404, "no such instance");
    }
    if (route.effect == WriteEffect::NameScreen && body.is_object() && body.contains("screenName")) {
        // The name belongs to the screen that the body names, or to the first.
        json record = {{"screenName", body["screenName"]}};
        for (const char* id : {"screenID", "screenId", "id"}) {
            if (body.contains(id)) {
                record["screenID"] = body[id];
            }
        }
        m_store.write(*RouteTable::instance().match(splitPath("/api/v1/device/screen")).route, {}, record);
    }
    for (const auto& event : changeEvents(route, written, body)) {
        m_events.publish(event);
    }
    if (written.status == ResourceStore::Written::Status::NoSpace) {
        return failureReply(507, "the controller has no space for more");
    }
    return successReply(route.effect == WriteEffect::SelfTest ? successEnvelope(R"([{"id":"1","result":0}])")
                                                              : successEnvelope());
}

void DeviceState::applyEffects(const RouteTable::Match& match, const ResourceStore::Written& written)
{
    static const json begun = {{"progress", 0}, {"state", "running"}};
    switch (match.route->effect) {
    case WriteEffect::UpdateController:
        writeAt("/api/v1/device/hw/updateprogress", {}, begun);
        break;
    case WriteEffect::LoadCardFirmware:
        m_cardFirmware.load();
        [[fallthrough]];
    case WriteEffect::UploadCardFirmware:
        writeAt("/api/v1/device/cabinet/rvupdateprogress", {}, begun);
        break;
    case WriteEffect::ResetInputBackup:
        writeAt("/api/v1/device/input/{id}/backup", idOf(match), {{"backupInputId", 0}, {"enable", false}});
        break;
    case WriteEffect::DisableTestPattern:
        writeAt("/api/v1/device/screen/{id}/txtestpattern", idOf(match), {{"enable", false}});
        break;
    case WriteEffect::None:
    case WriteEffect::NameDevice:
    case WriteEffect::NameScreen:
    case WriteEffect::SelfTest:
        m_coefficients.act(*match.route, addressedCabinets(match, written));
        break;
    }
}

// The cabinets addressed by a write: those of the screen in its path, or those named in its body.
std::vector<std::string> DeviceState::addressedCabinets(const RouteTable::Match& match,
                                                        const ResourceStore::Written& written) const
{
    std::pair<std::size_t, std::size_t> range{0, written.all ? wall().cabinets() : 0};
    if (match.route->family == Family::Screen) {
        const auto screen = indexOfId(idOf(match), wall().screens());
        range = screen ? wall().cabinetsOf(*screen) : range;
    } else if (!written.all) {
        return written.ids;
    }
    std::vector<std::string> cabinets;
    for (std::size_t index = range.first; index < range.second; ++index) {
        cabinets.push_back(std::to_string(index + 1));
    }
    return cabinets;
}

void DeviceState::writeAt(const char* path, const std::string& id, const json& body)
{
    m_store.write(*RouteTable::instance().match(splitPath(path)).route, id, body);
}

void DeviceState::reset()
{
    m_store.reset();
    m_coefficients.reset();
    m_cardFirmware.reset();
}

} // namespace Tessel::Simulator
