// SPDX-License-Identifier: MIT
#include <simulator/device/reply.h>

namespace Tessel::Simulator {
namespace {

std::string allowed(Verbs verbs)
{
    std::string text = (verbs & Get) ? "GET, HEAD, " : "";
    text += (verbs & Put) ? "PUT, " : "";
    text += (verbs & Post) ? "POST, " : "";
    text += (verbs & Delete) ? "DELETE, " : "";
    return text + "OPTIONS";
}

} // namespace

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

Reply successReply(SharedText body)
{
    Reply reply;
    reply.body = std::move(body);
    return reply;
}

Reply failureReply(int status, std::string_view message)
{
    Reply reply;
    reply.status = status;
    reply.body = envelope(status, message);
    return reply;
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

Reply optionsReply(Verbs verbs)
{
    Reply reply;
    reply.status = 204;
    reply.allow = allowed(verbs);
    return reply;
}

Reply notAllowedReply(const std::string& method, Verbs verbs)
{
    Reply reply = failureReply(405, method + " is not allowed here");
    reply.allow = allowed(verbs);
    return reply;
}

} // namespace Tessel::Simulator
