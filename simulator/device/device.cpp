// SPDX-License-Identifier: MIT
#include <simulator/device/device.h>

#include <simulator/device/control.h>
#include <simulator/device/openapi.h>
#include <simulator/device/requestbody.h>
#include <simulator/device/requestschemas.h>
#include <simulator/resources/addressing.h>
#include <simulator/text/jsontools.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

constexpr std::string_view eventPath = "/api/v1/events";

} // namespace

Device::Exchange::~Exchange()
{
    if (inFlight) {
        inFlight->end();
    }
}

Device::Device(const Options& options)
    : m_options(options)
    , m_events(static_cast<std::size_t>(std::max(0, options.eventHistory)))
    , m_state(options, m_events)
    , m_loginGate(options)
    , m_log(std::make_shared<RequestLog>(static_cast<std::size_t>(std::max(0, options.requestLog))))
    , m_mistakes(options.tellMistakes ? stderr : nullptr)
{
    for (const auto& fault : options.faults) {
        m_faults.add(fault);
    }
}

Device::Exchange Device::open(Method method, std::string_view methodName, std::string_view target,
                              std::string_view contentType, std::string_view authorization, bool isPreflight)
{
    Exchange exchange;
    exchange.method = method;
    exchange.methodName = methodName;
    exchange.contentType = contentType;
    exchange.isPreflight = isPreflight;
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
    if (!m_loginGate.isOpen() && !isPreflight) {
        exchange.verdict = m_loginGate.judge(methodName, target, authorization);
        if (!exchange.verdict.mayPass) {
            exchange.kind = Exchange::Kind::LoggedOff;
            return exchange;
        }
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
                         (!isFile(contentType, route) || (route->takesFiles && isMultipartForm(contentType)));
    return exchange;
}

Reply Device::respond(Exchange& exchange, std::string body, std::uint64_t bodySize)
{
    if (exchange.kind == Exchange::Kind::Control) {
        return controlReply(*this, exchange.method, *exchange.target, body);
    }
    if (exchange.kind == Exchange::Kind::LoggedOff) {
        Reply reply = failureReply(401, exchange.verdict.message);
        reply.challenges = std::move(exchange.verdict.challenges);
        return reply;
    }
    Reply reply = ownReply(exchange, std::move(body), bodySize);
    if (exchange.fault) {
        reply.retryAfter = exchange.fault->retryAfter.toStdString();
    }
    reply.mistake = exchange.mistake;
    return reply;
}

Reply Device::ownReply(Exchange& exchange, std::string body, std::uint64_t bodySize)
{
    const auto& fault = exchange.fault;
    if (fault && (fault->status || fault->code || !fault->body.isEmpty())) {
        return faultReply(*fault);
    }
    if (!exchange.target) {
        return failureReply(400, "malformed request target");
    }

    const Route* route = exchange.match.route;
    const bool events = exchange.target->path == eventPath;
    const bool description = exchange.target->path == openApiPath;
    const bool anywhere = exchange.method == Method::Options && exchange.target->path.empty();
    if (!events && !description && !anywhere && !m_state.serves(route)) {
        return failureReply(404, "no such resource: " + exchange.target->path);
    }
    const Verbs verbs = anywhere                ? Get | Put | Post | Delete
                        : events || description ? Verbs(Get)
                                                : route->verbs;
    if (exchange.method == Method::Options) {
        Reply reply = optionsReply(verbs);
        reply.isPreflight = exchange.isPreflight;
        return reply;
    }
    if (!(verbOf(exchange.method) & verbs)) {
        return notAllowedReply(exchange.methodName, verbs);
    }
    if (events) {
        Reply reply;
        reply.contentType = "text/event-stream";
        return reply;
    }
    if (description) {
        static const auto text = std::make_shared<const std::string>(openApiText());
        return successReply(text);
    }
    if (verbOf(exchange.method) == Get) {
        Reply reply = m_state.read(exchange.match);
        m_state.advanceProgress(*route);
        return reply;
    }
    exchange.mistake = mistakeIn(exchange, body, bodySize);
    if (!exchange.mistake.empty() && m_options.strict) {
        return failureReply(400, exchange.mistake);
    }
    return write(exchange, std::move(body), bodySize);
}

std::string Device::mistakeIn(const Exchange& exchange, std::string_view body, std::uint64_t bodySize)
{
    // Parsed, a body needs many times its size. Larger ones are tables, of which nothing is described.
    constexpr std::size_t maxBytes = 1U << 20;
    constexpr std::size_t maxText = 500;
    const Route& route = *exchange.match.route;
    if (body.empty() || body.size() > maxBytes || body.size() != bodySize ||
        isFile(exchange.contentType, &route)) {
        return {};
    }
    const auto parsed = parseJson(body);
    if (parsed.is_discarded()) {
        return {}; // which is refused in any case
    }
    auto mistakes = RequestSchemas::instance().mistakesIn(route.pattern, exchange.methodName, parsed);
    if (addressesInBody(route)) {
        const std::string missing = missingInstance(route.family, wall().count(route.family), parsed);
        if (!missing.empty()) {
            mistakes.push_back({"instance", missing});
        }
    }
    std::string text;
    for (const auto& mistake : mistakes) {
        const std::string request = exchange.methodName + ' ' + route.pattern;
        m_mistakes.note(request + mistake.kind, request + ": " + mistake.text.substr(0, maxText));
        text += (text.empty() ? "" : "; ") + mistake.text;
    }
    return text.substr(0, maxText);
}

Reply Device::write(const Exchange& exchange, std::string body, std::uint64_t bodySize)
{
    const auto& match = exchange.match;
    const Route& route = *match.route;
    if (route.value == SpecialValue::Lock) {
        return m_state.write(match, {{"locked", exchange.method == Method::Put}});
    }
    if (bodySize > 0 && isFile(exchange.contentType, &route)) {
        return m_state.writeFile(match, exchange.contentType, body, bodySize);
    }
    if (bodySize == 0 && route.coefficients) {
        return successReply(successEnvelope());
    }
    if (bodySize == 0) {
        return m_state.write(match, queryObject(exchange.target->query));
    }
    return m_state.writeJson(match, std::move(body));
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
    entry.mistake = exchange.mistake;
    m_log->add(std::move(entry));
}

SharedText Device::read(const std::string& path)
{
    const auto match = RouteTable::instance().match(splitPath(path));
    if (!m_state.serves(match.route) || !(match.route->verbs & Get)) {
        return nullptr;
    }
    const Reply reply = m_state.read(match);
    return reply.status == 200 ? reply.body : nullptr;
}

bool Device::write(const std::string& path, std::string_view text)
{
    const auto match = RouteTable::instance().match(splitPath(path));
    return m_state.serves(match.route) && m_state.writeJson(match, std::string(text)).status == 200;
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
    m_loginGate.forgetNonces();
    m_events.startAnew(); // before a client can reconnect
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
    m_state.reset();
    m_faults.clear();
    m_log->reset();
    m_mistakes.reset();
    login();
}

} // namespace Tessel::Simulator
