// SPDX-License-Identifier: MIT
//
// Copies of a wall: written, compared and applied.
#include "walltest.h"

#include <QJsonArray>
#include <QJsonObject>

using Tessel::Protocol;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

class TestExport : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init() { startWall(); }

    void allThatCanBeReadIsInTheFile_data()
    {
        QTest::addColumn<bool>("multiScreen");
        QTest::newRow("multi-screen") << true;
        QTest::newRow("single-screen") << false;
    }
    void allThatCanBeReadIsInTheFile()
    {
        QFETCH(bool, multiScreen);
        Options options;
        options.protocol = multiScreen ? Protocol::MultiScreen : Protocol::SingleScreen;
        Simulator wall(options);
        QVERIFY(wall.start());
        const Run ran = run({"-d", "wall=" + wall.address(), "export", path("wall.json")});
        QVERIFY2(ran.code == 0, ran.err);
        const QJsonObject file = QJsonDocument::fromJson(read("wall.json")).object();
        QCOMPARE(file.value("protocol").toString(), QString(multiScreen ? "multi-screen" : "single-screen"));
        const QJsonObject values = file.value("values").toObject();
        QVERIFY2(values.size() > 60, ran.out);
        QVERIFY2(ran.out.contains("wall: " + QByteArray::number(values.size()) + " values in "), ran.out);
        // As the device has it, of the device, its lists, and each of several.
        for (const char* one : {"/api/v1/device/hw", "/api/v1/device/cabinet", "/api/v1/device/input",
                                "/api/v1/device/screen/1/colortemperature", "/api/v1/device/input/2/edid"}) {
            QVERIFY2(values.contains(one), one);
            QCOMPARE(values.value(one), QJsonDocument::fromJson("[" + wall.value(one) + "]").array().at(0));
        }
        QCOMPARE(writesOf(wall), QStringList());
    }

    void aFileThatIsThereStaysAfterAFailure()
    {
        write("wall.json", "old");
        const Run gone = run({"-d", "wall=" + closedAddress(), "export", path("wall.json")});
        QCOMPARE(gone.code, 3);
        QCOMPARE(read("wall.json"), QByteArray("old"));
        const Run full = runOnFullDisk(device() + QStringList{"export", path("wall.json")}, 8);
        QCOMPARE(full.code, 1);
        QCOMPARE(read("wall.json"), QByteArray("old"));
        QCOMPARE(files(), QStringList{"wall.json"});
    }

    void differencesAreListed()
    {
        QCOMPARE(run(device() + QStringList{"export", path("wall.json")}).code, 0);
        const Run same = run(device() + QStringList{"diff", path("wall.json")});
        QVERIFY2(same.code == 0, same.out + same.err);
        QCOMPARE(same.out, QByteArray());

        QVERIFY(m_simulator->setValue("/api/v1/device/screen/2/colortemperature",
                                      R"({"colorTemperature":5000})"));
        const Run differs = run(device() + QStringList{"diff", path("wall.json"), "-o", "json"});
        QCOMPARE(differs.code, 1);
        bool isTold = false;
        for (const QJsonValue& one : differs.json().array()) {
            const QJsonObject row = one.toObject();
            isTold = isTold || (row.value("where").toString() ==
                                    "/api/v1/device/screen/2/colortemperature colorTemperature" &&
                                row.value("left").toInt() == 6500 && row.value("right").toInt() == 5000);
        }
        QVERIFY2(isTold, differs.out);
        const Run table = run(device() + QStringList{"diff", path("wall.json")});
        QVERIFY2(table.out.startsWith("where "), table.out);
    }

    void twoWallsAndTwoFilesAreCompared()
    {
        Options options;
        options.customName = "Other";
        Simulator other(options);
        QVERIFY(other.start());
        const Run walls = run(device() + QStringList{"-d", "other=" + other.address(), "diff"});
        QCOMPARE(walls.code, 1);
        QVERIFY2(walls.out.contains("/api/v1/device/hw customName "), walls.out);
        QCOMPARE(run(device() + QStringList{"export", path("a.json")}).code, 0);
        QCOMPARE(run({"-d", "other=" + other.address(), "export", path("b.json")}).code, 0);
        const Run files = run({"diff", path("a.json"), path("b.json")});
        QCOMPARE(files.code, 1);
        QCOMPARE(files.out, walls.out);
        QCOMPARE(run({"diff", path("a.json"), path("a.json")}).code, 0);
    }

    void aWallIsMadeLikeTheFile()
    {
        QCOMPARE(run(device() + QStringList{"export", path("wall.json")}).code, 0);
        QVERIFY(m_simulator->setValue("/api/v1/device/screen/2/colortemperature",
                                      R"({"colorTemperature":5000})"));
        QVERIFY(m_simulator->setValue("/api/v1/device/hw/customname", R"({"name":"Wrong"})"));
        m_simulator->resetCounts();
        const Run shown = run(device() + QStringList{"apply", path("wall.json")});
        QVERIFY2(shown.code == 0, shown.err);
        QVERIFY2(shown.out.contains("not sent:") && shown.out.contains("PUT /api/v1/device/hw/customname"),
                 shown.out);
        QCOMPARE(writesOf(*m_simulator), QStringList());

        const Run applied = run(device() + QStringList{"apply", path("wall.json"), "--yes"});
        QVERIFY2(applied.code == 0, applied.err);
        QCOMPARE(applied.out, QByteArray("wall: 2 values written\n"));
        const Run same = run(device() + QStringList{"diff", path("wall.json")});
        QVERIFY2(same.code == 0, same.out);
        const Run again = run(device() + QStringList{"apply", path("wall.json"), "--yes"});
        QCOMPARE(again.out, QByteArray("wall: 0 values written\n"));
    }

    void aWallOfTheOtherProtocolIsNotApplied()
    {
        QCOMPARE(run(device() + QStringList{"export", path("wall.json")}).code, 0);
        Options options;
        options.protocol = Protocol::SingleScreen;
        Simulator other(options);
        QVERIFY(other.start());
        const Run ran = run({"-d", "other=" + other.address(), "apply", path("wall.json"), "--yes"});
        QCOMPARE(ran.code, 1);
        QVERIFY2(ran.err.contains("speaks the single-screen protocol"), ran.err);
        QCOMPARE(writesOf(other), QStringList());
    }

    void otherFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QByteArray>("error");
        QTest::newRow("no JSON") << QByteArray("old") << QStringList{"apply", "%"}
                                 << QByteArray("is not a file that \"tesselctl export\" has written");
        QTest::newRow("other JSON") << QByteArray("{}") << QStringList{"diff", "%"}
                                    << QByteArray("is not a file that \"tesselctl export\" has written");
        QTest::newRow("no file") << QByteArray("{}") << QStringList{"diff", "%.none"}
                                 << QByteArray("No such file");
        QTest::newRow("one wall") << QByteArray("{}") << QStringList{"diff"}
                                  << QByteArray("not 1; give two files");
    }
    void otherFilesAreRefused()
    {
        QFETCH(QByteArray, content);
        QFETCH(QStringList, command);
        QFETCH(QByteArray, error);
        write("f.json", content);
        command.replaceInStrings("%", path("f.json"));
        const Run ran = run(device() + command);
        QCOMPARE(ran.code, 2);
        QVERIFY2(ran.err.contains(error), ran.err);
    }
};

QTEST_GUILESS_MAIN(TestExport)
#include "tst_export.moc"
