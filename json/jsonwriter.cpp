// SPDX-License-Identifier: MIT
#include "json/jsonwriter.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocale>
#include <QStringList>
#include <QUrl>
#include <QUuid>
#include <QVector>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace Krelm::Communicator::Json {

namespace {

constexpr int maxDepth = 1024;
constexpr int initialCapacity = 512;
// Longer than any number: a double in its shortest form, a 64-bit integer.
constexpr int numberLength = 32;
// Integral doubles are written without an exponent up to 2^64. Up to 2^53 their digits are those of the
// integer.
constexpr double integralLimit = 18446744073709551616.0;
constexpr double exactLimit = 9007199254740992.0;
// Strings are written in chunks of so many UTF-16 units, whose longest form is an escape of six bytes.
constexpr int chunkBytes = 1024;
constexpr int longestUnit = 6;
// The maximum room requested at once; buffers extend beyond the limit by this much.
constexpr int headroom = longestUnit * (chunkBytes + 1);
static_assert(maxSize + headroom < std::numeric_limits<int>::max() - 1024);

// Thrown when the text exceeds its limit; no caller up the stack has anything left to do.
struct TextTooLong
{};

class Writer
{
public:
    explicit Writer(int limit)
        : m_limit(limit)
    {
        m_out.resize(initialCapacity);
    }

    bool value(const QVariant& value, int depth = 0);

    QByteArray take()
    {
        checkSize();
        m_out.resize(m_size);
        if (m_out.capacity() - m_size > m_size / 8) {
            m_out.squeeze();
        }
        return std::move(m_out);
    }

private:
    // Returns room for @p length more bytes, at most `headroom`.
    char* room(int length)
    {
        if (m_out.size() - m_size < length) {
            grow(length);
        }
        return m_out.data() + m_size;
    }
    void grow(int length);
    void checkSize() const
    {
        if (m_size > m_limit) {
            throw TextTooLong();
        }
    }
    void put(char c)
    {
        *room(1) = c;
        ++m_size;
    }
    void literal(const char* text, int length)
    {
        std::memcpy(room(length), text, std::size_t(length));
        m_size += length;
    }
    void null() { literal("null", 4); }
    template <typename Number>
    void number(Number value)
    {
        char* const at = room(numberLength);
        m_size += int(std::to_chars(at, at + numberLength, value).ptr - at);
    }
    void number(double value);
    void string(const QString& text);
    template <typename List>
    bool list(const List& list, int depth);
    bool map(const QVariantMap& map, int depth);
    bool hash(const QVariantHash& hash, int depth);
    bool member(bool first, const QString& key, const QVariant& member, int depth);

    const int m_limit;
    QByteArray m_out;
    int m_size = 0;
};

void Writer::grow(int length)
{
    checkSize();
    const qint64 half = qint64(m_out.size()) + m_out.size() / 2;
    m_out.resize(std::max(m_size + length, int(std::min<qint64>(half, m_limit + headroom))));
}

void Writer::number(double value)
{
    const double size = std::fabs(value);
    if (!std::isfinite(value)) {
        null();
    } else if (size > integralLimit || std::trunc(value) != value) {
        char* const at = room(numberLength);
        m_size += int(std::to_chars(at, at + numberLength, value).ptr - at);
    } else if (size <= exactLimit) {
        number(qlonglong(value));
    } else {
        const QByteArray digits = QByteArray::number(value, 'f', QLocale::FloatingPointShortest);
        literal(digits.constData(), int(digits.size()));
    }
}

char* putEscape(char* at, char letter)
{
    *at++ = '\\';
    *at++ = letter;
    return at;
}

char* putUnicodeEscape(char* at, ushort unit)
{
    static constexpr char hexDigits[] = "0123456789abcdef";
    at = putEscape(at, 'u');
    for (int shift = 12; shift >= 0; shift -= 4) {
        *at++ = hexDigits[unit >> shift & 0xf];
    }
    return at;
}

// Escapes @p c, which must not appear literally in a string.
char* putAscii(char* at, char c)
{
    switch (c) {
    case '"':
    case '\\':
        return putEscape(at, c);
    case '\b':
        return putEscape(at, 'b');
    case '\f':
        return putEscape(at, 'f');
    case '\n':
        return putEscape(at, 'n');
    case '\r':
        return putEscape(at, 'r');
    case '\t':
        return putEscape(at, 't');
    default:
        return putUnicodeEscape(at, ushort(c));
    }
}

void Writer::string(const QString& text)
{
    put('"');
    const ushort* unit = text.utf16();
    const ushort* const end = unit + text.size();
    while (unit != end) {
        const ushort* const stop = unit + std::min<qptrdiff>(chunkBytes, end - unit);
        char* const start = room(longestUnit * int(stop - unit + 1));
        char* at = start;
        while (unit < stop) {
            const ushort u = *unit++;
            if (u >= ' ' && u < 0x80 && u != '"' && u != '\\') {
                *at++ = char(u);
            } else if (u < 0x80) {
                at = putAscii(at, char(u));
            } else if (u < 0x800) {
                *at++ = char(0xc0 | u >> 6);
                *at++ = char(0x80 | (u & 0x3f));
            } else if (!QChar::isSurrogate(u)) {
                *at++ = char(0xe0 | u >> 12);
                *at++ = char(0x80 | (u >> 6 & 0x3f));
                *at++ = char(0x80 | (u & 0x3f));
            } else if (QChar::isHighSurrogate(u) && unit != end && QChar::isLowSurrogate(*unit)) {
                const uint point = QChar::surrogateToUcs4(u, *unit++);
                *at++ = char(0xf0 | point >> 18);
                *at++ = char(0x80 | (point >> 12 & 0x3f));
                *at++ = char(0x80 | (point >> 6 & 0x3f));
                *at++ = char(0x80 | (point & 0x3f));
            } else {
                at = putUnicodeEscape(at, u);
            }
        }
        m_size += int(at - start);
    }
    put('"');
}

template <typename List>
bool Writer::list(const List& list, int depth)
{
    if (depth > maxDepth) {
        return false;
    }
    put('[');
    bool first = true;
    for (const auto& element : list) {
        if (!first) {
            put(',');
        }
        first = false;
        if constexpr (std::is_same_v<List, QStringList>) {
            string(element);
        } else if (!value(element, depth)) {
            return false;
        }
    }
    put(']');
    return true;
}

bool Writer::member(bool first, const QString& key, const QVariant& member, int depth)
{
    if (!first) {
        put(',');
    }
    string(key);
    put(':');
    return value(member, depth);
}

bool Writer::map(const QVariantMap& map, int depth)
{
    if (depth > maxDepth) {
        return false;
    }
    put('{');
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!member(it == map.cbegin(), it.key(), it.value(), depth)) {
            return false;
        }
    }
    put('}');
    return true;
}

