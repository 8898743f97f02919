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

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// RFC 9110, "Tokens"
bool isTokenCharacter(char c)
{
    return isDigit(c) || isLetter(c) || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isText(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= ' ' && byte != 0x7F) || c == '\t';
}

// Letters, digits and what else a host, an address and a port are made of.
bool isHostCharacter(char c)
{
    return isDigit(c) || isLetter(c) ||
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

const char* lineMistake(std::string_view head)
{
    return head.find("\n ") == std::string_view::npos && head.find("\n\t") == std::string_view::npos
               ? nullptr
               : "a header must be on one line";
}

HeadScan::Found HeadScan::scan(std::string_view text)
{
    while (m_length < text.size() && m_at != At::End && m_at != At::Mistake) {
        const At before = m_at;
        m_at = next(text[m_length]);
        ++m_length;
        m_begin = m_at == before ? m_begin : m_length;
    }
    return m_at == At::End ? Found::End : m_at == At::Mistake ? Found::Mistake : Found::Nothing;
}

HeadScan::At HeadScan::next(char c)
{
    const bool isFirst = m_length == m_begin;
    const auto only = [c](char expected, At then) { return c == expected ? then : At::Mistake; };
    switch (m_at) {
    case At::Method:
        return isTokenCharacter(c) ? At::Method : isFirst ? At::Mistake : only(' ', At::Target);
    case At::Target:
        return c == ' ' && !isFirst ? At::Version : c != ' ' && isText(c) ? At::Target : At::Mistake;
    case At::Version:
        return version(c);
    case At::LineFeed:
        return only('\n', At::LineBegin);
    case At::LineBegin:
        // A line that continues the one before is told apart when the head is whole.
        return c == '\r'             ? At::LastFeed
               : isTokenCharacter(c) ? At::Name
               : isBlank(c)          ? At::Value
                                     : At::Mistake;
    case At::Name:
        return isTokenCharacter(c) ? At::Name : only(':', At::Value);
    case At::Value:
        return isText(c) ? At::Value : only('\r', At::LineFeed);
    case At::LastFeed:
        return only('\n', At::End);
    case At::End:
    case At::Mistake:
        break;
    }
    return m_at;
}

HeadScan::At HeadScan::version(char c)
{
    constexpr std::string_view versions[] = {"HTTP/1.0\r", "HTTP/1.1\r"};
    const std::size_t at = m_length - m_begin;
    for (const std::string_view version : versions) {
        if (version[at] == c) {
            return at + 1 == version.size() ? At::LineFeed : At::Version;
        }
    }
    return At::Mistake;
}

} // namespace Tessel::Simulator
