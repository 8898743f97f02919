// SPDX-License-Identifier: MIT
#include <simulator/device/control.h>

#include <simulator/faultscript.h>
#include <simulator/text/jsontools.h>
#include <tessel/warningtypes.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

/// What the body of a request may be.
enum class Takes {
    Nothing,  ///< it is empty, or an object without members
    Members,  ///< an object of the members that the action lists
    Anything, ///< the action judges it
};

// In the order in which a row reads.
struct Action // NOLINT(clang-analyzer-optin.performance.Padding)
{
    Method method;
    std::string_view path;
    Reply (*run)(Device& device, const std::string& body);
    Takes takes = Takes::Nothing;
    std::array<const char*, 2> members{};
};

Reply done(const json& data = json::object())
{
    return successReply(successEnvelope(data.dump(-1, ' ', false, json::error_handler_t::replace)));
}

Reply describe(Device& device, const std::string& /*body*/)
{
    const Wall& wall = device.wall();
    return done({{"protocol", protocolName(device.options().protocol)},
                 {"screens", wall.screens()},
                 {"cabinets", wall.cabinets()},
                 {"receivingCards", wall.cardsPerCabinet()},
                 {"inputs", wall.inputs()},
                 {"outputs", wall.outputs()},
                 {"pipelines", wall.pipelines()},
                 {"strict", device.options().strict},
                 {"loggedOut", device.loggedOut()}});
}

Reply counts(Device& device, const std::string& /*body*/)
{
    const auto counted = device.requests().counts();
    return done({{"requests", counted.requests},
                 {"inFlight", counted.inFlight},
                 {"peakInFlight", counted.peakInFlight},
                 {"streams", device.events().streams()},
                 {"mistakes", device.mistakes().count()},
                 {"paths", device.requests().countsByPath()}});
}

Reply requests(Device& device, const std::string& /*body*/)
{
    json list = json::array();
    for (const auto& entry : device.requests().entries()) {
        list.push_back({{"method", entry.method},
                        {"path", entry.path},
                        {"query", entry.query},
                        {"contentType", entry.contentType},
                        {"body", entry.body},
                        {"bodySize", entry.bodySize},
                        {"status", entry.status},
                        {"mistake", entry.mistake}});
    }
    return done(list);
}

Reply coefficients(Device& device, const std::string& /*body*/)
{
    return done(device.state().coefficients().summary());
}

Reply pushEvent(Device& device, const std::string& body)
{
    return done({{"id", device.events().publish(body)}});
}

Reply warn(Device& device, const std::string& body)
{
    const json warning = parseJson(body);
    const EventText& event = eventRow(PushEvent::FanSpeed).text;
    const char* const type = event.kind.key;
    if (!warning.is_object() || !warning.contains(type) || !warning[type].is_string()) {
        return failureReply(400, std::string("a warning needs a string member ") + type);
    }
    const auto id = device.state().warn(warning[type], warning.value(event.payload, json()));
    if (id == 0) {
        std::string names;
        for (const WarningRow& row : warningRows) {
            names += (names.empty() ? "" : ", ") + std::string(row.name());
        }
        return failureReply(400, std::string("unknown ") + type + "; use one of " + names);
    }
    return done({{"id", id}});
}

Reply restart(Device& device, const std::string& /*body*/)
{
    device.restart();
    return done();
}

Reply disconnect(Device& device, const std::string& /*body*/)
{
    device.disconnectStreams();
    return done();
}

Reply logout(Device& device, const std::string& /*body*/)
{
    device.logout();
    return done();
}

Reply login(Device& device, const std::string& /*body*/)
{
    device.login();
    return done();
}

Reply reset(Device& device, const std::string& /*body*/)
{
    device.reset();
    return done();
}

Reply forget(Device& device, const std::string& /*body*/)
{
    device.events().forget();
    return done();
}

Reply setMemory(Device& device, const std::string& body)
{
    const json wanted = parseJson(body);
    const json events = wanted.is_object() && wanted.size() == 1 ? wanted.value("events", json()) : json();
    if (!events.is_number_unsigned() || events.get<std::uint64_t>() > EventHub::maxMemory) {
        return failureReply(400, "events must be 0 to " + std::to_string(EventHub::maxMemory));
    }
    device.events().setMemory(events.get<std::size_t>());
    return done();
}

Reply tokenReply(Device& device, json data)
{
    data["expiresIn"] = device.loginGate().tokenLeft();
    return done(data);
}

Reply tellToken(Device& device, const std::string& /*body*/)
{
    return device.loginGate().takesTokens() ? tokenReply(device, json::object())
                                            : failureReply(409, "this device has no bearer login");
}

