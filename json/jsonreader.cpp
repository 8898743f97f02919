// SPDX-License-Identifier: MIT
#include <json/jsonreader.h>

#include <json/keytable.h>
#include <json/tokencounter.h>

#include <simdjson.h>

#include <algorithm>
#include <charconv>

namespace ondemand = simdjson::ondemand;

namespace JsonText {

namespace {

// What a thread keeps for its next text: the parser's buffers for texts up to this size.
constexpr std::size_t retainedCapacity = std::size_t(256) * 1024;

bool hasTooManyTokens(const QByteArray& text)
{
    TokenCounter tokens;
    constexpr std::size_t piece = 1 << 20;
    const auto size = std::size_t(text.size());
    for (std::size_t at = 0; at < size && tokens.count() <= maxTokens; at += piece) {
        tokens.add(text.constData() + at, std::min(piece, size - at));
    }
    return tokens.count() > maxTokens;
}

// A token extends to the start of the next one; the one after the last is empty.
char start(std::string_view token)
{
    return token.empty() ? '\0' : token.front();
}

// The text between the quotes of a string token.
std::string_view content(std::string_view token)
{
    return token.substr(1, token.rfind('"') - 1);
}

std::string_view withoutSpaceBehind(std::string_view token)
{
    return token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
}

// Moves @p p past a run of digits. @return whether there was one.
bool skipDigits(const char*& p, const char* end)
{
    const char* const first = p;
    while (p != end && *p >= '0' && *p <= '9') {
        ++p;
    }
    return p != first;
}

// Of a number that a double cannot hold: whether it is too large, and not too small. Qt 6 reads both as zero.
bool isTooLarge(std::string_view token)
{
    long long place = 0; // of the first digit that counts, from the decimal point
    bool counts = false;
    bool isFraction = false;
    std::size_t i = token.front() == '-' ? 1 : 0;
    for (; i < token.size() && token[i] != 'e' && token[i] != 'E'; ++i) {
        if (token[i] == '.') {
            isFraction = true;
            continue;
        }
        counts = counts || token[i] != '0';
        if (counts && !isFraction) {
            ++place;
        } else if (!counts && isFraction) {
            --place;
        }
    }
    long long exponent = 0;
    if (i != token.size()) {
        const bool hasPlus = token[i + 1] == '+';
        const char* const digits = token.data() + i + (hasPlus ? 2 : 1);
        if (std::from_chars(digits, token.data() + token.size(), exponent).ec != std::errc()) {
            return *digits != '-';
        }
    }
    return exponent > -place;
}

bool readReal(std::string_view token, QVariant& out)
{
    double number{};
    const std::from_chars_result result = std::from_chars(token.data(), token.data() + token.size(), number);
    if (result.ec == std::errc::result_out_of_range) {
        if (isTooLarge(token)) {
            return false;
        }
        number = QByteArray::fromRawData(token.data(), int(token.size())).toDouble(); // or zero
    }
    out = number;
    return true;
}

// Most numbers of most texts: no sign, no leading zero, and so few digits that none is too large.
bool readShortInteger(std::string_view token, QVariant& out)
{
    constexpr std::size_t mostDigits = 18;
    if (token.empty() || token.size() > mostDigits || (token.front() == '0' && token.size() > 1)) {
        return false;
    }
    qlonglong number = 0;
    for (const char c : token) {
        if (c < '0' || c > '9') {
            return false;
        }
        number = number * 10 + (c - '0');
    }
    out = number;
    return true;
}

// The parser's own numbers are not used, because it rounds some numbers with many digits incorrectly.
bool readNumber(std::string_view token, QVariant& out)
{
    token = withoutSpaceBehind(token);
    const char* p = token.data();
    const char* const end = p + token.size();
    const bool negative = p != end && *p == '-';
    p += negative ? 1 : 0;
    const char* const digits = p;
    if (!skipDigits(p, end) || (*digits == '0' && p - digits > 1)) {
        return false;
    }
    if (p == end) {
        qlonglong number = 0;
        if (std::from_chars(token.data(), end, number).ec == std::errc()) {
            out = number;
            return true;
        }
        qulonglong large = 0;
        if (!negative && std::from_chars(token.data(), end, large).ec == std::errc()) {
            out = large;
            return true;
        }
        return readReal(token, out);
    }
    if (*p == '.' && !skipDigits(++p, end)) {
        return false;
    }
    if (p != end && (*p == 'e' || *p == 'E')) {
        ++p;
        if (p != end && (*p == '+' || *p == '-')) {
            ++p;
        }
        if (!skipDigits(p, end)) {
            return false;
        }
    }
    return p == end && readReal(token, out);
}

// A number, `true`, `false` or `null`.
bool readAtom(std::string_view token, QVariant& out)
{
    switch (start(token)) {
    case 't':
        out = true;
        return withoutSpaceBehind(token) == "true";
    case 'f':
        out = false;
        return withoutSpaceBehind(token) == "false";
    case 'n':
        out = QVariant::fromValue(nullptr);
        return withoutSpaceBehind(token) == "null";
    default:
        return readNumber(token, out);
    }
}

bool isWellEscaped(std::string_view raw)
{
    QString string;
    return raw.find('\\') == std::string_view::npos || decodeString(raw, string);
}

// The container in @p value, which is made one if it is none.
template <typename Container>
Container& contained(QVariant& value)
{
    if (value.userType() != qMetaTypeId<Container>()) {
        value = Container();
    }
    return *static_cast<Container*>(value.data());
}

// Whether @p value is the string with the content @p raw; not every string is recognised.
bool isText(const QVariant& value, std::string_view raw)
{
    return value.userType() == QMetaType::QString && isPlain(raw) &&
           *static_cast<const QString*>(value.constData()) == QLatin1String(raw.data(), int(raw.size()));
}

std::string_view keyText(const char* key)
{
    const char* end = key;
    while (*end != '"') {
        end += *end == '\\' ? 2 : 1;
    }
    return {key, std::size_t(end - key)};
}

// The parser checks bracket balance, string ends and UTF-8 at once, and everything else on the way. Keys and
// strings are read raw, because the parser would reject lone surrogates.
class Reader
{
public:
    // The reader of this thread, which remembers the keys of earlier texts.
    static Reader& instance()
    {
        static thread_local Reader reader;
        return reader;
    }

