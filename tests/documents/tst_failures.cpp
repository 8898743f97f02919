// SPDX-License-Identifier: MIT
//
// Where an application finds out why an operation failed: what the headers say of it, and the guide's table
// of states.
#include "document.h"

#include <QtTest>

namespace {

/// The states in which an exchange can end.
QStringList states()
{
    const QString header = textOf("interfaces/communicator/ihttpversiontrigger.h");
    const QString enumeration = matchesIn(header, "enum HttpSimpleState \\{([^}]*)\\}").value(0);
    return matchesIn(enumeration, "^ *(\\w+) = \\d+");
}

/// The comment of the class that a header declares, without line breaks.
QString classComment(const QString& header)
{
    const QString lines = matchesIn(header, "((?:^///.*\n)+)class ").value(0);
    return QString(lines)
        .remove(QRegularExpression("^/// ?", QRegularExpression::MultilineOption))
        .simplified();
}

} // namespace

class TestFailures : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theGuideTellsEveryStateOnceAndNoOther()
    {
        QStringList told;
        for (const QStringList& row : tableRows(textOf("docs/guide/failures.md"), "state")) {
            QCOMPARE(row.size(), 3);
            const QStringList names = namesIn(row.value(0)).filter(QRegularExpression("^[A-Z]"));
            QVERIFY2(!names.isEmpty(), qPrintable(row.value(0)));
            told << names;
        }
        told.sort();
        QStringList known = states();
        QVERIFY(known.size() > 5);
        known.sort();
        QCOMPARE(told, known);
    }

    void theCommentOfEachOperatorLeadsToTheReasonOfAFailure_data()
    {
        QTest::addColumn<QString>("file");
        const QDir pages(TESSEL_SOURCE_DIR "/docs/reference");
        for (const QString& page : pages.entryList({"*.md"})) {
            if (page != "README.md" && page != "topics.md" && page != "introduction.md") {
                QTest::newRow(qPrintable(page)) << QString("tessel/%1.h").arg(page.chopped(3));
            }
        }
    }
    void theCommentOfEachOperatorLeadsToTheReasonOfAFailure()
    {
        QFETCH(QString, file);
        const QString header = textOf(file);
        const QString comment = classComment(header);
        QVERIFY2(!comment.isEmpty(), qPrintable(file));
        QVERIFY2(comment.contains("`OperationOutcome::last()` (communicator/calloutcome.h)"),
                 qPrintable(comment));
        QVERIFY2(comment.contains("[calling conventions](docs/calling-conventions.md)"), qPrintable(comment));
        QVERIFY2(comment.contains("returned `false`"), qPrintable(comment));
        QCOMPARE(comment.contains("promise was rejected"), header.contains("QPromise<"));
    }
};

QTEST_GUILESS_MAIN(TestFailures)
#include "tst_failures.moc"
