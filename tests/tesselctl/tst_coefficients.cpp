// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"
#include "walltest.h"

#include <tesselctl/commands/coefficientfiles.h>
#include <tesselctl/commands/resumecommand.h>
#include <tesselctl/terminal/progressbar.h>

#include <QJsonArray>
#include <QJsonObject>

using namespace TesselCtl;
using Tessel::Simulator::CoefficientBank;
using Tessel::Simulator::CoefficientKind;
using Tessel::Simulator::Fault;
using Tessel::Simulator::RequestRecord;

namespace {

const QString multilayer = "/api/v1/device/correctionop/cabinets/multilayer/%1/coefficient";
const QString plain = "/api/v1/device/correctionop/cabinets/%1/coefficientv2";
const QString plainList = "/api/v1/device/correctionop/cabinets/chroma/coefficient";

} // namespace

class TestCoefficients : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init() { startWall(); }

    // Files

    void aTextIsSplitIntoTables_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("tables");
        QTest::newRow("one list") << QByteArray(" [1, [2]] \n") << QStringList{"=[1, [2]]"};
        QTest::newRow("by cabinet") << QByteArray(R"({"10": [], "9" : [{"a":[1]}]})")
                                    << QStringList{"9=[{\"a\":[1]}]", "10=[]"};
        QTest::newRow("names that are no numbers")
            << QByteArray(R"({"b":[],"a":[],"2":[]})") << QStringList{"2=[]", "a=[]", "b=[]"};
    }
    void aTextIsSplitIntoTables()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, tables);
        QStringList found;
        const auto split = splitCoefficients(text, "f");
        QCOMPARE(split.error(), QString());
        for (const CoefficientTable& table : *split) {
            found << table.cabinet + '=' + table.text;
        }
        QCOMPARE(found, tables);
    }

    void aMalformedTextIsToldWithItsLine_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("told");
        QTest::newRow("empty") << QByteArray() << "f:1: ";
        QTest::newRow("cut") << QByteArray("[\n1,\n2") << "f:3: ";
        QTest::newRow("a wrong word") << QByteArray("[\n1,\nx]") << "f:3: ";
        QTest::newRow("rubbish behind") << QByteArray("[]\n]") << "f:2: ";
        QTest::newRow("a line feed in a text") << QByteArray("[\n\"a\n\"]") << "f:2: ";
        QTest::newRow("no list") << QByteArray("\n\n5\n") << "f:3: expected a JSON array";
        QTest::newRow("no cabinet") << QByteArray("{}") << "f:1: the object names no cabinet";
        QTest::newRow("a cabinet without a list")
            << QByteArray("{\"1\":[],\n\"2\":{}}") << "f:2: expected a JSON array for cabinet 2";
        QTest::newRow("a cabinet twice")
            << QByteArray("{\"1\":[],\n\"1\":[]}") << "f:2: cabinet 1 appears twice";
        QTest::newRow("no name") << QByteArray("{\"\":[]}") << "f:1: the name of a cabinet is empty";
        QTest::newRow("too deep") << QByteArray(100000, '[') << "f:1: nested";
        QTest::newRow("too large a number") << QByteArray("[\n1e999]") << "f:2: ";
        QTest::newRow("no UTF-8") << QByteArray("[\n\"\xff\"]") << "f:2: ";
    }
    void aMalformedTextIsToldWithItsLine()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, told);
        const QString error = splitCoefficients(text, "f").error();
        QVERIFY2(error.startsWith(told) && error.size() > 6, qPrintable(error));
    }

    void whatIsReadHoldsNoControlCharacters()
    {
        const QString error = splitCoefficients("[\x1b[2J]", "f\x1b").error();
        QVERIFY(!error.isEmpty() && !error.contains('\x1b'));
    }

    // Progress

    void progressIsToldForPeople_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("start") << transferText({0, 4000, 0, 4, "cabinets", 0})
                               << "0 of 4 cabinets, 0 B of 4.0 kB";
        QTest::newRow("half way") << transferText({2000, 4000, 2, 4, "cabinets", 1000})
                                  << "2 of 4 cabinets, 2.0 kB of 4.0 kB, 2.0 kB/s, 1 s left";
        QTest::newRow("done") << transferText({4000, 4000, 4, 4, "cabinets", 1000})
                              << "4 of 4 cabinets, 4.0 kB of 4.0 kB, 4.0 kB/s";
        QTest::newRow("seconds") << durationText(59) << "59 s";
        QTest::newRow("minutes") << durationText(125) << "2 min 5 s";
        QTest::newRow("hours") << durationText(3600 * 25 + 61) << "25 h 1 min";
        QTest::newRow("bar") << progressLine("a", 0.5, "x", 80) << "a  [##########----------]  50 %  x";
        QTest::newRow("never done too early")
            << progressLine("a", 0.999, "x", 80) << "a  [###################-]  99 %  x";
        QTest::newRow("no parts") << transferText({2000, 4000, 0, 0, {}, 1000})
                                  << "2.0 kB of 4.0 kB, 2.0 kB/s, 1 s left";
        QTest::newRow("an unknown size") << transferText({2000, -1, 0, 0, {}, 1000}) << "2.0 kB, 2.0 kB/s";
        QTest::newRow("an unknown share") << progressLine("a", -1, "x", 80) << "a  x";
        QTest::newRow("beyond") << progressLine("a", 7, "x", 80) << "a  [####################] 100 %  x";
        QTest::newRow("narrow") << progressLine("a", 0, "x", 6) << "a  [--";
        QTest::newRow("a steering label")
            << progressLine("\x1b", 0, "x", 80) << "\\u001b  [--------------------]   0 %  x";
        QTest::newRow("nothing to do") << QString::number(fraction(0, 0)) << "1";
    }
    void progressIsToldForPeople()
    {
        QFETCH(QString, text);
        QTEST(text, "expected");
    }

    // Resuming

    void wordsAreQuotedForAShell_data()
    {
        QTest::addColumn<QString>("word");
        int row = 0;
        for (const char* word : {"plain-1.json", "with blank", "it's", "$HOME;`id`", "", "back\\slash",
                                 "a\nb", "\x1b[2J'\\", "*"}) {
            QTest::newRow(qPrintable(QString::number(row++))) << QString(word);
        }
    }
    void wordsAreQuotedForAShell()
    {
        QFETCH(QString, word);
        QVERIFY(!shellWord(word).contains('\x1b') && !shellWord(word).contains('\n'));
        QProcess shell;
        shell.start("bash", {"-c", "printf %s " + shellWord(word)});
        QVERIFY(shell.waitForFinished(60000));
        QCOMPARE(shell.readAllStandardOutput(), word.toUtf8());
    }

    // Upload

    void cabinetsGoOneByOne_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("path");
        QTest::newRow("plain") << "plain" << plain;
        QTest::newRow("multilayer") << "multilayer" << multilayer;
    }
    void cabinetsGoOneByOne()
    {
        QFETCH(QString, kind);
        QFETCH(QString, path);
        write("t/1.json", "[1,2]");
        write("t/2.json", "[[3]]");
        write("t/notes.txt", "not JSON");
        const Run run = upload({"t", "--kind", kind});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.out, QByteArray("wall: 2 cabinets uploaded\n"));
        QVERIFY2(run.err.contains("wall: ") || run.err.contains("upload: 100 %, 2 of 2 cabinets"), run.err);
        QVERIFY(!run.err.contains('\r') && !run.err.contains('\x1b'));
        QCOMPARE(bodies(), (QMap<QString, QByteArray>{{path.arg(1), "[1,2]"}, {path.arg(2), "[[3]]"}}));
    }

    void otherKindsGoAsOneList_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"adaptive", "dynamic", "lowgray"}) {
            QTest::newRow(kind) << kind;
        }
    }
    void otherKindsGoAsOneList()
    {
        QFETCH(QString, kind);
        write("f.json", R"({"2":[{"cid":2}],"1":[{"cid":1}]})");
        const QString path = "/api/v1/device/correctionop/cabinets/" + kind + "/coefficient";
        m_simulator->addFault(answer(path, 200, R"({"code":0})"));
        const Run run = upload({"f.json", "--kind", kind});
        QVERIFY2(run.code == 0, run.err);
        QVERIFY2(!run.err.contains("thread id"), run.err);
        QCOMPARE(bodies(), (QMap<QString, QByteArray>{{path, R"([{"cid":1},{"cid":2}])"}}));
    }

    void aFileWithOneListGoesAsItIs()
    {
        write("f.json", "[1]");
        m_simulator->addFault(answer(plainList, 200, R"({"code":0})"));
        const Run run = upload({"f.json"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.out, QByteArray("wall: all cabinets uploaded\n"));
        QCOMPARE(bodies(), (QMap<QString, QByteArray>{{plainList, "[1]"}}));
    }

    void onlySoManyRequestsAreUnderWay()
    {
        QByteArray text = "{\"1\":[]";
        for (int cabinet = 2; cabinet <= 40; ++cabinet) {
            text += QStringLiteral(",\"%1\":[1]").arg(cabinet).toUtf8();
        }
        write("f.json", text + "}");
        const Run run = upload({"f.json", "--parallel", "2"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(m_simulator->requestCount(), quint64(40));
        QVERIFY(m_simulator->peakRequestsInFlight() <= 2);
    }

    void nothingIsSentWhenAFileIsMalformed()
    {
        write("t/1.json", "[1]");
        write("t/2.json", "[1,\n2,\n}");
        const Run run = upload({"t"});
        QCOMPARE(run.code, 2);
        QVERIFY2(run.err.contains("t/2.json:3: "), run.err);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void aWrongPathOrCabinetEndsWithTwo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("no file") << QStringList{"nothing"} << QByteArray("nothing: No such file");
        QTest::newRow("nothing in it") << QStringList{"empty"} << QByteArray("no file CABINET.json");
        QTest::newRow("no such cabinet")
            << QStringList{"t", "--cabinets", "1,5"} << QByteArray("cabinet 5 has no table");
        QTest::newRow("no such kind") << QStringList{"t", "--kind", "fancy"} << QByteArray("--kind");
        QTest::newRow("objects in a directory")
            << QStringList{"objects"} << QByteArray("expected one JSON array");
    }
    void aWrongPathOrCabinetEndsWithTwo()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, told);
        write("empty/readme", "");
        write("t/1.json", "[1]");
        write("objects/1.json", "{\"1\":[]}");
        const Run run = upload(arguments);
        QCOMPARE(run.code, 2);
        QVERIFY2(run.err.contains(told), run.err);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void failedCabinetsAreToldAndTheCommandUploadsJustThose()
    {
        write("tab les/1.json", "[1]");
        write("tab les/2.json", "[2]");
        write("tab les/10.json", "[10]");
        m_simulator->addFault(answer(plain.arg(2), 500));
        m_simulator->addFault(answer(plain.arg(10), 200, R"({"code":7,"message":"busy"})"));
        const Run run = upload({"tab les"});
        QCOMPARE(run.code, 5);
        QCOMPARE(run.out, QByteArray("wall: cabinet 1 uploaded\n"));
        QVERIFY2(run.err.contains("wall: cabinet 2: the device refused: HTTP status 500"), run.err);
        QVERIFY2(run.err.contains("wall: cabinet 10: the device refused: code 7, \"busy\""), run.err);
        QVERIFY2(run.err.contains("2 of 3 cabinets of wall failed"), run.err);

        m_simulator->clearFaults();
        m_simulator->resetCounts();
        const QString command = QString::fromUtf8(run.err.trimmed().split('\n').last().trimmed());
        QVERIFY2(command.startsWith("tesselctl --device wall=") && command.endsWith("--cabinets 2,10"),
                 qPrintable(command));
        QProcess shell;
        shell.start("bash", {"-c", QStringLiteral(TESSELCTL_PROGRAM) + command.mid(9)});
        QVERIFY(shell.waitForFinished(60000));
        QCOMPARE(shell.exitCode(), 0);
        QCOMPARE(bodies(), (QMap<QString, QByteArray>{{plain.arg(2), "[2]"}, {plain.arg(10), "[10]"}}));
    }

    void jsonTellsWhatCameOfEachCabinet()
    {
        write("f.json", R"({"1":[1],"2":[2]})");
        m_simulator->addFault(answer(plain.arg(2), 500));
        const Run run = upload({"f.json", "--json"});
        QCOMPARE(run.code, 5);
        const QJsonObject wall = run.json().object().value("wall").toObject();
        QCOMPARE(wall.value("uploaded").toArray(), QJsonArray{"1"});
        QCOMPARE(wall.value("failed").toObject().keys(), QStringList{"2"});
        QVERIFY(wall.value("resume").toString().contains("--cabinets 2"));
    }

    void aReplyWithoutDataIsNoFailure()
    {
        write("1.json", R"({"1":[1]})");
        m_simulator->addFault(answer(plain.arg(1), 200, R"({"code":0})"));
        QCOMPARE(upload({"1.json"}).code, 0);
    }

    void aDeadDeviceIsNotAskedForEver()
    {
        QByteArray text = "{\"0\":[]";
        for (int cabinet = 1; cabinet < 20; ++cabinet) {
            text += QStringLiteral(",\"%1\":[1]").arg(cabinet).toUtf8();
        }
        write("f.json", text + "}");
        const Run run = ::run({"--device", "wall=" + closedAddress(), "--trace", "coefficients", "upload",
                               path("f.json"), "--parallel", "1"});
        QCOMPARE(run.code, 3);
        QCOMPARE(run.err.count("wall  PUT"), 3);
        QCOMPARE(run.err.count("not sent: the device does not answer"), 17);
        QVERIFY2(run.err.contains("20 of 20 cabinets of wall failed"), run.err);
    }

    void aSignalEndsItWithTheCommandToGoOn()
    {
        write("f.json", R"({"1":[1],"2":[2]})");
        Fault stall;
        stall.path = plain.arg(2);
        stall.cut = Fault::Cut::Stall;
        m_simulator->addFault(stall);
        Program program({"--device", "wall=" + m_simulator->address(), "coefficients", "upload",
                         path("f.json"), "--parallel", "1"});
        QTRY_VERIFY_WITH_TIMEOUT(m_simulator->requestCount() == 2, 30000);
        program.send(SIGINT);
        const Run run = program.finish();
        QCOMPARE(run.code, 130);
        QVERIFY2(run.err.contains("wall: cabinet 2: interrupted"), run.err);
        QVERIFY2(run.err.trimmed().endsWith("--cabinets 2"), run.err);
    }

    void theBytesOfOneListAreToldOnTheirWay()
    {
        // Takes what its system buffers and then nothing more.
        const MisbehavingServer server(MisbehavingServer::Mode::Silent);
        write("f.json", "[" + QByteArray("1234567,").repeated(2 << 20) + "0]");
        Program program({"--device", "wall=" + server.address(), "coefficients", "upload", path("f.json")});
        QVERIFY(tells(
            program,
            R"(upload: [1-9]0 %, 0 of 1 cabinets, [\d.]+ .?B of 16\.8 MB, [\d.]+ .?B/s, \d+ [a-z\d ]*left)"));
        program.send(SIGTERM);
        const Run run = program.finish();
        QCOMPARE(run.code, 143);
        QVERIFY2(!run.err.contains("100 %"), run.err);
        QVERIFY2(run.err.contains("wall: all cabinets: interrupted"), run.err);
    }

    // Download

    void theBytesOfADownloadAreTold()
    {
        MisbehavingServer server(MisbehavingServer::Mode::Scripted);
        const QByteArray reply = R"({"code":0,"data":[)" + QByteArray("1234567,").repeated(12500) + "0]}";
        server.addScript(
            {"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(reply.size()) + "\r\n\r\n",
             reply.left(60000)});
        Program program({"--device", "wall=" + server.address(), "coefficients", "download", path("f.json")});
        QVERIFY(tells(
            program,
            R"(download: 50 %, 0 of 1 tables, 60\.0 kB of 100\.0 kB, [\d.]+ .?B/s, \d+ [a-z\d ]*left)"));
        server.broadcast(reply.mid(60000));
        const Run run = program.finish();
        QVERIFY2(run.code == 0, run.err);
        QVERIFY2(run.err.contains("download: 100 %, 1 of 1 tables, 100.0 kB"), run.err);
        QVERIFY(read("f.json").startsWith("[1234567,"));
    }

    void aSignalEndsADownloadAndLeavesTheOldFile_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }
    void aSignalEndsADownloadAndLeavesTheOldFile()
    {
        QFETCH(int, signal);
        write("f.json", "old");
        m_simulator->addFault(answer(multilayer.arg(1), 200, R"({"code":0,"data":[1]})"));
        Fault stall;
        stall.path = multilayer.arg(2);
        stall.cut = Fault::Cut::Stall;
        m_simulator->addFault(stall);
        Program program(device() + QStringList{"coefficients", "download", path("f.json"), "--kind",
                                               "multilayer", "--cabinets", "1,2,3"});
        QTRY_VERIFY_WITH_TIMEOUT(m_simulator->requestCount(stall.path) == 1, 30000);
        program.send(signal);
        const Run run = program.finish();
        QCOMPARE(run.code, 128 + signal);
        QVERIFY2(run.err.contains("wall: cabinet 2: interrupted\n"), run.err);
        QVERIFY2(run.err.contains("wall: cabinet 3: interrupted\n"), run.err);
        QVERIFY2(run.err.contains("f.json is unchanged"), run.err);
        QCOMPARE(read("f.json"), QByteArray("old"));
        QCOMPARE(files(), QStringList{"f.json"});
        QCOMPARE(m_simulator->requestCount(multilayer.arg(3)), quint64(0));
    }

    void aFullDiskLeavesTheOldFile_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<int>("kibibytes");
        QTest::newRow("no room") << 100 << 0;
        QTest::newRow("little room") << 100000 << 8;
        QTest::newRow("not enough for the end") << 65500 << 63;
    }
    void aFullDiskLeavesTheOldFile()
    {
        QFETCH(int, bytes);
        QFETCH(int, kibibytes);
        const QString cabinet = multilayer.arg(1);
        m_simulator->addFault(
            answer(cabinet, 200, "{\"code\":0,\"data\":[\"" + QByteArray(bytes, 'x') + "\"]}"));
        for (const QString& destination : {QStringLiteral("f.json"), QStringLiteral("t/")}) {
            const QString name = destination.endsWith('/') ? destination + "1.json" : destination;
            write(name, "old");
            const Run run =
                runOnFullDisk(device() + QStringList{"coefficients", "download", path(destination), "--kind",
                                                     "multilayer", "--cabinets", "1"},
                              kibibytes);
            QCOMPARE(run.code, 1);
            QVERIFY2(run.err.contains(path(name).toUtf8() + ": File too large\n"), run.err);
            QCOMPARE(read(name), QByteArray("old"));
        }
        QCOMPARE(files(), QStringList{"f.json"});
        QCOMPARE(QDir(path("t")).entryList(QDir::Files | QDir::Hidden), QStringList{"1.json"});
    }

    void whatIsDownloadedCanBeUploaded()
    {
        // Members with dots and nested objects have to come back as they were.
        const QByteArray table = R"([{"a.b":{"c":{}}},[1,[2]],9007199254740993])";
        for (const char* cabinet : {"3", "7"}) {
            m_simulator->addFault(
                answer(multilayer.arg(cabinet), 200, "{\"code\":0,\"data\":" + table + "}"));
        }
        for (const QString& destination : {QStringLiteral("f.json"), QStringLiteral("new/tables/")}) {
            Run run = download({destination, "--kind", "multilayer", "--cabinets", "3,7"});
            QVERIFY2(run.code == 0, run.err);
            m_simulator->resetCounts();
            run = upload({destination, "--kind", "multilayer"});
            QVERIFY2(run.code == 0, run.err);
            QCOMPARE(bodies(),
                     (QMap<QString, QByteArray>{{multilayer.arg(3), table}, {multilayer.arg(7), table}}));
        }
    }

    void plainTablesComeAsOneList()
    {
        m_simulator->addFault(answer(plainList, 200, R"({"code":0,"data":[1,2]})"));
        const Run run = download({"f.json"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(read("f.json"), QByteArray("[1,2]\n"));
    }

    void aFailedDownloadLeavesTheOldFile_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("code");
        QTest::newRow("HTTP error") << QByteArray() << 500 << 5;
        QTest::newRow("refusal") << QByteArray(R"({"code":7,"data":[]})") << 200 << 5;
        QTest::newRow("no table") << QByteArray(R"({"code":0,"data":{}})") << 200 << 1;
        QTest::newRow("no JSON") << QByteArray("[") << 200 << 5;
    }
    void aFailedDownloadLeavesTheOldFile()
    {
        QFETCH(QByteArray, reply);
        QFETCH(int, status);
        QFETCH(int, code);
        write("f.json", "old");
        write("t/2.json", "old");
        m_simulator->addFault(answer(multilayer.arg(1), 200, R"({"code":0,"data":[1]})"));
        m_simulator->addFault(answer(multilayer.arg(2), status, reply));
        const QStringList what{"--kind", "multilayer", "--cabinets", "1,2"};

        Run run = download(QStringList{"f.json"} + what);
        QCOMPARE(run.code, code);
        QCOMPARE(read("f.json"), QByteArray("old"));
        QVERIFY2(run.err.contains("wall: cabinet 2: ") && run.err.contains("is unchanged"), run.err);

        run = download(QStringList{"t"} + what);
        QCOMPARE(run.code, code);
        QCOMPARE(read("t/1.json"), QByteArray("[1]\n"));
        QCOMPARE(read("t/2.json"), QByteArray("old"));
    }

    void aDestinationThatCannotBeWrittenIsToldFirst()
    {
        write("file", "");
        for (const char* destination : {"no/such/directory/f.json", "file/tables/"}) {
            const Run run = download({destination, "--kind", "multilayer", "--cabinets", "1"});
            QCOMPARE(run.code, 1);
            QVERIFY2(run.err.contains(destination), run.err);
        }
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void aDownloadThatMakesNoSenseEndsWithTwo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("not given back") << QStringList{"f", "--kind", "dynamic"};
        QTest::newRow("cabinets missing") << QStringList{"f", "--kind", "multilayer"};
        QTest::newRow("cabinets in vain") << QStringList{"f", "--cabinets", "1"};
        QTest::newRow("one list into a directory") << QStringList{"d/"};
        QTest::newRow("two devices") << QStringList{"f", "--device", "other=h:1"};
    }
    void aDownloadThatMakesNoSenseEndsWithTwo()
    {
        QFETCH(QStringList, arguments);
        QCOMPARE(download(arguments).code, 2);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    // Save and clear

    void savingAndClearingNameTheCabinets_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("path");
        QTest::newRow("save plain") << "save"
                                    << "plain"
                                    << "savecoefficient";
        QTest::newRow("save multilayer") << "save"
                                         << "multilayer"
                                         << "multilayer/save";
        QTest::newRow("save lowgray") << "save"
                                      << "lowgray"
                                      << "lowgray/save";
        QTest::newRow("save adaptive") << "save"
                                       << "adaptive"
                                       << "rvcardcoefficient";
        QTest::newRow("clear plain") << "clear"
                                     << "plain"
                                     << "clearcoefficient";
        QTest::newRow("clear multilayer") << "clear"
                                          << "multilayer"
                                          << "multilayer/clear";
        QTest::newRow("clear lowgray") << "clear"
                                       << "lowgray"
                                       << "lowgray/clear";
    }
    void savingAndClearingNameTheCabinets()
    {
        QFETCH(QString, command);
        QFETCH(QString, kind);
        QFETCH(QString, path);
        const QString whole = "/api/v1/device/correctionop/cabinets/" + path;
        m_simulator->addFault(answer(whole, 200, R"({"code":0})"));
        const QStringList arguments{"--device",     "wall=" + m_simulator->address(),
                                    "coefficients", command,
                                    "--kind",       kind,
                                    "--cabinets",   "3,7"};
        Run run = ::run(arguments);
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.out, QByteArray("wall: ok\n"));
        QCOMPARE(bodies(), (QMap<QString, QByteArray>{{whole, R"({"cids":["3","7"]})"}}));

        m_simulator->clearFaults();
        m_simulator->addFault(answer(whole, 500));
        run = ::run(arguments + QStringList{"--json"});
        QCOMPARE(run.code, 5);
        QCOMPARE(run.json().object().value("wall").toBool(true), false);
    }

    void cabinetsHoldWhatWasUploadedSavedAndCleared_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("kindOfWall");
        QTest::newRow("plain") << "plain" << int(CoefficientKind::Plain);
        QTest::newRow("multilayer") << "multilayer" << int(CoefficientKind::Multilayer);
        QTest::newRow("lowgray") << "lowgray" << int(CoefficientKind::LowGray);
    }
    void cabinetsHoldWhatWasUploadedSavedAndCleared()
    {
        QFETCH(QString, kind);
        QFETCH(int, kindOfWall);
        const QByteArray second = R"([{"c":[0.5,-1e-07,9007199254740993],"cid":"2"}])";
        const QByteArray third = R"([{"c":"AAAA","cid":"3"},{"c":"BBBB","cid":"3"}])";
        write("f.json", "{\"2\": " + second + ",\n\"3\":" + third + "}");
        const auto held = [&](const char* cabinet, CoefficientBank bank) {
            return m_simulator->coefficients(cabinet, static_cast<CoefficientKind>(kindOfWall), bank);
        };
        const QByteArray delivered = held("3", CoefficientBank::Saved);
        QCOMPARE(upload({"f.json", "--kind", kind}).code, 0);
        QCOMPARE(held("2", CoefficientBank::Loaded), second);
        QCOMPARE(held("3", CoefficientBank::Loaded), third);
        const QStringList command = device() + QStringList{"coefficients"};
        QCOMPARE(run(command + QStringList{"save", "--kind", kind, "--cabinets", "2"}).code, 0);
        QCOMPARE(held("2", CoefficientBank::Saved), second);
        QCOMPARE(held("3", CoefficientBank::Saved), delivered);
        QCOMPARE(run(command + QStringList{"clear", "--kind", kind, "--cabinets", "2,3"}).code, 0);
        QCOMPARE(held("2", CoefficientBank::Saved), QByteArray("[]"));
        QCOMPARE(held("3", CoefficientBank::Loaded), QByteArray("[]"));
    }

    void whatADeviceDoesNotDoEndsWithTwo()
    {
        const QStringList device{"--device", m_simulator->address(), "coefficients"};
        QCOMPARE(run(device + QStringList{"save", "--kind", "dynamic", "--cabinets", "1"}).code, 2);
        QCOMPARE(run(device + QStringList{"clear", "--kind", "adaptive", "--cabinets", "1"}).code, 2);
        QCOMPARE(run(device + QStringList{"save"}).code, 2);
        QCOMPARE(run(device).code, 2);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void theHelpHasExamples_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("coefficients") << QStringList{"coefficients"};
        for (const char* command : {"upload", "download", "save", "clear"}) {
            QTest::newRow(command) << QStringList{"coefficients", command};
        }
    }
    void theHelpHasExamples()
    {
        QFETCH(QStringList, command);
        const Run run = ::run(command + QStringList{"--help"});
        QCOMPARE(run.code, 0);
        QVERIFY(run.out.contains("Examples:"));
    }

private:
    Run command(const QString& name, QStringList arguments) const
    {
        arguments[0] = path(arguments[0]);
        return run(device() + QStringList{"coefficients", name} + arguments);
    }
    Run upload(const QStringList& arguments) const { return command("upload", arguments); }
    Run download(const QStringList& arguments) const { return command("download", arguments); }
    QMap<QString, QByteArray> bodies() const
    {
        QMap<QString, QByteArray> found;
        for (const RequestRecord& request : m_simulator->requests()) {
            found.insert(request.path, request.body);
        }
        return found;
    }
};

QTEST_GUILESS_MAIN(TestCoefficients)
#include "tst_coefficients.moc"
