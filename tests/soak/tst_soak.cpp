// SPDX-License-Identifier: MIT
//
// A few seconds of bench/soak, which runs for as long as wanted otherwise; and that it notices what it is
// for.
#include <QProcess>
#include <QtTest>

class TestSoak : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aShortRunIsSoundAndWhatIsBrokenIsNoticed_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QList<QByteArray>>("told");
        QTest::addColumn<int>("code");
        QTest::newRow("nothing is broken") << QStringList() << QList<QByteArray>{"\nsound after "} << 0;
        QList<QByteArray> told{"FAULT a cache differs from its device, wall ",
                               "FAULT the number of other descriptors grew from ",
                               "FAULT the number of threads grew from ", "\nFAILED after "};
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        told << "FAULT resident memory (MiB) grew from "
             << "FAULT allocated memory (MiB) grew from ";
#endif
        // What is not right in ten seconds will not be so in a hundred either.
        QTest::newRow("much is broken")
            << QStringList{"--break", "cache,descriptors,threads,memory", "--patience", "10"} << told << 1;
    }
    void aShortRunIsSoundAndWhatIsBrokenIsNoticed()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QList<QByteArray>, told);
        QFETCH(int, code);
        QProcess process;
        process.start(QStringLiteral(SOAK),
                      QStringList{"--minutes", "0", "--devices", "4", "--checkpoint", "0.5"} + arguments);
        QVERIFY(process.waitForFinished(280000));
        const QByteArray output = process.readAllStandardOutput() + process.readAllStandardError();
        for (const QByteArray& text : told) {
            QVERIFY2(output.contains(text), text + " is not said in:\n" + output);
        }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        // A sanitizer that sees what is broken ends the program with a code of its own.
        QCOMPARE(process.exitCode() != 0, code != 0);
#else
        QCOMPARE(process.exitCode(), code);
#endif
    }

    void anArgumentThatIsNotValidIsRefused_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("no number") << QStringList{"--minutes", "ten"};
        QTest::newRow("too few") << QStringList{"--devices", "0"};
        QTest::newRow("too many") << QStringList{"--devices", "1001"};
        QTest::newRow("nothing to break") << QStringList{"--break", "everything"};
        QTest::newRow("no option") << QStringList{"ten"};
    }
    void anArgumentThatIsNotValidIsRefused()
    {
        QFETCH(QStringList, arguments);
        QProcess process;
        process.start(QStringLiteral(SOAK), arguments);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 2);
        QCOMPARE(process.readAllStandardError(),
                 QByteArray("soak: an argument is not valid; see soak --help\n"));
    }
};

QTEST_GUILESS_MAIN(TestSoak)
#include "tst_soak.moc"
