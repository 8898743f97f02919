// SPDX-License-Identifier: MIT
#include <simulator/http/replyhead.h>

#include <ostream> // for the header of Boost

#include <boost/beast/http/status.hpp>

#include <array>
#include <cstdio>
#include <ctime>

namespace Tessel::Simulator {
namespace {

// As RFC 9110 has it, whatever the locale.
std::string dateText(std::time_t time)
{
    static constexpr std::array days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm utc{};
    gmtime_r(&time, &utc);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  days[static_cast<std::size_t>(utc.tm_wday)], utc.tm_mday,
                  months[static_cast<std::size_t>(utc.tm_mon)], utc.tm_year + 1900, utc.tm_hour, utc.tm_min,
                  utc.tm_sec);
    return text.data();
}

// Made once a second.
const std::string& dateLine()
{
    thread_local std::time_t second = -1;
    thread_local std::string line;
    const std::time_t now = std::time(nullptr);
    if (now != second) {
        second = now;
        line = "Date: " + dateText(now) + "\r\n";
    }
    return line;
}

} // namespace

std::string commonHeaders(bool isForPages)
{
    std::string lines = dateLine();
    if (isForPages) {
        lines.append(
            "Access-Control-Allow-Origin: *\r\n"
            "Access-Control-Expose-Headers: Allow, Retry-After, Tessel-Sim-Mistake, WWW-Authenticate\r\n");
    }
    return lines;
}

std::string headOf(const Reply& reply, std::size_t length, KeepAlive keepAlive)
{
    const auto reason =
        boost::beast::http::obsolete_reason(static_cast<boost::beast::http::status>(reply.status));
    std::string head;
    head.reserve(256);
    head.append("HTTP/1.1 ").append(std::to_string(reply.status)).append(" ");
    head.append(reason.data(), reason.size()).append("\r\n");
    head.append(commonHeaders(reply.isForPages));
    if (reply.status != 204 && reply.status != 304) {
        head.append("Content-Type: ").append(reply.contentType).append("\r\n");
        head.append("Content-Length: ").append(std::to_string(length)).append("\r\n");
    }
    if (!reply.allow.empty()) {
        head.append("Allow: ").append(reply.allow).append("\r\n");
    }
    if (reply.isPreflight) {
        head.append("Access-Control-Allow-Methods: ").append(reply.allow).append("\r\n");
        head.append("Access-Control-Allow-Headers: Authorization, Content-Type, Last-Event-ID\r\n"
                    "Access-Control-Max-Age: 600\r\n");
    }
    for (const auto& challenge : reply.challenges) {
        head.append("WWW-Authenticate: ").append(challenge).append("\r\n");
    }
    if (!reply.mistake.empty()) {
        head.append("Tessel-Sim-Mistake: ").append(reply.mistake).append("\r\n");
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
