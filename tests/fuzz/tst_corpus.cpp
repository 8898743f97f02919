// SPDX-License-Identifier: MIT
//
// What the fuzzer starts from and what it has found, tried again by every run of the tests.
#include "fuzzing.h"

#include <QDir>
#include <QFile>
#include <QtTest>

class TestCorpus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void whatHoldsForEveryInputHoldsForThisOne_data()
    {
        QTest::addColumn<QString>("path");
        const QFileInfoList files = QDir(QStringLiteral(FUZZ_CORPUS)).entryInfoList(QDir::Files, QDir::Name);
        QVERIFY2(files.size() >= 3, "the corpus has gone");
        for (const QFileInfo& file : files) {
            QTest::newRow(qPrintable(file.fileName())) << file.filePath();
        }
    }
    void whatHoldsForEveryInputHoldsForThisOne()
    {
        QFETCH(QString, path);
        QFile file(path);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QByteArray input = file.readAll();
        QCOMPARE(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.constData()),
                                        static_cast<std::size_t>(input.size())),
                 0);
    }

    void nothingIsAnInputToo() { QCOMPARE(LLVMFuzzerTestOneInput(nullptr, 0), 0); }
};

QTEST_GUILESS_MAIN(TestCorpus)
#include "tst_corpus.moc"
