// SPDX-License-Identifier: MIT
#include <simulator/device/device.h>

#include <simulator/device/changeevents.h>
#include <simulator/device/control.h>
#include <simulator/resources/addressing.h>
#include <simulator/resources/fixtures.h>
#include <simulator/text/jsontools.h>
#include <simulator/text/multipartform.h>
#include <simulator/text/texttools.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

constexpr std::string_view eventPath = "/api/v1/events";
// Larger bodies are kept as text: taken apart they would need many times their size.
constexpr std::size_t maxValueBytes = 256U << 10;
constexpr std::size_t maxListBytes = 8U << 20;

Verbs verbOf(Method method)
{
    switch (method) {
    case Method::Get:
    case Method::Head:
        return Get;
    case Method::Put:
        return Put;
    case Method::Post:
        return Post;
    case Method::Delete:
        return Delete;
    case Method::Options:
    case Method::Other:
        break;
    }
    return 0;
}

std::string allowed(Verbs verbs)
{
    std::string text = (verbs & Get) ? "GET, HEAD, " : "";
    text += (verbs & Put) ? "PUT, " : "";
    text += (verbs & Post) ? "POST, " : "";
    text += (verbs & Delete) ? "DELETE, " : "";
    return text + "OPTIONS";
}

bool isFileType(std::string_view contentType)
{
    for (const std::string_view type : {"multipart/", "application/octet-stream", "image/", "video/"}) {
        if (startsWithNoCase(contentType, type)) {
            return true;
        }
    }
    return false;
}

// Whether the body of a request is a file rather than JSON.
bool bringsFile(const Device::Exchange& exchange)
{
    const Route* route = exchange.match.route;
    return isFileType(exchange.contentType) ||
           (route && route->takesFiles && !startsWithNoCase(exchange.contentType, "application/json"));
}

std::string idOf(const RouteTable::Match& match)
{
    return match.values.empty() ? std::string() : match.values.front();
}

// Query text may be no UTF-8; what is stored has to be.
std::string validText(const std::string& text)
{
    return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
}

Reply success(SharedText body)
{
    Reply reply;
    reply.body = std::move(body);
    return reply;
}

// The name may come under either member; it is kept under the one that the record has.
void renameMember(json& body, const char* from, const char* to)
{
    if (body.is_object() && !body.contains(to) && body.contains(from)) {
        body[to] = body[from];
        body.erase(from);
    }
}

Reply faultReply(const Fault& fault)
{
    Reply reply;
    reply.status = fault.status ? fault.status : 200;
    if (reply.status == 204 || reply.status == 304) {
        return reply;
    }
    if (!fault.body.isEmpty()) {
        reply.body = std::make_shared<const std::string>(fault.body.toStdString());
    } else {
        reply.body = envelope(fault.code ? fault.code : reply.status, "scripted fault");
    }
    return reply;
}

// What a client learns of a file that it sent: of a form that is the part which is a file.
json described(std::string_view contentType, std::uint64_t size)
{
    return {{"size", size}, {"contentType", validText(std::string(contentType))}};
}

json described(const std::vector<FormPart>& parts)
{
    json all = json::array();
    json whole = json::object();
    for (const auto& part : parts) {
        json told = described(part.contentType, part.content.size());
        told["name"] = validText(part.name);
        if (!part.fileName.empty()) {
            told["fileName"] = validText(part.fileName);
            whole = told;
        }
        all.push_back(std::move(told));
    }
    whole["parts"] = std::move(all);
    return whole;
}

} // namespace

Device::Exchange::~Exchange()
{
    if (inFlight) {
        inFlight->end();
    }
}

Device::Device(const Options& options)
    : m_options(options)
    , m_store(Wall(options))
    , m_coefficients(m_store.wall(), options.coefficientLimit)
    , m_events(static_cast<std::size_t>(std::max(0, options.eventHistory)))
    , m_log(std::make_shared<RequestLog>(static_cast<std::size_t>(std::max(0, options.requestLog))))
{}

