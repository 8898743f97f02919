// SPDX-License-Identifier: MIT
#include <json/jsonreader.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <limits>
#include <malloc.h>
#include <sys/mman.h>
#include <thread>
#include <vector>

namespace {

const QVariant nullValue = QVariant::fromValue(nullptr);

QVariantMap object(const QByteArray& text)
{
    QVariantMap out;
    JsonText::readObject(text, out);
    return out;
}

QVariantMap flattened(const QByteArray& text)
{
    QVariantMap out;
    JsonText::readFlattened(text, out);
    return out;
}

QByteArray reply(const QByteArray& data)
{
    return R"({"code":0,"message":"ok","data":)" + data + "}";
}

// Every operation on @p text gives nothing.
void givesNothing(const QByteArray& text)
{
    QVariantMap out{{"old", 1}};
    QVERIFY(!JsonText::readObject(text, out));
    QVERIFY(out.isEmpty());
    out = {{"old", 1}};
    QVERIFY(!JsonText::readFlattened(text, out));
    QVERIFY(out.isEmpty());
    QVERIFY(JsonText::dataFlattened(text).isEmpty());
    QVERIFY(JsonText::dataListFlattened(text).isEmpty());
    QVERIFY(JsonText::dataList(text).isEmpty());
}

QByteArray nested(int levels)
{
    return QByteArray(levels, '[') + QByteArray(levels, ']');
}

QByteArray nestedObjects(int levels)
{
    return QByteArray("{\"k\":").repeated(levels - 1) + "{}" + QByteArray(levels - 1, '}');
}

// The result of another parser, in our types. QJsonDocument cannot be used here: it leaks memory on some
// duplicate keys.
QVariant toVariant(const nlohmann::json& value)
{
    switch (value.type()) {
    case nlohmann::json::value_t::object: {
        QVariantMap map;
        for (const auto& member : value.items()) {
            map.insert(QString::fromStdString(member.key()), toVariant(member.value()));
        }
        return map;
    }
    case nlohmann::json::value_t::array: {
        QVariantList list;
        for (const nlohmann::json& element : value) {
            list.append(toVariant(element));
        }
        return list;
    }
    case nlohmann::json::value_t::string:
        return QString::fromStdString(value.get<std::string>());
    case nlohmann::json::value_t::boolean:
        return value.get<bool>();
    case nlohmann::json::value_t::number_integer:
    case nlohmann::json::value_t::number_unsigned:
        return value.get<qlonglong>();
    case nlohmann::json::value_t::number_float:
        return value.get<double>();
    default:
        return nullValue;
    }
}

} // namespace

class TestJsonReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void completeTextsAreComplete_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text : {"{}",
                                 "[]",
                                 "null",
                                 "true",
                                 "false",
                                 "0",
                                 "-1",
                                 "1.5",
                                 "1e5",
                                 "\"\"",
                                 "\"a\"",
                                 " \t\r\n{ } \n",
                                 "{\"a\":[1,{\"b\":null}]}",
                                 "[[],{},\"\\u00e9\\n\"]",
                                 "-0",
                                 "123456789012345678901234567890",
                                 "\"\\ud800\"",
                                 "1e-400",
                                 "\xEF\xBB\xBF[1]",
                                 "7 "}) {
            QTest::newRow(text) << QByteArray(text);
        }
        QTest::newRow("deepest") << nested(JsonText::maxDepth);
        QTest::newRow("deepest objects") << nestedObjects(JsonText::maxDepth);
    }
    void completeTextsAreComplete()
    {
        QFETCH(QByteArray, text);
        QVERIFY(JsonText::isComplete(text));
    }

    void everythingElseIsNot_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text : {" ",
                                 "\n",
                                 "{",
                                 "}",
                                 "[",
                                 "]",
                                 "\"",
                                 "\"a",
                                 "{\"a\"",
                                 "{\"a\":",
                                 "{\"a\":1",
                                 "{\"a\":1,",
                                 "{\"a\":1,}",
                                 "{\"a\" 1}",
                                 "{a:1}",
                                 "{1:1}",
                                 "{\"a\":1 \"b\":2}",
                                 "{,}",
                                 "[1",
                                 "[1,",
                                 "[1,]",
                                 "[,]",
                                 "[1 2]",
                                 "{}{}",
                                 "{}x",
                                 "[]]",
                                 "{}}",
                                 "[}",
                                 "{]",
                                 "{\"a\":]}",
                                 "nul",
                                 "nulls",
                                 "nil",
                                 "tru",
                                 "truex",
                                 "True",
                                 "falsey",
                                 "01",
                                 "-",
                                 "+1",
                                 ".5",
                                 "1.",
                                 "1e",
                                 "1e+",
                                 "0x10",
                                 "1 2",
                                 "true false",
                                 "\"a\" 1",
                                 "1e400",
                                 "-1e400",
                                 "1e99999999999999999999",
                                 "1e+99999999999999999999",
                                 "NaN",
                                 "Infinity",
                                 "\"\\q\"",
                                 "\"\\u12\"",
                                 "\"\\u12g4\"",
                                 "\"\\\"",
                                 "\"a\nb\"",
                                 "\"a\tb\"",
                                 "\"\xff\"",
                                 "\"\xc3\"",
                                 "\"\xc0\xaf\"",
                                 "\"\xed\xa0\x80\"",
                                 "\"\xf4\x90\x80\x80\"",
                                 "[\"a\"x]",
                                 "[1x]",
                                 "'a'",
                                 "[/**/]",
                                 "\xEF\xBB\xBF",
                                 "\xEF\xBB",
                                 "\xEF\xBB\xBF\xEF\xBB\xBF{}",
                                 "{\"\\q\":1}",
                                 "[\"\\ud800\\q\"]"}) {
            QTest::newRow(text) << QByteArray(text);
        }
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("null array") << QByteArray();
        QTest::newRow("NUL behind") << QByteArray("{}\0", 3);
        QTest::newRow("NUL within") << QByteArray("[1,\0]", 5);
        QTest::newRow("too deep") << nested(JsonText::maxDepth + 1);
        QTest::newRow("objects too deep") << nestedObjects(JsonText::maxDepth + 1);
        QTest::newRow("far too deep") << nested(1000000);
        QTest::newRow("far too deep and open") << QByteArray(1000000, '[');
        const QByteArray zeros(400, '0');
        QTest::newRow("a number of too many digits") << "1" + zeros;
        QTest::newRow("a fraction of too many digits") << "-1" + zeros + ".5";
        QTest::newRow("a small fraction of something too large") << "0." + zeros + "1e+800";
        QTest::newRow("objects far too deep and open") << QByteArray("{\"k\":").repeated(200000);
    }
    void everythingElseIsNot()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!JsonText::isComplete(text));
        givesNothing(text);
        givesNothing(reply(text));
        givesNothing(R"({"before":)" + text + R"(,"data":{"a":1}})");
    }

    void anObjectIsReadAsParsed()
    {
        QVariantMap out{{"old", 1}};
        QVERIFY(JsonText::readObject(
            R"({"a":1,"b":{"c":{"d":"e"},"f":{}},"g":[1,[2],{"h":3}],"i":null,"j":true})", out));
        QCOMPARE(out, (QVariantMap{{"a", 1},
                                   {"b", QVariantMap{{"c", QVariantMap{{"d", "e"}}}, {"f", QVariantMap()}}},
                                   {"g", QVariantList{1, QVariantList{2}, QVariantMap{{"h", 3}}}},
                                   {"i", nullValue},
                                   {"j", true}}));
    }

    void anEmptyObjectIsRead()
    {
        QVariantMap out{{"old", 1}};
        QVERIFY(JsonText::readObject("{}", out));
        QVERIFY(out.isEmpty());
        out = {{"old", 1}};
        QVERIFY(JsonText::readFlattened(" { } ", out));
        QVERIFY(out.isEmpty());
    }

    void whatIsNoObjectGivesNothing_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text : {"[]", "[{\"data\":[1]}]", "1", "\"data\"", "null", "true"}) {
            QTest::newRow(text) << QByteArray(text);
        }
    }
    void whatIsNoObjectGivesNothing()
    {
        QFETCH(QByteArray, text);
        givesNothing(text);
    }

    void nestedMembersStandUnderKeyPaths()
    {
        QCOMPARE(flattened(R"({"a":{"b":{"c":1},"d":2},"e":3})"),
                 (QVariantMap{{"a.b.c", 1}, {"a.d", 2}, {"e", 3}}));
    }

    void anEmptyNestedObjectStaysAnEntry()
    {
        QCOMPARE(flattened(R"({"a":{},"b":{"c":{}}})"),
                 (QVariantMap{{"a", QVariantMap()}, {"b.c", QVariantMap()}}));
    }

    void anArrayStaysOneEntryAsParsed()
    {
        QCOMPARE(
            flattened(R"({"a":{"b":[{"c":{"d":1}},[{"e":{"f":2}}],3]},"g":[]})"),
            (QVariantMap{{"a.b", QVariantList{QVariantMap{{"c", QVariantMap{{"d", 1}}}},
                                              QVariantList{QVariantMap{{"e", QVariantMap{{"f", 2}}}}}, 3}},
                         {"g", QVariantList()}}));
    }

    void dotsInKeysAreTakenAsTheyAre()
    {
        QCOMPARE(flattened(R"({"a.b":1,"c":{"d.e":2},"":{"":3},".":4})"),
                 (QVariantMap{{"a.b", 1}, {"c.d.e", 2}, {".", 4}}));
        QCOMPARE(object(R"({"a.b":1})"), (QVariantMap{{"a.b", 1}}));
    }

    void ofTheSamePathTheLaterInTheTextCounts()
    {
        QCOMPARE(flattened(R"({"a.b":1,"a":{"b":2}})"), (QVariantMap{{"a.b", 2}}));
        QCOMPARE(flattened(R"({"a":{"b":2},"a.b":1})"), (QVariantMap{{"a.b", 1}}));
    }

    void ofADuplicateKeyTheLastCounts_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QVariantMap>("plain");
        QTest::addColumn<QVariantMap>("flat");
        const auto row = [](const char* name, const char* text, const QVariantMap& plain,
                            const QVariantMap& flat) {
            QTest::newRow(name) << QByteArray(text) << plain << flat;
        };
        const QVariantMap one{{"a", 1}};
        row("scalar by scalar", R"({"a":2,"a":1})", one, one);
        row("scalar three times", R"({"a":2,"b":5,"a":3,"a":1})", {{"a", 1}, {"b", 5}}, {{"a", 1}, {"b", 5}});
        row("object by scalar", R"({"a":{"b":2,"c":{"d":3}},"a":1})", one, one);
        row("scalar by object", R"({"a":1,"a":{"b":2}})", {{"a", QVariantMap{{"b", 2}}}}, {{"a.b", 2}});
        row("object by object", R"({"a":{"b":1,"c":2},"a":{"c":3}})", {{"a", QVariantMap{{"c", 3}}}},
            {{"a.c", 3}});
        row("object by empty object", R"({"a":{"b":1},"a":{}})", {{"a", QVariantMap()}},
            {{"a", QVariantMap()}});
        row("empty object by object", R"({"a":{},"a":{"b":1}})", {{"a", QVariantMap{{"b", 1}}}},
            {{"a.b", 1}});
        row("object by array", R"({"a":{"b":1},"a":[2]})", {{"a", QVariantList{2}}},
            {{"a", QVariantList{2}}});
        row("array by object", R"({"a":[2],"a":{"b":1}})", {{"a", QVariantMap{{"b", 1}}}}, {{"a.b", 1}});
        row("object by null", R"({"a":{"b":1},"a":null})", {{"a", nullValue}}, {{"a", nullValue}});
        row("nested", R"({"a":{"b":1,"c":5,"b":{"d":2},"b":3}})", {{"a", QVariantMap{{"b", 3}, {"c", 5}}}},
            {{"a.b", 3}, {"a.c", 5}});
        row("both levels", R"({"a":{"b":{"c":1}},"x":7,"a":{"b":{"d":2},"b":{"e":3}}})",
            {{"a", QVariantMap{{"b", QVariantMap{{"e", 3}}}}}, {"x", 7}}, {{"a.b.e", 3}, {"x", 7}});
        row("differently escaped", R"({"a":{"b":2},"\u0061":1})", one, one);
        row("escaped first", R"({"\u0061":{"b":2},"a":1})", one, one);
        row("within an array", R"({"l":[{"a":1,"a":{"b":2}}]})",
            {{"l", QVariantList{QVariantMap{{"a", QVariantMap{{"b", 2}}}}}}},
            {{"l", QVariantList{QVariantMap{{"a", QVariantMap{{"b", 2}}}}}}});
        row("an array's objects", R"({"l":[{"a":5}],"l":[{"a":1},{"b":2}]})",
            {{"l", QVariantList{one, QVariantMap{{"b", 2}}}}},
            {{"l", QVariantList{one, QVariantMap{{"b", 2}}}}});
        row("empty key", R"({"":1,"":2})", {{"", 2}}, {{"", 2}});
    }
    void ofADuplicateKeyTheLastCounts()
    {
        QFETCH(QByteArray, text);
        QFETCH(QVariantMap, plain);
        QFETCH(QVariantMap, flat);
        // The second round encounters keys and shapes from the first one.
        for (int round = 0; round < 3; ++round) {
            QCOMPARE(object(text), plain);
            QCOMPARE(flattened(text), flat);
            QCOMPARE(JsonText::dataFlattened(reply(text)), flat);
            QCOMPARE(JsonText::dataListFlattened(reply("[" + text + "," + text + "]")),
                     (QVariantList{flat, flat}));
            QCOMPARE(JsonText::dataList(reply("[" + text + "]")), QVariantList{plain});
        }
    }

    void manyDuplicatesAreReadInTime()
    {
        QByteArray text = "{";
        for (int i = 0; i < 50000; ++i) {
            text += "\"k" + QByteArray::number(i) + "\":1,";
        }
        for (int i = 0; i < 200000; ++i) {
            text += "\"a\":{\"b\":1},";
        }
        text += "\"a\":2}";
        const QVariantMap map = flattened(text);
        QCOMPARE(map.size(), 50001);
        QCOMPARE(map.value("a"), QVariant(2));
    }

    void theLastDataCounts()
    {
        QCOMPARE(JsonText::dataFlattened(R"({"data":{"a":1},"data":{"b":2}})"), (QVariantMap{{"b", 2}}));
        QCOMPARE(JsonText::dataFlattened(R"({"data":[1],"data":{"b":2}})"), (QVariantMap{{"b", 2}}));
        QCOMPARE(JsonText::dataFlattened(R"({"data":{"b":2},"data":[1]})"), QVariantMap());
        QCOMPARE(JsonText::dataFlattened(R"({"data":{"b":2},"d\u0061ta":null})"), QVariantMap());
        QCOMPARE(JsonText::dataList(R"({"data":[1],"data":[2]})"), QVariantList{2});
        QCOMPARE(JsonText::dataList(R"({"data":[1],"data":{}})"), QVariantList());
        QCOMPARE(JsonText::dataListFlattened(R"({"data":{},"data":[2]})"), QVariantList{2});
        QCOMPARE(JsonText::dataListFlattened(R"({"data":[2],"data":0})"), QVariantList());
    }

    void dataIsFoundWhereverItStands_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("alone") << QByteArray(R"({"data":{"a":{"b":1}}})");
        QTest::newRow("first") << QByteArray(R"({"data":{"a":{"b":1}},"code":0,"message":"m"})");
        QTest::newRow("last") << QByteArray(
            R"({"code":0,"more":{"data":{"x":1}},"list":[{"data":2}],"data":{"a":{"b":1}}})");
        QTest::newRow("escaped") << QByteArray(R"({"\u0064ata":{"a":{"b":1}}})");
        QTest::newRow("others alike") << QByteArray(R"({"dat":1,"data":{"a":{"b":1}},"data2":2,"Data":3})");
        QTest::newRow("white space") << QByteArray("\n{ \"data\" : { \"a\" : { \"b\" : 1 } } }\n");
    }
    void dataIsFoundWhereverItStands()
    {
        QFETCH(QByteArray, text);
        QCOMPARE(JsonText::dataFlattened(text), (QVariantMap{{"a.b", 1}}));
    }

    void aKeyThatIsPassedOverEndsWithItsEscape()
    {
        const QByteArray text = R"({"data":{"a":1},"b\n":2})";
        // Whoever reads on behind the key comes to this.
        QByteArray dirty = text + " \\qq\"" + QByteArray(200, ' ');
        dirty.resize(text.size());
        QCOMPARE(JsonText::dataFlattened(dirty), (QVariantMap{{"a", 1}}));
    }

    void dataOfAnotherKindGivesNothing_data()
    {
        QTest::addColumn<QByteArray>("data");
        for (const char* data : {"null", "1", "1.5", "\"text\"", "true", "{}", "[]"}) {
            QTest::newRow(data) << QByteArray(data);
        }
    }
    void dataOfAnotherKindGivesNothing()
    {
        QFETCH(QByteArray, data);
        QVERIFY(JsonText::dataFlattened(reply(data)).isEmpty());
        QVERIFY(JsonText::dataList(reply(data)).isEmpty());
        QVERIFY(JsonText::dataListFlattened(reply(data)).isEmpty());
    }

    void aReplyWithoutDataGivesNothing()
    {
        QVERIFY(JsonText::dataFlattened(R"({"code":0,"a":{"data":{"b":1}}})").isEmpty());
        QVERIFY(JsonText::dataList(R"({"code":0,"a":{"data":[1]}})").isEmpty());
    }

    void aDataListKeepsItsElements()
    {
        const QByteArray text = reply(R"([1,"a",null,true,{"a":{"b":1}},[{"c":{"d":2}}],{}])");
        QCOMPARE(JsonText::dataList(text),
                 (QVariantList{1, "a", nullValue, true, QVariantMap{{"a", QVariantMap{{"b", 1}}}},
                               QVariantList{QVariantMap{{"c", QVariantMap{{"d", 2}}}}}, QVariantMap()}));
    }

    void onlyObjectsThatAreElementsAreFlattened()
    {
        const QByteArray text =
            reply(R"([1,{"a":{"b":{"c":1}},"l":[{"m":{"n":2}}]},[{"c":{"d":2}}],[[{"c":{"d":2}}]],{}])");
        const QVariantMap inner{{"c", QVariantMap{{"d", 2}}}};
        QCOMPARE(
            JsonText::dataListFlattened(text),
            (QVariantList{
                1, QVariantMap{{"a.b.c", 1}, {"l", QVariantList{QVariantMap{{"m", QVariantMap{{"n", 2}}}}}}},
                QVariantList{inner}, QVariantList{QVariant(QVariantList{inner})}, QVariantMap()}));
    }

    void numbersArriveInTheirType_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QVariant>("expected");
        const auto row = [](const char* text, const QVariant& expected) {
            QTest::newRow(text) << QByteArray(text) << expected;
        };
        row("0", 0LL);
        row("-0", 0LL);
        row("42", 42LL);
        row("-42", -42LL);
        row("9007199254740993", 9007199254740993LL);
        row("9223372036854775807", std::numeric_limits<qlonglong>::max());
        row("-9223372036854775808", std::numeric_limits<qlonglong>::min());
        row("9223372036854775808", 9223372036854775808ULL);
        row("18446744073709551615", std::numeric_limits<qulonglong>::max());
        row("18446744073709551616", 18446744073709551616.0);
        row("-9223372036854775809", -9223372036854775809.0);
        row("100000000000000000000000000000000", 1e32);
        row("2.0", 2.0);
        row("-2.50", -2.5);
        row("0.1", 0.1);
        row("1e3", 1000.0);
        row("1E-2", 0.01);
        row("1.5e+300", 1.5e300);
        row("5e-324", 5e-324);
        row("1e-400", 0.0);
        row("-1e-400", 0.0);
        row("-0.1e-400", 0.0);
        row("1e-99999999999999999999", 0.0);
        row(("1" + QByteArray(400, '0') + "e-800").constData(), 0.0);
        row(("1" + QByteArray(400, '0') + ".0E-800").constData(), 0.0);
        row(("0." + QByteArray(400, '0') + "1e+5").constData(), 0.0);
        row("0.1000000000000000055511151231257827021181583404541015625", 0.1);
        row("179769313486231570000e288", std::numeric_limits<double>::max());
    }
    void numbersArriveInTheirType()
    {
        QFETCH(QByteArray, text);
        QFETCH(QVariant, expected);
        for (const QByteArray& around : {QByteArray(), QByteArray(" "), QByteArray("\n\t")}) {
            const QVariant value = object("{\"a\":" + around + text + around + "}").value("a");
            QCOMPARE(value.userType(), expected.userType());
            QCOMPARE(value, expected);
        }
        QVERIFY(JsonText::isComplete(text));
    }

    void nullBoolAndStringArriveAsInTheDocument_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text : {"null", "true", "false", "\"\"", "\"a\"", "{}", "[]"}) {
            QTest::newRow(text) << QByteArray(text);
        }
    }
    void nullBoolAndStringArriveAsInTheDocument()
    {
        QFETCH(QByteArray, text);
        const QByteArray whole = "{\"a\":" + text + "}";
        const QVariant value = object(whole).value("a");
        const QVariant expected = QJsonDocument::fromJson(whole).object().toVariantMap().value("a");
        QCOMPARE(value.userType(), expected.userType());
        QCOMPARE(value, expected);
        QCOMPARE(value.isNull(), expected.isNull());
    }

    void stringsAreDecoded_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* text, const QString& expected) {
            QTest::newRow(text) << QByteArray(text) << expected;
        };
        row("", QString(""));
        row("abcdefgh", QString("abcdefgh"));
        row("abcdefghi", QString("abcdefghi"));
        row(R"(\"\\\/\b\f\n\r\t)", QString("\"\\/\b\f\n\r\t"));
        row(R"(abcdefg\\)", QString("abcdefg\\"));
        row(R"(abcdefgh\")", QString("abcdefgh\""));
        row(R"(\u0041\u00e9\u5C4F)", QString::fromUtf8("A\u00e9\u5c4f"));
        row(R"(\ud83d\udcfa)", QString::fromUtf8("\U0001f4fa"));
        row("\u00e9\u07ff\u0800\u5c4f\uffff", QString::fromUtf8("\u00e9\u07ff\u0800\u5c4f\uffff"));
        row("\U00010000\U0001f4fa\U0010ffff", QString::fromUtf8("\U00010000\U0001f4fa\U0010ffff"));
        row("\x7f", QString("\x7f"));
        row(R"(a\u0000b)", QString("a") + QChar(0) + "b");
        row("\xEF\xBB\xBF"
            "a",
            QString(QChar(0xfeff)) + "a");
        row("  a  ", QString("  a  "));
        row("{[:,]}", QString("{[:,]}"));
        row(R"(\ud800)", QString(QChar(0xd800)));
        row(R"(\udc00\ud800)", QString(QChar(0xdc00)) + QChar(0xd800));
        row(R"(\ud800x)", QString(QChar(0xd800)) + "x");
    }
    void stringsAreDecoded()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, expected);
        QCOMPARE(object("{\"a\":\"" + text + "\"}"), (QVariantMap{{"a", expected}}));
        QCOMPARE(object("{\"a\": \"" + text + "\" \n}"), (QVariantMap{{"a", expected}}));
        QCOMPARE(object("{\"" + text + "\":1}"), (QVariantMap{{expected, 1}}));
        QCOMPARE(flattened("{\"" + text + "\":{\"" + text + "\":1}}"),
                 (QVariantMap{{expected + '.' + expected, 1}}));
    }

    void keysWithALoneSurrogateAreTold()
    {
        QCOMPARE(object(R"({"\ud800":1,"\ud801":2,"?":3,"\ud800":4})"),
                 (QVariantMap{{QString(QChar(0xd800)), 4}, {QString(QChar(0xd801)), 2}, {"?", 3}}));
    }

    void aKeyThatLooksLikeTextIsNotMistaken()
    {
        // Known from the first text, the key reads like the start of the second one.
        QCOMPARE(object("{\"a\\\":1,\\\"b\":2}"), (QVariantMap{{"a\":1,\"b", 2}}));
        QCOMPARE(object("{\"a\":1,\"b\":2}"), (QVariantMap{{"a", 1}, {"b", 2}}));
        QCOMPARE(object("{\"a\\\\n\":2}"), (QVariantMap{{"a\\n", 2}}));
        QCOMPARE(object("{\"a\\n\":2}"), (QVariantMap{{"a\n", 2}}));
        QCOMPARE(object(R"({"\u005c\u005c":1})"), (QVariantMap{{"\\\\", 1}}));
        QCOMPARE(object(R"({"\\":2})"), (QVariantMap{{"\\", 2}}));
    }

    void aByteOrderMarkInFrontIsSkipped()
    {
        QCOMPARE(object("\xEF\xBB\xBF{\"a\":1}"), (QVariantMap{{"a", 1}}));
        QCOMPARE(JsonText::dataList("\xEF\xBB\xBF" + reply("[1]")), QVariantList{1});
    }

    void everyPrefixOfATextGivesNothing()
    {
        const QByteArray text = reply(R"([{"a":{"b":1.5,"c":[true,null]},"d":"x\u00e9y"},2])");
        for (int size = 0; size < text.size(); ++size) {
            QVERIFY2(!JsonText::isComplete(text.left(size)), text.left(size).constData());
            givesNothing(text.left(size));
        }
        QVERIFY(JsonText::isComplete(text));
        QCOMPARE(JsonText::dataList(text).size(), 2);
    }

    void whatFollowsTheTextGivesNothing_data()
    {
        QTest::addColumn<QByteArray>("garbage");
        for (const char* garbage :
             {"x", "}", "]", ",", "{}", "1", "\"", "\"a\"", "null", "\xff", "\xEF\xBB\xBF"}) {
            QTest::newRow(garbage) << QByteArray(garbage);
        }
        QTest::newRow("NUL") << QByteArray(1, '\0');
    }
    void whatFollowsTheTextGivesNothing()
    {
        QFETCH(QByteArray, garbage);
        for (const QByteArray& data : {QByteArray("{\"a\":1}"), QByteArray("[1]")}) {
            const QByteArray text = reply(data) + garbage;
            QVERIFY(!JsonText::isComplete(text));
            givesNothing(text);
        }
    }

    void theDepthIsBoundedInEveryOperation()
    {
        const QByteArray inner = nestedObjects(JsonText::maxDepth - 2);
        QVERIFY(!JsonText::dataFlattened(reply("{\"k\":" + inner + "}")).isEmpty());
        QVERIFY(JsonText::dataFlattened(reply("{\"k\":{\"k\":" + inner + "}}")).isEmpty());
        QVERIFY(!JsonText::dataList(reply("[" + inner + "]")).isEmpty());
        QVERIFY(JsonText::dataList(reply("[[" + inner + "]]")).isEmpty());
        QVERIFY(!JsonText::dataListFlattened(reply("[" + inner + "]")).isEmpty());
        QVERIFY(JsonText::dataListFlattened(reply("[[" + inner + "]]")).isEmpty());
        QVERIFY(!object("{\"a\":[" + inner + "]}").isEmpty());
        QVERIFY(object("{\"a\":[[" + inner + "]]}").isEmpty());
        QVERIFY(!flattened("{\"a\":[" + inner + "]}").isEmpty());
        QVERIFY(flattened("{\"a\":[[" + inner + "]]}").isEmpty());
    }

    void aTextWithAndWithoutRoomBehindReadsTheSame()
    {
        const char jsonText[] = R"({"a":{"b":"c"}})";
        const QVariantMap expected{{"a.b", "c"}};
        QByteArray tight(jsonText);
        tight.squeeze();
        QCOMPARE(flattened(tight), expected);
        QByteArray roomy(jsonText);
        roomy.reserve(4096);
        QCOMPARE(flattened(roomy), expected);
        // The bytes after the text do not matter.
        QByteArray dirty = QByteArray(jsonText) + QByteArray(200, ']');
        dirty.resize(int(sizeof jsonText) - 1);
        QCOMPARE(flattened(dirty), expected);
        dirty.resize(int(sizeof jsonText) - 2);
        QCOMPARE(flattened(dirty), QVariantMap());
        QCOMPARE(flattened(QByteArray::fromRawData(jsonText, int(sizeof jsonText) - 1)), expected);
        QCOMPARE(flattened(QByteArray::fromRawData(jsonText, int(sizeof jsonText) - 2)), QVariantMap());
    }

    void objectsOfChangingShapesAreReadAlike()
    {
        QByteArray text = "[";
        QVariantList plain;
        QVariantList flat;
        QRandomGenerator random(7);
        for (int i = 0; i < 500; ++i) {
            QVariantMap map;
            QVariantMap flatMap;
            QByteArray members;
            for (int member = int(random.bounded(6)); member > 0; --member) {
                const QString key = QString(QChar('a' + int(random.bounded(8))));
                if (map.contains(key)) {
                    continue;
                }
                members += (members.isEmpty() ? "\"" : ",\"") + key.toUtf8() +
                           "\":{\"x\":" + QByteArray::number(i) + "}";
                map.insert(key, QVariantMap{{"x", i}});
                flatMap.insert(key + ".x", i);
            }
            text += (i == 0 ? "{" : ",{") + members + "}";
            plain.append(map);
            flat.append(flatMap);
        }
        text += "]";
        QCOMPARE(JsonText::dataList(reply(text)), plain);
        QCOMPARE(JsonText::dataListFlattened(reply(text)), flat);
    }

    void mapsOfTheSameShapeAreIndependent()
    {
        QVariantList list = JsonText::dataList(reply(R"([{"a":1,"b":2},{"a":3,"b":4},{"a":5,"b":6}])"));
        QVariantMap changed = list.at(1).toMap();
        changed.insert("a", 9);
        changed.remove("b");
        QCOMPARE(list, (QVariantList{QVariantMap{{"a", 1}, {"b", 2}}, QVariantMap{{"a", 3}, {"b", 4}},
                                     QVariantMap{{"a", 5}, {"b", 6}}}));
        QCOMPARE(JsonText::dataList(reply(R"([{"a":7,"b":8}])")),
                 (QVariantList{QVariantMap{{"a", 7}, {"b", 8}}}));
    }

    void whatWasReadBeforeDoesNotShowInTheNextResult_data()
    {
        QTest::addColumn<QByteArrayList>("texts");
        const QByteArray list = R"([{"a":1,"b":"x"},{"a":2,"b":"y"},{"a":3,"b":"z"}])";
        QTest::newRow("other values") << QByteArrayList{list, R"([{"a":7,"b":"w"},{"a":8,"b":"y"}])"};
        QTest::newRow("other types") << QByteArrayList{
            list, R"([{"a":"1","b":{}},{"a":[],"b":null},{"a":{"c":1},"b":[2]}])", list};
        QTest::newRow("fewer") << QByteArrayList{list, R"([{"a":1,"b":2}])", "[]", list};
        QTest::newRow("fewer members") << QByteArrayList{list, R"([{"a":1,"b":"x"},{"a":2},{},{"b":3}])"};
        QTest::newRow("more members")
            << QByteArrayList{list, list, R"([{"a":1,"b":2,"c":3},{"a":1,"b":2,"c":3},{"b":1,"c":2,"a":3}])"};
        QTest::newRow("members that occur again")
            << QByteArrayList{R"([{"o":{"x":1,"y":2}},{"o":{"x":1,"y":2}}])",
                              R"([{"o":{"x":1},"o":{"y":2}},{"o":{"x":1,"y":2},"o":{}}])"};
        QTest::newRow("lists in objects in lists")
            << QByteArrayList{R"([{"l":[{"p":1},{"p":2}],"m":[[1,2],[3]]},{"l":[{"p":1},{"p":2}],"m":[]}])",
                              R"([{"l":[{"p":5}],"m":[[1],[3,4],5]},{"l":[{"q":1},2],"m":{"l":1}}])"};
        QTest::newRow("strings that look alike")
            << QByteArrayList{R"(["\u00e9","\u00c3\u00a9","a"])", "[\"\xC3\xA9\",\"\xC3\xA9\",\"\\u0061\"]"};
        QTest::newRow("no list") << QByteArrayList{list, R"({"a":1})", list, "1", list, "[1"};
    }
    void whatWasReadBeforeDoesNotShowInTheNextResult()
    {
        QFETCH(QByteArrayList, texts);
        QVariantList flat;
        QVariantList plain;
        for (int i = 0; i < 3 * texts.size(); ++i) {
            const QByteArray text = reply(texts.at(i % texts.size()));
            QCOMPARE(JsonText::readDataListFlattened(text, flat), JsonText::isComplete(text));
            QCOMPARE(flat, JsonText::dataListFlattened(text));
            JsonText::readDataList(text, plain);
            QCOMPARE(plain, JsonText::dataList(text));
            QVariantMap map{{"list", flat}, {"old", true}};
            JsonText::readFlattened(text, map);
            QCOMPARE(map, flattened(text));
        }
        flat = {1};
        QVERIFY(JsonText::readDataListFlattened(R"({"code":0})", flat));
        QVERIFY(flat.isEmpty());
    }

    void randomTextsAreReadIntoEarlierResultsAsIntoNone()
    {
        QRandomGenerator random(11);
        QVariantMap flat;
        QVariantMap plain;
        for (int i = 0; i < 4000; ++i) {
            QByteArray text;
            const std::function<void(int)> write = [&](int depth) {
                const int kind = int(random.bounded(depth < 3 ? 6 : 4));
                if (kind >= 4) {
                    text += kind == 4 ? '{' : '[';
                    for (int member = 0, count = int(random.bounded(4)); member < count; ++member) {
                        text += member == 0 ? "" : ",";
                        if (kind == 4) {
                            text += QByteArray("\"") + "aab"[random.bounded(3)] + "\":";
                        }
                        write(depth + 1);
                    }
                    text += kind == 4 ? '}' : ']';
                } else {
                    text += QByteArrayList{"1", "\"x\"", "null", "2.5"}.at(kind);
                }
            };
            text = "{\"a\":";
            write(0);
            text += ",\"b\":";
            write(0);
            text += '}';
            QVERIFY(JsonText::readFlattened(text, flat));
            QCOMPARE(flat, flattened(text));
            QVERIFY(JsonText::readObject(text, plain));
            QCOMPARE(QVariant(plain), toVariant(nlohmann::json::parse(text.cbegin(), text.cend())));
        }
    }

    void copiesOfAnEarlierResultStayAsTheyAre()
    {
        const QByteArray first = reply(R"([{"a":1,"l":[1,{"p":1}]},{"a":2,"l":[2,{"p":2}]}])");
        const QByteArray second = reply(R"([{"a":3,"l":[3,{"p":3}]},{"a":4,"l":[4,{"p":4}]}])");
        const QVariantList expected = JsonText::dataListFlattened(first);
        QVariantList out = JsonText::dataListFlattened(first);
        const QVariantList whole = out;
        JsonText::readDataListFlattened(second, out);
        QCOMPARE(whole, expected);
        JsonText::readDataListFlattened(first, out);
        const QVariant element = out.at(0);
        const QVariantMap map = out.at(1).toMap();
        const QVariantList inner = map.value("l").toList();
        JsonText::readDataListFlattened(second, out);
        QCOMPARE(element, expected.at(0));
        QCOMPARE(map, expected.at(1).toMap());
        QCOMPARE(inner, expected.at(1).toMap().value("l").toList());
        QCOMPARE(out, JsonText::dataListFlattened(second));
    }

    // Otherwise each would take the time of the large one, and the test would not end.
    void smallObjectsBehindALargeOneCostNoMoreThanTheyHold()
    {
        QByteArray large = "{";
        for (int i = 0; i < 20000; ++i) {
            large += (i == 0 ? "\"k" : ",\"k") + QByteArray::number(i) + "\":1";
        }
        large += '}';
        for (const QByteArray& small : {QByteArray("{},"), QByteArray("{\"k0\":1},")}) {
            const QByteArray text = '[' + large + ',' + large + ',' + small.repeated(20000) + "{}]";
            QCOMPARE(JsonText::dataList(reply(text)).size(), 20003);
        }
    }

    void aLargeTextIsRead()
    {
        QByteArray text = "[";
        for (int i = 0; i < 5000; ++i) {
            text += (i == 0 ? "" : ",") + QByteArray("{\"id\":\"") + QByteArray::number(i) +
                    "\",\"pos\":{\"x\":" + QByteArray::number(i) +
                    ",\"y\":0.5},\"list\":[1,2,3],\"name\":\"some name\"}";
        }
        text += "]";
        const QVariantList list = JsonText::dataListFlattened(reply(text));
        QCOMPARE(list.size(), 5000);
        QCOMPARE(list.last().toMap(), (QVariantMap{{"id", "4999"},
                                                   {"pos.x", 4999},
                                                   {"pos.y", 0.5},
                                                   {"list", QVariantList{1, 2, 3}},
                                                   {"name", "some name"}}));
    }

    void aTextOfTooManyTokensGivesNothing_data()
    {
        QTest::addColumn<QByteArray>("element");
        QTest::addColumn<int>("tokens");
        QTest::newRow("numbers") << QByteArray("1,") << 2;
        QTest::newRow("lists") << QByteArray("[],") << 3;
        QTest::newRow("objects") << QByteArray("{\"\":1},") << 6;
        QTest::newRow("texts") << QByteArray("\"a\",") << 2;
    }
    // The frame around the elements has 14 tokens, and one comma is left out.
    void aTextOfTooManyTokensGivesNothing()
    {
        QFETCH(QByteArray, element);
        QFETCH(int, tokens);
        const auto textOf = [&](int count) {
            const QByteArray list = element.repeated(count);
            return reply("[" + list.left(list.size() - 1) + "]");
        };
        const int most = (JsonText::maxTokens + 1 - 14) / tokens;
        QCOMPARE(JsonText::dataList(textOf(most)).size(), most);
        const QByteArray text = textOf(most + 1);
        QVariantList list{1};
        QVERIFY(!JsonText::readDataList(text, list));
        QVERIFY(list.isEmpty());
        QVERIFY(!JsonText::isComplete(text));
        givesNothing(text);
    }

    // As a table of coefficients may be one, much longer than there may be tokens.
    void aLongStringIsRead()
    {
        const QByteArray coefficients = QByteArray("[{1,\\n:2},").repeated(2 << 20);
        const QVariantMap map = JsonText::dataFlattened(reply("{\"coefficients\":\"" + coefficients + "\"}"));
        QCOMPARE(map.value("coefficients").toString().size(), 9 * (2 << 20));
    }

    void theNamesOfOneTextAreBoundedHoweverLongItIs()
    {
        QByteArray text = "{\"" + QByteArray(8 << 20, 'k') + "\":{";
        for (int i = 0; i < 9; ++i) {
            text += (i == 0 ? "\"" : ",\"") + QByteArray::number(i) + "\":0";
        }
        text += "}}";
        QVariantMap out;
        QVERIFY(!JsonText::readFlattened(text, out));
        QVERIFY(JsonText::readObject(text, out));
    }

    void manyDistinctKeysAreRead()
    {
        for (int round = 0; round < 3; ++round) {
            QByteArray text = "{";
            for (int i = 0; i < 20000; ++i) {
                text += (i == 0 ? "\"k" : ",\"k") + QByteArray::number(round) + "_" + QByteArray::number(i) +
                        "\":1";
            }
            text += "}";
            QCOMPARE(object(text).size(), 20000);
            QCOMPARE(flattened(text).size(), 20000);
        }
        QCOMPARE(object(R"({"k0_1":2})"), (QVariantMap{{"k0_1", 2}}));
    }

    void pathsThatWouldFillTheMemoryAreRefused()
    {
        QByteArray text = "{\"" + QByteArray(100000, 'k') + "\":{";
        for (int i = 0; i < 10000; ++i) {
            text += (i == 0 ? "\"" : ",\"") + QByteArray::number(i) + "\":0";
        }
        text += "}}";
        QVariantMap out;
        QVERIFY(!JsonText::readFlattened(text, out));
        QVERIFY(out.isEmpty());
        QVERIFY(JsonText::readObject(text, out));
        QVERIFY(JsonText::isComplete(text));
    }

    // Pages that nobody touches take no memory.
    void aTextBeyondTheLongestIsRefusedUnread()
    {
        QCOMPARE(JsonText::maxSize, 1073741760);
        constexpr std::size_t size = std::size_t(1073741761);
        void* const pages =
            ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        QVERIFY(pages != MAP_FAILED);
        givesNothing(QByteArray::fromRawData(static_cast<const char*>(pages), int(size)));
        ::munmap(pages, size);
    }

    // Otherwise the time would grow with the square of their number, whoever sends them.
    void theSameKeyInManyObjectsIsReadInTime()
    {
        constexpr int count = 200000;
        QByteArray text = "{";
        for (int i = 0; i < count; ++i) {
            text += (i == 0 ? "\"k" : ",\"k") + QByteArray::number(i) + "\":{\"x\":1}";
        }
        text += "}";
        QCOMPARE(flattened(text).size(), count);
    }

    // A thread keeps what it learned, so that one of its own has kept nothing yet. An allocator that does not
    // count, such as a sanitizer's, tells nothing.
    void aLargeTextLeavesNoMemoryBehind()
    {
        const auto memory = [] {
            const struct mallinfo2 now = ::mallinfo2();
            return qint64(now.uordblks) + qint64(now.hblkhd);
        };
        qint64 left = 0;
        bool read = false;
        std::thread([&] {
            read = JsonText::isComplete("{}");
            const qint64 before = memory();
            {
                const QByteArray text = '{' + QByteArray("\"a\":1,").repeated(200000) + "\"a\":2}";
                QVariantMap out;
                read = read && JsonText::readFlattened(text, out) && out == QVariantMap{{"a", 2LL}};
            }
            left = memory() - before;
        }).join();
        QVERIFY(read);
        QVERIFY2(left < 1 << 20, qPrintable(QString::number(left)));
    }

    void threadsReadAtTheSameTime()
    {
        const QByteArray text = reply(R"([{"a":{"b":1}},{"a":{"b":2}}])");
        const QVariantList expected{QVariantMap{{"a.b", 1}}, QVariantMap{{"a.b", 2}}};
        std::vector<int> right(4);
        std::vector<std::thread> threads;
        for (int& count : right) {
            threads.emplace_back([&text, &expected, &count] {
                for (int i = 0; i < 200; ++i) {
                    count += JsonText::dataListFlattened(text) == expected ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const int count : right) {
            QCOMPARE(count, 200);
        }
    }

    void damagedTextsAreReadAsOthersReadThem()
    {
        const QByteArrayList originals{
            reply("[{\"a\":{\"b\":1.5,\"c\":[true,null,false]},\"d\":\"x\\u00e9\\\"y\",\"e\":-12},2,\"z\"]"),
            "{\"eventSender\":\"cabinet\",\"eventType\":\"cabinetsChange\",\"eventData\":{\"list\":[1,2,3],"
            "\"o\":{}}}",
            "[[[1,2],[3e5,4.25]],{\"k\":{\"k\":{\"k\":\"\xE5\xB1\x8F\"}}}]"};
        const QByteArray alphabet = "{}[]\",:\\/ \n0129-+.eEtrufalsn\x01\x7f\x80\xc3\xe5\xff";
        QRandomGenerator random(4711);
        int accepted = 0;
        for (int i = 0; i < 60000; ++i) {
            QByteArray text = originals.at(i % originals.size());
            for (int change = 1 + int(random.bounded(3)); change > 0; --change) {
                const int at = int(random.bounded(text.size()));
                const char c = alphabet.at(int(random.bounded(alphabet.size())));
                switch (random.bounded(4)) {
                case 0:
                    text[at] = c;
                    break;
                case 1:
                    text.insert(at, c);
                    break;
                case 2:
                    text.remove(at, 1 + int(random.bounded(3)));
                    break;
                default:
                    text.insert(at, text.mid(int(random.bounded(text.size())), int(random.bounded(12))));
                }
            }
            const bool complete = JsonText::isComplete(text);
            // A lone surrogate is the one thing that we read and others do not.
            if (!text.contains("\\ud")) {
                QVERIFY2(complete == nlohmann::json::accept(text.cbegin(), text.cend()), text.constData());
            }
            QVariantMap plain;
            const bool isObject = JsonText::readObject(text, plain);
            QVariantMap flat;
            QCOMPARE(JsonText::readFlattened(text, flat), isObject);
            JsonText::dataFlattened(text);
            JsonText::dataList(text);
            JsonText::dataListFlattened(text);
            if (!complete) {
                QVERIFY(!isObject);
                continue;
            }
            ++accepted;
            if (isObject && !text.contains("\\ud")) {
                QCOMPARE(QVariant(plain), toVariant(nlohmann::json::parse(text.cbegin(), text.cend())));
            }
        }
        QVERIFY(accepted > 5000);
    }

    void randomBytesDoNoHarm()
    {
        QRandomGenerator random(815);
        for (int i = 0; i < 20000; ++i) {
            QByteArray text(int(random.bounded(200)), Qt::Uninitialized);
            for (char& c : text) {
                c = char(random.bounded(256));
            }
            const bool complete = JsonText::isComplete(text);
            QVariantMap out;
            QVERIFY(!JsonText::readObject(text, out) || complete);
            JsonText::dataListFlattened(reply(text));
        }
    }
};

QTEST_GUILESS_MAIN(TestJsonReader)
#include "tst_jsonreader.moc"
