// SPDX-License-Identifier: MIT
#include <simulator/multipartform.h>

#include <simulator/texttools.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

constexpr std::string_view lineEnd = "\r\n";
// A form of empty parts would grow many times its size.
constexpr std::size_t maxParts = 1000;

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t");
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

// The value of the parameter @p name in a header such as `form-data; name="a"; filename="b"`.
std::string parameter(std::string_view header, std::string_view name)
{
    std::size_t at = header.find(';');
    while (at != header.npos) {
        header = trimmed(header.substr(at + 1));
        const bool found = startsWithNoCase(header, name) && header.substr(name.size(), 1) == "=";
        const std::size_t begin = found ? name.size() + 1 : std::min(header.find('='), header.size() - 1) + 1;
        std::string value;
        std::size_t end = begin;
        if (header.substr(begin, 1) == "\"") {
            for (end = begin + 1; end < header.size() && header[end] != '"'; ++end) {
                if (header[end] == '\\' && end + 1 < header.size())
                    ++end;
                value += header[end];
            }
        } else {
            end = std::min(header.find(';', begin), header.size());
            value = trimmed(header.substr(begin, end - begin));
        }
        if (found)
            return value;
        at = header.find(';', end);
    }
    return {};
}

void readHeader(std::string_view line, FormPart& part)
{
    const auto colon = line.find(':');
    if (colon == line.npos)
        return;
    const auto value = trimmed(line.substr(colon + 1));
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
    if (boundary.empty() || boundary.size() > 70) // RFC 2046, 5.1.1
        return std::nullopt;
    const std::string delimiter = "\r\n--" + boundary;
    // The first delimiter may begin the body.
    auto at =
        startsWith(body, std::string_view(delimiter).substr(2)) ? delimiter.size() - 2 : body.find(delimiter);
    if (at == body.npos)
        return std::nullopt;
    if (at != delimiter.size() - 2)
        at += delimiter.size();
    std::vector<FormPart> parts;
    while (!startsWith(body.substr(at), "--")) {
        at = body.find(lineEnd, at);
        if (at == body.npos || parts.size() == maxParts)
            return std::nullopt;
        at += lineEnd.size();
        FormPart part;
        for (auto end = body.find(lineEnd, at); end != at; end = body.find(lineEnd, at)) {
            if (end == body.npos)
                return std::nullopt;
            readHeader(body.substr(at, end - at), part);
            at = end + lineEnd.size();
        }
        const auto content = at + lineEnd.size();
        // The line break before a delimiter belongs to it, also where the content is empty.
        const auto end = body.find(delimiter, at);
        if (end == body.npos)
            return std::nullopt;
        part.content = end < content ? std::string_view() : body.substr(content, end - content);
        parts.push_back(std::move(part));
        at = end + delimiter.size();
    }
    return parts;
}

} // namespace Tessel::Simulator
