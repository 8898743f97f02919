// SPDX-License-Identifier: MIT
#include <zephserializer/serializable.h>

#include <QtTest>

using Zeph::Serialize::Attribute;
using Zeph::Serialize::Serializable;

namespace {

const QFlags<Attribute> replyOnly = Zeph::Serialize::ReplyAttribute;

// One property of each kind; `flags` tells the attribute that its accessors ran under.
class Sample : public Serializable
{
    Q_GADGET
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(int number MEMBER number)
    Q_PROPERTY(QVariantMap map MEMBER map)
    Q_PROPERTY(QVariant any MEMBER any)
    Q_PROPERTY(QVariant flags READ readFlags WRITE writeFlags)
public:
    Sample()
        : Serializable(nullptr)
    {}
    const QMetaObject* metaObject() const override { return &staticMetaObject; }
    Serializable* clone() const override { return new Sample(*this); }

    using Serializable::packListByAttribute;
    using Serializable::packObjByAttribute;
    using Serializable::unpackListByAttribute;
    using Serializable::unpackObjByAttribute;

    QString text;
    int number = 0;
    QVariantMap map;
    QVariant any;
    int writtenUnder = -1;

private:
    QVariant readFlags() const { return int(attribute()); }
    void writeFlags(const QVariant& /*value*/) { writtenUnder = int(attribute()); }
};

class Derived : public Sample
{
    Q_GADGET
    Q_PROPERTY(int further MEMBER further)
public:
    const QMetaObject* metaObject() const override { return &staticMetaObject; }
    Serializable* clone() const override { return new Derived(*this); }

    int further = 0;
};

} // namespace