bool Writer::hash(const QVariantHash& hash, int depth)
{
    if (depth > maxDepth) {
        return false;
    }
    QVector<QVariantHash::const_iterator> members;
    members.reserve(hash.size());
    for (auto it = hash.cbegin(); it != hash.cend(); ++it) {
        members.append(it);
    }
    std::sort(members.begin(), members.end(), [](auto left, auto right) { return left.key() < right.key(); });
    put('{');
    for (int i = 0; i < members.size(); ++i) {
        if (!member(i == 0, members.at(i).key(), members.at(i).value(), depth)) {
            return false;
        }
    }
    put('}');
    return true;
}

template <typename T>
const T& held(const QVariant& value)
{
    return *static_cast<const T*>(value.constData());
}

bool Writer::value(const QVariant& value, int depth)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        null();
        return true;
    case QMetaType::Bool:
        held<bool>(value) ? literal("true", 4) : literal("false", 5);
        return true;
    case QMetaType::Int:
        number(held<int>(value));
        return true;
    case QMetaType::UInt:
        number(held<uint>(value));
        return true;
    case QMetaType::LongLong:
        number(held<qlonglong>(value));
        return true;
    case QMetaType::ULongLong:
        number(held<qulonglong>(value));
        return true;
    case QMetaType::Float:
        number(double(held<float>(value)));
        return true;
    case QMetaType::Double:
        number(held<double>(value));
        return true;
    case QMetaType::QString:
        string(held<QString>(value));
        return true;
    case QMetaType::QStringList:
        return list(held<QStringList>(value), depth + 1);
    case QMetaType::QVariantList:
        return list(held<QVariantList>(value), depth + 1);
    case QMetaType::QVariantMap:
        return map(held<QVariantMap>(value), depth + 1);
    case QMetaType::QVariantHash:
        return hash(held<QVariantHash>(value), depth + 1);
    case QMetaType::QUrl:
        string(held<QUrl>(value).toString(QUrl::FullyEncoded));
        return true;
    case QMetaType::QUuid:
        string(held<QUuid>(value).toString(QUuid::WithoutBraces));
        return true;
    case QMetaType::QJsonValue:
        return this->value(held<QJsonValue>(value).toVariant(), depth);
    case QMetaType::QJsonObject:
        return map(held<QJsonObject>(value).toVariantMap(), depth + 1);
    case QMetaType::QJsonArray:
        return list(held<QJsonArray>(value).toVariantList(), depth + 1);
    case QMetaType::QJsonDocument:
        return this->value(held<QJsonDocument>(value).toVariant(), depth);
    case QMetaType::QCborValue:
        return this->value(held<QCborValue>(value).toJsonValue().toVariant(), depth);
    case QMetaType::QCborArray:
        return list(held<QCborArray>(value).toJsonArray().toVariantList(), depth + 1);
    case QMetaType::QCborMap:
        return map(held<QCborMap>(value).toJsonObject().toVariantMap(), depth + 1);
    case QMetaType::QByteArray:
        // The text would not fit into a QString.
        if (held<QByteArray>(value).size() > maxSize / 2) {
            throw TextTooLong();
        }
        Q_FALLTHROUGH();
    default: {
        // Dates, byte arrays and the like have a text form; a value without one, or with an empty one, is
        // null.
        const QString text = value.toString();
        if (text.isEmpty()) {
            null();
        } else {
            string(text);
        }
        return true;
    }
    }
}

} // namespace

const char* textOf(Unwritable why)
{
    return why == Unwritable::TooDeep ? "is nested too deeply to be written as JSON"
                                      : "is longer than 2 GiB, the limit for JSON";
}

QByteArray write(const QVariant& value, Unwritable* why, int limit)
{
    Unwritable reason = Unwritable::TooDeep;
    try {
        Writer writer(limit);
        if (writer.value(value)) {
            return writer.take();
        }
    } catch (const TextTooLong&) {
        reason = Unwritable::TooLong;
    }
    if (why != nullptr) {
        *why = reason;
    }
    return {};
}

} // namespace Krelm::Communicator::Json
