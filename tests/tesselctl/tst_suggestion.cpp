// SPDX-License-Identifier: MIT
#include <operations/operationlist.h>
#include <operations/suggestion.h>

#include <QtTest>

using namespace Tessel::Operations;

class TestSuggestion : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void distanceCountsInsertedDroppedReplacedAndSwappedLetters_data();
    void distanceCountsInsertedDroppedReplacedAndSwappedLetters();
    void theNearestNameComesFirst();
    void aBeginningIsNear();
    void farNamesAreNotSuggested();
    void alternativesReadAsASentence();
    void anUnknownOperationNamesTheNearest();
    void anOperationIsFoundByShortAndByQualifiedName();
    void aNameOfSeveralClassesIsAmbiguous();
    void overloadsAreFoundTogether();
};

void TestSuggestion::distanceCountsInsertedDroppedReplacedAndSwappedLetters_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<int>("distance");
    QTest::newRow("equal") << "getGamma"
                           << "getGamma" << 0;
    QTest::newRow("case") << "getgamma"
                          << "getGamma" << 0;
    QTest::newRow("inserted") << "getGama"
                              << "getGamma" << 1;
    QTest::newRow("dropped") << "getGammma"
                             << "getGamma" << 1;
    QTest::newRow("replaced") << "getGanma"
                              << "getGamma" << 1;
    QTest::newRow("swapped") << "gteGamma"
                             << "getGamma" << 1;
    QTest::newRow("several") << "kitten"
                             << "sitting" << 3;
    QTest::newRow("from nothing") << ""
                                  << "abc" << 3;
    QTest::newRow("to nothing") << "abc"
                                << "" << 3;
}

void TestSuggestion::distanceCountsInsertedDroppedReplacedAndSwappedLetters()
{
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(int, distance);
    QCOMPARE(editDistance(left, right), distance);
    QCOMPARE(editDistance(right, left), distance);
}

void TestSuggestion::theNearestNameComesFirst()
{
    const QStringList names = nearest("getGama", {"getGamut", "getGamma", "setBrightness"});
    QCOMPARE(names, QStringList({"getGamma", "getGamut"}));
}

void TestSuggestion::aBeginningIsNear()
{
    QCOMPARE(nearest("getAllChip", {"getAllChipTypeOfTheDevice"}), QStringList("getAllChipTypeOfTheDevice"));
}

void TestSuggestion::farNamesAreNotSuggested()
{
    QVERIFY(nearest("xyz", {"getAllChipType"}).isEmpty());
    QVERIFY(didYouMean("xyz", {"getAllChipType"}).isEmpty());
}

void TestSuggestion::alternativesReadAsASentence()
{
    QCOMPARE(didYouMean("getA", {"getAB"}), QString("; did you mean getAB?"));
    QCOMPARE(didYouMean("getA", {"getAB", "getAC", "getAD"}),
             QString("; did you mean getAB, getAC or getAD?"));
}

void TestSuggestion::anUnknownOperationNamesTheNearest()
{
    const Lookup found = findOperation(allOperations(), "getAllChipTipe");
    QVERIFY(found.operations.empty());
    QVERIFY2(found.error.contains("getAllChipType"), qPrintable(found.error));
}

void TestSuggestion::anOperationIsFoundByShortAndByQualifiedName()
{
    for (const QString& name : {QString("getAllChipType"), QString("Capability::getAllChipType")}) {
        const Lookup found = findOperation(allOperations(), name);
        QCOMPARE(found.operations.size(), std::size_t(1));
        QCOMPARE(found.operations.front()->qualifiedName(), QString("Capability::getAllChipType"));
    }
}

void TestSuggestion::aNameOfSeveralClassesIsAmbiguous()
{
    const Operations operations{{"Here", "get", {}, {}}, {"There", "get", {}, {}}};
    const Lookup found = findOperation(operations, "get");
    QVERIFY(found.operations.empty());
    QVERIFY(found.error.contains("use Here::get or There::get"));
    QCOMPARE(findOperation(operations, "There::get").operations.size(), std::size_t(1));
}

void TestSuggestion::overloadsAreFoundTogether()
{
    const Operations operations{{"Space::Here", "get", {}, {}}, {"Space::Here", "get", {}, {}}};
    QCOMPARE(findOperation(operations, "get").operations.size(), std::size_t(2));
    QCOMPARE(findOperation(operations, "Here::get").operations.size(), std::size_t(2));
}

QTEST_GUILESS_MAIN(TestSuggestion)
#include "tst_suggestion.moc"