Device::Exchange Device::open(Method method, std::string_view methodName, std::string_view target,
                              std::string_view contentType)
{
    Exchange exchange;
    exchange.method = method;
    exchange.methodName = methodName;
    exchange.contentType = contentType;
    if (method == Method::Options && target == "*") {
        exchange.target.emplace();
    } else {
        exchange.target = parseTarget(target);
    }
    const std::string path = exchange.target ? exchange.target->path : std::string();
    if (m_options.control && isControlPath(path)) {
        exchange.kind = Exchange::Kind::Control;
        exchange.keepsBody = true;
        return exchange;
    }
    exchange.inFlight = m_log;
    m_log->begin(path);
    if (m_loggedOut) {
        exchange.kind = Exchange::Kind::Refused;
        return exchange;
    }
    if (exchange.target) {
        exchange.match = RouteTable::instance().match(exchange.target->segments);
    }
    exchange.fault = m_faults.matchAndConsume(methodName, path, exchange.match.route);
    if (method == Method::Get && path == eventPath && (!exchange.fault || exchange.fault->status == 0)) {
        exchange.kind = Exchange::Kind::EventStream;
    }
    const Route* route = exchange.match.route;
    exchange.delay = std::chrono::milliseconds(exchange.fault ? exchange.fault->delay : 0);
    if (route && verbOf(method) == Put && CoefficientStore::isSave(*route)) {
        exchange.delay = std::max(exchange.delay, std::chrono::milliseconds(m_options.saveTime));
    }
    exchange.keepsBody = route && (verbOf(method) & route->verbs & ~Verbs(Get)) != 0 &&
                         (!bringsFile(exchange) || (route->takesFiles && isMultipartForm(contentType)));
    return exchange;
}

Reply Device::respond(Exchange& exchange, std::string body, std::uint64_t bodySize)
{
    if (exchange.kind == Exchange::Kind::Control) {
        return controlReply(*this, exchange.method, *exchange.target, body);
    }
    const auto& fault = exchange.fault;
    if (fault && (fault->status || fault->code || !fault->body.isEmpty())) {
        return faultReply(*fault);
    }
    if (!exchange.target) {
        return failure(400, "malformed request target");
    }

    const Route* route = exchange.match.route;
    const bool events = exchange.target->path == eventPath;
    const bool anywhere = exchange.method == Method::Options && exchange.target->path.empty();
    if (!events && !anywhere && !serves(route)) {
        return failure(404, "no such resource: " + exchange.target->path);
    }
    const Verbs verbs = anywhere ? Get | Put | Post | Delete : events ? Verbs(Get) : route->verbs;
    if (exchange.method == Method::Options) {
        Reply reply;
        reply.status = 204;
        reply.allow = allowed(verbs);
        return reply;
    }
    if (!(verbOf(exchange.method) & verbs)) {
        Reply reply = failure(405, exchange.methodName + " is not allowed here");
        reply.allow = allowed(verbs);
        return reply;
    }
    if (events) {
        Reply reply;
        reply.contentType = "text/event-stream";
        return reply;
    }
    if (verbOf(exchange.method) == Get) {
        Reply reply = get(exchange.match);
        advanceProgress(*route);
        return reply;
    }
    return put(exchange, std::move(body), bodySize);
}

bool Device::serves(const Route* route) const
{
    return route && (!route->multiScreenOnly || wall().multiScreen());
}

// What a client watches by reading again and again proceeds from one reading to the next.
void Device::advanceProgress(const Route& route)
{
    if (isMeasured(route.value)) {
        m_store.measure();
        return;
    }
    if (route.value != SpecialValue::UpdateProgress) {
        return;
    }
    constexpr int stride = 25;
    json update = parseJson(*read(route.pattern))["data"];
    if (update["state"] != "running") {
        return;
    }
    const int progress = std::min(100, update["progress"].get<int>() + stride);
    storeAt(route.pattern.c_str(), {},
            {{"progress", progress}, {"state", progress == 100 ? "done" : "running"}});
}

