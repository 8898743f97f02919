// SPDX-License-Identifier: MIT
#include <simulator/resources/collection.h>

#include <simulator/resources/addressing.h>
#include <simulator/text/jsontools.h>

#include <algorithm>

namespace Tessel::Simulator {

using nlohmann::json;

Collection::Collection(std::size_t count, std::string idMember, Maker make)
    : m_count(count)
    , m_idMember(std::move(idMember))
    , m_make(std::move(make))
    , m_writtenToAll(json::object())
    , m_texts(count)
{}

bool Collection::fits(const json& written, const json& patch) const
{
    // The limit for all records together; each record gets an equal share.
    constexpr std::size_t limit = 256U << 20;
    return footprint(written) + footprint(patch) <= limit / std::max<std::size_t>(m_count, 1);
}

std::optional<std::size_t> Collection::indexOf(std::string_view id) const
{
    return indexOfId(id, m_count);
}

json Collection::record(std::size_t index) const
{
    json result = m_make(index);
    mergeInto(result, m_writtenToAll);
    const auto it = m_written.find(index);
    if (it != m_written.end()) {
        mergeInto(result, it->second);
    }
    return result;
}

const std::string& Collection::text(std::size_t index)
{
    auto& text = m_texts[index];
    if (text.empty()) {
        text = record(index).dump();
    }
    return text;
}

bool Collection::merge(std::size_t index, const json& members)
{
    const json before = record(index);
    json patch = members;
    patch.erase(m_idMember);
    json after = before;
    mergeInto(after, patch);
    if (before == after) {
        return false;
    }
    auto& written = m_written.emplace(index, json::object()).first->second;
    if (!fits(written, patch)) {
        return false;
    }
    mergeInto(written, patch);
    m_texts[index].clear();
    return true;
}

bool Collection::mergeAll(const json& members)
{
    json patch = members;
    patch.erase(m_idMember);
    bool changed = false;
    const auto mergeChecked = [&](json& target) {
        if (!fits(target, patch)) {
            return;
        }
        const json before = target;
        mergeInto(target, patch);
        changed = changed || before != target;
    };
    mergeChecked(m_writtenToAll);
    for (auto& entry : m_written) {
        mergeChecked(entry.second);
    }
    if (changed) {
        m_texts.assign(m_count, {});
    }
    return changed;
}

} // namespace Tessel::Simulator
