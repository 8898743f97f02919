// SPDX-License-Identifier: MIT
#include <simulator/http/replyscript.h>

namespace Tessel::Simulator {
namespace {

constexpr std::size_t missingBytes = 16;

std::size_t announced(Fault::Cut cut, std::size_t size)
{
    switch (cut) {
    case Fault::Cut::LongLength:
        return size + missingBytes;
    case Fault::Cut::ShortLength:
        return size / 2;
    default:
        return size;
    }
}

// The connection ends with such a reply.
bool endsConnection(Fault::Cut cut)
{
    return cut == Fault::Cut::Truncate || cut == Fault::Cut::HalfHead || cut == Fault::Cut::Reset;
}

std::string unasked(int status, KeepAlive keepAlive)
{
    const Reply reply = failureReply(status, "nobody has asked for this reply");
    return headOf(reply, reply.body->size(), keepAlive) + *reply.body;
}

} // namespace

bool needsScript(Fault::Cut cut)
{
    switch (cut) {
    case Fault::Cut::None:
    case Fault::Cut::Close:
    case Fault::Cut::Stall:
    case Fault::Cut::End:
        return false;
    default:
        return true;
    }
}

ReplyScript scriptFor(const Fault& fault, const Reply& reply, bool headOnly, KeepAlive keepAlive)
{
    const std::size_t size = reply.body ? reply.body->size() : 0;
    const std::string head =
        headOf(reply, announced(fault.cut, size), endsConnection(fault.cut) ? KeepAlive::No : keepAlive);
    const bool hasBody = !headOnly && size > 0 && reply.status != 204 && reply.status != 304;
    ReplyScript script;
    script.bytes = hasBody ? head + *reply.body : head;
    script.first = script.bytes.size();
    script.step = script.bytes.size();
    script.pause = std::chrono::milliseconds(fault.pause);
    switch (fault.cut) {
    case Fault::Cut::Truncate:
    case Fault::Cut::Reset:
        script.first = head.size() + (hasBody ? size / 2 : 0);
        script.bytes.resize(script.first);
        script.end = fault.cut == Fault::Cut::Reset ? ReplyScript::End::Reset : ReplyScript::End::Close;
        break;
    case Fault::Cut::HalfHead:
        script.first = head.size() / 2;
        script.bytes.resize(script.first);
        script.end = ReplyScript::End::Close;
        break;
    case Fault::Cut::LateBody:
        script.first = head.size();
        break;
    case Fault::Cut::Drip:
        script.first = 1;
        script.step = 1;
        break;
    case Fault::Cut::Surplus:
        script.bytes += unasked(418, KeepAlive::Implied);
        script.first = script.bytes.size();
        break;
    case Fault::Cut::IdleNotice:
        script.notice = unasked(408, KeepAlive::No);
        break;
    default:
        break;
    }
    return script;
}

} // namespace Tessel::Simulator
