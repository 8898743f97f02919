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

/// Whether the text between the quotes of a JSON string is ASCII without escapes, as most are.
bool isPlain(std::string_view raw);

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

    /// An object whose members are being read, from open() to close(). As long as the members come as in the
    /// object before it in its scope, each is read where it is to stay in the map; otherwise they are
    /// collected first.
    struct Object
    {
        Id scope;
        QVariantMap& map;
        std::uint64_t number;
        std::size_t firstEntry;
        std::size_t firstPlace;
        std::size_t placed = 0;   // members that are in the map
        const Id* next = nullptr; // the keys that are expected next, with the places at hand
        const Id* last = nullptr;
        bool mayHavePlaces = true;
        bool isRepeated = false; // some key occurs in it more than once
        bool isFlat() const { return scope == flatRoot; }
    };

    KeyTable();

    /// Prepares for a text of @p size bytes. The names of its flattened keys may be 16 times as long in
    /// total, and 64 Mi units at most; otherwise a small text could exhaust the memory with paths that have a
    /// long common prefix.
    void begin(std::size_t size);
    /// Clears the table if the last text left more than is worth keeping.
    void end();

    /// Begins an object in @p scope. It becomes @p map, whose nodes are used again if nothing shares them.
    Object open(Id scope, QVariantMap& map)
    {
        return {scope, map, ++m_objects, m_entries.size(), m_places.size()};
    }

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

    /// Records that @p key occurs in @p object, with its values following those read so far.
    void occurs(Object& object, Id key)
    {
        Node& node = m_nodes[key];
        object.isRepeated = object.isRepeated || node.object == object.number;
        node.object = object.number;
        node.validFrom = position(object);
    }

    /// The number of values read so far, for comparison with a later one of the same object.
    std::size_t position(const Object& object) const { return m_entries.size() + object.placed; }

    /// Where the value of @p key is to stay in the map of @p object, which may hold an earlier value; valid
    /// until close(). Null if that is not known yet; call add() when the value has been read.
    QVariant* placeOf(Object& object, Id key)
    {
        if (object.next == object.last ? !findPlaces(object, key) : *object.next != key) {
            collect(object);
            return nullptr;
        }
        ++object.next;
        return m_places[object.firstPlace + object.placed++];
    }

    /// Adds @p key, for which there is no place. @return its value, valid until the next call.
    QVariant& add(Id key)
    {
        m_entries.emplace_back();
        m_entries.back().key = key;
        return m_entries.back().value;
    }

    /// Ends @p object: its map is complete. Of a key that occurred again, or of which an outer one did, only
    /// the last value remains.
    void close(Object& object);

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
    // A value that was read but is not yet in its object's map.
    struct Entry
    {
        Id key = 0;
        QVariant value;
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
    Shape& shapeOf(const Object& object);
    bool findPlaces(Object& object, Id first);
    bool findPlaces(const Object& object, const Shape& shape);
    void collect(Object& object);
    void leaveOutRepeated(const Object& object);
    void makeMap(const Object& object);

    std::vector<Node> m_nodes; // 0 is no key
    std::vector<Id> m_slots;   // open addressing, a power of two
    std::vector<Shape> m_shapes;
    std::vector<Entry> m_entries;    // the values of the objects being read, the innermost's last
    std::vector<QVariant*> m_places; // of the objects being read, the innermost's last
    std::string m_raw;
    std::uint64_t m_objects = 0;
    std::uint64_t m_secret;
    std::size_t m_nameLength = 0; // total length of all names
    std::size_t m_nameLimit = 0;  // its limit for the current text
};

} // namespace JsonText

#endif
