// SPDX-License-Identifier: MIT
#include "tesselctl/operations/arguments.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace TesselCtl;
using namespace Tessel::Operations;

Q_DECLARE_METATYPE(ValueType)

class TestArguments : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void textBecomesATypedValue_data();
    void textBecomesATypedValue();
    void textOfTheWrongKindIsRefused_data();
    void textOfTheWrongKindIsRefused();
    void aFileStandsForItsContent();
    void aMissingFileIsNamed();
    void everyTypeHasAPlaceholder();
    void argumentsStandInOrder();
    void argumentsMayCarryTheirNames();
    void aMisspeltNameIsNobodysValue_data();
    void aMisspeltNameIsNobodysValue();
    void aTextThatOnlyHoldsAnEqualsSignIsAValue();
    void theNameOfAnotherOverloadIsNobodysValue();
    void aWrongArgumentIsNamedWithWhatWasExpectedAndWhatCame();
    void missingAndExtraArgumentsAreNamed();
    void anArgumentGivenTwiceIsRefused();
    void theDeviceIsNoArgument();
    void overloadsAreToldApartByTheirCount();
    void overloadsAreToldApartByTheirKind();
    void aSingleWordIsNoListOfWordsWhereATextIsTaken();
    void ofEqualOverloadsTheOneWithAnOutputIsTaken();
    void theFaultOfTheOverloadWithTheRightCountIsTold();

private:
    ArgumentFiles m_files;
};

namespace {

Parameter in(const char* name, ValueType type)
{
    return {name, type, Parameter::In};
}

Parameter out(const char* name, ValueType type)
{
    return {name, type, Parameter::Out};
}

Operation operation(std::vector<Parameter> parameters)
{
    parameters.insert(parameters.begin(), in("deviceKey", ValueType::Text));
    return {"Class", "operation", std::move(parameters), {}};
}

QVariantMap map(const char* key, const QVariant& value)
{
    return {{key, value}};
}

} // namespace

void TestArguments::textBecomesATypedValue_data()
{
    QTest::addColumn<ValueType>("type");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char* name, ValueType type, const char* text, const QVariant& value) {
        QTest::newRow(name) << type << QString(text) << value;
    };
    row("text", ValueType::Text, "hall", "hall");
    row("text that looks like a number", ValueType::Text, "007", "007");
    row("text that looks like a file", ValueType::Text, "@home", "@home");
    row("empty text", ValueType::Text, "", "");
    row("integer", ValueType::Integer, "-42", -42);
    row("long integer", ValueType::LongInteger, "9007199254740993", qlonglong(9007199254740993));
    row("true", ValueType::Boolean, "true", true);
    row("one", ValueType::Boolean, "1", true);
    row("false", ValueType::Boolean, "false", false);
    row("bytes", ValueType::Bytes, "abc", QByteArray("abc"));
    row("map", ValueType::Map, R"({"a":1})", map("a", qlonglong(1)));
    row("empty map", ValueType::Map, "{}", QVariantMap());
    row("nested map", ValueType::Map, R"({"a":{"b":[true,null]}})",
        map("a", map("b", QVariantList{true, QVariant::fromValue(nullptr)})));
    row("integer beyond 2^53", ValueType::Map, R"({"a":9007199254740993})",
        map("a", qlonglong(9007199254740993)));
    row("integer beyond 2^63", ValueType::Map, R"({"a":18446744073709551615})",
        map("a", qulonglong(18446744073709551615ULL)));
    row("fraction", ValueType::Map, R"({"a":2.5})", map("a", 2.5));
    row("list", ValueType::List, R"([1,"x"])", QVariantList{qlonglong(1), "x"});
    row("text map", ValueType::TextMap, R"({"a":"x"})", map("a", "x"));
    row("text list as JSON", ValueType::TextList, R"(["a,b","c"])", QVariantList{"a,b", "c"});
    row("text list as words", ValueType::TextList, "1,2,3", QVariantList{"1", "2", "3"});
    row("list of maps", ValueType::MapList, R"([{"a":1}])", QVariantList{map("a", qlonglong(1))});
    row("map of maps", ValueType::MapOfMaps, R"({"s":{"a":1}})", map("s", map("a", qlonglong(1))));
}

void TestArguments::textBecomesATypedValue()
{
    QFETCH(ValueType, type);
    QFETCH(QString, text);
    QFETCH(QVariant, value);
    const Expected<QVariant> read = valueFromText(type, text, m_files);
    QCOMPARE(read.error(), QString());
    const QVariant& converted = *read;
    QCOMPARE(converted, value);
    QCOMPARE(converted.userType(), value.userType());
}

