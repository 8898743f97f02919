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