std::uint64_t Device::warn(const std::string& eventType, const json& data)
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

Reply Device::get(const RouteTable::Match& match)
{
    if (match.route->scope == Scope::Firmware) {
        Reply reply = success(m_cardFirmware.read(match.values[0], match.values[1]));
        reply.contentType = "application/octet-stream";
        return reply;
    }
    auto text = match.route->coefficients ? m_coefficients.read(*match.route, idOf(match))
                                          : m_store.read(*match.route, idOf(match));
    return text ? success(std::move(text)) : failure(404, "no such instance: " + idOf(match));
}

Reply Device::put(const Exchange& exchange, std::string body, std::uint64_t bodySize)
{
    const auto& match = exchange.match;
    const Route& route = *match.route;
    if (route.value == SpecialValue::Lock) {
        return store(match, {{"locked", exchange.method == Method::Put}});
    }
    if (bodySize > 0 && bringsFile(exchange)) {
        return putFile(exchange, body, bodySize);
    }
    if (bodySize == 0 && route.coefficients) {
        return success(successEnvelope());
    }
    if (bodySize == 0) {
        json parameters = json::object();
        for (const auto& [name, value] : parseQuery(exchange.target->query)) {
            parameters[validText(name)] = validText(value);
        }
        return store(match, std::move(parameters));
    }
    return storeJson(match, std::move(body));
}

Reply Device::putFile(const Exchange& exchange, std::string_view body, std::uint64_t bodySize)
{
    const auto& match = exchange.match;
    if (!match.route->takesFiles) {
        return failure(415, "this resource takes JSON");
    }
    if (!isMultipartForm(exchange.contentType)) {
        return store(match, described(exchange.contentType, bodySize));
    }
    const auto parts = formParts(exchange.contentType, body);
    if (!parts) {
        return failure(400, "the body is no multipart form");
    }
    if (match.route->effect == WriteEffect::UploadCardFirmware) {
        for (const auto& part : *parts) {
            if (!part.fileName.empty()) {
                m_cardFirmware.upload(part.content);
            }
        }
    }
    return store(match, described(*parts));
}

Reply Device::storeJson(const RouteTable::Match& match, std::string text)
{
    const Route& route = *match.route;
    const bool list =
        route.scope == Scope::Plural || route.scope == Scope::Collection || route.scope == Scope::Instance;
    const bool coefficients = route.coefficients.has_value();
    if (coefficients || text.size() > (list ? maxListBytes : maxValueBytes)) {
        if (!isJson(text)) {
            return failure(400, "the body is no JSON");
        }
        return coefficients ? storeCoefficients(match, text) : storeText(match, std::move(text));
    }
    json value = parseJson(text);
    if (value.is_discarded()) {
        return failure(400, "the body is no JSON");
    }
    return store(match, std::move(value));
}

Reply Device::storeCoefficients(const RouteTable::Match& match, std::string_view text)
{
    switch (m_coefficients.upload(*match.route, idOf(match), text)) {
    case CoefficientStore::UploadResult::NoCabinet:
        return failure(404, "no such cabinet: " + idOf(match));
    case CoefficientStore::UploadResult::NoSpace:
        return failure(507, "the controller keeps no more");
    case CoefficientStore::UploadResult::Done:
        break;
    }
    return success(successEnvelope());
}

Reply Device::store(const RouteTable::Match& match, json body)
{
    const Route& route = *match.route;
    if (route.effect == WriteEffect::NameDevice) {
        renameMember(body, "name", "customName");
    } else if (route.effect == WriteEffect::NameScreen) {
        renameMember(body, "name", "screenName");
    }
    const auto written = m_store.write(route, idOf(match), body);
    if (written.status == ResourceStore::Written::Status::Done) {
        storeSideEffects(match, written);
    }
    return outcome(route, written, body);
}

Reply Device::storeText(const RouteTable::Match& match, std::string text)
{
    return outcome(*match.route, m_store.writeText(*match.route, idOf(match), std::move(text)), {});
}

