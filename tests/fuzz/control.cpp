// SPDX-License-Identifier: MIT
//
// A controller without its network. The input has one request after the other, separated by zeros: a line
// with method and target, then the body.
#include "simulator/device/device.h"

#include "fuzzing.h"
#include "simulator/device/eventhub.h"

#include <simulator/faultscript.h>

#include <nlohmann/json.hpp>

using namespace Tessel::Simulator;
using nlohmann::json;

namespace {

Options options()
{
    Options options;
    options.control = true;
    options.screens = 1;
    options.cabinets = 2;
    options.inputs = 2;
    options.eventHistory = 8;
    options.requestLog = 4;
    options.coefficientLimit = 4096;
    options.login = Login::None;
    return options;
}

Method methodOf(const std::string& name)
{
    static const std::pair<const char*, Method> methods[] = {
        {"GET", Method::Get},   {"HEAD", Method::Head},     {"PUT", Method::Put},
        {"POST", Method::Post}, {"DELETE", Method::Delete}, {"OPTIONS", Method::Options}};
    for (const auto& [known, method] : methods) {
        if (name == known) {
            return method;
        }
    }
    return Method::Other;
}

json parsed(const SharedText& text)
{
    return text ? json::parse(*text, nullptr, false) : json();
}

struct Request
{
    std::string method;
    std::string target;
    std::string contentType;
    std::string body;
};

Reply send(Device& device, const Request& request)
{
    Device::Exchange exchange = device.open(methodOf(request.method), request.method, request.target,
                                            request.contentType, std::string_view());
    if (exchange.kind == Device::Exchange::Kind::Refused) {
        return Reply{};
    }
    const bool isScripted = exchange.fault.has_value();
    const bool isStream = exchange.kind == Device::Exchange::Kind::EventStream;
    Reply reply = device.respond(exchange, request.body, request.body.size());
    device.log(exchange, request.body, request.body.size(), reply.status);
    FUZZ_EXPECT(reply.status >= 200 && reply.status <= 599);
    // A header that a script sets is one line.
    FUZZ_EXPECT(reply.retryAfter.find_first_of("\r\n") == std::string::npos);
    FUZZ_EXPECT(reply.allow.find_first_of("\r\n") == std::string::npos);
    if (!isScripted && !isStream && reply.body && !reply.body->empty()) {
        const json envelope = parsed(reply.body);
        FUZZ_EXPECT(envelope.is_object() && envelope.contains("code") && envelope.contains("message"));
        FUZZ_EXPECT((reply.status == 200) == (envelope["code"] == 0));
        FUZZ_EXPECT(reply.status < 500 || reply.status == 507);
    }
    return reply;
}

void expectFaultsAreListed(Device& device)
{
    const Reply listed = send(device, {"GET", "/sim/faults", {}, {}});
    FUZZ_EXPECT(listed.status == 200);
    const json list = parsed(listed.body)["data"];
    FUZZ_EXPECT(list.is_array() && list.size() >= device.faults().waiting().size());
    FUZZ_EXPECT(list.size() <= FaultScripts::maxWaiting);
    for (const Fault& fault : device.faults().waiting()) {
        const QByteArray script = faultToJson(fault);
        QString error;
        const QList<Fault> again = faultsFromJson(script, &error);
        FUZZ_EXPECT(again.size() == 1 && faultToJson(again.first()) == script);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static Device device(options());
    device.reset();
    device.events().forget();
    device.events().setMemory(8);
    Fuzzing::Input input(bytes, size);
    for (int count = 0; !input.isEmpty() && count < 16; ++count) {
        const QByteArray text = input.until('\0');
        const QByteArray line = text.left(text.indexOf('\n'));
        const QList<QByteArray> words = line.split(' ');
        Request request;
        request.method = words.value(0).toStdString();
        request.target = words.value(1).toStdString();
        request.contentType = words.value(2).toStdString();
        request.body = text.mid(line.size() + 1).toStdString();
        const Reply reply = send(device, request);

        // What was written can be read.
        if (reply.status == 200 && request.method == "PUT") {
            send(device, {"GET", request.target, {}, {}});
        }
        FUZZ_EXPECT(device.requests().entries().size() <= 4);
        FUZZ_EXPECT(device.requests().counts().inFlight == 0);
    }
    expectFaultsAreListed(device);
    // A device that was reset is as new.
    device.reset();
    const Reply whole = send(device, {"GET", "/api/v1/device/hw", {}, {}});
    FUZZ_EXPECT(whole.status == 200);
    static const std::string first = *whole.body;
    FUZZ_EXPECT(*whole.body == first);
    return 0;
}
