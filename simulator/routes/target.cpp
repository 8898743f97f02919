// SPDX-License-Identifier: MIT
#include <simulator/routes/target.h>

#include <simulator/routes/routetable.h>

namespace Tessel::Simulator {
namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

bool decode(std::string& text, bool plusIsBlank)
{
    std::size_t out = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            const int high = i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
            const int low = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
            if (high < 0 || low < 0) {
                return false;
            }
            c = static_cast<char>(high * 16 + low);
            i += 2;
        } else if (c == '+' && plusIsBlank) {
            c = ' ';
        }
        text[out++] = c;
    }
    text.resize(out);
    return true;
}

} // namespace

std::optional<Target> parseTarget(std::string_view target)
{
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (target.substr(0, scheme.size()) == scheme) {
            const auto slash = target.find('/', scheme.size());
            target = slash == std::string_view::npos ? "/" : target.substr(slash);
            break;
        }
    }
    if (target.empty() || target.front() != '/') {
        return std::nullopt;
    }
    Target result;
    const auto mark = target.find('?');
    if (mark != std::string_view::npos) {
        result.query = target.substr(mark + 1);
        target = target.substr(0, mark);
    }
    result.segments = splitPath(target);
    if (result.segments.size() > 1 && result.segments.back().empty()) {
        result.segments.pop_back(); // with and without a slash at the end it is the same resource
    }
    for (auto& segment : result.segments) {
        if (!decode(segment, false)) {
            return std::nullopt;
        }
        result.path.append("/").append(segment);
    }
    return result;
}

std::vector<std::pair<std::string, std::string>> parseQuery(std::string_view query)
{
    std::vector<std::pair<std::string, std::string>> parameters;
    while (!query.empty()) {
        const auto end = query.find('&');
        const auto part = query.substr(0, end);
        const auto equals = part.find('=');
        std::string name(part.substr(0, equals));
        std::string value(equals == std::string_view::npos ? std::string_view() : part.substr(equals + 1));
        if (!name.empty() && decode(name, true) && decode(value, true)) {
            parameters.emplace_back(std::move(name), std::move(value));
        }
        query.remove_prefix(end == std::string_view::npos ? query.size() : end + 1);
    }
    return parameters;
}

} // namespace Tessel::Simulator
