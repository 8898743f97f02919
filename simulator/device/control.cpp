// SPDX-License-Identifier: MIT
#include <simulator/device/control.h>

#include <simulator/text/jsontools.h>
#include <tessel/warningtypes.h>

#include <nlohmann/json.hpp>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

struct Action
{
    Method method;
    std::string_view path;
    Reply (*run)(Device& device, const std::string& body);
};

struct CutName
{
    Fault::Cut cut;
    const char* name;
};
constexpr CutName cutNames[] = {
    {Fault::Cut::None, "none"},
    {Fault::Cut::Truncate, "truncate"},
    {Fault::Cut::Close, "close"},
    {Fault::Cut::Stall, "stall"},
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
                 {"loggedOut", device.loggedOut()}});
}

Reply counts(Device& device, const std::string& /*body*/)
{
    const auto counted = device.requests().counts();
    return done({{"requests", counted.requests},
                 {"inFlight", counted.inFlight},
                 {"peakInFlight", counted.peakInFlight},
                 {"streams", device.events().streams()},
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
                        {"status", entry.status}});
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

json toJson(const Fault& fault)
{
    json result = {{"path", fault.path.toStdString()},
                   {"method", fault.method.toStdString()},
                   {"times", fault.times},
                   {"after", fault.after},
                   {"delay", fault.delay},
                   {"status", fault.status},
                   {"code", fault.code},
                   {"body", fault.body.toStdString()}};
    for (const auto& entry : cutNames) {
        if (entry.cut == fault.cut) {
            result["cut"] = entry.name;
        }
    }
    return result;
}

// Throws if a member has the wrong type or an unknown value.
Fault faultOf(const json& object)
{
    Fault fault;
    fault.path = QString::fromStdString(object.value("path", "*"));
    fault.method = QByteArray::fromStdString(object.value("method", ""));
    fault.times = object.value("times", 1);
    fault.after = object.value("after", 0);
    fault.delay = object.value("delay", 0);
    fault.status = object.value("status", 0);
    fault.code = object.value("code", 0);
    if (object.contains("body")) {
        fault.body = QByteArray::fromStdString(object["body"].is_string() ? object["body"].get<std::string>()
                                                                          : object["body"].dump());
    }
    if (fault.status != 0 && (fault.status < 200 || fault.status > 599)) {
        throw std::invalid_argument("status must be 0 or 200 to 599");
    }
    if (fault.delay < 0) {
        throw std::invalid_argument("delay must not be negative");
    }
    const std::string cut = object.value("cut", "none");
    for (const auto& entry : cutNames) {
        if (cut == entry.name) {
            fault.cut = entry.cut;
            return fault;
        }
    }
    throw std::invalid_argument("cut must be none, truncate, close or stall");
}

Reply listFaults(Device& device, const std::string& /*body*/)
{
    json list = json::array();
    for (const auto& fault : device.faults().waiting()) {
        list.push_back(toJson(fault));
    }
    return done(list);
}

Reply addFaults(Device& device, const std::string& body)
{
    const json scripts = parseJson(body);
    try {
        std::vector<Fault> faults;
        for (const auto& script : scripts.is_array() ? scripts : json::array({scripts})) {
            faults.push_back(faultOf(script));
        }
        for (const auto& fault : faults) {
            device.faults().add(fault);
        }
    } catch (const std::exception& error) {
        return failureReply(400, std::string("not a valid fault: ") + error.what());
    }
    return done();
}

Reply clearFaults(Device& device, const std::string& /*body*/)
{
    device.faults().clear();
    return done();
}

constexpr Action actions[] = {
    {Method::Get, "/sim", describe},
    {Method::Get, "/sim/counts", counts},
    {Method::Get, "/sim/requests", requests},
    {Method::Post, "/sim/events", pushEvent},
    {Method::Post, "/sim/warnings", warn},
    {Method::Post, "/sim/disconnect", disconnect},
    {Method::Post, "/sim/restart", restart},
    {Method::Post, "/sim/logout", logout},
    {Method::Post, "/sim/login", login},
    {Method::Post, "/sim/reset", reset},
    {Method::Get, "/sim/faults", listFaults},
    {Method::Post, "/sim/faults", addFaults},
    {Method::Delete, "/sim/faults", clearFaults},
    {Method::Get, "/sim/coefficients", coefficients},
};

} // namespace

bool isControlPath(std::string_view path)
{
    return path == "/sim" || path.substr(0, 5) == "/sim/";
}

Reply controlReply(Device& device, Method method, const Target& target, const std::string& body)
{
    std::string_view path = target.path;
    if (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    bool known = false;
    for (const auto& action : actions) {
        if (action.path != path) {
            continue;
        }
        known = true;
        if (action.method == method) {
            return action.run(device, body);
        }
    }
    return known ? failureReply(405, "the control interface does not support this method here")
                 : failureReply(404, "the control interface has no such path; see docs/simulator.md");
}

} // namespace Tessel::Simulator
