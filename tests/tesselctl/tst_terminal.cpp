// SPDX-License-Identifier: MIT
//
// What the program does on a terminal only.
#include "misbehavingserver.h"
#include "terminalprogram.h"
#include "walltest.h"

using Mode = MisbehavingServer::Mode;

namespace {

const QByteArray half(100000, 'd');
// Takes the line that the cursor is in away.
const QByteArray clearLine = "\r\x1b[K";

/// A server that has sent half of a firmware when its first request was answered.
struct HalfSent
{
    HalfSent() { server.addScript({"HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n", half}); }
    MisbehavingServer server{Mode::Scripted};
};

} // namespace

class TestTerminal : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init() { startWall(); }

    void aBarStaysInItsLineAndLeavesNoTrace()
    {
        HalfSent sender;
        TerminalProgram program(downloadFrom(sender.server));
        QVERIFY2(
            program.shows(R"(\r\x1b\[Kdownload  \[##########----------\]  50 %  100\.0 kB of 200\.0 kB, )"),
            program.shown());
        QVERIFY2(!program.shown().contains('\n'), program.shown());
        sender.server.broadcast(half);
        QCOMPARE(program.finish(), 0);
        const QByteArray after =
            program.shown().mid(program.shown().lastIndexOf(clearLine) + clearLine.size());
        QCOMPARE(after, path("card.bin").toUtf8() + ": 200.0 kB\r\n");
        QCOMPARE(program.shown().count('\n'), 1);
    }

    void aBarIsNoWiderThanTheTerminal()
    {
        HalfSent sender;
        TerminalProgram program(downloadFrom(sender.server), {}, 45);
        QVERIFY2(program.shows("50 %"), program.shown());
        sender.server.broadcast(half);
        QCOMPARE(program.finish(), 0);
        const QList<QByteArray> lines = QByteArray(program.shown()).replace(clearLine, "\n").split('\n');
        for (const QByteArray& line : lines.mid(0, lines.size() - 2)) {
            QVERIFY2(line.size() < 45, line);
        }
    }

    void linesComeWhereNothingCanStayInItsPlace_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QStringList>("environment");
        QTest::newRow("a terminal that cannot go back") << QStringList() << QStringList{"TERM=dumb"};
        QTest::newRow("among the lines of a trace") << QStringList{"--trace"} << QStringList();
    }
    void linesComeWhereNothingCanStayInItsPlace()
    {
        QFETCH(QStringList, options);
        QFETCH(QStringList, environment);
        HalfSent sender;
        TerminalProgram program(downloadFrom(sender.server) + options, environment);
        QVERIFY2(program.shows(R"(download: 50 %, 100\.0 kB of 200\.0 kB, .*\n)"), program.shown());
        sender.server.broadcast(half);
        QCOMPARE(program.finish(), 0);
        QVERIFY2(!program.shown().contains('\x1b'), program.shown());
    }

    void aBarMovesWhileOneListIsSent()
    {
        // Takes what its system buffers and then nothing more.
        const MisbehavingServer server(Mode::Silent);
        write("f.json", "[" + QByteArray("1234567,").repeated(2 << 20) + "0]");
        TerminalProgram program(
            {"--device", "wall=" + server.address(), "coefficients", "upload", path("f.json")});
        QVERIFY2(program.shows(R"(upload  \[##?[#-]*\]  [1-9]\d %  0 of 1 cabinets, )"), program.shown());
        program.type("\x03");
        QCOMPARE(program.finish(), 130);
        const QByteArray after =
            program.shown().mid(program.shown().lastIndexOf(clearLine) + clearLine.size());
        QVERIFY2(after.startsWith("tesselctl: wall: all cabinets: interrupted\r\n"), after);
    }

    void controlCEndsADownloadAndLeavesTheOldFile()
    {
        HalfSent sender;
        write("card.bin", "old");
        TerminalProgram program(downloadFrom(sender.server));
        QVERIFY2(program.shows("50 %"), program.shown());
        program.type("\x03");
        QCOMPARE(program.finish(), 130);
        QVERIFY2(program.shown().contains(clearLine + "tesselctl: wall: interrupted\r\n"), program.shown());
        QCOMPARE(read("card.bin"), QByteArray("old"));
        QCOMPARE(files(), QStringList{"card.bin"});
    }

    void aPasswordIsNotShownWhenItIsTyped()
    {
        const MisbehavingServer server;
        TerminalProgram program(askingFor({"call", "getAllChipType"}, server));
        QVERIFY2(program.shows("Password or token: "), program.shown());
        QVERIFY(!program.echoes());
        program.type("hunter2\n");
        QCOMPARE(program.finish(), 0);
        QVERIFY2(!program.shown().contains("hunter2"), program.shown());
        QVERIFY2(program.shown().startsWith("Password or token: \r\n"), program.shown());
        QVERIFY(program.echoes());
        QCOMPARE(server.received().at(0).headers.value("authorization"),
                 "Basic " + QByteArray("me:hunter2").toBase64());
    }

    void anEmptyPasswordIsRefused()
    {
        const MisbehavingServer server;
        TerminalProgram program(askingFor({"call", "getAllChipType"}, server));
        QVERIFY2(program.shows("Password or token: "), program.shown());
        program.type("\n");
        QCOMPARE(program.finish(), 2);
        QVERIFY2(program.shown().contains("the password or token is empty"), program.shown());
        QCOMPARE(server.connections(), 0);
    }

    void controlCAtTheQuestionEndsIt_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("call") << QStringList{"call", "getAllChipType"};
        QTest::newRow("watch") << QStringList{"watch"};
        QTest::newRow("monitor") << QStringList{"monitor"};
        QTest::newRow("upload") << QStringList{"coefficients", "upload", "FILE"};
        QTest::newRow("download") << QStringList{"firmware", "download", "FILE", "--id", "3"};
        QTest::newRow("update") << QStringList{"firmware", "update", "FILE"};
    }
    void controlCAtTheQuestionEndsIt()
    {
        QFETCH(QStringList, command);
        write("f.json", "[1]");
        const MisbehavingServer server;
        command.replaceInStrings("FILE", path("f.json"));
        TerminalProgram program(askingFor(command, server));
        QVERIFY2(program.shows("Password or token: "), program.shown());
        QVERIFY(!program.echoes());
        program.type("hun\x03");
        QCOMPARE(program.finish(), -SIGINT);
        QVERIFY(program.echoes());
        QVERIFY2(!program.shown().contains("hun"), program.shown());
        QCOMPARE(server.connections(), 0);
        QCOMPARE(read("f.json"), QByteArray("[1]"));
    }

    void colourIsForTerminalsThatWantIt_data()
    {
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<bool>("coloured");
        QTest::newRow("a terminal") << QStringList() << true;
        QTest::newRow("NO_COLOR is set") << QStringList{"NO_COLOR=1"} << false;
        QTest::newRow("NO_COLOR is empty") << QStringList{"NO_COLOR="} << true;
        QTest::newRow("a dumb terminal") << QStringList{"TERM=dumb"} << false;
    }
    void colourIsForTerminalsThatWantIt()
    {
        QFETCH(QStringList, environment);
        QFETCH(bool, coloured);
        TerminalProgram program({"demo"}, environment);
        QCOMPARE(program.finish(), 0);
        QVERIFY2(program.shown().contains("All steps succeeded"), program.shown());
        QCOMPARE(program.shown().contains('\x1b'), coloured);
    }

    void theHelpTellsOfColour() { QVERIFY(run({"--help"}).out.contains("NO_COLOR")); }

private:
    QStringList downloadFrom(const MisbehavingServer& server) const
    {
        return {"--device", "wall=" + server.address(), "firmware", "download", path("card.bin"), "--id",
                "3"};
    }
    static QStringList askingFor(const QStringList& command, const MisbehavingServer& server)
    {
        return QStringList{"--device", "wall=" + server.address(), "--login", "basic", "--user", "me"} +
               command;
    }
};

QTEST_GUILESS_MAIN(TestTerminal)
#include "tst_terminal.moc"