void TestArguments::textOfTheWrongKindIsRefused_data()
{
    QTest::addColumn<ValueType>("type");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, ValueType type, const QString& text, const char* expected) {
        QTest::newRow(name) << type << text << QString(expected);
    };
    row("word for an integer", ValueType::Integer, "three", "a 32-bit integer");
    row("fraction for an integer", ValueType::Integer, "2.5", "a 32-bit integer");
    row("integer beyond 32 bits", ValueType::Integer, "2147483648", "a 32-bit integer");
    row("integer beyond 64 bits", ValueType::LongInteger, "9223372036854775808", "an integer");
    row("word for a boolean", ValueType::Boolean, "maybe", "true or false");
    row("list for a map", ValueType::Map, "[1]", "a JSON object");
    row("word for a map", ValueType::Map, "brightness", "a JSON object");
    row("broken map", ValueType::Map, R"({"a":)", "parse error");
    row("two maps", ValueType::Map, "{} {}", "parse error");
    row("map for a list", ValueType::List, "{}", "a JSON array");
    row("nested text map", ValueType::TextMap, R"({"a":{}})", "object of strings");
    row("list of lists", ValueType::MapList, "[[]]", "array of objects");
    row("map of words", ValueType::MapOfMaps, R"({"a":1})", "object of objects");
    row("two parts that are no files", ValueType::Parts, R"({"a":"@/no/first","b":"@/no/second"})",
        "/no/first");
    row("too deep", ValueType::List, QString(2000, '[') + QString(2000, ']'), "levels deep");
}

void TestArguments::textOfTheWrongKindIsRefused()
{
    QFETCH(ValueType, type);
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const Expected<QVariant> converted = valueFromText(type, text, m_files);
    const QString error = converted.error();
    QVERIFY(!converted);
    QVERIFY2(error.contains(expected), qPrintable(error));
    QVERIFY2(error.size() < 250, "what came is abridged");
}

void TestArguments::aFileStandsForItsContent()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("body.json"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"a":1})");
    file.close();
    QCOMPARE(*valueFromText(ValueType::Map, "@" + file.fileName(), m_files),
             QVariant(map("a", qlonglong(1))));
    QCOMPARE(*valueFromText(ValueType::Bytes, "@" + file.fileName(), m_files),
             QVariant(QByteArray(R"({"a":1})")));
}

void TestArguments::aMissingFileIsNamed()
{
    const QString error = valueFromText(ValueType::Map, "@/does/not/exist", m_files).error();
    QVERIFY2(error.contains("/does/not/exist"), qPrintable(error));
}

void TestArguments::everyTypeHasAPlaceholder()
{
    for (int type = 0; type <= static_cast<int>(ValueType::MapOfMaps); ++type) {
        QVERIFY(!placeholderOf(static_cast<ValueType>(type)).isEmpty());
    }
}

void TestArguments::argumentsStandInOrder()
{
    const Operation one = operation({in("id", ValueType::Text), in("count", ValueType::Integer)});
    const Expected<BoundCall> call = bindArguments({&one}, {"7", "3"}, m_files);
    QCOMPARE(call.error(), QString());
    QCOMPARE(call->values, (QVariantList{QVariant(), "7", 3}));
}

void TestArguments::argumentsMayCarryTheirNames()
{
    const Operation one = operation({in("id", ValueType::Text), in("count", ValueType::Integer)});
    QCOMPARE(bindArguments({&one}, {"count=3", "id=7"}, m_files)->values, (QVariantList{QVariant(), "7", 3}));
    QCOMPARE(bindArguments({&one}, {"count=3", "7"}, m_files)->values, (QVariantList{QVariant(), "7", 3}));
}

void TestArguments::aMisspeltNameIsNobodysValue_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("beginning of the name")
        << "screen=1"
        << "unknown argument \"screen\"; did you mean screenId?; a value that has an equals sign is "
           "written screenId=screen=1";
    QTest::newRow("letters swapped") << "screnIed=1"
                                     << "unknown argument \"screnIed\"; did you mean screenId?";
    QTest::newRow("other case") << "screenID=1"
                                << "unknown argument \"screenID\"; did you mean screenId?";
    QTest::newRow("nothing like it") << "colour=1"
                                     << "unknown argument \"colour\"; a value";
}

void TestArguments::aMisspeltNameIsNobodysValue()
{
    QFETCH(QString, text);
    QFETCH(QString, error);
    const Operation one = operation({in("screenId", ValueType::Text)});
    const Expected<BoundCall> bound = bindArguments({&one}, {text}, m_files);
    QVERIFY(!bound);
    QVERIFY2(bound.error().startsWith(error), qPrintable(bound.error()));
    QVERIFY2(bound.error().contains(one.usage()), qPrintable(bound.error()));
    QCOMPARE(bindArguments({&one}, {"screenId=" + text}, m_files)->values, (QVariantList{QVariant(), text}));
}

void TestArguments::aTextThatOnlyHoldsAnEqualsSignIsAValue()
{
    const Operation one = operation({in("name", ValueType::Text)});
    for (const char* text : {"=a", "1=2", "a b=c", "YWJj=", "{\"a\":\"b=c\"}"}) {
        const bool isNamed = QByteArray(text).startsWith("YWJj");
        QCOMPARE(bool(bindArguments({&one}, {text}, m_files)), !isNamed);
    }
}

