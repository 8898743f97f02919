// SPDX-License-Identifier: MIT
#include <json/keytable.h>

#include <QtTest>

#include <string>
#include <vector>

using JsonText::KeyTable;

namespace {

// As it stands in a text, with the quote behind it.
KeyTable::Id find(KeyTable& table, const std::string& key, KeyTable::Id scope = KeyTable::flatRoot)
{
    const std::string raw = key + '"';
    return table.find(scope, 0, raw.data(), raw.data() + raw.size());
}

std::string numbered(int number)
{
    return "key" + std::to_string(number);
}

/// Reads an object with @p keys, of which each has its place as its value. @return how many values were read
/// where they stay.
int readInto(KeyTable& table, QVariantMap& map, const QStringList& keys,
             KeyTable::Id scope = KeyTable::plainRoot)
{
    KeyTable::Object object = table.open(scope, map);
    KeyTable::Id previous = 0;
    int placed = 0;
    int value = 0;
    for (const QString& key : keys) {
        const std::string raw = key.toStdString() + '"';
        const KeyTable::Id id = table.find(scope, previous, raw.data(), raw.data() + raw.size());
        table.occurs(object, id);
        QVariant* const place = table.placeOf(object, id);
        (place != nullptr ? *place : table.add(id)) = ++value;
        placed += place != nullptr ? 1 : 0;
        previous = id;
    }
    table.close(object);
    return placed;
}

QVariantMap numbered(const QStringList& keys)
{
    QVariantMap map;
    for (int i = 0; i < keys.size(); ++i) {
        map.insert(keys[i], i + 1);
    }
    return map;
}

QList<const void*> nodesOf(const QVariantMap& map)
{
    QList<const void*> nodes;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        nodes << &it.key() << &it.value();
    }
    return nodes;
}

} // namespace

