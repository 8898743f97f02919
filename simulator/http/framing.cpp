// SPDX-License-Identifier: MIT
#include <simulator/http/framing.h>

#include <boost/beast/core/string.hpp>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Letters, digits and what else a host, an address and a port are made of.
bool isHostCharacter(char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           std::string_view("-._~%!$&'()*+;=:[]").find(c) != std::string_view::npos;
}

} // namespace

const char* framingMistake(const http::request_header<>& head)
{
    const auto codings = head.count(http::field::transfer_encoding);
    const auto lengths = head.count(http::field::content_length);
    if (codings > 0) {
        if (head.version() < 11) {
            return "HTTP/1.0 has no Transfer-Encoding";
        }
        if (lengths > 0) {
            return "a request has either a Content-Length or a Transfer-Encoding";
        }
        if (codings > 1 || !beast::iequals(head[http::field::transfer_encoding], "chunked")) {
            return "Transfer-Encoding must be chunked and nothing else";
        }
    }
    if (lengths > 1) {
        return "a request has one Content-Length at most";
    }
    const auto length = head[http::field::content_length];
    if (!std::all_of(length.begin(), length.end(), isDigit)) {
        return "Content-Length must be a number";
    }
    const auto hosts = head.count(http::field::host);
    if (hosts > 1 || (hosts == 0 && head.version() >= 11)) {
        return "a request needs exactly one Host";
    }
    const auto host = head[http::field::host];
    if (!std::all_of(host.begin(), host.end(), isHostCharacter)) {
        return "Host must be a host with or without a port";
    }
    if (head.count(http::field::authorization) > 1) {
        return "a request has one Authorization at most";
    }
    return nullptr;
}

const char* lineMistake(std::string_view text)
{
    return text.find("\n ") == std::string_view::npos && text.find("\n\t") == std::string_view::npos
               ? nullptr
               : "a header must be on one line";
}

} // namespace Tessel::Simulator
