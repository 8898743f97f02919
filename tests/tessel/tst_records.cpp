// SPDX-License-Identifier: MIT
#include <tessel/envelopes/cabinetsresponse.h>
#include <tessel/envelopes/commonresponse.h>
#include <tessel/envelopes/rawresponse.h>
#include <tessel/envelopes/variantmapresponse.h>
#include <tessel/envelopes/variantresponse.h>
#include <tessel/records/cabinetinfo.h>
#include <tessel/records/coeffsdata.h>
#include <tessel/records/deviceinfo.h>
#include <tessel/records/point.h>
#include <tessel/records/screensinfo.h>
#include <tessel/records/size.h>
#include <tessel/records/subscreeninfo.h>

#include <zephserializer/jsonserializer.h>

#include <replaced.h>

#include <QMetaProperty>
#include <QtTest>

#include <memory>
#include <type_traits>

using Zeph::Serialize::Attribute;
using Zeph::Serialize::JsonSerializer;
using Zeph::Serialize::Serializable;

Q_DECLARE_METATYPE(const QMetaObject*)
Q_DECLARE_METATYPE(QVector<int>)

namespace {

template <typename Record>
bool load(Record& record, const QByteArray& text)
{
    JsonSerializer serializer;
    serializer.setAttribute(QFlags<Attribute>(QFlag(32)));
    return serializer.load(text, &record, QString());
}

const QByteArray subScreenText = R"({"subScreenID":"s1","inputID":"i1","postion":{"x":1,"y":2},
    "size":{"width":3,"height":4},"cabinets":[{"id":"c1","version":"v","outputId":1,"moduleCount":2,"weight":3,
    "power":4,"voltage":5},{"id":"c2"}]})";

// The records that were written or read, each with the attribute it was given.
QStringList handled;

QString entry(const Serializable& record, QFlags<Attribute> attribute)
{
    return QStringLiteral("%1 %2").arg(record.metaObject()->className()).arg(int(attribute));
}

QByteArray screenText()
{
    return R"({"screenUUID":"u","screenName":"n","screenTime":"t","subScreens":[)" + subScreenText + "]}";
}

} // namespace

// Both in front of the serializer's own.
QMap<QString, QVariant> Serializable::serialize(QFlags<Attribute> attribute) const
{
    using Function = QMap<QString, QVariant>(const Serializable*, QFlags<Attribute>);
    static const auto library =
        replaced<Function>("_ZNK4Zeph9Serialize12Serializable9serializeE6QFlagsINS0_9AttributeEE");
    handled << entry(*this, attribute);
    return library(this, attribute);
}

void Serializable::deserialize(const QMap<QString, QVariant>& map, QFlags<Attribute> attribute)
{
    using Function = void(Serializable*, const QMap<QString, QVariant>&, QFlags<Attribute>);
    static const auto library = replaced<Function>(
        "_ZN4Zeph9Serialize12Serializable11deserializeERK4QMapI7QString8QVariantE6QFlagsINS0_9AttributeEE");
    handled << entry(*this, attribute);
    library(this, map, attribute);
}

class TestRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void propertiesHaveTheirNamesOrderAndTypes_data()
    {
        QTest::addColumn<const QMetaObject*>("meta");
        QTest::addColumn<QString>("className");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QVector<int>>("types");
        constexpr int textValue = QMetaType::QString;
        constexpr int intValue = QMetaType::Int;
        constexpr int anyValue = QMetaType::QVariant;
        QTest::newRow("Point") << &Tessel::Point::staticMetaObject << "Tessel::Point" << QStringList{"x", "y"}
                               << QVector<int>{intValue, intValue};
        QTest::newRow("Size") << &Tessel::Size::staticMetaObject << "Tessel::Size"
                              << QStringList{"width", "height"} << QVector<int>{intValue, intValue};
        QTest::newRow("CabinetInfo") << &Tessel::CabinetInfo::staticMetaObject << "Tessel::CabinetInfo"
                                     << QStringList{"id",     "version", "outputId", "moduleCount",
                                                    "weight", "power",   "voltage"}
                                     << QVector<int>{textValue, textValue, intValue, intValue,
                                                     intValue,  intValue,  intValue};
        QTest::newRow("DeviceInfo") << &Tessel::DeviceInfo::staticMetaObject << "Tessel::DeviceInfo"
                                    << QStringList{"name", "customName", "mac", "ip"}
                                    << QVector<int>{textValue, textValue, textValue, textValue};
        QTest::newRow("SubScreenInfo") << &Tessel::SubScreenInfo::staticMetaObject << "Tessel::SubScreenInfo"
                                       << QStringList{"subScreenID", "inputID", "postion", "size", "cabinets"}
                                       << QVector<int>{textValue, textValue, anyValue, anyValue, anyValue};
        QTest::newRow("ScreensInfo") << &Tessel::ScreensInfo::staticMetaObject << "Tessel::ScreensInfo"
                                     << QStringList{"screenUUID", "screenName", "screenTime", "subScreens"}
                                     << QVector<int>{textValue, textValue, textValue, anyValue};
        QTest::newRow("CoeffsData") << &CoeffsData::staticMetaObject << "CoeffsData"
                                    << QStringList{"rect", "data"}
                                    << QVector<int>{QMetaType::QRect, QMetaType::QByteArray};
        QTest::newRow("CommonResponse")
            << &Tessel::CommonResponse::staticMetaObject << "Tessel::CommonResponse"
            << QStringList{"message", "code"} << QVector<int>{textValue, intValue};
        QTest::newRow("VariantMapResponse")
            << &Tessel::VariantMapResponse::staticMetaObject << "Tessel::VariantMapResponse"
            << QStringList{"message", "code", "data"}
            << QVector<int>{textValue, intValue, QMetaType::QVariantMap};
        QTest::newRow("VariantResponse")
            << &Tessel::VariantResponse::staticMetaObject << "Tessel::VariantResponse"
            << QStringList{"message", "code", "data"} << QVector<int>{textValue, intValue, anyValue};
        QTest::newRow("CabinetsResponse")
            << &Tessel::CabinetsResponse::staticMetaObject << "Tessel::CabinetsResponse"
            << QStringList{"message", "code", "data"} << QVector<int>{textValue, intValue, anyValue};
    }
    void propertiesHaveTheirNamesOrderAndTypes()
    {
        QFETCH(const QMetaObject*, meta);
        QFETCH(QString, className);
        QFETCH(QStringList, names);
        QFETCH(QVector<int>, types);
        QCOMPARE(QString::fromLatin1(meta->className()), className);
        QStringList foundNames;
        QVector<int> foundTypes;
        for (int i = 0; i < meta->propertyCount(); ++i) {
            foundNames.append(QString::fromLatin1(meta->property(i).name()));
            foundTypes.append(meta->property(i).userType());
        }
        QCOMPARE(foundNames, names);
        QCOMPARE(foundTypes, types);
    }

    void propertiesAreReadableWritableScriptableStoredDesignable_data()
    {
        propertiesHaveTheirNamesOrderAndTypes_data();
    }
    void propertiesAreReadableWritableScriptableStoredDesignable()
    {
        QFETCH(const QMetaObject*, meta);
        for (int i = 0; i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            QVERIFY(property.isReadable());
            QVERIFY(property.isWritable());
            QVERIFY(property.isScriptable());
            QVERIFY(property.isStored());
            QVERIFY(property.isDesignable());
            QVERIFY(!property.isUser());
            QVERIFY(!property.isConstant());
            QVERIFY(!property.isFinal());
            QVERIFY(!property.isResettable());
            QVERIFY(!property.hasNotifySignal());
        }
    }

    void theSuperclassIsTheBaseOfTheRecord_data()
    {
        QTest::addColumn<const QMetaObject*>("meta");
        QTest::addColumn<const QMetaObject*>("super");
        const QMetaObject* base = &Serializable::staticMetaObject;
        const QMetaObject* common = &Tessel::CommonResponse::staticMetaObject;
        QTest::newRow("Point") << &Tessel::Point::staticMetaObject << base;
        QTest::newRow("Size") << &Tessel::Size::staticMetaObject << base;
        QTest::newRow("CabinetInfo") << &Tessel::CabinetInfo::staticMetaObject << base;
        QTest::newRow("DeviceInfo") << &Tessel::DeviceInfo::staticMetaObject << base;
        QTest::newRow("SubScreenInfo") << &Tessel::SubScreenInfo::staticMetaObject << base;
        QTest::newRow("ScreensInfo") << &Tessel::ScreensInfo::staticMetaObject << base;
        QTest::newRow("CoeffsData") << &CoeffsData::staticMetaObject << base;
        QTest::newRow("CommonResponse") << common << base;
        QTest::newRow("VariantMapResponse") << &Tessel::VariantMapResponse::staticMetaObject << common;
        QTest::newRow("VariantResponse") << &Tessel::VariantResponse::staticMetaObject << common;
        QTest::newRow("CabinetsResponse") << &Tessel::CabinetsResponse::staticMetaObject << common;
    }
    void theSuperclassIsTheBaseOfTheRecord()
    {
        QFETCH(const QMetaObject*, meta);
        QFETCH(const QMetaObject*, super);
        QCOMPARE(meta->superClass(), super);
    }

    void metaObjectIsTheRecordsOwn()
    {
        metaObjectIsOwn<Tessel::Point>();
        metaObjectIsOwn<Tessel::Size>();
        metaObjectIsOwn<Tessel::CabinetInfo>();
        metaObjectIsOwn<Tessel::DeviceInfo>();
        metaObjectIsOwn<Tessel::SubScreenInfo>();
        metaObjectIsOwn<Tessel::ScreensInfo>();
        metaObjectIsOwn<CoeffsData>();
        metaObjectIsOwn<Tessel::CommonResponse>();
        metaObjectIsOwn<Tessel::VariantMapResponse>();
        metaObjectIsOwn<Tessel::VariantResponse>();
        metaObjectIsOwn<Tessel::CabinetsResponse>();
    }

    void aRecordIsNoQObject()
    {
        QVERIFY((!std::is_base_of_v<QObject, Tessel::ScreensInfo>));
        QVERIFY((std::is_base_of_v<Serializable, Tessel::ScreensInfo>));
    }

    void stringsListsRectsAndBytesAreEmptyAtFirst()
    {
        const Tessel::SubScreenInfo subScreen;
        QVERIFY(subScreen.subScreenID.isEmpty());
        QVERIFY(subScreen.inputID.isEmpty());
        QVERIFY(subScreen.cabinets.isEmpty());
        const Tessel::ScreensInfo screen;
        QVERIFY(screen.screenUUID.isEmpty());
        QVERIFY(screen.subScreens.isEmpty());
        const CoeffsData coeffs;
        QVERIFY(coeffs.rect.isNull());
        QVERIFY(coeffs.data.isNull());
        const Tessel::VariantResponse response;
        QVERIFY(response.message.isEmpty());
        QVERIFY(!response.data.isValid());
    }

    void aSubScreenIsFilledFromJson()
    {
        Tessel::SubScreenInfo subScreen;
        QVERIFY(load(subScreen, R"({"postion":{"x":1,"y":2},"size":{"width":3,"height":4},"cabinets":[]})"));
        QCOMPARE(subScreen.postion.x, 1);
        QCOMPARE(subScreen.postion.y, 2);
        QCOMPARE(subScreen.size.width, 3);
        QCOMPARE(subScreen.size.height, 4);
        QVERIFY(subScreen.cabinets.isEmpty());
    }

    void aScreenIsFilledToItsCabinets()
    {
        Tessel::ScreensInfo screen;
        QVERIFY(load(screen, screenText()));
        QCOMPARE(screen.screenUUID, QStringLiteral("u"));
        QCOMPARE(screen.screenName, QStringLiteral("n"));
        QCOMPARE(screen.screenTime, QStringLiteral("t"));
        QCOMPARE(screen.subScreens.size(), 1);
        const Tessel::SubScreenInfo& subScreen = screen.subScreens.first();
        QCOMPARE(subScreen.subScreenID, QStringLiteral("s1"));
        QCOMPARE(subScreen.inputID, QStringLiteral("i1"));
        QCOMPARE(subScreen.postion.y, 2);
        QCOMPARE(subScreen.cabinets.size(), 2);
        const Tessel::CabinetInfo& cabinet = subScreen.cabinets.first();
        QCOMPARE(cabinet.id, QStringLiteral("c1"));
        QCOMPARE(cabinet.version, QStringLiteral("v"));
        QCOMPARE(cabinet.outputId, 1);
        QCOMPARE(cabinet.moduleCount, 2);
        QCOMPARE(cabinet.weight, 3);
        QCOMPARE(cabinet.power, 4);
        QCOMPARE(cabinet.voltage, 5);
        QCOMPARE(subScreen.cabinets.last().id, QStringLiteral("c2"));
    }

    void aDeviceIsFilledFromJson()
    {
        Tessel::DeviceInfo device;
        QVERIFY(load(device, R"({"name":"a","customName":"b","mac":"c","ip":"d"})"));
        QCOMPARE(device.name, QStringLiteral("a"));
        QCOMPARE(device.customName, QStringLiteral("b"));
        QCOMPARE(device.mac, QStringLiteral("c"));
        QCOMPARE(device.ip, QStringLiteral("d"));
    }

    void coefficientsComeFromTheirMap()
    {
        CoeffsData coeffs;
        coeffs.deserialize({{"rect", QRect(1, 2, 3, 4)}, {"data", QByteArray("\0\x01", 2)}}, {});
        QCOMPARE(coeffs.rect, QRect(1, 2, 3, 4));
        QCOMPARE(coeffs.data, QByteArray("\0\x01", 2));
        const QVariantMap map = coeffs.serialize({});
        QCOMPARE(map.value("rect"), QVariant(QRect(1, 2, 3, 4)));
        QCOMPARE(map.value("data"), QVariant(QByteArray("\0\x01", 2)));
    }

    void serializeIsTheReverseOfDeserialize()
    {
        Tessel::ScreensInfo screen;
        screen.screenUUID = QStringLiteral("u");
        Tessel::SubScreenInfo subScreen;
        subScreen.subScreenID = QStringLiteral("s");
        subScreen.postion.x = 1;
        subScreen.postion.y = 2;
        subScreen.size.width = 3;
        subScreen.size.height = 4;
        Tessel::CabinetInfo cabinet;
        cabinet.id = QStringLiteral("c");
        cabinet.outputId = cabinet.moduleCount = cabinet.weight = cabinet.power = cabinet.voltage = 9;
        subScreen.cabinets = {cabinet};
        screen.subScreens = {subScreen};
        const QVariantMap map = screen.serialize({});
        const QVariantMap subMap = map.value("subScreens").toList().value(0).toMap();
        QCOMPARE(subMap.value("postion"), QVariant(QVariantMap{{"x", 1}, {"y", 2}}));
        QCOMPARE(subMap.value("size"), QVariant(QVariantMap{{"width", 3}, {"height", 4}}));
        QCOMPARE(subMap.value("cabinets").toList().value(0).toMap().value("voltage"), QVariant(9));

        Tessel::ScreensInfo copy;
        copy.deserialize(map, {});
        QCOMPARE(copy.serialize({}), map);
    }

    void nestedRecordsAreHandledWithTheAttributeOfTheirParent_data()
    {
        QTest::addColumn<int>("attribute");
        QTest::newRow("none") << 0;
        QTest::newRow("reply") << 32;
    }
    void nestedRecordsAreHandledWithTheAttributeOfTheirParent()
    {
        QFETCH(int, attribute);
        Tessel::ScreensInfo screen;
        QVERIFY(load(screen, screenText()));
        QStringList expected;
        for (const char* name :
             {"ScreensInfo", "SubScreenInfo", "Point", "Size", "CabinetInfo", "CabinetInfo"}) {
            expected << QStringLiteral("Tessel::%1 %2").arg(name).arg(attribute);
        }

        handled.clear();
        const QVariantMap map = screen.serialize(QFlags<Attribute>(QFlag(attribute)));
        QCOMPARE(handled, expected);
        handled.clear();
        screen.deserialize(map, QFlags<Attribute>(QFlag(attribute)));
        QCOMPARE(handled, expected);

        const QVariantMap reply{{"data", map.value("subScreens").toList().first().toMap().value("cabinets")}};
        Tessel::CabinetsResponse response;
        expected =
            QStringList{QStringLiteral("Tessel::CabinetsResponse %1").arg(attribute)} + expected.mid(4);
        handled.clear();
        response.deserialize(reply, QFlags<Attribute>(QFlag(attribute)));
        QCOMPARE(handled, expected);
        handled.clear();
        response.serialize(QFlags<Attribute>(QFlag(attribute)));
        QCOMPARE(handled, expected);
    }

    void settingAListTwiceReplacesIt()
    {
        Tessel::SubScreenInfo subScreen;
        subScreen.deserialize(
            {{"cabinets", QVariantList{QVariantMap{{"id", "a"}}, QVariantMap{{"id", "b"}}}}}, {});
        subScreen.deserialize({{"cabinets", QVariantList{QVariantMap{{"id", "c"}}}}}, {});
        QCOMPARE(subScreen.cabinets.size(), 1);
        QCOMPARE(subScreen.cabinets.first().id, QStringLiteral("c"));
    }

    void aListKeepsItsOrder()
    {
        Tessel::SubScreenInfo subScreen;
        subScreen.deserialize(
            {{"cabinets", QVariantList{QVariantMap{{"id", "b"}}, QVariantMap{{"id", "a"}}}}}, {});
        QCOMPARE(subScreen.cabinets.first().id, QStringLiteral("b"));
        QCOMPARE(subScreen.cabinets.last().id, QStringLiteral("a"));
    }

    void whatIsNoListEmptiesTheList()
    {
        Tessel::SubScreenInfo subScreen;
        subScreen.cabinets = {Tessel::CabinetInfo()};
        subScreen.deserialize({{"cabinets", 5}}, {});
        QVERIFY(subScreen.cabinets.isEmpty());
    }

    void anElementThatIsNoObjectGivesAnEmptyItem()
    {
        Tessel::SubScreenInfo subScreen;
        subScreen.deserialize({{"cabinets", QVariantList{5, QVariantMap{{"id", "a"}}}}}, {});
        QCOMPARE(subScreen.cabinets.size(), 2);
        QVERIFY(subScreen.cabinets.first().id.isEmpty());
        QCOMPARE(subScreen.cabinets.last().id, QStringLiteral("a"));
    }

    void aMissingKeyLeavesANestedRecordAsItIs()
    {
        Tessel::SubScreenInfo subScreen;
        QVERIFY(load(subScreen, subScreenText));
        subScreen.deserialize({{"postion", QVariantMap{{"x", 9}}}}, {});
        QCOMPARE(subScreen.postion.x, 9);
        QCOMPARE(subScreen.postion.y, 2);
        QCOMPARE(subScreen.size.width, 3);
        QCOMPARE(subScreen.cabinets.size(), 2);
    }

    void anEqualValueIsNotStored()
    {
        Tessel::DeviceInfo device;
        device.name = QString::fromLatin1("some name");
        const QChar* const before = device.name.constData();
        device.deserialize({{"name", QString::fromLatin1("some name")}}, {});
        QCOMPARE(device.name.constData(), before);
        device.deserialize({{"name", QString::fromLatin1("other name")}}, {});
        QVERIFY(device.name.constData() != before);
    }

    void equalBytesAreNotStored()
    {
        CoeffsData coeffs;
        coeffs.data = QByteArray(100, 'x');
        const char* const before = coeffs.data.constData();
        coeffs.deserialize({{"data", QByteArray(100, 'x')}}, {});
        QCOMPARE(static_cast<const void*>(coeffs.data.constData()), static_cast<const void*>(before));
    }

    void cloneIsAnIndependentDeepCopy()
    {
        Tessel::ScreensInfo screen;
        QVERIFY(load(screen, screenText()));
        const std::unique_ptr<Serializable> clone(screen.clone());
        QCOMPARE(clone->metaObject(), &Tessel::ScreensInfo::staticMetaObject);
        const auto& copy = static_cast<const Tessel::ScreensInfo&>(*clone);
        screen.subScreens.first().subScreenID = QStringLiteral("changed");
        screen.subScreens.first().cabinets.first().id = QStringLiteral("changed");
        screen.subScreens.append(Tessel::SubScreenInfo());
        QCOMPARE(copy.screenUUID, QStringLiteral("u"));
        QCOMPARE(copy.subScreens.size(), 1);
        QCOMPARE(copy.subScreens.first().subScreenID, QStringLiteral("s1"));
        QCOMPARE(copy.subScreens.first().cabinets.first().id, QStringLiteral("c1"));
    }

    void cloneKeepsTheRecordsClass()
    {
        cloneIsOfClass<Tessel::Point>();
        cloneIsOfClass<Tessel::Size>();
        cloneIsOfClass<Tessel::CabinetInfo>();
        cloneIsOfClass<Tessel::DeviceInfo>();
        cloneIsOfClass<Tessel::SubScreenInfo>();
        cloneIsOfClass<CoeffsData>();
        cloneIsOfClass<Tessel::CommonResponse>();
        cloneIsOfClass<Tessel::VariantMapResponse>();
        cloneIsOfClass<Tessel::VariantResponse>();
        cloneIsOfClass<Tessel::CabinetsResponse>();
        cloneIsOfClass<Tessel::RawResponse>();
    }

    void copiesAndMovesCarryEveryField()
    {
        Tessel::SubScreenInfo original;
        QVERIFY(
            load(original, subScreenText.simplified().replace(R"({"id":"c2"})", R"({"id":"c2","outputId":0,
            "moduleCount":0,"weight":0,"power":0,"voltage":0})")));
        const QVariantMap expected = original.serialize({});
        Tessel::SubScreenInfo copied(original);
        QCOMPARE(copied.serialize({}), expected);
        Tessel::SubScreenInfo assigned;
        assigned = original;
        QCOMPARE(assigned.serialize({}), expected);
        Tessel::SubScreenInfo moved(std::move(copied));
        QCOMPARE(moved.serialize({}), expected);
        Tessel::SubScreenInfo moveAssigned;
        moveAssigned = std::move(assigned);
        QCOMPARE(moveAssigned.serialize({}), expected);
    }

    void aCommonResponseTakesCodeAndMessage()
    {
        Tessel::CommonResponse response;
        QVERIFY(load(response, R"({"code":7,"message":"m","data":{}})"));
        QCOMPARE(response.code, 7);
        QCOMPARE(response.message, QStringLiteral("m"));
    }

    void aRawResponseTellsTheMembersThatItHas_data()
    {
        QTest::addColumn<QVariantMap>("members");
        QTest::newRow("none") << QVariantMap();
        QTest::newRow("message") << QVariantMap{{"message", "m"}};
        QTest::newRow("code") << QVariantMap{{"code", 7}};
        QTest::newRow("data") << QVariantMap{{"data", QVariantList{1}}};
        QTest::newRow("all") << QVariantMap{{"message", "m"}, {"code", 7}, {"data", "d"}};
    }
    void aRawResponseTellsTheMembersThatItHas()
    {
        QFETCH(QVariantMap, members);
        Tessel::RawResponse response;
        response.message = members.value("message");
        response.code = members.value("code");
        response.data = members.value("data");
        QCOMPARE(response.members(), members);
    }

    void aMapResponseTakesItsData()
    {
        Tessel::VariantMapResponse response;
        QVERIFY(load(response, R"({"code":0,"message":"","data":{"a":{"b":1}}})"));
        QCOMPARE(response.code, 0);
        QCOMPARE(response.data, (QVariantMap{{"a", QVariantMap{{"b", 1}}}}));
    }

    void aVariantResponseTakesDataOfAnyType_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("number") << QByteArray("5") << QVariant(5);
        QTest::newRow("list") << QByteArray("[1]") << QVariant(QVariantList{1});
        QTest::newRow("map") << QByteArray(R"({"a":1})") << QVariant(QVariantMap{{"a", 1}});
    }
    void aVariantResponseTakesDataOfAnyType()
    {
        QFETCH(QByteArray, text);
        QFETCH(QVariant, expected);
        Tessel::VariantResponse response;
        QVERIFY(load(response, R"({"code":0,"data":)" + text + "}"));
        QCOMPARE(response.data, expected);
    }

    void aCabinetsResponseTakesItsCabinetsAndGivesThemBack()
    {
        Tessel::CabinetsResponse response;
        QVERIFY(load(response, R"({"code":0,"message":"m","data":[{"id":"a"},{"id":"b"}]})"));
        QCOMPARE(response.message, QStringLiteral("m"));
        QCOMPARE(response.data.size(), 2);
        QCOMPARE(response.data.last().id, QStringLiteral("b"));

        const QVariantList given = response.serialize({}).value("data").toList();
        QCOMPARE(given.size(), 2);
        QCOMPARE(given.first().toMap().value("id"), QVariant("a"));
        QCOMPARE(given.last().toMap().value("id"), QVariant("b"));
    }

    void aReplysDataFillsARecord()
    {
        Tessel::VariantMapResponse response;
        QVERIFY(load(response, R"({"code":0,"data":)" + screenText() + "}"));
        Tessel::ScreensInfo screen;
        screen.deserialize(response.data, {});
        QCOMPARE(screen.subScreens.value(0).cabinets.value(1).id, QStringLiteral("c2"));
    }

    void aTextThatIsNoJsonDoesNotLoad()
    {
        Tessel::CommonResponse response;
        QVERIFY(!load(response, "no JSON"));
        QVERIFY(response.message.isEmpty());
    }

private:
    template <typename Record>
    static void metaObjectIsOwn()
    {
        const Record record;
        QCOMPARE(static_cast<const Serializable&>(record).metaObject(), &Record::staticMetaObject);
    }

    template <typename Record>
    static void cloneIsOfClass()
    {
        const Record record;
        const std::unique_ptr<Serializable> clone(record.clone());
        QVERIFY(clone.get() != &record);
        QCOMPARE(clone->metaObject(), &Record::staticMetaObject);
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
