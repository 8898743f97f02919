// SPDX-License-Identifier: MIT
#include <json/keytable.h>

#include <QRandomGenerator>
#include <QVarLengthArray>

#include <algorithm>

namespace JsonText {

namespace {

constexpr std::size_t initialSlots = 256;
// Keys come from the network: a table that has outgrown what devices use is cleared.
constexpr std::size_t retainedKeys = 4096;
constexpr std::size_t retainedLength = std::size_t(256) * 1024;
// What is kept of the room for the members of the objects being read.
constexpr std::size_t retainedMembers = 4096;
// The limit on the names of one text, in UTF-16 units: a base, an addition per byte, and an absolute maximum.
constexpr std::size_t baseNameLimit = std::size_t(64) * 1024;
constexpr std::size_t nameLimitPerByte = 16;
constexpr std::size_t maxNameLimit = std::size_t(64) << 20;

__extension__ using Wide = unsigned __int128;

bool readHex(const char* digits, char16_t& out)
{
    unsigned value{};
    for (int i = 0; i < 4; ++i) {
        const char c = digits[i];
        unsigned digit{};
        if (c >= '0' && c <= '9') {
            digit = unsigned(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            digit = unsigned(c - 'a') + 10;
        } else if (c >= 'A' && c <= 'F') {
            digit = unsigned(c - 'A') + 10;
        } else {
            return false;
        }
        value = value << 4 | digit;
    }
    out = char16_t(value);
    return true;
}

// Decodes the escape after a backslash, and moves @p p past it.
bool readEscape(const char*& p, const char* end, char16_t& out)
{
    if (p == end) {
        return false;
    }
    switch (*p++) {
    case '"':
        out = '"';
        return true;
    case '\\':
        out = '\\';
        return true;
    case '/':
        out = '/';
        return true;
    case 'b':
        out = '\b';
        return true;
    case 'f':
        out = '\f';
        return true;
    case 'n':
        out = '\n';
        return true;
    case 'r':
        out = '\r';
        return true;
    case 't':
        out = '\t';
        return true;
    case 'u':
        if (end - p < 4 || !readHex(p, out)) {
            return false;
        }
        p += 4;
        return true;
    default:
        return false;
    }
}

} // namespace

bool isPlain(std::string_view raw)
{
    return std::all_of(raw.begin(), raw.end(), [](char c) { return c != '\\' && (c & 0x80) == 0; });
}

bool decodeString(std::string_view raw, QString& out)
{
    if (isPlain(raw)) {
        out = QString::fromLatin1(raw.data(), int(raw.size()));
        return true;
    }
    // The parser has checked that the text is UTF-8, but not its escapes. QString would pass over a
    // byte-order mark in front.
    if (raw.find('\\') == std::string_view::npos && raw.substr(0, 3) != "\xEF\xBB\xBF") {
        out = QString::fromUtf8(raw.data(), int(raw.size()));
        return true;
    }
    QVarLengthArray<char16_t, 512> units;
    const char* p = raw.data();
    const char* const end = p + raw.size();
    while (p != end) {
        const auto c = static_cast<unsigned char>(*p++);
        if (c == '\\') {
            char16_t unit = 0;
            if (!readEscape(p, end, unit)) {
                return false;
            }
            units.append(unit);
        } else if (c < 0x80) {
            units.append(c);
        } else {
            const int extra = c >= 0xf0 ? 3 : c >= 0xe0 ? 2 : 1;
            char32_t point = c & (0x3fU >> extra);
            for (int i = 0; i < extra; ++i) {
                point = point << 6 | (static_cast<unsigned char>(*p++) & 0x3fU);
            }
            if (QChar::requiresSurrogates(point)) {
                units.append(QChar::highSurrogate(point));
                units.append(QChar::lowSurrogate(point));
            } else {
                units.append(char16_t(point));
            }
        }
    }
    out = QString(reinterpret_cast<const QChar*>(units.constData()), units.size());
    return true;
}

KeyTable::KeyTable()
    : m_nodes(3)
    , m_slots(initialSlots)
    , m_secret(QRandomGenerator::global()->generate64())
{
    m_nodes[flatRoot].flat = true;
}

void KeyTable::begin(std::size_t size)
{
    m_nameLimit = m_nameLength + std::min(baseNameLimit + nameLimitPerByte * size, maxNameLimit);
}

void KeyTable::end()
{
    if (m_nodes.size() > retainedKeys || m_raw.size() + m_nameLength > retainedLength) {
        *this = KeyTable();
    }
    m_entries.clear(); // a text that is not valid leaves some
    m_places.clear();
    if (m_entries.capacity() > retainedMembers) {
        m_entries.shrink_to_fit();
    }
    if (m_places.capacity() > retainedMembers) {
        m_places.shrink_to_fit();
    }
}

// Keys come from the network; the secret prevents a device from choosing keys that collide.
std::uint32_t KeyTable::hash(Id scope, std::string_view raw) const
{
    std::uint64_t state = m_secret;
    const auto mix = [&](std::uint64_t word) {
        const Wide product = Wide(state ^ word) * m_secret;
        state = std::uint64_t(product) ^ std::uint64_t(product >> 64);
    };
    mix(scope);
    while (!raw.empty()) {
        std::uint64_t word = 0;
        const std::size_t size = std::min(raw.size(), sizeof word);
        std::memcpy(&word, raw.data(), size);
        mix(word);
        raw.remove_prefix(size);
    }
    return std::uint32_t(state ^ state >> 32);
}

KeyTable::Id KeyTable::search(Id scope, const char* raw)
{
    const char* close = raw;
    bool plain = true;
    while (*close != '"') {
        plain = plain && *close != '\\';
        close += *close == '\\' ? 2 : 1;
    }
    std::string_view text(raw, std::size_t(close - raw));
    QByteArray canonical;
    if (!plain) {
        // A key is the same however it is escaped. One with a lone surrogate has no UTF-8; it is represented
        // by its UTF-16 after a byte that never occurs in UTF-8.
        QString key;
        if (!decodeString(text, key)) {
            return 0;
        }
        if (key.isValidUtf16()) {
            canonical = key.toUtf8();
        } else {
            canonical = '\xff' + QByteArray::fromRawData(reinterpret_cast<const char*>(key.utf16()),
                                                         key.size() * int(sizeof(QChar)));
        }
        text = std::string_view(canonical.constData(), std::size_t(canonical.size()));
    }

    const std::uint32_t code = hash(scope, text);
    std::size_t slot = code & (m_slots.size() - 1);
    for (; m_slots[slot] != 0; slot = (slot + 1) & (m_slots.size() - 1)) {
        const Node& node = m_nodes[m_slots[slot]];
        if (node.hash == code && node.scope == scope &&
            text == std::string_view(m_raw.data() + node.rawAt, node.rawSize)) {
            return m_slots[slot];
        }
    }

    Node node;
    if (!decodeString(std::string_view(raw, std::size_t(close - raw)), node.name)) {
        return 0;
    }
    node.flat = m_nodes[scope].flat;
    const QString path = node.flat && scope != flatRoot ? m_nodes[scope].name + QLatin1Char('.') : QString();
    m_nameLength += std::size_t(path.size()) + std::size_t(node.name.size());
    if (m_nameLength > m_nameLimit) {
        return 0;
    }
    node.name.prepend(path);
    node.rawAt = m_raw.size();
    node.rawSize = std::uint32_t(text.size());
    node.hash = code;
    node.scope = scope;
    node.plain = plain;
    m_raw.append(text);
    const Id added = Id(m_nodes.size());
    m_nodes.push_back(std::move(node));
    m_slots[slot] = added;
    if (m_nodes.size() * 2 > m_slots.size()) {
        grow();
    }
    return added;
}

void KeyTable::grow()
{
    std::vector<Id> slots(m_slots.size() * 2);
    for (Id id = plainRoot + 1; id < m_nodes.size(); ++id) {
        std::size_t slot = m_nodes[id].hash & (slots.size() - 1);
        while (slots[slot] != 0) {
            slot = (slot + 1) & (slots.size() - 1);
        }
        slots[slot] = id;
    }
    m_slots.swap(slots);
}

// A key's values count from its last occurrence on, as do those of every key within it.
bool KeyTable::isValid(Id key, std::uint64_t object, std::size_t position) const
{
    for (; m_nodes[key].object == object; key = m_nodes[key].scope) {
        if (position < m_nodes[key].validFrom) {
            return false;
        }
    }
    return true;
}

KeyTable::Shape& KeyTable::shapeOf(const Object& object)
{
    if (m_nodes[object.scope].shape == 0) {
        m_shapes.emplace_back();
        m_nodes[object.scope].shape = std::uint32_t(m_shapes.size());
    }
    Shape& shape = m_shapes[m_nodes[object.scope].shape - 1];
    const auto begin = m_entries.cbegin() + std::ptrdiff_t(object.firstEntry);
    const auto sameKey = [](const Entry& entry, Id key) { return entry.key == key; };
    if (std::equal(begin, m_entries.cend(), shape.keys.cbegin(), shape.keys.cend(), sameKey)) {
        if (shape.blank.isEmpty()) {
            for (const std::uint32_t i : shape.order) {
                shape.blank.insert(shape.blank.constEnd(), m_nodes[shape.keys[i]].name, QVariant());
            }
        }
        return shape;
    }

    shape.blank.clear();
    shape.keys.clear();
    shape.order.clear();
    for (auto it = begin; it != m_entries.cend(); ++it) {
        shape.order.push_back(std::uint32_t(shape.keys.size()));
        shape.keys.push_back(it->key);
    }
    const auto name = [&](std::uint32_t i) -> const QString& { return m_nodes[shape.keys[i]].name; };
    std::sort(shape.order.begin(), shape.order.end(), [&](std::uint32_t left, std::uint32_t right) {
        const int order = name(left).compare(name(right));
        return order < 0 || (order == 0 && left > right);
    });
    const auto sameName = [&](std::uint32_t left, std::uint32_t right) { return name(left) == name(right); };
    shape.order.erase(std::unique(shape.order.begin(), shape.order.end(), sameName), shape.order.end());
    return shape;
}

// Only once a member has come as expected: a map that few objects fill costs no more than they do.
bool KeyTable::findPlaces(Object& object, Id first)
{
    if (!std::exchange(object.mayHavePlaces, false) || m_nodes[object.scope].shape == 0) {
        return false;
    }
    const Shape& shape = m_shapes[m_nodes[object.scope].shape - 1];
    if (shape.blank.isEmpty() || shape.keys.front() != first || shape.order.size() != shape.keys.size()) {
        return false;
    }
    m_places.resize(object.firstPlace + shape.keys.size());
    if (!object.map.isDetached() || !findPlaces(object, shape)) {
        object.map = shape.blank;
        findPlaces(object, shape);
    }
    object.next = shape.keys.data();
    object.last = object.next + shape.keys.size();
    return true;
}

// @return whether the map has the names of the shape.
bool KeyTable::findPlaces(const Object& object, const Shape& shape)
{
    if (std::size_t(object.map.size()) != shape.order.size()) {
        return false;
    }
    auto node = object.map.begin();
    for (const std::uint32_t i : shape.order) {
        if (node.key().constData() != m_nodes[shape.keys[i]].name.constData()) {
            return false; // or the same name from elsewhere, which is not worth a comparison
        }
        m_places[object.firstPlace + i] = &*node;
        ++node;
    }
    return true;
}

// The object is not like the one before it: its members are collected instead.
void KeyTable::collect(Object& object)
{
    for (std::size_t i = 0; i < object.placed; ++i) {
        add(object.next[std::ptrdiff_t(i) - std::ptrdiff_t(object.placed)])
            .swap(*m_places[object.firstPlace + i]);
    }
    object.placed = 0;
    object.next = object.last = nullptr;
}

void KeyTable::close(Object& object)
{
    if (object.placed == 0 || object.next != object.last || object.isRepeated) {
        collect(object);
        if (object.isRepeated) {
            leaveOutRepeated(object);
        }
        makeMap(object);
    }
    m_places.resize(object.firstPlace);
}

void KeyTable::leaveOutRepeated(const Object& object)
{
    std::size_t kept = object.firstEntry;
    for (std::size_t i = object.firstEntry; i < m_entries.size(); ++i) {
        if (isValid(m_entries[i].key, object.number, i)) {
            std::swap(m_entries[kept++], m_entries[i]);
        }
    }
    m_entries.erase(m_entries.begin() + std::ptrdiff_t(kept), m_entries.end());
}

// Moves the collected members into the map.
void KeyTable::makeMap(const Object& object)
{
    object.map.clear();
    if (object.firstEntry == m_entries.size()) {
        return;
    }
    const auto begin = m_entries.begin() + std::ptrdiff_t(object.firstEntry);
    const Shape& shape = shapeOf(object);
    if (!shape.blank.isEmpty()) {
        object.map = shape.blank;
        auto value = object.map.begin();
        for (const std::uint32_t i : shape.order) {
            (value++)->swap(begin[std::ptrdiff_t(i)].value);
        }
    } else {
        for (const std::uint32_t i : shape.order) {
            const auto value =
                object.map.insert(object.map.constEnd(), m_nodes[shape.keys[i]].name, QVariant());
            value->swap(begin[std::ptrdiff_t(i)].value);
        }
    }
    m_entries.erase(begin, m_entries.end());
}

} // namespace JsonText