    // Passes the document to @p read. @return whether that succeeds.
    template <typename Read>
    bool document(const QByteArray& text, Read read)
    {
        m_keys.begin(std::size_t(text.size()));
        const bool complete = parse(text, read);
        m_keys.end();
        if (m_parser.capacity() > retainedCapacity) {
            m_parser = ondemand::parser();
        }
        return complete;
    }

    // Passes each member's key and value to @p read.
    template <typename Read>
    static bool eachMember(simdjson::simdjson_result<ondemand::object> object, Read read)
    {
        if (object.error()) {
            return false;
        }
        for (auto member : object) {
            ondemand::field field;
            if (std::move(member).get(field) || !read(field.key().raw(), field.value())) {
                return false;
            }
        }
        return true;
    }

    template <typename Read>
    static bool eachElement(simdjson::simdjson_result<ondemand::array> array, Read read)
    {
        if (array.error()) {
            return false;
        }
        for (auto element : array) {
            ondemand::value value;
            if (element.get(value) || !read(value)) {
                return false;
            }
        }
        return true;
    }

    // An object as parsed, or flattened in the scope of a flattened one. What @p out holds is used again as
    // far as nothing shares it, here and below.
    bool object(simdjson::simdjson_result<ondemand::object> object, KeyTable::Id scope, QVariantMap& out,
                int depth)
    {
        KeyTable::Object current = m_keys.open(scope, out);
        if (!members(object, scope, current, depth)) {
            return false;
        }
        m_keys.close(current);
        return true;
    }

    bool list(simdjson::simdjson_result<ondemand::array> array, KeyTable::Id scope, QVariantList& out,
              int depth)
    {
        if (!out.isDetached()) {
            out.clear();
        }
        int count = 0;
        const bool complete = depth <= maxDepth && eachElement(array, [&](ondemand::value element) {
                                  if (count == out.size()) {
                                      out.append(QVariant());
                                  }
                                  return value(element, scope, out[count++], depth);
                              });
        if (count != out.size()) {
            out.erase(out.begin() + count, out.end());
        }
        return complete;
    }

    // A value below @p depth levels; objects in it are in @p scope.
    bool value(ondemand::value value, KeyTable::Id scope, QVariant& out, int depth);

    // A value that is no object and no array, and whose token is @p token.
    static bool scalar(ondemand::value value, std::string_view token, QVariant& out);

    // Reads a value, or the whole document, only to validate it.
    bool skip(ondemand::value value, int depth);
    bool skip(ondemand::document& document);

