// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_ROUTETABLE_H
#define SIMULATOR_ROUTES_ROUTETABLE_H

#include <simulator/routes/route.h>

#include <deque>
#include <map>
#include <memory>
#include <string_view>

namespace Tessel::Simulator {

/// Finds the route of a path. Immutable once built, so any thread may use it.
class RouteTable
{
public:
    /// A route and the values of its placeholders, in order.
    struct Match
    {
        const Route* route = nullptr;
        std::vector<std::string> values;
    };

    /// The table of the device API, built on first use.
    static const RouteTable& instance();

    RouteTable(const RouteTable&) = delete;
    RouteTable& operator=(const RouteTable&) = delete;
    ~RouteTable();

    /// Matches decoded path segments; literal segments take precedence over placeholders.
    Match match(const std::vector<std::string>& segments) const;
    const std::deque<Route>& routes() const { return m_routes; }

private:
    struct Node;

    RouteTable();
    const Route* descend(const Node& node, const std::vector<std::string>& segments, std::size_t depth,
                         std::vector<std::string>& values) const;

    std::deque<Route> m_routes;
    std::unique_ptr<Node> m_root;
};

/// The segments of a path: "/a/b" has the segments "a" and "b".
std::vector<std::string> splitPath(std::string_view path);

} // namespace Tessel::Simulator

#endif
