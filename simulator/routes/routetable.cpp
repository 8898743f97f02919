// SPDX-License-Identifier: MIT
#include <simulator/routes/routetable.h>

#include <simulator/routes/routerules.h>
#include <tessel/allurlresource.h>

#include <unordered_map>

namespace Tessel::Simulator {

struct RouteTable::Node
{
    std::unordered_map<std::string, std::unique_ptr<Node>> literals;
    std::unique_ptr<Node> placeholder;
    const Route* route = nullptr;
};

std::vector<std::string> splitPath(std::string_view path)
{
    std::vector<std::string> segments;
    while (!path.empty()) {
        path.remove_prefix(1);
        const auto end = path.find('/');
        segments.emplace_back(path.substr(0, end));
        path.remove_prefix(end == std::string_view::npos ? path.size() : end);
    }
    return segments;
}

const RouteTable& RouteTable::instance()
{
    static const RouteTable table;
    return table;
}

RouteTable::RouteTable()
    : m_root(std::make_unique<Node>())
{
    std::map<std::string, std::vector<std::string>> keysOfPath;
    const auto urls = AllUrlResource::getInstance()->getMapAllUrl();
    for (auto it = urls.cbegin(); it != urls.cend(); ++it) {
        keysOfPath[it.value().toStdString()].push_back(it.key().toStdString());
    }

    for (const auto& [path, keys] : keysOfPath) {
        Route& route = m_routes.emplace_back();
        route.pattern = path;
        route.keys = keys;
        applyRouteRules(route);
        Node* node = m_root.get();
        for (const auto& segment : splitPath(path)) {
            auto& next = segment.front() == '{' ? node->placeholder : node->literals[segment];
            if (!next) {
                next = std::make_unique<Node>();
            }
            node = next.get();
        }
        node->route = &route;
    }
}

RouteTable::~RouteTable() = default;

RouteTable::Match RouteTable::match(const std::vector<std::string>& segments) const
{
    Match match;
    match.route = descend(*m_root, segments, 0, match.values);
    return match;
}

const Route* RouteTable::descend(const Node& node, const std::vector<std::string>& segments,
                                 std::size_t depth, std::vector<std::string>& values) const
{
    if (depth == segments.size()) {
        return node.route;
    }
    const auto literal = node.literals.find(segments[depth]);
    if (literal != node.literals.end()) {
        if (const Route* route = descend(*literal->second, segments, depth + 1, values)) {
            return route;
        }
    }
    // Quirk: The path of the hardware mode ends in a blank. Some clients trim it.
    const auto blank =
        depth + 1 == segments.size() ? node.literals.find(segments[depth] + ' ') : node.literals.end();
    if (blank != node.literals.end()) {
        return blank->second->route;
    }
    if (!node.placeholder || segments[depth].empty()) {
        return nullptr;
    }
    values.push_back(segments[depth]);
    if (const Route* route = descend(*node.placeholder, segments, depth + 1, values)) {
        return route;
    }
    values.pop_back();
    return nullptr;
}

} // namespace Tessel::Simulator
