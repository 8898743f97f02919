// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_KEPTLIST_H
#define COMMUNICATOR_HTTP_KEPTLIST_H

#include <algorithm>
#include <functional>
#include <list>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// Values kept for reuse, found by key and by age, such as idle connections by device. Keys are only hashed
/// and compared, so a key may be a pointer to an object that the value keeps alive. Not thread-safe.
template <class Key, class Value, class Hash = std::hash<Key>>
class KeptList
{
public:
    size_t size() const { return m_entries.size(); }
    size_t count(const Key& key) const
    {
        const auto found = m_byKey.find(key);
        return found == m_byKey.end() ? 0 : found->second.size();
    }

    void add(const Key& key, Value value)
    {
        std::list<Entry> added;
        added.push_back({key, std::move(value)});
        const auto ofKey = m_byKey.try_emplace(key).first;
        try {
            ofKey->second.push_back(added.begin());
        } catch (...) {
            if (ofKey->second.empty()) {
                m_byKey.erase(ofKey);
            }
            throw;
        }
        m_entries.splice(m_entries.end(), added);
    }

    /// Removes and returns the newest value of @p key, which is the least likely to be stale; an empty value
    /// if there is none.
    Value takeNewest(const Key& key)
    {
        const auto found = m_byKey.find(key);
        return found == m_byKey.end() ? Value() : takeOut(found->second.back());
    }

    /// Removes and returns the oldest value of all keys. The list must not be empty.
    Value takeOldest() { return takeOut(m_entries.begin()); }
    /// Removes and returns the oldest value of @p key, which must have one.
    Value takeOldest(const Key& key) { return takeOut(m_byKey.at(key).front()); }

    /// Removes and returns all values for which @p matches returns true.
    template <class Predicate>
    std::vector<Value> takeIf(Predicate matches)
    {
        std::vector<Value> taken;
        for (Iterator entry = m_entries.begin(); entry != m_entries.end();) {
            const Iterator next = std::next(entry);
            if (matches(std::as_const(entry->value))) {
                taken.push_back(takeOut(entry));
            }
            entry = next;
        }
        return taken;
    }

private:
    struct Entry
    {
        Key key;
        Value value;
    };
    using Iterator = typename std::list<Entry>::iterator;

    Value takeOut(Iterator entry)
    {
        const auto ofKey = m_byKey.find(entry->key);
        ofKey->second.erase(std::find(ofKey->second.begin(), ofKey->second.end(), entry));
        if (ofKey->second.empty()) {
            m_byKey.erase(ofKey);
        }
        Value value = std::move(entry->value);
        m_entries.erase(entry);
        return value;
    }

    std::list<Entry> m_entries;                                   ///< the oldest first
    std::unordered_map<Key, std::vector<Iterator>, Hash> m_byKey; ///< the oldest first, never empty
};

} // namespace Krelm::Communicator::HttpDevice

#endif
