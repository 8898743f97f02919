// SPDX-License-Identifier: MIT
#include <simulator/http/replyhead.h>

#include <ostream> // for the header of Boost

#include <boost/beast/http/status.hpp>

namespace Tessel::Simulator {

std::string headOf(const Reply& reply, std::size_t length, KeepAlive keepAlive)
{
    const auto reason =
        boost::beast::http::obsolete_reason(static_cast<boost::beast::http::status>(reply.status));
    std::string head;
    head.reserve(160);
    head.append("HTTP/1.1 ").append(std::to_string(reply.status)).append(" ");
    head.append(reason.data(), reason.size()).append("\r\n");
    if (reply.status != 204 && reply.status != 304) {
        head.append("Content-Type: ").append(reply.contentType).append("\r\n");
        head.append("Content-Length: ").append(std::to_string(length)).append("\r\n");
    }
    if (!reply.allow.empty()) {
        head.append("Allow: ").append(reply.allow).append("\r\n");
    }
    for (const auto& challenge : reply.challenges) {
        head.append("WWW-Authenticate: ").append(challenge).append("\r\n");
    }
    if (!reply.retryAfter.empty()) {
        head.append("Retry-After: ").append(reply.retryAfter).append("\r\n");
    }
    if (keepAlive == KeepAlive::No) {
        head.append("Connection: close\r\n");
    } else if (keepAlive == KeepAlive::Told) {
        head.append("Connection: keep-alive\r\n");
    }
    return head.append("\r\n");
}

} // namespace Tessel::Simulator
