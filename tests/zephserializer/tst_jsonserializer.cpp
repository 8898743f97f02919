// SPDX-License-Identifier: MIT
#include <zephserializer/jsonserializer.h>
#include <zephserializer/serializable.h>

#include <QtTest>

using Zeph::Serialize::Attribute;
using Zeph::Serialize::JsonSerializer;
using Zeph::Serialize::Serializable;

namespace {

class Reply : public Serializable
{
    Q_GADGET
    Q_PROPERTY(int code MEMBER code)
    Q_PROPERTY(QString message MEMBER message)
    Q_PROPERTY(QVariant data READ readData WRITE writeData)
public:
    const QMetaObject* metaObject() const override { return &staticMetaObject; }
    Serializable* clone() const override { return new Reply(*this); }

    int code = -1;
    QString message;
    QVariant data;
    int writtenUnder = -1;

private:
    QVariant readData() const { return data; }
    void writeData(const QVariant& value)
    {
        data = value;
        writtenUnder = int(attribute());
    }
};

} // namespace

class TestJsonSerializer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void membersMatchPropertiesByName()
    {
        Reply reply;
        const JsonSerializer serializer;
        QVERIFY(
            serializer.load(R"({"code":3,"message":"m","data":{"a":[1]},"more":true})", &reply, QString()));
        QCOMPARE(reply.code, 3);
        QCOMPARE(reply.message, QStringLiteral("m"));
        QCOMPARE(reply.data, QVariant(QVariantMap{{QStringLiteral("a"), QVariantList{1}}}));
    }

    void namesMatchByCase()
    {
        Reply reply;
        QVERIFY(JsonSerializer().load(R"({"Code":3})", &reply, QString()));
        QCOMPARE(reply.code, -1);
    }

    void whatIsNoObjectFailsAndChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("hello");
        QTest::newRow("cut off") << QByteArray(R"({"code":3)");
        QTest::newRow("trailing garbage") << QByteArray(R"({"code":3}x)");
        QTest::newRow("array") << QByteArray("[3]");
        QTest::newRow("number") << QByteArray("3");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("not UTF-8") << QByteArray("{\"message\":\"\xff\"}");
    }
    void whatIsNoObjectFailsAndChangesNothing()
    {
        QFETCH(QByteArray, text);
        Reply reply;
        reply.message = QStringLiteral("old");
        QVERIFY(!JsonSerializer().load(text, &reply, QString()));
        QCOMPARE(reply.code, -1);
        QCOMPARE(reply.message, QStringLiteral("old"));
    }

    void anEmptyObjectLoads()
    {
        Reply reply;
        QVERIFY(JsonSerializer().load("{}", &reply, QString()));
        QCOMPARE(reply.code, -1);
    }

    void aNameSelectsAMember()
    {
        Reply reply;
        QVERIFY(JsonSerializer().load(R"({"code":1,"inner":{"code":2}})", &reply, QStringLiteral("inner")));
        QCOMPARE(reply.code, 2);
    }

    void aNameWithoutObjectFails_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("absent") << QByteArray(R"({"code":1})");
        QTest::newRow("a list") << QByteArray(R"({"inner":[{"code":1}]})");
        QTest::newRow("null") << QByteArray(R"({"inner":null})");
    }
    void aNameWithoutObjectFails()
    {
        QFETCH(QByteArray, text);
        Reply reply;
        QVERIFY(!JsonSerializer().load(text, &reply, QStringLiteral("inner")));
        QCOMPARE(reply.code, -1);
    }

    void aMissingTargetFails() { QVERIFY(!JsonSerializer().load("{}", nullptr, QString())); }

    void theAttributeIsNoneAtFirstAndKeptOnceSet()
    {
        JsonSerializer serializer;
        QCOMPARE(int(serializer.attribute()), 0);
        serializer.setAttribute(QFlags<Attribute>(QFlag(32)));
        QCOMPARE(int(serializer.attribute()), 32);
    }

    void theAttributeReachesTheRecord()
    {
        Reply reply;
        JsonSerializer serializer;
        serializer.setAttribute(Zeph::Serialize::ReplyAttribute);
        QVERIFY(serializer.load(R"({"data":1})", &reply, QString()));
        QCOMPARE(reply.writtenUnder, 32);
    }
};

QTEST_GUILESS_MAIN(TestJsonSerializer)
#include "tst_jsonserializer.moc"