Reply replaceToken(Device& device, const std::string& body)
{
    if (!device.loginGate().takesTokens()) {
        return failureReply(409, "this device has no bearer login");
    }
    const json wanted = body.empty() ? json::object() : parseJson(body);
    const json token = wanted.is_object() ? wanted.value("token", json("")) : json();
    const std::string text = token.is_string() ? token.get<std::string>() : std::string(1, '\0');
    const bool isToken = std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 127; });
    if (!isToken || text.size() > 4096 || wanted.size() > (wanted.contains("token") ? 1 : 0)) {
        return failureReply(400, "token must be printable ASCII without blanks, up to 4096 characters");
    }
    return tokenReply(device, {{"token", device.loginGate().replaceToken(text)}});
}

Reply expireToken(Device& device, const std::string& body)
{
    device.loginGate().expireToken();
    return tellToken(device, body);
}

Reply listFaults(Device& device, const std::string& /*body*/)
{
    std::string list;
    for (const auto& fault : device.faults().waiting()) {
        list += (list.empty() ? "" : ",") + faultToJson(fault).toStdString();
    }
    return successReply(successEnvelope('[' + list + ']'));
}

Reply addFaults(Device& device, const std::string& body)
{
    QString error;
    const QList<Fault> faults = faultsFromJson(QByteArray::fromStdString(body), &error);
    if (faults.isEmpty()) {
        return failureReply(400, error.toStdString());
    }
    if (!device.faults().add(faults)) {
        return failureReply(400, "no more than " + std::to_string(FaultScripts::maxWaiting) +
                                     " faults can wait; remove some with DELETE /sim/faults");
    }
    return done();
}

Reply clearFaults(Device& device, const std::string& /*body*/)
{
    device.faults().clear();
    return done();
}

// All warnings have the same members.
constexpr const EventText& warningText = eventRow(PushEvent::FanSpeed).text;

constexpr Action actions[] = {
    {Method::Get, "/sim", describe},
    {Method::Get, "/sim/counts", counts},
    {Method::Get, "/sim/requests", requests},
    {Method::Post, "/sim/events", pushEvent, Takes::Anything},
    {Method::Post, "/sim/warnings", warn, Takes::Members, {warningText.kind.key, warningText.payload}},
    {Method::Post, "/sim/disconnect", disconnect},
    {Method::Post, "/sim/restart", restart},
    {Method::Post, "/sim/forget", forget},
    {Method::Post, "/sim/memory", setMemory, Takes::Members, {"events"}},
    {Method::Post, "/sim/logout", logout},
    {Method::Post, "/sim/login", login},
    {Method::Post, "/sim/reset", reset},
    {Method::Get, "/sim/token", tellToken},
    {Method::Post, "/sim/token", replaceToken, Takes::Members, {"token"}},
    {Method::Delete, "/sim/token", expireToken},
    {Method::Get, "/sim/faults", listFaults},
    {Method::Post, "/sim/faults", addFaults, Takes::Anything},
    {Method::Delete, "/sim/faults", clearFaults},
    {Method::Get, "/sim/coefficients", coefficients},
};

// What is wrong with the members of @p body; empty if the action may run.
std::string memberMistake(const Action& action, const std::string& body)
{
    if (action.takes == Takes::Anything || body.empty() || action.method == Method::Get) {
        return {};
    }
    std::string known;
    for (const char* const member : action.members) {
        known += member ? (known.empty() ? "" : ", ") + std::string(member) : "";
    }
    const json given = parseJson(body);
    if (!given.is_object()) {
        return std::string(given.is_discarded() ? "the body is not valid JSON"
                                                : "the body must be an object") +
               (known.empty() ? "" : "; its members are " + known);
    }
    for (const auto& member : given.items()) {
        const auto isIt = [&member](const char* name) { return name && member.key() == name; };
        if (std::none_of(action.members.begin(), action.members.end(), isIt)) {
            return "unknown member " + nameInAscii(member.key()) +
                   (known.empty() ? "; there is none here" : "; there is " + known);
        }
    }
    return {};
}

} // namespace

bool isControlPath(std::string_view path)
{
    return path == "/sim" || path.substr(0, 5) == "/sim/";
}

Reply controlReply(Device& device, Method method, const Target& target, const std::string& body)
{
    bool known = false;
    for (const auto& action : actions) {
        if (action.path != target.path) {
            continue;
        }
        known = true;
        if (action.method == method) {
            const std::string mistake = memberMistake(action, body);
            return mistake.empty() ? action.run(device, body) : failureReply(400, mistake);
        }
    }
    return known ? failureReply(405, "the control interface does not support this method here")
                 : failureReply(404, "the control interface has no such path; see docs/simulator.md");
}

} // namespace Tessel::Simulator
