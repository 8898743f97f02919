// SPDX-License-Identifier: MIT
#include <communicator/jsonutil.h>

#include <QtTest>

class TestJsonUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keyPathMapFlattensTheWholeText()
    {
        QVariantMap out;
        QVERIFY(JsonUtil::fromJsonToKeyPathMap(
            QStringLiteral(R"({"eventSender":"s","eventData":{"a":{"b":1},"list":[{"c":2}]}})"), out));
        QCOMPARE(out, (QVariantMap{{"eventSender", "s"},
                                   {"eventData.a.b", 1},
                                   {"eventData.list", QVariantList{QVariantMap{{"c", 2}}}}}));
    }

    void mapWithoutDataKeepsNestedMaps()
    {
        QVariantMap out;
        QVERIFY(JsonUtil::fromJsonToMapWithoutData(
            QStringLiteral(R"({"eventType":"t","eventData":{"a":{"b":1}}})"), out));
        QCOMPARE(out.size(), 2);
        QCOMPARE(out.value("eventType"), QVariant("t"));
        QCOMPARE(out.value("eventData"), QVariant(QVariantMap{{"a", QVariantMap{{"b", 1}}}}));
    }

    void mapWithoutDataKeepsNestedLists()
    {
        QVariantMap out;
        QVERIFY(JsonUtil::fromJsonToMapWithoutData(QStringLiteral(R"({"eventData":[1,{"a":2}]})"), out));
        QCOMPARE(out.value("eventData"), QVariant(QVariantList{1, QVariantMap{{"a", 2}}}));
    }

    void textBeyondAsciiArrives()
    {
        const QString text = QString::fromUtf8("\u5c4f\u5e55 \U0001f4fa");
        QVariantMap out;
        QVERIFY(JsonUtil::fromJsonToKeyPathMap(QStringLiteral("{\"%1\":{\"%1\":\"%1\"}}").arg(text), out));
        QCOMPARE(out, (QVariantMap{{text + '.' + text, text}}));
    }

    void aByteOrderMarkIsSkipped()
    {
        QVariantMap out;
        QVERIFY(
            JsonUtil::fromJsonToKeyPathMap(QChar(QChar::ByteOrderMark) + QStringLiteral("{\"a\":1}"), out));
        QCOMPARE(out, (QVariantMap{{"a", 1}}));
    }

    void whatIsNoObjectFailsAndEmptiesTheMap_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("null string") << QString();
        QTest::newRow("no JSON") << QStringLiteral("hello");
        QTest::newRow("cut off") << QStringLiteral("{\"a\":1");
        QTest::newRow("array") << QStringLiteral("[{\"a\":1}]");
        QTest::newRow("number") << QStringLiteral("1");
        QTest::newRow("null") << QStringLiteral("null");
        QTest::newRow("two texts") << QStringLiteral("{}{}");
        QTest::newRow("too deep") << QStringLiteral("{\"a\":") + QString(300, '[') + QString(300, ']') + '}';
    }
    void whatIsNoObjectFailsAndEmptiesTheMap()
    {
        QFETCH(QString, text);
        QVariantMap out{{"old", 1}};
        QVERIFY(!JsonUtil::fromJsonToKeyPathMap(text, out));
        QVERIFY(out.isEmpty());
        out = {{"old", 1}};
        QVERIFY(!JsonUtil::fromJsonToMapWithoutData(text, out));
        QVERIFY(out.isEmpty());
    }

    void whatTheMapHeldBeforeIsGone()
    {
        QVariantMap out{{"old", 1}};
        QVERIFY(JsonUtil::fromJsonToKeyPathMap(QStringLiteral("{\"a\":1}"), out));
        QVERIFY(!out.contains("old"));
        out = {{"old", 1}};
        QVERIFY(JsonUtil::fromJsonToMapWithoutData(QStringLiteral("{}"), out));
        QVERIFY(out.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestJsonUtil)
#include "tst_jsonutil.moc"