class TestSerializable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serializeGivesOneEntryPerProperty()
    {
        Sample sample;
        sample.text = QStringLiteral("t");
        sample.number = 7;
        sample.map = {{QStringLiteral("k"), 1}};
        sample.any = 2.5;
        const QVariantMap map = sample.serialize({});
        QCOMPARE(map.keys(),
                 QStringList({QStringLiteral("any"), QStringLiteral("flags"), QStringLiteral("map"),
                              QStringLiteral("number"), QStringLiteral("text")}));
        QCOMPARE(map.value(QStringLiteral("text")), QVariant(QStringLiteral("t")));
        QCOMPARE(map.value(QStringLiteral("number")), QVariant(7));
        QCOMPARE(map.value(QStringLiteral("map")), QVariant(sample.map));
        QCOMPARE(map.value(QStringLiteral("any")), QVariant(2.5));
    }

    void inheritedPropertiesTakePart()
    {
        Derived derived;
        derived.deserialize({{QStringLiteral("text"), QStringLiteral("t")}, {QStringLiteral("further"), 4}},
                            {});
        QCOMPARE(derived.text, QStringLiteral("t"));
        QCOMPARE(derived.further, 4);
        const QVariantMap map = derived.serialize({});
        QCOMPARE(map.value(QStringLiteral("text")), QVariant(QStringLiteral("t")));
        QCOMPARE(map.value(QStringLiteral("further")), QVariant(4));
    }

    void deserializeSetsWhatTheMapHolds()
    {
        Sample sample;
        sample.deserialize({{QStringLiteral("text"), QStringLiteral("t")},
                            {QStringLiteral("number"), 7},
                            {QStringLiteral("map"), QVariantMap{{QStringLiteral("k"), 1}}},
                            {QStringLiteral("any"), QVariantList{1}}},
                           {});
        QCOMPARE(sample.text, QStringLiteral("t"));
        QCOMPARE(sample.number, 7);
        QCOMPARE(sample.map, (QVariantMap{{QStringLiteral("k"), 1}}));
        QCOMPARE(sample.any, QVariant(QVariantList{1}));
    }

    void aMissingKeyLeavesThePropertyAsItIs()
    {
        Sample sample;
        sample.text = QStringLiteral("old");
        sample.number = 7;
        sample.deserialize({{QStringLiteral("number"), 8}}, {});
        QCOMPARE(sample.text, QStringLiteral("old"));
        QCOMPARE(sample.number, 8);
    }

    void aKeyWithoutPropertyIsIgnored()
    {
        Sample sample;
        sample.deserialize({{QStringLiteral("nothing"), 8}, {QStringLiteral("Number"), 9}}, {});
        QCOMPARE(sample.number, 0);
    }

    void aValueIsConvertedToThePropertysType_data()
    {
        QTest::addColumn<QString>("property");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("qlonglong to int") << "number" << QVariant(5LL) << QVariant(5);
        QTest::newRow("double to int") << "number" << QVariant(5.0) << QVariant(5);
        QTest::newRow("digits to int") << "number" << QVariant(QStringLiteral("5")) << QVariant(5);
        QTest::newRow("number to string") << "text" << QVariant(5) << QVariant(QStringLiteral("5"));
        QTest::newRow("anything to QVariant") << "any" << QVariant(true) << QVariant(true);
    }
    void aValueIsConvertedToThePropertysType()
    {
        QFETCH(QString, property);
        QFETCH(QVariant, value);
        QFETCH(QVariant, expected);
        Sample sample;
        sample.deserialize({{property, value}}, {});
        QCOMPARE(sample.serialize({}).value(property), expected);
    }

    void aValueThatDoesNotConvertLeavesThePropertyAsItIs_data()
    {
        QTest::addColumn<QString>("property");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("letters to int") << "number" << QVariant(QStringLiteral("abc"));
        QTest::newRow("map to int") << "number" << QVariant(QVariantMap());
        QTest::newRow("null to int") << "number" << QVariant::fromValue(nullptr);
        QTest::newRow("invalid to int") << "number" << QVariant();
        QTest::newRow("list to string") << "text" << QVariant(QVariantList{1, 2});
        QTest::newRow("map to string") << "text" << QVariant(QVariantMap());
        QTest::newRow("null to string") << "text" << QVariant::fromValue(nullptr);
        QTest::newRow("list to map") << "map" << QVariant(QVariantList{1});
    }
    void aValueThatDoesNotConvertLeavesThePropertyAsItIs()
    {
        QFETCH(QString, property);
        QFETCH(QVariant, value);
        Sample sample;
        sample.text = QStringLiteral("old");
        sample.number = 7;
        sample.map = {{QStringLiteral("k"), 1}};
        const QVariant before = sample.serialize({}).value(property);
        sample.deserialize({{property, value}}, {});
        QCOMPARE(sample.serialize({}).value(property), before);
    }

    void anEmptyStringIsAValue()
    {
        Sample sample;
        sample.text = QStringLiteral("old");
        sample.deserialize({{QStringLiteral("text"), QString()}}, {});
        QCOMPARE(sample.text, QString());
    }

    void aNullReachesAPropertyOfAnyType()
    {
        Sample sample;
        sample.any = 1;
        sample.deserialize({{QStringLiteral("any"), QVariant::fromValue(nullptr)}}, {});
        QVERIFY(sample.any.isNull());
    }

    void anEqualValueIsNotStored()
    {
        Sample sample;
        sample.text = QString::fromLatin1("same text");
        const QChar* const before = sample.text.constData();
        sample.deserialize({{QStringLiteral("text"), QString::fromLatin1("same text")}}, {});
        QCOMPARE(sample.text.constData(), before);
        sample.deserialize({{QStringLiteral("text"), QString::fromLatin1("other text")}}, {});
        QVERIFY(sample.text.constData() != before);
    }

    void theAttributeHoldsWhileSerializing()
    {
        const Sample sample;
        QCOMPARE(sample.serialize(replyOnly).value(QStringLiteral("flags")), QVariant(32));
        QCOMPARE(sample.serialize({}).value(QStringLiteral("flags")), QVariant(0));
    }

    void theAttributeHoldsWhileDeserializing()
    {
        Sample sample;
        sample.deserialize({{QStringLiteral("flags"), 1}}, replyOnly);
        QCOMPARE(sample.writtenUnder, 32);
        sample.deserialize({{QStringLiteral("flags"), 1}}, {});
        QCOMPARE(sample.writtenUnder, 0);
    }

    void theAttributeEndsWithTheCall()
    {
        Sample sample;
        QCOMPARE(int(sample.attribute()), 0);
        sample.serialize(replyOnly);
        QCOMPARE(int(sample.attribute()), 0);
        sample.deserialize({}, replyOnly);
        QCOMPARE(int(sample.attribute()), 0);
    }

    void aPackedMapUnpacksToItself()
    {
        const Sample sample;
        const QVariantMap map{{QStringLiteral("a"), 1}};
        QCOMPARE(sample.unpackObjByAttribute(sample.packObjByAttribute(map)), map);
    }

    void whatIsNoMapUnpacksToAnEmptyMap_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("invalid") << QVariant();
        QTest::newRow("null") << QVariant::fromValue(nullptr);
        QTest::newRow("number") << QVariant(1);
        QTest::newRow("list") << QVariant(QVariantList{1});
    }
    void whatIsNoMapUnpacksToAnEmptyMap()
    {
        QFETCH(QVariant, value);
        QVERIFY(Sample().unpackObjByAttribute(value).isEmpty());
    }

    void aPackedListUnpacksToItself()
    {
        const Sample sample;
        const QVariantList list{QVariantMap{{QStringLiteral("a"), 1}}, QVariantMap()};
        QCOMPARE(sample.unpackListByAttribute(sample.packListByAttribute(list, "Item"), "Item"), list);
    }

    void whatIsNoListUnpacksToAnEmptyList_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("invalid") << QVariant();
        QTest::newRow("null") << QVariant::fromValue(nullptr);
        QTest::newRow("number") << QVariant(1);
        QTest::newRow("map") << QVariant(QVariantMap{{QStringLiteral("a"), 1}});
        QTest::newRow("text") << QVariant(QStringLiteral("ab"));
        QTest::newRow("bytes") << QVariant(QByteArray("ab"));
    }
    void whatIsNoListUnpacksToAnEmptyList()
    {
        QFETCH(QVariant, value);
        QVERIFY(Sample().unpackListByAttribute(value, "Item").isEmpty());
    }

    void theBaseIsTheSuperclassOfARecordsMetaObject()
    {
        QCOMPARE(Sample::staticMetaObject.superClass(), &Serializable::staticMetaObject);
        QCOMPARE(Serializable::staticMetaObject.propertyCount(), 0);
        QCOMPARE(Serializable::staticMetaObject.className(), "Zeph::Serialize::Serializable");
    }
};

QTEST_GUILESS_MAIN(TestSerializable)
#include "tst_serializable.moc"
