// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_REPLYCACHE_H
#define SIMULATOR_RESOURCES_REPLYCACHE_H

#include <simulator/routes/route.h>
#include <simulator/text/envelope.h>

#include <array>
#include <cstddef>
#include <string>
#include <unordered_map>

namespace Tessel::Simulator {

/// Replies that were made before, kept until something of their family is written: most requests read lists
/// that nobody has changed. Starts anew when it holds too much. Not thread-safe.
class ReplyCache
{
public:
    /// Null when the reply is not kept.
    SharedText find(const Route& route, const std::string& id) const;
    void insert(const Route& route, const std::string& id, SharedText reply);
    /// Forgets the replies of a family, and of those that show it.
    void invalidate(Family family);
    void clear();

private:
    using Replies = std::unordered_map<std::string, SharedText>;

    void drop(Family family);

    std::array<Replies, familyCount> m_replies;
    std::size_t m_bytes = 0;
};

} // namespace Tessel::Simulator

#endif
