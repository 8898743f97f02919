// SPDX-License-Identifier: MIT
#ifndef JSON_KEYTABLE_H
#define JSON_KEYTABLE_H

#include <QString>
#include <QVariant>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace JsonText {

/// Decodes the text between the quotes of a JSON string, which is UTF-8 with escapes.
/// @return `false` if an escape is invalid.
bool decodeString(std::string_view raw, QString& out);

/// Recognises the keys of JSON objects, so that objects of the same shape share their QStrings and need no
/// sorting. The containers that come out cost more than the parsing: with the table a long list is decoded in
/// two thirds of the time and the memory.
///
/// Keys form a tree: each key belongs to a scope, which is the key under which its object is found. In a
/// flattened scope the name of a key is its path from the root, elsewhere it is the key itself. Objects are
/// distinguished by numbers from start(). A table must be used by only one thread.
class KeyTable
{
public:
    using Id = std::uint32_t;

    /// The scope of an object that is flattened.
    static constexpr Id flatRoot = 1;
    /// The scope of an object as parsed.
    static constexpr Id plainRoot = 2;

    /// A value that was read but is not yet in its object's map.
    struct Entry
    {
        Id key = 0;
        QVariant value;
    };

    KeyTable();

    /// Prepares for a text of @p size bytes. The names of its flattened keys may be 16 times as long in
    /// total; otherwise a small text could exhaust the memory with paths that have a long common prefix.
    void begin(std::size_t size);
    /// Clears the table if the last text left more than is worth keeping.
    void end();

    /// Returns a number for a new object.
    std::uint64_t start() { return ++m_objects; }

    /// Finds the key whose text, after the opening quote, begins at @p raw. @p previous is the preceding key
    /// of the same object, or 0 for the first.
    /// @return 0 if an escape is invalid or the names grow too long.
    Id find(Id scope, Id previous, const char* raw, const char* textEnd)
    {
        const Id expected = previous != 0 ? m_nodes[previous].next : m_nodes[scope].first;
        if (expected != 0) {
            const Node& node = m_nodes[expected];
            if (node.plain && std::size_t(textEnd - raw) > node.rawSize && raw[node.rawSize] == '"' &&
                std::memcmp(raw, m_raw.data() + node.rawAt, node.rawSize) == 0) {
                return expected;
            }
        }
        const Id found = search(scope, raw);
        (previous != 0 ? m_nodes[previous].next : m_nodes[scope].first) = found;
        return found;
    }

    /// Records that @p key occurs in @p object, with its values beginning at @p position.
    /// @return whether it has occurred in it before.
    bool occurs(Id key, std::uint64_t object, std::size_t position)
    {
        Node& node = m_nodes[key];
        const bool again = node.object == object;
        node.object = object;
        node.validFrom = position;
        return again;
    }

    /// Moves the entries from @p first on, which form an object in @p scope, into a map. With @p repeated,
    /// entries whose key or an outer key occurred again later are left out.
    QVariantMap take(Id scope, std::vector<Entry>& entries, std::size_t first, bool repeated);

private:
    struct Node
    {
        QString name;
        std::uint64_t object = 0;  // the last object in which the key occurred
        std::size_t validFrom = 0; // where its last occurrence in it begins
        std::size_t rawAt = 0;
        std::uint32_t rawSize = 0;
        std::uint32_t hash = 0;
        Id scope = 0;
        Id first = 0; // the first key of the last object in this scope
        Id next = 0;  // the key that last followed this one
        std::uint32_t shape = 0;
        bool flat = false;
        bool plain = false; // the raw text is the key, without escapes
    };
    // The keys of the last object in a scope.
    struct Shape
    {
        std::vector<Id> keys;
        std::vector<std::uint32_t> order; // sorted by name; only the last one of keys with the same name
        QVariantMap blank;                // the names without values, once the shape has occurred twice
    };

    Id search(Id scope, const char* raw);
    void grow();
    std::uint32_t hash(Id scope, std::string_view raw) const;
    bool isValid(Id key, std::uint64_t object, std::size_t position) const;
    Shape& shapeOf(Id scope, const std::vector<Entry>& entries, std::size_t first);

    std::vector<Node> m_nodes; // 0 is no key
    std::vector<Id> m_slots;   // open addressing, a power of two
    std::vector<Shape> m_shapes;
    std::string m_raw;
    std::uint64_t m_objects = 0;
    std::uint64_t m_secret;
    std::size_t m_nameLength = 0; // total length of all names
    std::size_t m_nameLimit = 0;  // its limit for the current text
};

} // namespace JsonText

#endif
