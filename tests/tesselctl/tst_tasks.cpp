// SPDX-License-Identifier: MIT
//
// The tasks on controllers of both protocols.
#include "terminalprogram.h"
#include "walltest.h"

#include <QJsonArray>
#include <QJsonObject>

using Tessel::Protocol;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

/// Two walls: "multi" with 12 cabinets on two screens, and "single".
class TestTasks : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        startWall();
        Options options;
        options.cabinets = 12;
        m_multi = std::make_unique<Simulator>(options);
        options.protocol = Protocol::SingleScreen;
        options.cabinets = 4;
        m_single = std::make_unique<Simulator>(options);
        QVERIFY(m_multi->start() && m_single->start());
    }

    void infoTellsBothProtocolsApart()
    {
        const Run ran = run(walls() + QStringList{"info", "--columns", "device,protocol,screens,cabinets"});
        QVERIFY2(ran.code == 0, ran.err);
        QCOMPARE(ran.out, QByteArray("device  protocol       screens  cabinets\n"
                                     "multi   multi-screen   2        12\n"
                                     "single  single-screen  1        4\n"));
    }

    void listsAreTheSameOnBothProtocols_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<int>("rows");
        QTest::newRow("screens")
            << "screens" << QByteArray("device +screen +name +width +height +brightness +refreshRate +enable")
            << 3;
        QTest::newRow("cabinets") << "cabinets"
                                  << QByteArray("device +id +screen +output +x +y +width +height +brightness "
                                                "+temperature +version +online")
                                  << 16;
        QTest::newRow("inputs") << "inputs" << QByteArray("device +id +name +type +connected ") << 6;
        QTest::newRow("outputs") << "outputs" << QByteArray("device +id +name +enable +linked ") << 20;
        QTest::newRow("brightness") << "brightness" << QByteArray("device +screen +name +brightness") << 3;
    }
    void listsAreTheSameOnBothProtocols()
    {
        QFETCH(QString, command);
        QFETCH(QByteArray, head);
        QFETCH(int, rows);
        const Run ran = run(walls() + QStringList{command});
        QVERIFY2(ran.code == 0, ran.err);
        QVERIFY2(QRegularExpression('^' + head).match(QString::fromUtf8(ran.out)).hasMatch(), ran.out);
        QCOMPARE(ran.out.count('\n'), rows + 1);
        QVERIFY2(!ran.out.contains(" - "), ran.out); // nothing is unknown

        const Run json = run(walls() + QStringList{command, "-o", "json"});
        const QJsonArray all = json.json().array();
        QCOMPARE(all.size(), 2);
        QCOMPARE(all[0].toObject().value("result").toArray().size() +
                     all[1].toObject().value("result").toArray().size(),
                 rows);
    }

    void aMapShowsWhereCabinetsAre()
    {
        m_multi->setValue("/api/v1/device/cabinet/6", R"({"online":false})");
        const Run ran = run({"-d", "multi=" + m_multi->address(), "cabinets", "--map"});
        QVERIFY2(ran.code == 0, ran.err);
        const QStringList lines = QString::fromUtf8(ran.out).split('\n');
        QCOMPARE(lines[0], QString("multi:"));
        QCOMPARE(lines[1], QString("screen 1"));
        QCOMPARE(lines[2].simplified(), QString("1 2 3 4"));
        QVERIFY2(QStringList({"5 6 . .", "5 !6 . ."}).contains(lines[3].simplified()), ran.out);
        QCOMPARE(lines[4], QString("screen 2"));
    }

    void brightnessIsSetInPercentOnBothProtocols()
    {
        const Run ran = run(walls() + QStringList{"brightness", "40%"});
        QVERIFY2(ran.code == 0, ran.err);
        QCOMPARE(ran.out, QByteArray("multi: all screens (1, 2) 40 %\nsingle: screen 1 40 %\n"));
        QCOMPARE(writesOf(*m_multi), QStringList{R"(PUT /api/v1/screen/brightness {"brightness":40})"});
        QCOMPARE(writesOf(*m_single),
                 QStringList{R"(PUT /api/v1/device/screen/1/brightness {"brightness":40})"});
        const Run read = run(walls() + QStringList{"brightness", "--columns", "brightness"});
        QCOMPARE(read.out, QByteArray("brightness\n40\n40\n40\n"));
    }

    void brightnessOfOneScreenIsRefusedWhereItWouldSetAll()
    {
        const Run ran = run(walls() + QStringList{"brightness", "30", "--screen", "1"});
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.out, QByteArray("single: screen 1 30 %\n"));
        QVERIFY2(ran.err.contains("multi: a device of the multi-screen protocol sets"), ran.err);
        QCOMPARE(writesOf(*m_multi), QStringList());
        const Run none = run(walls() + QStringList{"brightness", "30", "--screen", "9"});
        QVERIFY2(none.err.contains("single: there is no screen 9; it has 1"), none.err);
    }

    void aWrongValueSendsNothing_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QByteArray>("error");
        QTest::newRow("too bright") << QStringList{"brightness", "101%"} << QByteArray("from 0% to 100%");
        QTest::newRow("too dark") << QStringList{"brightness", "-1"} << QByteArray("from 0% to 100%");
        QTest::newRow("no number") << QStringList{"brightness", "bright"} << QByteArray("not \"bright\"");
        QTest::newRow("pattern") << QStringList{"test-pattern", "red"}
                                 << QByteArray("a number from 0, or off");
        QTest::newRow("one name for two") << QStringList{"rename", "North"} << QByteArray("the same name");
    }
    void aWrongValueSendsNothing()
    {
        QFETCH(QStringList, command);
        QFETCH(QByteArray, error);
        const Run ran = run(walls() + command);
        QCOMPARE(ran.code, 2);
        QVERIFY2(ran.err.contains(error), ran.err);
        QCOMPARE(m_multi->requestCount() + m_single->requestCount(), quint64(0));
    }

    void writesSayWhatTheyDid_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QByteArray>("told");
        QTest::addColumn<QString>("sent");
        const auto row = [](const char* name, const QStringList& command, const char* told,
                            const char* sent) {
            QTest::newRow(name) << command << QByteArray(told) << QString(sent);
        };
        row("test pattern", {"test-pattern", "3"}, "multi: test pattern 3 on the whole wall\n",
            R"(PUT /api/v1/device/hw/testmode/pattern {"pattern":3})");
        row("no test pattern", {"test-pattern", "off"}, "multi: test pattern 0 on the whole wall\n",
            R"(PUT /api/v1/device/hw/testmode/pattern {"pattern":0})");
        row("on cabinets", {"test-pattern", "3", "--cabinets", "1,2"},
            "multi: test pattern 3 on 2 cabinets\n",
            R"(PUT /api/v1/device/cabinet/testpattern {"ids":["1","2"],"pattern":3})");
        row("identify some", {"identify", "--cabinets", "7"}, "multi: the lights of 1 cabinets are on\n",
            R"(PUT /api/v1/device/cabinet/indicatorlight {"enable":true,"ids":["7"]})");
        row("identify none", {"identify", "--cabinets", "7", "--off"},
            "multi: the lights of 1 cabinets are off\n",
            R"(PUT /api/v1/device/cabinet/indicatorlight {"enable":false,"ids":["7"]})");
        row("device", {"rename", "North stand"}, "multi: is called North stand\n",
            R"(PUT /api/v1/device/hw/customname {"name":"North stand"})");
        row("screen", {"rename", "Stage", "--screen", "2"}, "multi: screen 2 is called Stage\n",
            R"(PUT /api/v1/device/screen/name {"name":"Stage","screenID":"2"})");
    }
    void writesSayWhatTheyDid()
    {
        QFETCH(QStringList, command);
        QFETCH(QByteArray, told);
        QFETCH(QString, sent);
        const QStringList wall{"-d", "multi=" + m_multi->address()};
        const Run dry = run(wall + command + QStringList{"--dry-run"});
        QCOMPARE(dry.code, 0);
        QCOMPARE(dry.out, "multi: not sent:\n" + sent.toUtf8() + '\n');
        QCOMPARE(writesOf(*m_multi), QStringList());
        const Run ran = run(wall + command);
        QVERIFY2(ran.code == 0, ran.err);
        QCOMPARE(ran.out, told);
        QCOMPARE(writesOf(*m_multi), QStringList{sent});
    }

    void nothingIsSentByADryRun_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("brightness") << QStringList{"brightness", "40%"}
                                    << QByteArray("PUT /api/v1/screen/brightness {\"brightness\":40}\n");
        QTest::newRow("call") << QStringList{"call", "setCabSingleBrightness", "7", "{\"brightness\":40}"}
                              << QByteArray("PUT /api/v1/device/cabinet/7/brightness {\"brightness\":40}\n");
        QTest::newRow("call by protocol") << QStringList{"call", "setBrightness", "1", "{}", "255"}
                                          << QByteArray("PUT /api/v1/screen/brightness {\"brightness\":1}\n");
        QTest::newRow("clear coefficients")
            << QStringList{"coefficients", "clear", "--cabinets", "1"}
            << QByteArray("PUT /api/v1/device/correctionop/cabinets/clearcoefficient {\"cids\":[\"1\"]}\n");
        QTest::newRow("upload coefficients") << QStringList{"coefficients", "upload", "%/wall.json"}
                                             << QByteArray("PUT /api/v1/device/correctionop/");
        QTest::newRow("update firmware") << QStringList{"firmware", "update", "%/card.bin"}
                                         << QByteArray("PUT /api/v1/device/cabinet/rvupdate {\"file\":\"@");
        QTest::newRow("identify all")
            << QStringList{"identify"}
            << QByteArray("PUT /api/v1/device/cabinet/indicatorlight {\"enable\":true");
    }
    void nothingIsSentByADryRun()
    {
        QFETCH(QStringList, command);
        QFETCH(QByteArray, told);
        write("wall.json", R"({"1":[1]})");
        write("card.bin", "IMAGE");
        command.replaceInStrings("%/", m_directory->path() + '/');
        const Run ran = run(QStringList{"-d", "multi=" + m_multi->address(), "--dry-run"} + command);
        QVERIFY2(ran.code == 0, ran.err);
        QVERIFY2(ran.out.contains(told), ran.out);
        QCOMPARE(writesOf(*m_multi), QStringList());
    }

    void healthGivesOneVerdictForEachDevice()
    {
        const Run fine = run(walls() + QStringList{"health"});
        QVERIFY2(fine.code == 0, fine.err);
        QCOMPARE(fine.out, QByteArray("device  verdict  problems\nmulti   ok       -\nsingle  ok       -\n"));

        m_multi->addFault(answer("/api/v1/device/monitor/state", 200,
                                 R"({"code":0,"data":{"offlineCabinets":0,"state":0,"warnings":2}})"));
        m_multi->addFault(
            answer("/api/v1/device/cabinet", 200,
                   R"({"code":0,"data":[{"id":"1","online":false},{"id":"2","online":true}]})"));
        const Run sick =
            run(walls() + QStringList{"-d", "away=" + closedAddress(), "health", "--max-temperature", "39"});
        QCOMPARE(sick.code, 1);
        const QStringList lines = QString::fromUtf8(sick.out).split('\n');
        QVERIFY2(lines[1].contains("wrong        cabinet 1 offline; cabinet 1 hotter than 39 degrees; "
                                   "the device has 2 warnings"),
                 sick.out);
        QVERIFY2(lines[2].startsWith("single"), sick.out);
        QVERIFY2(lines[3].startsWith("away    unreachable  "), sick.out);
        const Run json = run(walls() + QStringList{"-d", "away=" + closedAddress(), "health", "-o", "json"});
        QCOMPARE(
            json.json().array().at(2).toObject().value("result").toArray().at(0).toObject().value("verdict"),
            QJsonValue("unreachable"));
    }

    void aRefusalIsTold()
    {
        m_multi->addFault(answer("/api/v1/screen/brightness", 200, R"({"code":7,"message":"locked"})"));
        const Run ran = run(walls() + QStringList{"brightness", "40"});
        QCOMPARE(ran.code, 5);
        QVERIFY2(ran.err.contains("multi: the device refused: code 7, \"locked\""), ran.err);
        QCOMPARE(ran.out, QByteArray("single: screen 1 40 %\n"));
    }

    void aWallWithoutCabinetsHasNoBrightnessToSet()
    {
        m_single->addFault(answer("/api/v1/device/cabinet", 200, R"({"code":0,"data":[]})"));
        const Run ran = run({"-d", "single=" + m_single->address(), "brightness", "40"});
        QCOMPARE(ran.code, 1);
        QVERIFY2(ran.err.contains("it has no cabinets"), ran.err);
    }

    void whatCannotBeUndoneIsAskedForOnATerminal_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QString>("question");
        QTest::newRow("clear")
            << QStringList{"coefficients", "clear", "--cabinets", "1"}
            << "This cannot be undone. Clear the plain coefficients of multi\\? \\[y/N\\] ";
        QTest::newRow("call")
            << QStringList{"call", "clearCabinetsUserCoefficient", "{\"cids\":[\"1\"]}"}
            << "This cannot be undone. Call clearCabinetsUserCoefficient of multi\\? \\[y/N\\] ";
    }
    void whatCannotBeUndoneIsAskedForOnATerminal()
    {
        QFETCH(QStringList, command);
        QFETCH(QString, question);
        const QStringList wall{"-d", "multi=" + m_multi->address()};
        {
            TerminalProgram no(wall + command);
            QVERIFY2(no.shows(question), no.shown());
            no.type("\n");
            QCOMPARE(no.finish(), 1);
            QCOMPARE(writesOf(*m_multi), QStringList());
        }
        TerminalProgram yes(wall + command);
        QVERIFY2(yes.shows(question), yes.shown());
        yes.type("y\n");
        QCOMPARE(yes.finish(), 0);
        QCOMPARE(writesOf(*m_multi).size(), 1);
        TerminalProgram sure(wall + command + QStringList{"--yes"});
        QCOMPARE(sure.finish(), 0);
        QVERIFY2(!sure.shown().contains("[y/N]"), sure.shown());
        QCOMPARE(run(wall + command).code, 0);
    }

private:
    QStringList walls() const
    {
        return {"-d", "multi=" + m_multi->address(), "-d", "single=" + m_single->address()};
    }

    std::unique_ptr<Simulator> m_multi;
    std::unique_ptr<Simulator> m_single;
};

QTEST_GUILESS_MAIN(TestTasks)
#include "tst_tasks.moc"