    // Whether nothing follows the text that was read.
    static bool isAtEnd(ondemand::document& document)
    {
        return document.current_location().error() == simdjson::OUT_OF_BOUNDS;
    }

    // Whether @p key is "data", however it is escaped.
    static bool isData(const char* key);

private:
    bool skip(simdjson::simdjson_result<ondemand::object> object, int depth);
    bool skip(simdjson::simdjson_result<ondemand::array> array, int depth);
    template <typename Read>
    bool parse(const QByteArray& text, Read read);
    bool members(simdjson::simdjson_result<ondemand::object> object, KeyTable::Id scope,
                 KeyTable::Object& current, int depth);

    ondemand::parser m_parser;
    KeyTable m_keys;
    const char* m_end = nullptr;
};

template <typename Read>
bool Reader::parse(const QByteArray& text, Read read)
{
    // The parser's own index takes four bytes for each token.
    if (text.size() > maxSize || (text.size() > maxTokens && hasTooManyTokens(text))) {
        return false;
    }
    // The parser reads past the end. An array that was filled piece by piece often has the room.
    QByteArray padded = text;
    if (padded.capacity() - padded.size() < int(simdjson::SIMDJSON_PADDING)) {
        padded.reserve(padded.size() + int(simdjson::SIMDJSON_PADDING));
    }
    std::string_view view(padded.constData(), std::size_t(padded.size()));
    if (view.substr(0, 3) == "\xEF\xBB\xBF") {
        view.remove_prefix(3);
    }
    m_end = view.data() + view.size();
    ondemand::document document;
    return !m_parser.iterate(view, view.size() + simdjson::SIMDJSON_PADDING).get(document) && read(document);
}

bool Reader::members(simdjson::simdjson_result<ondemand::object> object, KeyTable::Id scope,
                     KeyTable::Object& current, int depth)
{
    KeyTable::Id key = 0;
    return depth <= maxDepth && eachMember(object, [&](const char* raw, ondemand::value value) {
               key = m_keys.find(scope, key, raw, m_end);
               if (key == 0) {
                   return false;
               }
               m_keys.occurs(current, key);
               const std::string_view token = value.raw_json_token();
               const char opening = start(token);
               if (opening == '{' && current.isFlat()) {
                   const std::size_t before = m_keys.position(current);
                   if (!members(value.get_object(), key, current, depth + 1)) {
                       return false;
                   }
                   if (m_keys.position(current) == before) {
                       QVariant* const place = m_keys.placeOf(current, key);
                       (place != nullptr ? *place : m_keys.add(key)) = QVariantMap();
                   }
                   return true;
               }
               QVariant* const place = m_keys.placeOf(current, key);
               if (opening != '{' && opening != '[') {
                   // Nothing else is read meanwhile, so it can be decoded into its final place.
                   return scalar(value, token, place != nullptr ? *place : m_keys.add(key));
               }
               const KeyTable::Id inner = current.isFlat() ? KeyTable::plainRoot : key;
               if (place != nullptr) {
                   return this->value(value, inner, *place, depth);
               }
               QVariant read;
               if (!this->value(value, inner, read, depth)) {
                   return false;
               }
               m_keys.add(key).swap(read);
               return true;
           });
}

bool Reader::value(ondemand::value value, KeyTable::Id scope, QVariant& out, int depth)
{
    const std::string_view token = value.raw_json_token();
    switch (start(token)) {
    case '{':
        return object(value.get_object(), scope, contained<QVariantMap>(out), depth + 1);
    case '[': {
        // Only objects directly in the outermost list are flattened.
        const KeyTable::Id inner = scope == KeyTable::flatRoot ? KeyTable::plainRoot : scope;
        return list(value.get_array(), inner, contained<QVariantList>(out), depth + 1);
    }
    default:
        return scalar(value, token, out);
    }
}

bool Reader::scalar(ondemand::value value, std::string_view token, QVariant& out)
{
    if (start(token) != '"') {
        // The iteration passes over it.
        return readShortInteger(token, out) || readAtom(token, out);
    }
    if (value.get_raw_json_string().error()) {
        return false;
    }
    const std::string_view raw = content(token);
    if (isText(out, raw)) {
        return true; // as before
    }
    QString string;
    if (!decodeString(raw, string)) {
        return false;
    }
    out = string;
    return true;
}

bool Reader::isData(const char* key)
{
    const std::string_view text = keyText(key);
    if (text.find('\\') == std::string_view::npos) {
        return text == "data";
    }
    QString string;
    return decodeString(text, string) && string == QLatin1String("data");
}

bool Reader::skip(ondemand::value value, int depth)
{
    const std::string_view token = value.raw_json_token();
    switch (start(token)) {
    case '{':
        return skip(value.get_object(), depth + 1);
    case '[':
        return skip(value.get_array(), depth + 1);
    case '"':
        return !value.get_raw_json_string().error() && isWellEscaped(content(token));
    default: {
        QVariant atom;
        return readAtom(token, atom);
    }
    }
}

bool Reader::skip(simdjson::simdjson_result<ondemand::object> object, int depth)
{
    return depth <= maxDepth && eachMember(object, [&](const char* key, ondemand::value member) {
               return isWellEscaped(keyText(key)) && skip(member, depth);
           });
}

bool Reader::skip(simdjson::simdjson_result<ondemand::array> array, int depth)
{
    return depth <= maxDepth &&
           eachElement(array, [&](ondemand::value element) { return skip(element, depth); });
}

bool Reader::skip(ondemand::document& document)
{
    std::string_view token;
    if (document.raw_json_token().get(token)) {
        return false;
    }
    switch (start(token)) {
    case '{':
        return skip(document.get_object(), 1) && isAtEnd(document);
    case '[':
        return skip(document.get_array(), 1) && isAtEnd(document);
    default: {
        // It is the whole text if it extends to its end.
        QVariant atom;
        const bool valid = start(token) == '"' ? isWellEscaped(content(token)) : readAtom(token, atom);
        return valid && token.data() + token.size() == m_end;
    }
    }
}

// Passes the value of each member `data` to @p read; the last one counts. @return whether @p reply is an
// object.
template <typename Read>
bool readData(const QByteArray& reply, Read read)
{
    Reader& reader = Reader::instance();
    return reader.document(reply, [&](ondemand::document& document) {
        return Reader::eachMember(document.get_object(),
                                  [&](const char* key, ondemand::value value) {
                                      return Reader::isData(key)
                                                 ? read(reader, value)
                                                 : isWellEscaped(keyText(key)) && reader.skip(value, 1);
                                  }) &&
               Reader::isAtEnd(document);
    });
}

bool readMembers(const QByteArray& text, KeyTable::Id scope, QVariantMap& out)
{
    Reader& reader = Reader::instance();
    const bool complete = reader.document(text, [&](ondemand::document& document) {
        return reader.object(document.get_object(), scope, out, 1) && Reader::isAtEnd(document);
    });
    if (!complete) {
        out.clear();
    }
    return complete;
}

// @p read reads `data`, unless that begins with anything but @p opening. Without it @p out is empty.
template <typename Data, typename Read>
bool readDataInto(const QByteArray& reply, Data& out, char opening, Read read)
{
    bool isFound = false;
    const bool isObject = readData(reply, [&](Reader& reader, ondemand::value value) {
        isFound = start(value.raw_json_token()) == opening;
        return isFound ? read(reader, value) : reader.skip(value, 1);
    });
    if (!isObject || !isFound) {
        out.clear();
    }
    return isObject;
}

bool readList(const QByteArray& reply, KeyTable::Id scope, QVariantList& out)
{
    return readDataInto(reply, out, '[', [&](Reader& reader, ondemand::value value) {
        return reader.list(value.get_array(), scope, out, 2);
    });
}

} // namespace

bool isComplete(const QByteArray& text)
{
    Reader& reader = Reader::instance();
    return reader.document(text, [&](ondemand::document& document) { return reader.skip(document); });
}

bool readObject(const QByteArray& text, QMap<QString, QVariant>& out)
{
    return readMembers(text, KeyTable::plainRoot, out);
}

bool readFlattened(const QByteArray& text, QMap<QString, QVariant>& out)
{
    return readMembers(text, KeyTable::flatRoot, out);
}

bool readDataFlattened(const QByteArray& reply, QMap<QString, QVariant>& out)
{
    return readDataInto(reply, out, '{', [&](Reader& reader, ondemand::value value) {
        return reader.object(value.get_object(), KeyTable::flatRoot, out, 2);
    });
}

bool readDataListFlattened(const QByteArray& reply, QList<QVariant>& out)
{
    return readList(reply, KeyTable::flatRoot, out);
}

bool readDataList(const QByteArray& reply, QList<QVariant>& out)
{
    return readList(reply, KeyTable::plainRoot, out);
}

} // namespace JsonText
