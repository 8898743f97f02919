// SPDX-License-Identifier: MIT
#include <simulator/text/multipartform.h>

#include <simulator/text/texttools.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view blanks = " \t";
// A form of empty parts would need many times its size.
constexpr std::size_t maxParts = 1000;

// Reads the value, quoted or not, that begins at @p at, and moves @p at past it.
std::string readValue(std::string_view header, std::size_t& at)
{
    if (header.substr(at, 1) != "\"") {
        const auto begin = at;
        at = std::min(header.find(';', begin), header.size());
        return std::string(trimmed(header.substr(begin, at - begin), blanks));
    }
    std::string value;
    for (++at; at < header.size() && header[at] != '"'; ++at) {
        if (header[at] == '\\' && at + 1 < header.size()) {
            ++at;
        }
        value += header[at];
    }
    return value;
}

// The value of the parameter @p name in a header such as `form-data; name="a"; filename="b"`.
std::string parameter(std::string_view header, std::string_view name)
{
    std::size_t at = 0;
    while (at != header.npos && (at = header.find(';', at)) != header.npos) {
        const auto begin = std::min(header.find_first_not_of(blanks, at + 1), header.size());
        at = header.find_first_of("=;", begin);
        if (at == header.npos || header[at] == ';') {
            continue;
        }
        const bool named = at - begin == name.size() && startsWithNoCase(header.substr(begin), name);
        std::string value = readValue(header, ++at);
        if (named) {
            return value;
        }
    }
    return {};
}

void readHeader(std::string_view line, FormPart& part)
{
    const auto colon = line.find(':');
    if (colon == line.npos) {
        return;
    }
    const auto value = trimmed(line.substr(colon + 1), blanks);
    if (startsWithNoCase(line, "content-disposition:")) {
        part.name = parameter(value, "name");
        part.fileName = parameter(value, "filename");
    } else if (startsWithNoCase(line, "content-type:")) {
        part.contentType = value;
    }
}

} // namespace

bool isMultipartForm(std::string_view contentType)
{
    return startsWithNoCase(contentType, "multipart/form-data");
}

std::optional<std::vector<FormPart>> formParts(std::string_view contentType, std::string_view body)
{
    const std::string boundary = parameter(contentType, "boundary");
    if (boundary.empty() || boundary.size() > 70) { // RFC 2046
        return std::nullopt;
    }
    const std::string delimiter = "\r\n--" + boundary;
    std::size_t at = delimiter.size() - lineEnd.size();
    // Without a preamble the line break of the first delimiter is missing.
    if (body.substr(0, at) != std::string_view(delimiter).substr(lineEnd.size())) {
        const auto first = body.find(delimiter);
        if (first == body.npos) {
            return std::nullopt;
        }
        at = first + delimiter.size();
    }
    std::vector<FormPart> parts;
    while (!startsWith(body.substr(at), "--")) {
        at = body.find(lineEnd, at);
        if (at == body.npos || parts.size() == maxParts) {
            return std::nullopt;
        }
        at += lineEnd.size();
        FormPart part;
        for (auto end = body.find(lineEnd, at); end != at; end = body.find(lineEnd, at)) {
            if (end == body.npos) {
                return std::nullopt;
            }
            readHeader(body.substr(at, end - at), part);
            at = end + lineEnd.size();
        }
        const auto content = at + lineEnd.size();
        // The line break before a delimiter belongs to it, even if the content is empty.
        const auto end = body.find(delimiter, at);
        if (end == body.npos) {
            return std::nullopt;
        }
        part.content = end < content ? std::string_view() : body.substr(content, end - content);
        parts.push_back(std::move(part));
        at = end + delimiter.size();
    }
    return parts;
}

} // namespace Tessel::Simulator
