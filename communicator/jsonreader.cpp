// SPDX-License-Identifier: MIT
#include <communicator/jsonreader.h>

#include <QVarLengthArray>

#include <simdjson.h>

#include <cstring>
#include <string_view>

namespace ondemand = simdjson::ondemand;

namespace Krelm::Communicator::Json {

namespace {

// The parser's buffers are kept for the thread's next text unless this one was larger.
constexpr std::size_t RetainedCapacity = 256 * 1024;

bool readHex(const char* digits, char16_t& out)
{
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
        const char c = digits[i];
        unsigned digit = 0;
        if (c >= '0' && c <= '9')
            digit = unsigned(c - '0');
        else if (c >= 'a' && c <= 'f')
            digit = unsigned(c - 'a') + 10;
        else if (c >= 'A' && c <= 'F')
            digit = unsigned(c - 'A') + 10;
        else
            return false;
        value = value << 4 | digit;
    }
    out = char16_t(value);
    return true;
}

// The text between the quotes; the parser has checked that it is UTF-8 without bare control characters.
bool decode(std::string_view raw, QString& out)
{
    QVarLengthArray<char16_t, 512> units;
    const char* p = raw.data();
    const char* const end = p + raw.size();
    while (p != end) {
        const auto c = static_cast<unsigned char>(*p++);
        if (c == '\\') {
            if (p == end)
                return false;
            char16_t unit = 0;
            switch (*p++) {
            case '"':
                unit = '"';
                break;
            case '\\':
                unit = '\\';
                break;
            case '/':
                unit = '/';
                break;
            case 'b':
                unit = '\b';
                break;
            case 'f':
                unit = '\f';
                break;
            case 'n':
                unit = '\n';
                break;
            case 'r':
                unit = '\r';
                break;
            case 't':
                unit = '\t';
                break;
            case 'u':
                if (end - p < 4 || !readHex(p, unit))
                    return false;
                p += 4;
                break;
            default:
                return false;
            }
            units.append(unit);
        } else if (c < 0x80) {
            units.append(c);
        } else {
            const int extra = c >= 0xf0 ? 3 : c >= 0xe0 ? 2 : 1;
            char32_t point = c & (0x3fU >> extra);
            for (int i = 0; i < extra; ++i)
                point = point << 6 | (static_cast<unsigned char>(*p++) & 0x3fU);
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

// A token reaches to the start of the next one.
bool decodeToken(std::string_view token, QString& out)
{
    return decode(token.substr(1, token.rfind('"') - 1), out);
}

bool decodeKey(const char* key, QString& out)
{
    const char* end = key;
    while (*end != '"')
        end += *end == '\\' ? 2 : 1;
    return decode(std::string_view(key, std::size_t(end - key)), out);
}

template <typename Value>
bool readNumber(Value&& value, QVariant& out)
{
    ondemand::number number;
    if (!value.get_number().get(number)) {
        switch (number.get_number_type()) {
        case ondemand::number_type::signed_integer:
            out = qlonglong(number.get_int64());
            return true;
        case ondemand::number_type::unsigned_integer:
            out = qulonglong(number.get_uint64());
            return true;
        case ondemand::number_type::floating_point_number:
            out = number.get_double();
            return true;
        }
    }
    double large = 0;
    if (value.get_double().get(large))
        return false;
    out = large;
    return true;
}

template <typename Value>
bool readValue(Value&& value, QVariant& out, int depth);

bool readMembers(simdjson::simdjson_result<ondemand::object> object, QVariantMap& out, int depth)
{
    if (depth > MaximumDepth || object.error())
        return false;
    for (auto member : object) {
        ondemand::field field;
        QString key;
        QVariant value;
        if (std::move(member).get(field) || !decodeKey(field.key().raw(), key) ||
            !readValue(field.value(), value, depth))
            return false;
        out.insert(key, value);
    }
    return true;
}

bool readElements(simdjson::simdjson_result<ondemand::array> array, QVariantList& out, int depth)
{
    if (depth > MaximumDepth || array.error())
        return false;
    for (auto element : array) {
        ondemand::value value;
        if (std::move(element).get(value))
            return false;
        out.append(QVariant());
        if (!readValue(value, out.last(), depth))
            return false;
    }
    return true;
}

template <typename Value>
bool readValue(Value&& value, QVariant& out, int depth)
{
    std::string_view token;
    if (simdjson::simdjson_result<std::string_view>(value.raw_json_token()).get(token) || token.empty())
        return false;
    switch (token.front()) {
    case '{': {
        QVariantMap map;
        if (!readMembers(value.get_object(), map, depth + 1))
            return false;
        out = map;
        return true;
    }
    case '[': {
        QVariantList list;
        if (!readElements(value.get_array(), list, depth + 1))
            return false;
        out = list;
        return true;
    }
    case '"': {
        QString string;
        simdjson::simdjson_result<ondemand::raw_json_string> raw = value.get_raw_json_string();
        if (raw.error() || !decodeToken(token, string))
            return false;
        out = string;
        return true;
    }
    case 't':
    case 'f': {
        bool flag = false;
        if (value.get_bool().get(flag))
            return false;
        out = flag;
        return true;
    }
    case 'n': {
        bool null = false;
        if (simdjson::simdjson_result<bool>(value.is_null()).get(null) || !null)
            return false;
        out = QVariant::fromValue(nullptr);
        return true;
    }
    default:
        return readNumber(value, out);
    }
}

bool read(const QByteArray& text, QVariant& out)
{
    static thread_local ondemand::parser parser;
    std::string_view view(text.constData(), std::size_t(text.size()));
    if (view.substr(0, 3) == "\xEF\xBB\xBF")
        view.remove_prefix(3);
    const simdjson::padded_string padded(view);
    ondemand::document document;
    const bool complete = !parser.iterate(padded).get(document) && readValue(document, out, 0) &&
                          document.current_location().error() == simdjson::OUT_OF_BOUNDS;
    if (parser.capacity() > RetainedCapacity)
        parser = ondemand::parser();
    return complete;
}

void flatten(const QVariantMap& members, const QString& prefix, QVariantMap& out)
{
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        if (it.value().userType() == QMetaType::QVariantMap && !it.value().toMap().isEmpty())
            flatten(it.value().toMap(), prefix + it.key() + QLatin1Char('.'), out);
        else
            out.insert(prefix + it.key(), it.value());
    }
}

QVariant data(const QByteArray& reply)
{
    QVariantMap members;
    readObject(reply, members);
    return members.value(QStringLiteral("data"));
}

} // namespace

bool isComplete(const QByteArray& text)
{
    QVariant value;
    return read(text, value);
}

bool readObject(const QByteArray& text, QMap<QString, QVariant>& out)
{
    QVariant value;
    out.clear();
    if (!read(text, value) || value.userType() != QMetaType::QVariantMap)
        return false;
    out = value.toMap();
    return true;
}

bool readFlattened(const QByteArray& text, QMap<QString, QVariant>& out)
{
    QVariantMap members;
    const bool complete = readObject(text, members);
    out.clear();
    flatten(members, QString(), out);
    return complete;
}

QMap<QString, QVariant> dataFlattened(const QByteArray& reply)
{
    QVariantMap out;
    flatten(data(reply).toMap(), QString(), out);
    return out;
}

QList<QVariant> dataListFlattened(const QByteArray& reply)
{
    QVariantList list = data(reply).toList();
    for (QVariant& element : list) {
        if (element.userType() == QMetaType::QVariantMap) {
            QVariantMap members;
            flatten(element.toMap(), QString(), members);
            element = members;
        }
    }
    return list;
}

QList<QVariant> dataList(const QByteArray& reply)
{
    return data(reply).toList();
}

} // namespace Krelm::Communicator::Json
