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

/// Caches generated replies until a resource of the same family is written, since most requests read
/// unchanged lists. Cleared when it grows too large. Not thread-safe.
class ReplyCache
{
public:
    /// Null if the reply is not cached.
    SharedText find(const Route& route, const std::string& id) const;
    void insert(const Route& route, const std::string& id, SharedText reply);
    /// Drops the replies of a family and of the families that include its data.
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
