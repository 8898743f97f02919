// SPDX-License-Identifier: MIT
#include <simulator/resources/replycache.h>

namespace Tessel::Simulator {
namespace {

constexpr std::size_t maxBytes = 256U << 20;
// Per family. A client can invent any number of paths, and a small reply costs more than its text.
constexpr std::size_t maxReplies = 8192;

std::string keyOf(const Route& route, const std::string& id)
{
    return route.pattern + '\n' + id;
}

} // namespace

SharedText ReplyCache::find(const Route& route, const std::string& id) const
{
    const auto& replies = m_replies[static_cast<std::size_t>(route.family)];
    const auto found = replies.find(keyOf(route, id));
    return found == replies.end() ? nullptr : found->second;
}

void ReplyCache::insert(const Route& route, const std::string& id, SharedText reply)
{
    auto& replies = m_replies[static_cast<std::size_t>(route.family)];
    if (replies.size() >= maxReplies || m_bytes + reply->size() > maxBytes) {
        clear();
    }
    const std::size_t size = reply->size();
    if (replies.emplace(keyOf(route, id), std::move(reply)).second) {
        m_bytes += size;
    }
}

void ReplyCache::invalidate(Family family)
{
    drop(family);
    // Screens list their cabinets.
    if (family == Family::Cabinet) {
        drop(Family::Screen);
    }
}

void ReplyCache::clear()
{
    for (auto& replies : m_replies) {
        replies.clear();
    }
    m_bytes = 0;
}

void ReplyCache::drop(Family family)
{
    auto& replies = m_replies[static_cast<std::size_t>(family)];
    for (const auto& reply : replies) {
        m_bytes -= reply.second->size();
    }
    replies.clear();
}

} // namespace Tessel::Simulator