void TestArguments::theNameOfAnotherOverloadIsNobodysValue()
{
    const Operation one = operation({in("name", ValueType::Text)});
    const Operation two = operation({in("id", ValueType::Text), in("count", ValueType::Integer)});
    const Expected<BoundCall> bound = bindArguments({&one, &two}, {"id=1"}, m_files);
    QVERIFY(!bound);
    QCOMPARE(bindArguments({&one, &two}, {"id=1", "count=2"}, m_files)->operation, &two);
}

void TestArguments::aWrongArgumentIsNamedWithWhatWasExpectedAndWhatCame()
{
    const Operation one = operation({in("id", ValueType::Text), in("count", ValueType::Integer)});
    const QString error = bindArguments({&one}, {"7", "many"}, m_files).error();
    QVERIFY2(error.contains("argument count"), qPrintable(error));
    QVERIFY2(error.contains("a 32-bit integer"), qPrintable(error));
    QVERIFY2(error.contains("\"many\""), qPrintable(error));
    QVERIFY2(error.contains(one.usage()), qPrintable(error));
}

void TestArguments::missingAndExtraArgumentsAreNamed()
{
    const Operation one = operation({in("id", ValueType::Text)});
    QVERIFY(bindArguments({&one}, {}, m_files).error().contains("id is missing"));
    QVERIFY(bindArguments({&one}, {"1", "2"}, m_files).error().contains("unexpected argument \"2\""));
    QVERIFY(!bindArguments({&one}, {}, m_files));
}

void TestArguments::anArgumentGivenTwiceIsRefused()
{
    const Operation one = operation({in("id", ValueType::Text)});
    QVERIFY(bindArguments({&one}, {"id=1", "id=2"}, m_files).error().contains("id is given twice"));
}

void TestArguments::theDeviceIsNoArgument()
{
    const Operation one = operation({out("result", ValueType::Map)});
    const Expected<BoundCall> call = bindArguments({&one}, {}, m_files);
    QCOMPARE(call->operation, &one);
    QCOMPARE(call->values.size(), 2);
    QVERIFY(bindArguments({&one}, {"deviceKey=wall"}, m_files)
                .error()
                .contains("unknown argument \"deviceKey\""));
}

void TestArguments::overloadsAreToldApartByTheirCount()
{
    const Operation one = operation({in("id", ValueType::Text)});
    const Operation two = operation({in("id", ValueType::Text), in("name", ValueType::Text)});
    QCOMPARE(bindArguments({&one, &two}, {"1"}, m_files)->operation, &one);
    QCOMPARE(bindArguments({&one, &two}, {"1", "x"}, m_files)->operation, &two);
}

void TestArguments::overloadsAreToldApartByTheirKind()
{
    const Operation text = operation({in("id", ValueType::Text)});
    const Operation body = operation({in("body", ValueType::Map)});
    const Operation list = operation({in("body", ValueType::List)});
    const std::vector<const Operation*> all{&text, &body, &list};
    QCOMPARE(bindArguments(all, {"1"}, m_files)->operation, &text);
    QCOMPARE(bindArguments(all, {"{}"}, m_files)->operation, &body);
    QCOMPARE(bindArguments(all, {"[]"}, m_files)->operation, &list);
    QCOMPARE(bindArguments(all, {"id={}"}, m_files)->operation, &text);
}

void TestArguments::aSingleWordIsNoListOfWordsWhereATextIsTaken()
{
    const Operation one = operation({in("id", ValueType::Text)});
    const Operation several = operation({in("ids", ValueType::TextList)});
    QCOMPARE(bindArguments({&one, &several}, {"7"}, m_files)->operation, &one);
    QCOMPARE(bindArguments({&one, &several}, {"7,8"}, m_files)->operation, &several);
    QCOMPARE(bindArguments({&one, &several}, {R"(["7"])"}, m_files)->operation, &several);
}

void TestArguments::ofEqualOverloadsTheOneWithAnOutputIsTaken()
{
    const Operation silent = operation({in("force", ValueType::Boolean)});
    const Operation telling = operation({out("result", ValueType::Map), in("force", ValueType::Boolean)});
    QCOMPARE(bindArguments({&silent, &telling}, {"true"}, m_files)->operation, &telling);
}

void TestArguments::theFaultOfTheOverloadWithTheRightCountIsTold()
{
    const Operation one = operation({in("count", ValueType::Integer)});
    const Operation two = operation({in("id", ValueType::Text), in("name", ValueType::Text)});
    const QString error = bindArguments({&one, &two}, {"many"}, m_files).error();
    QVERIFY2(error.startsWith("argument count"), qPrintable(error));
    const QString none = bindArguments({&one, &two}, {}, m_files).error();
    QVERIFY2(none.contains(one.usage()) && none.contains(two.usage()), qPrintable(none));
}

QTEST_GUILESS_MAIN(TestArguments)
#include "tst_arguments.moc"