Reply Device::outcome(const Route& route, const ResourceStore::Written& written, const json& body)
{
    if (written.status == ResourceStore::Written::Status::NoInstance) {
        return failure(404, "no such instance");
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
        return failure(507, "the controller keeps no more");
    }
    return success(route.effect == WriteEffect::SelfTest ? successEnvelope(R"([{"id":"1","result":0}])")
                                                         : successEnvelope());
}

void Device::storeSideEffects(const RouteTable::Match& match, const ResourceStore::Written& written)
{
    static const json begun = {{"progress", 0}, {"state", "running"}};
    switch (match.route->effect) {
    case WriteEffect::UpdateController:
        storeAt("/api/v1/device/hw/updateprogress", {}, begun);
        break;
    case WriteEffect::LoadCardFirmware:
        m_cardFirmware.load();
        [[fallthrough]];
    case WriteEffect::UploadCardFirmware:
        storeAt("/api/v1/device/cabinet/rvupdateprogress", {}, begun);
        break;
    case WriteEffect::ResetInputBackup:
        storeAt("/api/v1/device/input/{id}/backup", idOf(match), {{"backupInputId", 0}, {"enable", false}});
        break;
    case WriteEffect::DisableTestPattern:
        storeAt("/api/v1/device/screen/{id}/txtestpattern", idOf(match), {{"enable", false}});
        break;
    case WriteEffect::None:
    case WriteEffect::NameDevice:
    case WriteEffect::NameScreen:
    case WriteEffect::SelfTest:
        m_coefficients.act(*match.route, addressedCabinets(match, written));
        break;
    }
}

// The cabinets that a write was for: those of the screen in its path, or those that its body names.
std::vector<std::string> Device::addressedCabinets(const RouteTable::Match& match,
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

void Device::storeAt(const char* path, const std::string& id, const json& body)
{
    m_store.write(*RouteTable::instance().match(splitPath(path)).route, id, body);
}

void Device::log(const Exchange& exchange, std::string body, std::uint64_t bodySize, int status)
{
    if (!m_log->keepsEntries() || exchange.kind == Exchange::Kind::Control) {
        return;
    }
    RequestLog::Entry entry;
    entry.method = exchange.methodName;
    if (exchange.target) {
        entry.path = exchange.target->path;
        entry.query = exchange.target->query;
    }
    entry.contentType = exchange.contentType;
    entry.body = std::move(body);
    entry.bodySize = bodySize;
    entry.status = status;
    m_log->add(std::move(entry));
}

Reply Device::failure(int status, std::string_view message)
{
    Reply reply;
    reply.status = status;
    reply.body = envelope(status, message);
    return reply;
}

SharedText Device::read(const std::string& path)
{
    const auto match = RouteTable::instance().match(splitPath(path));
    if (!serves(match.route) || !(match.route->verbs & Get)) {
        return nullptr;
    }
    const Reply reply = get(match);
    return reply.status == 200 ? reply.body : nullptr;
}

bool Device::write(const std::string& path, std::string_view text)
{
    const auto match = RouteTable::instance().match(splitPath(path));
    return serves(match.route) && storeJson(match, std::string(text)).status == 200;
}

void Device::logout()
{
    m_loggedOut = true;
    const std::lock_guard lock(m_connectionsMutex);
    if (m_connections) {
        m_connections->closeAll();
    }
}

void Device::restart()
{
    m_events.startAnew(); // before a client may come back
    disconnectStreams();
}

void Device::disconnectStreams()
{
    const std::lock_guard lock(m_connectionsMutex);
    if (m_connections) {
        m_connections->closeStreams();
    }
}

void Device::setConnections(Connections* connections)
{
    const std::lock_guard lock(m_connectionsMutex);
    m_connections = connections;
}

void Device::reset()
{
    m_store.reset();
    m_coefficients.reset();
    m_cardFirmware.reset();
    m_faults.clear();
    m_log->reset();
    login();
}

} // namespace Tessel::Simulator
