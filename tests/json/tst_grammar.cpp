// SPDX-License-Identifier: MIT
//
// What is JSON for one reader is JSON for all of them.
#include <communicator/httpjsonpackage.h>
#include <communicator/jsonutil.h>
#include <json/jsonreader.h>
#include <zephserializer/jsonserializer.h>
#include <zephserializer/serializable.h>

#include <QRandomGenerator>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;

namespace {

class Reply : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QVariant data MEMBER data)
public:
    const QMetaObject* metaObject() const override { return &staticMetaObject; }
    Serializable* clone() const override { return new Reply(*this); }

    QVariant data;
};

// The envelope around @p value, followed by a member that is not read.
QByteArray envelope(const QByteArray& value)
{
    return R"({"code":0,"data":{"v":)" + value + R"(},"unread":)" + value + "}";
}

QByteArray nested(int levels)
{
    return QByteArray(levels, '[') + QByteArray(levels, ']');
}

bool serializerTakes(const QByteArray& text)
{
    Reply reply;
    return Zeph::Serialize::JsonSerializer().load(text, &reply, QString());
}

bool decodersTake(const QByteArray& text)
{
    HttpJsonPackage package(nullptr);
    package.setReceiveData(text);
    return !package.getRoutesJsonMap().isEmpty();
}

} // namespace

class TestGrammar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyReaderTakesTheSameTexts_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("valid");
        const auto good = [](const char* name, const QByteArray& value) {
            QTest::newRow(name) << value << true;
        };
        const auto bad = [](const char* name, const QByteArray& value) {
            QTest::newRow(name) << value << false;
        };
        good("integer", "7");
        good("fraction", "1.5");
        good("exponent", "1e-2");
        good("escapes", "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00e4\"");
        good("lone surrogate", "\"\\ud800\"");
        good("DEL", "\"\x7f\"");
        good("white space", " \t\r\n7 ");
        // Envelope and `data` are two levels.
        good("deepest", nested(JsonText::maxDepth - 2));
        bad("a level too deep", nested(JsonText::maxDepth - 1));
        bad("300 levels", nested(300));
        bad("newline in a string", "\"a\nb\"");
        bad("tab in a string", "\"a\tb\"");
        bad("NUL in a string", QByteArray("\"a\0b\"", 5));
        bad("control character in a key", "{\"a\x01\":1}");
        bad("unknown escape", "\"\\q\"");
        bad("escaped quote mark", "\"\\'\"");
        bad("upper-case escape", "\"\\N\"");
        bad("short unicode escape", "\"\\u12\"");
        bad("no hexadecimal digits", "\"\\u12g4\"");
        bad("fraction without digits", "1.");
        bad("fraction without integer", ".5");
        bad("plus sign", "+1");
        bad("leading zero", "01");
        bad("minus alone", "-");
        bad("exponent without digits", "1e");
        bad("hexadecimal", "0x10");
        bad("NaN", "NaN");
        bad("Infinity", "Infinity");
        bad("number too large", "1e999");
        bad("comma behind the last element", "[1,]");
        bad("comma behind the last member", R"({"a":1,})");
        bad("comma alone", "[,]");
        bad("single quotes", "'a'");
        bad("key without quotes", "{a:1}");
        bad("comment", "/* a */ 1");
        bad("capital", "True");
        bad("word cut off", "tru");
        bad("word too long", "nulll");
        bad("not UTF-8", "\"\xff\"");
        bad("overlong UTF-8", "\"\xc0\xaf\"");
        bad("surrogate in UTF-8", "\"\xed\xa0\x80\"");
        bad("nothing", "");
        bad("two values", "1 2");
        bad("wrong bracket", "[1}");
        bad("form feed as white space", "\f1");
    }
    void everyReaderTakesTheSameTexts()
    {
        QFETCH(QByteArray, value);
        QFETCH(bool, valid);
        const QByteArray text = envelope(value);
        QCOMPARE(serializerTakes(text), valid);
        QCOMPARE(decodersTake(text), valid);
        QCOMPARE(JsonText::isComplete(text), valid);
        QVariantMap out;
        if (QString::fromUtf8(text).toUtf8() == text) {
            QCOMPARE(JsonUtil::fromJsonToMapWithoutData(QString::fromUtf8(text), out), valid);
        }
    }

    // A reader that looks only at what it returns would take these.
    void aFaultAnywhereMakesTheTextInvalid_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("before the data") << QByteArray(R"({"a":01,"data":{"v":1}})");
        QTest::newRow("behind the data") << QByteArray(R"({"data":{"v":1},"a":"\q"})");
        QTest::newRow("deep behind the data") << QByteArray(R"({"data":{"v":1},"a":[{"b":[1.]}]})");
        QTest::newRow("in a key") << QByteArray(R"({"data":{"v":1},"\q":1})");
        QTest::newRow("behind the text") << QByteArray(R"({"data":{"v":1}}])");
        QTest::newRow("a second text") << QByteArray(R"({"data":{"v":1}}{})");
    }
    void aFaultAnywhereMakesTheTextInvalid()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!serializerTakes(text));
        QVERIFY(!decodersTake(text));
    }

    void valuesArriveAlike()
    {
        const QByteArray text =
            R"({"data":{"i":9007199254740993,"u":18446744073709551615,"d":2.0,"s":"\u00e4",)"
            R"("n":null,"t":true,"l":[1,{"a":[]}],"i":9007199254740995}})";
        HttpJsonPackage package(nullptr);
        package.setReceiveData(text);
        Reply reply;
        QVERIFY(Zeph::Serialize::JsonSerializer().load(text, &reply, QString()));
        const QVariantMap loaded = reply.data.toMap();
        const QVariantMap decoded = package.getRoutesJsonMap();
        QCOMPARE(loaded, decoded);
        for (auto it = loaded.cbegin(); it != loaded.cend(); ++it) {
            QCOMPARE(it->userType(), decoded.value(it.key()).userType());
        }
        QCOMPARE(loaded.value("i"), QVariant(9007199254740995LL));
    }

    void damagedTextsAreTakenByAllOrNone()
    {
        const QByteArray sample = envelope(R"([{"a":"b\u0041\n","c":[1,-2.5e3,true,false,null]},"\\"])");
        QRandomGenerator random(7);
        for (int i = 0; i < 20000; ++i) {
            QByteArray text = sample;
            const int changes = 1 + int(random.bounded(2));
            for (int c = 0; c < changes; ++c) {
                text[int(random.bounded(text.size()))] =
                    "{}[]\",:\\ 019.-+eEtfnu\x01\x7f\xc3"[random.bounded(25)];
            }
            const bool serializer = serializerTakes(text);
            QVERIFY2(!decodersTake(text) || serializer, text.constData());
            QVERIFY2(!serializer || JsonText::isComplete(text), text.constData());
        }
    }
};

QTEST_GUILESS_MAIN(TestGrammar)
#include "tst_grammar.moc"
