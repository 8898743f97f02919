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

/// The text between the quotes of a JSON string, UTF-8 with escapes. @return `false` on a wrong escape.
bool decodeString(std::string_view raw, QString& out);

/// Knows the keys of JSON objects again, so that objects of the same shape share their QStrings and need no
/// sorting. The containers that come out cost more than the parsing: with the table a long list is decoded in
/// two thirds of the time and the memory.
///
/// Keys form a tree: a key belongs to a scope, which is the key that the object stands under. In a flattened
/// scope the name of a key is its path from the root, elsewhere the key itself. An object is told from the
/// next by its number, which start() gives out. A table is used by one thread.
class KeyTable
{
public:
    using Id = std::uint32_t;

    /// The scope of an object that is flattened.
    static constexpr Id flatRoot = 1;
    /// The scope of an object as parsed.
    static constexpr Id plainRoot = 2;

    /// A value that was read, before it goes into the object's map.
    struct Entry
    {
        Id key;
        QVariant value;
    };

    KeyTable();

    /// Prepares for a text of @p size bytes. The names of its flattened keys may be 16 times as long in all:
    /// paths with a long common start could otherwise fill the memory from a small text.
    void begin(std::size_t size);
    /// Forgets everything if the last text left more than is worth keeping.
    void end();

    /// A number that no object had before.
    std::uint64_t start() { return ++m_objects; }

    /// The key that starts behind the quote at @p raw; @p next is moved behind its closing quote. @p previous
    /// is the key before it in the same object, 0 at the first. @return 0 on a wrong escape or when the names
    /// grow too long.
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

    /// Notes that @p key occurs in @p object with its values from @p position on. @return whether it occurred
    /// before.
    bool occurs(Id key, std::uint64_t object, std::size_t position)
    {
        Node& node = m_nodes[key];
        const bool again = node.object == object;
        node.object = object;
        node.validFrom = position;
        return again;
    }

    /// Moves the entries from @p first on, which are an object in @p scope, into a map. With @p repeated,
    /// entries whose key or an outer key occurred again are left out.
    QVariantMap take(Id scope, std::vector<Entry>& entries, std::size_t first, bool repeated);

private:
    struct Node
    {
        QString name;
        std::uint64_t object = 0;  // the last object in which the key occurred,
        std::size_t validFrom = 0; // and where its last occurrence starts
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
        std::vector<std::uint32_t> order; // by name; of keys with the same name the last one alone
        QVariantMap blank;                // the names without values, once the shape came twice
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
    std::size_t m_nameLength = 0; // of all names together
    std::size_t m_nameLimit = 0;  // what it may reach with the current text
};

} // namespace JsonText

#endif