class TestKeyTable : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aStringWithAWrongEscapeIsNone_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::newRow("ends in a backslash") << QByteArray("abc\\");
        QTest::newRow("a backslash alone") << QByteArray("\\");
        QTest::newRow("unknown") << QByteArray("\\q");
        QTest::newRow("three digits") << QByteArray("\\u12f");
        QTest::newRow("no digits") << QByteArray("\\u12g4");
    }
    void aStringWithAWrongEscapeIsNone()
    {
        QFETCH(QByteArray, raw);
        QString out;
        QVERIFY(!JsonText::decodeString({raw.constData(), std::size_t(raw.size())}, out));
    }

    void lettersOfEveryLengthStandBesideEscapes_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QString>("text");
        for (const uint point :
             {0x7fU, 0x80U, 0x7ffU, 0x800U, 0xfffU, 0x1000U, 0xffffU, 0x10000U, 0x10ffffU}) {
            const QString text = QString::fromUcs4(&point, 1);
            QTest::newRow(QByteArray::number(point, 16).constData())
                << "\\n" + text.toUtf8() + "\\\\" << '\n' + text + '\\';
        }
    }
    void lettersOfEveryLengthStandBesideEscapes()
    {
        QFETCH(QByteArray, raw);
        QFETCH(QString, text);
        QString out;
        QVERIFY(JsonText::decodeString({raw.constData(), std::size_t(raw.size())}, out));
        QCOMPARE(out, text);
    }

    void everyKeyIsFoundAgainHoweverManyThereAre()
    {
        KeyTable table;
        table.begin(std::size_t(1) << 20);
        std::vector<KeyTable::Id> ids;
        for (int i = 0; i < 2000; ++i) {
            ids.push_back(find(table, numbered(i)));
        }
        for (int i = 0; i < 2000; ++i) {
            QCOMPARE(find(table, numbered(i)), ids[std::size_t(i)]);
        }
        // In another scope they are others.
        QVERIFY(find(table, numbered(7), KeyTable::plainRoot) != ids[7]);
    }

    void aByteOrderMarkInAStringIsKept()
    {
        QString out;
        QVERIFY(JsonText::decodeString("\xEF\xBB\xBFx", out));
        QCOMPARE(out, QString(QChar(0xFEFF)) + QLatin1Char('x'));
        QVERIFY(JsonText::decodeString("x\xEF\xBB\xBF", out));
        QCOMPARE(out, QLatin1Char('x') + QString(QChar(0xFEFF)));
    }

    void theThirdObjectOfAShapeIsReadWhereItStays()
    {
        const QStringList keys{"c", "a", "b"};
        KeyTable table;
        table.begin(1000);
        QVariantMap maps[4];
        QCOMPARE(readInto(table, maps[0], keys), 0);
        QCOMPARE(readInto(table, maps[1], keys), 0);
        QCOMPARE(readInto(table, maps[2], keys), 3);
        // The nodes of a map that is read again stay, unless somebody else has them too.
        const QList<const void*> nodes = nodesOf(maps[2]);
        QCOMPARE(readInto(table, maps[2], keys), 3);
        QCOMPARE(nodesOf(maps[2]), nodes);
        const QVariantMap shared = maps[2];
        maps[2]["a"]; // the copy keeps them
        QCOMPARE(nodesOf(shared), nodes);
        maps[2] = shared;
        QCOMPARE(readInto(table, maps[2], keys), 3);
        QCOMPARE(nodesOf(shared), nodes);
        QVERIFY(nodesOf(maps[2]) != nodes);
        maps[3] = {{"x", 1}, {"y", 2}, {"z", 3}};
        QCOMPARE(readInto(table, maps[3], keys), 3);
        for (const QVariantMap& map : maps) {
            QCOMPARE(map, numbered(keys));
        }
        // So is the first object of the next text.
        table.end();
        table.begin(1000);
        QVariantMap again;
        QCOMPARE(readInto(table, again, keys), 3);
    }

    void anObjectOfAnotherShapeIsCollected_data()
    {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<int>("placed");
        QTest::newRow("begins with another key") << QStringList{"a", "c", "b"} << 0;
        QTest::newRow("goes on with another key") << QStringList{"c", "b", "a"} << 1;
        QTest::newRow("ends with another key") << QStringList{"c", "a", "d"} << 2;
        QTest::newRow("has fewer keys") << QStringList{"c", "a"} << 2;
        QTest::newRow("has one key") << QStringList{"c"} << 1;
        QTest::newRow("has no keys") << QStringList{} << 0;
        QTest::newRow("has more keys") << QStringList{"c", "a", "b", "d"} << 3;
    }
    void anObjectOfAnotherShapeIsCollected()
    {
        QFETCH(QStringList, keys);
        QFETCH(int, placed);
        const QStringList usual{"c", "a", "b"};
        KeyTable table;
        table.begin(1000);
        QVariantMap map;
        for (const int expected : {0, 0, 3}) {
            QCOMPARE(readInto(table, map, usual), expected);
        }
        QCOMPARE(readInto(table, map, keys), placed);
        QCOMPARE(map, numbered(keys));
        // It is the shape that is expected from now on, unless there was nothing to see.
        QCOMPARE(readInto(table, map, keys), 0);
        QCOMPARE(map, numbered(keys));
        QCOMPARE(readInto(table, map, keys), keys.size());
        QCOMPARE(map, numbered(keys));
    }

    void namesMayGrowToTheirBound_data()
    {
        QTest::addColumn<int>("textBytes");
        QTest::addColumn<int>("bound");
        QTest::newRow("of no text") << 0 << 65536;
        QTest::newRow("of a byte") << 1 << 65552;
        QTest::newRow("of some") << 1000 << 81536;
    }
    void namesMayGrowToTheirBound()
    {
        QFETCH(int, textBytes);
        QFETCH(int, bound);
        for (const int length : {bound, bound + 1}) {
            KeyTable table;
            table.begin(std::size_t(textBytes));
            QCOMPARE(find(table, std::string(std::size_t(length), 'n')) != 0, length == bound);
        }
        // The path and its dot count, what earlier texts left does not.
        KeyTable table;
        table.begin(0);
        const KeyTable::Id outer = find(table, std::string(1000, 'o'));
        QVERIFY(find(table, std::string(std::size_t(65536 - 1000 - 1001), 'i'), outer) != 0);
        QCOMPARE(find(table, "x"), KeyTable::Id(0));
        table.end();
        table.begin(std::size_t(textBytes));
        QVERIFY(find(table, std::string(std::size_t(bound), 'n')) != 0);
    }

    void theNamesOfATextHaveABoundHoweverLongItIs()
    {
        // Each key in the scope counts its own name, the scope's and the dot between them.
        constexpr int length = 8388600;
        for (const int last : {51, 52}) {
            KeyTable table;
            table.begin(std::size_t(1) << 30);
            const KeyTable::Id outer = find(table, std::string(length, 'o'));
            QVERIFY(outer != 0);
            for (const char* const name : {"1", "2", "3", "4", "5", "6"}) {
                QVERIFY(find(table, name, outer) != 0);
            }
            QCOMPARE(find(table, std::string(std::size_t(last), 'x'), outer) != 0, last == 51);
        }
    }

    void aTableThatHasGrownIsForgotten_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("length"); // of one more key, in bytes and in units each
        QTest::addColumn<bool>("kept");
        QTest::newRow("many keys") << 4092 << 1 << true;
        QTest::newRow("too many") << 4093 << 1 << false;
        QTest::newRow("long ones") << 0 << 131072 - 4 << true;
        QTest::newRow("too long") << 0 << 131072 - 3 << false;
    }
    void aTableThatHasGrownIsForgotten()
    {
        QFETCH(int, count);
        QFETCH(int, length);
        QFETCH(bool, kept);
        KeyTable table;
        table.begin(std::size_t(1) << 20);
        for (int i = 1; i < count; ++i) {
            QVERIFY(find(table, numbered(i)) != 0);
        }
        QVERIFY(find(table, std::string(std::size_t(length), 'x')) != 0);
        const KeyTable::Id last = find(table, "last");
        QVERIFY(last != 0);
        QCOMPARE(find(table, "last"), last);
        table.end();
        table.begin(std::size_t(1) << 20);
        QCOMPARE(find(table, "last") == last, kept);
    }
};

QTEST_APPLESS_MAIN(TestKeyTable)
#include "tst_keytable.moc"
