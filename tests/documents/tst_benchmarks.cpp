// SPDX-License-Identifier: MIT
//
// The ratios that benchmarks print, that are recorded and that docs/performance.md tells are the same ones;
// and what bench/compare says of them.
#include "document.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QJsonObject recorded()
{
    return QJsonDocument::fromJson(textOf("bench/recorded.json").toUtf8()).object()["ratios"].toObject();
}

QStringList namesOfThePrograms()
{
    QStringList names;
    const QDir folder(TESSEL_SOURCE_DIR "/bench");
    for (const QString& program : folder.entryList({"bench_*.cpp"})) {
        const QString source = textOf("bench/" + program);
        for (const QString& name :
             matchesIn(source, "\"((?:get|cache|events|json|upload|parallel|start)/[a-z-]+)\"")) {
            names << name;
        }
    }
    names.sort();
    return names;
}

struct Compared
{
    int code = -1;
    QString out;
    QString err;
};

/// What bench/compare says of ratios that were printed.
Compared compare(const QByteArray& printed, const QStringList& arguments)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("printed.txt"));
    if (!file.open(QIODevice::WriteOnly) || file.write(printed) != printed.size()) {
        return {};
    }
    file.close();
    QProcess process;
    process.start(TESSEL_SOURCE_DIR "/bench/compare", QStringList{"--output", file.fileName()} + arguments);
    if (!process.waitForFinished(60000)) {
        return {};
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

class TestBenchmarks : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void whatIsRecordedIsWhatTheProgramsPrint()
    {
        QStringList names = recorded().keys();
        names.sort();
        QVERIFY(names.size() > 10);
        QCOMPARE(names, namesOfThePrograms());
    }

    void theDocumentTellsTheRecordedRatiosAndGoals()
    {
        QStringList documented;
        for (const QStringList& row : tableRows(textOf("docs/performance.md"), "ratio")) {
            const QString name = namesIn(row.value(0)).value(0);
            const QJsonObject entry = recorded()[name].toObject();
            QVERIFY2(!entry.isEmpty(), qPrintable(name));
            documented << name;
            const auto goal = [&](const char* key, const char* words) {
                return entry[QLatin1String(key)].isDouble()
                           ? QString("%1 %2").arg(words).arg(entry[QLatin1String(key)].toDouble())
                           : QString("-");
            };
            const QString wanted =
                entry.contains("at-most") ? goal("at-most", "at most") : goal("at-least", "at least");
            const QString was = entry["recorded"].isDouble()
                                    ? QString::number(entry["recorded"].toDouble(), 'f', 2)
                                    : QString("not yet");
            QVERIFY2(row.value(3) == wanted && row.value(4) == was,
                     qPrintable(name + ": wanted " + wanted + ", recorded " + was));
        }
        documented.sort();
        QCOMPARE(documented, namesOfThePrograms());
    }

    void aRunIsComparedWithWhatIsRecorded_data()
    {
        QTest::addColumn<QByteArray>("printed");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("told");
        const auto run = [](const char* raw, const char* curl) {
            return QByteArray("a line for people\nratio get/raw-socket ") + raw + "\nratio get/libcurl " +
                   curl + "\nratio get/qnetworkaccessmanager 0.1000\n";
        };
        QTest::newRow("as before") << run("1.0000", "0.5000") << 0 << "get/libcurl +0.50 +0.50\n";
        QTest::newRow("within the tolerance")
            << run("1.1000", "0.4600") << 0 << "get/raw-socket +1.00 +1.10\n";
        QTest::newRow("worse") << run("1.3000", "0.5000") << 1 << "1.30  moved by \\+30 %, worse";
        QTest::newRow("better") << run("0.5000", "0.5000") << 0 << "0.50  moved by -50 %, better";
        QTest::newRow("goal missed") << run("2.5000", "0.5000") << 1 << "misses at most 2\\b";
        QTest::newRow("absent") << QByteArray("ratio get/raw-socket 1.0\n") << 1
                                << "get/libcurl +0.50 +-  absent";
        QTest::newRow("unknown") << run("1.0", "0.5") + "ratio get/other 1.0\n" << 1 << "get/other .* not in";
        QTest::newRow("nothing") << QByteArray("a line for people\n") << 2 << "no lines";
    }
    void aRunIsComparedWithWhatIsRecorded()
    {
        QFETCH(QByteArray, printed);
        QFETCH(int, code);
        QFETCH(QString, told);
        const QTemporaryDir folder;
        QFile book(folder.filePath("recorded.json"));
        QVERIFY(book.open(QIODevice::WriteOnly));
        book.write(R"({"conditions": {"get": "a test"}, "tolerance": 0.15, "ratios": {
            "get/raw-socket": {"recorded": 1.0, "at-most": 2},
            "get/libcurl": {"recorded": 0.5, "at-most": null},
            "get/qnetworkaccessmanager": {"recorded": null, "at-most": 0.2},
            "json/decode-list": {"recorded": 5, "at-least": 4}}})");
        book.close();
        const Compared compared = compare(printed, {"--recorded", book.fileName(), "get"});
        QVERIFY2(compared.code == code, qPrintable(compared.out + compared.err));
        QVERIFY2((compared.out + compared.err).contains(QRegularExpression(told)),
                 qPrintable(compared.out + compared.err));
    }

    void aRunIsRecorded()
    {
        const QTemporaryDir folder;
        const QString book = folder.filePath("recorded.json");
        QVERIFY(QFile::copy(TESSEL_SOURCE_DIR "/bench/recorded.json", book));
        QFile::setPermissions(book, QFile::ReadOwner | QFile::WriteOwner);
        const QByteArray printed = "ratio get/raw-socket 1.2345\nratio get/libcurl 0.6\n"
                                   "ratio get/qnetworkaccessmanager 0.1\n";
        QCOMPARE(compare(printed, {"--recorded", book, "--record", "idle", "get"}).code, 0);
        QFile file(book);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject all = QJsonDocument::fromJson(file.readAll()).object();
        QCOMPARE(all["conditions"]["get"].toString(), QString("idle"));
        QVERIFY(all["conditions"]["json"].toString() != "idle");
        QCOMPARE(all["ratios"]["get/raw-socket"]["recorded"].toDouble(), 1.23);
        QCOMPARE(all["ratios"].toObject().keys(), recorded().keys());
    }
};

QTEST_GUILESS_MAIN(TestBenchmarks)
#include "tst_benchmarks.moc"
