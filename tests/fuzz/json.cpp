// SPDX-License-Identifier: MIT
//
// JSON: what one reader takes, all of them take, with the same values; and what is written is read again.
#include "json/jsonreader.h"

#include "fuzzing.h"
#include "tesselctl/terminal/jsontext.h"
#include "json/jsonwriter.h"
#include "json/tokencounter.h"

#include <communicator/jsonutil.h>

#include <nlohmann/json.hpp>

#include <optional>

namespace Json = Krelm::Communicator::Json;

namespace {

struct Shape
{
    int depth = 0;
    int members = 0;
    bool hasSurrogate = false; ///< an escape that may lack its partner, which readers treat differently
};

Shape shapeOf(const QByteArray& text)
{
    Shape shape;
    int depth = 0;
    bool isString = false;
    for (int i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isString) {
            isString = c != '"';
            if (c == '\\') {
                shape.hasSurrogate = shape.hasSurrogate || text.mid(i + 1, 2).toLower() == "ud";
                ++i;
            }
        } else if (c == '"') {
            isString = true;
        } else if (c == '{' || c == '[') {
            shape.depth = std::max(shape.depth, ++depth);
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == ':') {
            ++shape.members;
        }
    }
    return shape;
}

// Whether it is JSON for a reader that others wrote; nothing where the two differ on purpose.
std::optional<bool> isJsonElsewhere(const QByteArray& text)
{
    const Shape shape = shapeOf(text);
    // It takes a zero for the end, and calls a lone surrogate an error.
    if (text.contains('\0') || shape.hasSurrogate || shape.depth > JsonText::maxDepth) {
        return std::nullopt;
    }
    return nlohmann::json::accept(text.begin(), text.end());
}

struct Keys
{
    int count = 0;
    qint64 length = 0; ///< of all of them, flattened
};

void countKeys(const QVariant& value, int prefix, Keys& keys)
{
    if (value.userType() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        for (auto member = map.cbegin(); member != map.cend(); ++member) {
            const int length = prefix + static_cast<int>(member.key().size());
            ++keys.count;
            keys.length += length;
            countKeys(*member, length + 1, keys);
        }
    } else if (value.userType() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        for (const QVariant& element : list) {
            countKeys(element, 0, keys);
        }
    }
}

void expectWritable(const QVariantMap& map)
{
    // Numbers change their type at the most, and only once: 2.0 is written as 2.
    const QByteArray written = Json::write(map);
    FUZZ_EXPECT(!written.isEmpty());
    FUZZ_EXPECT(JsonText::isComplete(written));
    QVariantMap again;
    FUZZ_EXPECT(JsonText::readObject(written, again));
    FUZZ_EXPECT(again.size() == map.size());
    const QByteArray second = Json::write(again);
    FUZZ_EXPECT(JsonText::readObject(second, again));
    FUZZ_EXPECT(Json::write(again) == second);
    // With a smaller limit there is either the same text or none.
    Json::Unwritable why{};
    FUZZ_EXPECT(Json::write(map, &why, static_cast<int>(written.size())) == written);
    FUZZ_EXPECT(Json::write(map, &why, static_cast<int>(written.size()) - 1).isEmpty());
    FUZZ_EXPECT(why == Json::Unwritable::TooLong);
}

void expectSameTokens(const QByteArray& text)
{
    JsonText::TokenCounter whole;
    whole.add(text.constData(), static_cast<std::size_t>(text.size()));
    JsonText::TokenCounter pieces;
    Fuzzing::inPieces(text, 1, [&](const char* bytes, std::size_t size) {
        pieces.add(bytes, size);
        return true;
    });
    FUZZ_EXPECT(whole.count() == pieces.count());
    FUZZ_EXPECT(whole.count() <= static_cast<std::size_t>(text.size()));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const QByteArray text = Fuzzing::Input(bytes, size).rest();

    const bool complete = JsonText::isComplete(text);
    QVariantMap plain;
    const bool isObject = JsonText::readObject(text, plain);
    FUZZ_EXPECT(!isObject || complete);
    FUZZ_EXPECT(isObject || plain.isEmpty());

    QVariantMap data;
    QVariantList list;
    QVariantList plainList;
    const bool asMap = JsonText::readDataFlattened(text, data);
    const bool asList = JsonText::readDataListFlattened(text, list);
    const bool asPlainList = JsonText::readDataList(text, plainList);
    // The same into what holds the result of another text, whose memory is used again.
    static thread_local QVariantMap earlierData;
    static thread_local QVariantList earlierList;
    FUZZ_EXPECT(JsonText::readDataFlattened(text, earlierData) == asMap && earlierData == data);
    FUZZ_EXPECT(JsonText::readDataListFlattened(text, earlierList) == asList && earlierList == list);
    FUZZ_EXPECT(asPlainList == isObject);

    QVariantMap flat;
    const bool isFlat = JsonText::readFlattened(text, flat);
    FUZZ_EXPECT(!isFlat || isObject);
    FUZZ_EXPECT(!asMap || isObject);
    FUZZ_EXPECT(!asList || isObject);
    // Only paths that together are many times the text are refused. A repeated member has left the map.
    Keys keys;
    countKeys(plain, 0, keys);
    if (isObject && keys.count == shapeOf(text).members && keys.length / 8 <= text.size()) {
        FUZZ_EXPECT(isFlat && asMap && asList);
    }
    if (isObject && plain.value(QStringLiteral("data")).userType() == QMetaType::QVariantList) {
        FUZZ_EXPECT(plainList == plain.value(QStringLiteral("data")).toList());
        FUZZ_EXPECT(data.isEmpty());
        FUZZ_EXPECT(!asList || list.size() == plainList.size());
    } else {
        FUZZ_EXPECT(plainList.isEmpty() && list.isEmpty());
    }

    // What earlier texts have left behind changes nothing.
    QVariantMap again;
    FUZZ_EXPECT(JsonText::readObject(text, again) == isObject && again == plain);
    FUZZ_EXPECT(JsonText::readFlattened(text, again) == isFlat && again == flat);

    const QString string = QString::fromUtf8(text);
    if (string.toUtf8() == text) {
        FUZZ_EXPECT(JsonUtil::fromJsonToMapWithoutData(string, again) == isObject && again == plain);
        FUZZ_EXPECT(JsonUtil::fromJsonToKeyPathMap(string, again) == isFlat && again == flat);
    }

    if (const std::optional<bool> elsewhere = isJsonElsewhere(text)) {
        FUZZ_EXPECT(complete == *elsewhere);
        if (isObject) {
            const auto parsed = TesselCtl::parseJson(text);
            FUZZ_EXPECT(parsed && parsed->toMap() == plain);
        }
    }
    if (isObject) {
        expectWritable(plain);
    }
    expectSameTokens(text);
    return 0;
}
