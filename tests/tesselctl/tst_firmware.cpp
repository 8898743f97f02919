// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"
#include "walltest.h"

#include <tesselctl/commands/updateprogress.h>

#include <QJsonObject>

#include <sys/stat.h>

using Tessel::Simulator::Fault;
using Tessel::Simulator::RequestRecord;
using Tessel::Simulator::Simulator;

namespace {

const QString updatePath = "/api/v1/device/cabinet/rvupdate";
const QString loadPath = "/api/v1/device/cabinet/rvupdateload";
const QString progressPath = "/api/v1/device/cabinet/rvupdateprogress";
const QString controllerPath = "/api/v1/device/hw/update";
const QString controllerProgressPath = "/api/v1/device/hw/updateprogress";
const QString firmwarePath = "/api/v1/device/cabinet/rvfirmware/3/1";

Fault stall(const QString& path)
{
    Fault fault;
    fault.path = path;
    fault.cut = Fault::Cut::Stall;
    return fault;
}

} // namespace

class TestFirmware : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init() { startWall(); }

    void progressIsReadFromAReply_data()
    {
        QTest::addColumn<QVariantMap>("reply");
        QTest::addColumn<double>("share");
        QTest::addColumn<QString>("state");
        QTest::addColumn<bool>("failed");
        QTest::newRow("nothing") << QVariantMap() << -1.0 << QString() << false;
        QTest::newRow("progress") << QVariantMap{{"progress", 25}, {"state", "writing"}} << 0.25 << "writing"
                                  << false;
        QTest::newRow("percent") << QVariantMap{{"percent", "50"}, {"status", 3}} << 0.5 << QString()
                                 << false;
        QTest::newRow("beyond") << QVariantMap{{"progress", 1e9}} << 1.0 << QString() << false;
        QTest::newRow("below") << QVariantMap{{"progress", -4}} << -1.0 << QString() << false;
        QTest::newRow("no number") << QVariantMap{{"progress", "x"}} << -1.0 << QString() << false;
        QTest::newRow("failed") << QVariantMap{{"progress", 10}, {"state", "Failed"}} << 0.1 << "Failed"
                                << true;
        QTest::newRow("a steering word")
            << QVariantMap{{"state", "\x1b[2J"}} << -1.0 << "\\u001b[2J" << false;
    }
    void progressIsReadFromAReply()
    {
        QFETCH(QVariantMap, reply);
        const TesselCtl::UpdateProgress progress = TesselCtl::updateProgressOf(reply);
        QTEST(progress.share, "share");
        QTEST(progress.state, "state");
        QTEST(progress.failed, "failed");
    }

    void cardsGetTheFileAndLoadIt()
    {
        write("card.bin", "IMAGE\n");
        const Run run = firmware({"update", path("card.bin"), "--field", "type=1"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.out, QByteArray("wall: ok\n"));
        QVERIFY2(run.err.contains("wall: 100 %, done"), run.err);
        QVERIFY(!run.err.contains('\r') && !run.err.contains('\x1b'));
        const QByteArray update = bodyOf(updatePath);
        QVERIFY2(update.contains("name=\"file\"; filename=\"card.bin\"") && update.contains("IMAGE\n"),
                 update);
        QVERIFY2(update.contains("name=\"type\""), update);
        const QByteArray load = bodyOf(loadPath);
        QVERIFY2(load.contains("name=\"file\"") && load.contains("\r\n\r\ncard.bin\r\n"), load);
        QVERIFY2(load.contains("name=\"type\"") && !load.contains("IMAGE"), load);
    }

    void loadingCanBeLeftOut()
    {
        write("card.bin", "IMAGE");
        const Run run = firmware({"update", path("card.bin"), "--upload-only", "--part", "fw"});
        QVERIFY2(run.code == 0, run.err);
        QVERIFY(bodyOf(updatePath).contains("name=\"fw\""));
        QCOMPARE(m_simulator->requestCount(loadPath), quint64(0));
    }

    void aControllerGetsTheBytesAsTheyAre()
    {
        const QByteArray image = QByteArray("\0\x01\xff{}", 5).repeated(4000);
        write("controller.bin", image);
        const Run run = firmware({"update", path("controller.bin"), "--controller", "--json"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.json().object().value("wall").toBool(), true);
        QCOMPARE(bodyOf(controllerPath), image);
        QVERIFY(m_simulator->requestCount(controllerProgressPath) >= 1);
    }

    void itWaitsUntilTheDeviceIsDone()
    {
        write("card.bin", "IMAGE");
        m_simulator->addFault(
            answer(progressPath, 200, R"({"code":0,"data":{"progress":42,"state":"writing"}})", 2));
        const Run run = firmware({"update", path("card.bin")});
        QVERIFY2(run.code == 0, run.err);
        QVERIFY2(run.err.contains("wall: 40 %, writing"), run.err);
        QVERIFY2(run.err.contains("wall: 100 %, done"), run.err);
        // The simulated card advances from 0 to 100 in five reads of its own.
        QCOMPARE(m_simulator->requestCount(progressPath), quint64(2 + 5));
    }

    void progressIsReadWhileTheFileIsSent_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("slow");
        QTest::addColumn<QString>("progress");
        QTest::newRow("cards") << QStringList() << updatePath << progressPath;
        QTest::newRow("controller") << QStringList{"--controller"} << controllerPath
                                    << controllerProgressPath;
    }
    void progressIsReadWhileTheFileIsSent()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, slow);
        QFETCH(QString, progress);
        write("image.bin", "IMAGE");
        m_simulator->addFault(stall(slow));
        Program program(device() + QStringList{"firmware", "update", path("image.bin")} + options);
        QTRY_VERIFY_WITH_TIMEOUT(
            m_simulator->requestCount(slow) == 1 && m_simulator->requestCount(progress) >= 2, 30000);
    }

    void theBytesOfAnImageAreToldOnTheirWay_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("cards") << QStringList();
        QTest::newRow("controller") << QStringList{"--controller"};
    }
    void theBytesOfAnImageAreToldOnTheirWay()
    {
        QFETCH(QStringList, options);
        // Takes what its system buffers and then nothing more.
        const MisbehavingServer server(MisbehavingServer::Mode::Silent);
        write("image.bin", QByteArray(16 << 20, 'i'));
        Program program(
            QStringList{"--device", "wall=" + server.address(), "firmware", "update", path("image.bin")} +
            options);
        QVERIFY(
            tells(program, R"(wall: [1-9]0 %, sending, [\d.]+ .?B of 16\.8 MB, [\d.]+ .?B/s, \d+ s left)"));
        program.send(SIGINT);
        const Run run = program.finish();
        QCOMPARE(run.code, 130);
        QVERIFY2(run.err.contains("tesselctl: wall: interrupted\n"), run.err);
    }

    void aSignalEndsAnUpdate_data()
    {
        QTest::addColumn<QString>("slow");
        QTest::newRow("while the device takes the file") << updatePath;
        QTest::newRow("while the cards load it") << loadPath;
        QTest::newRow("while it is written") << progressPath;
    }
    void aSignalEndsAnUpdate()
    {
        QFETCH(QString, slow);
        write("card.bin", "IMAGE");
        m_simulator->addFault(stall(slow));
        Simulator other;
        QVERIFY(other.start());
        Program program(device() + QStringList{"--device", "other=" + other.address(), "firmware", "update",
                                               path("card.bin"), "--json", "--parallel", "1"});
        QTRY_VERIFY_WITH_TIMEOUT(m_simulator->requestCount(slow) == 1, 30000);
        program.send(SIGTERM);
        const Run run = program.finish();
        QCOMPARE(run.code, 143);
        QVERIFY2(run.err.contains("tesselctl: wall: interrupted\n"), run.err);
        QVERIFY2(run.err.contains("tesselctl: other: interrupted\n"), run.err);
        QCOMPARE(run.json().object(), (QJsonObject{{"wall", false}, {"other", false}}));
        QCOMPARE(other.requestCount(), quint64(0));
    }

    void aDeviceThatTellsNoProgressIsDoneWhenItAnswered()
    {
        write("card.bin", "IMAGE");
        m_simulator->addFault(answer(progressPath, 200, R"({"code":0,"data":{}})"));
        QCOMPARE(firmware({"update", path("card.bin")}).code, 0);
    }

    void aFailureIsTold_data()
    {
        QTest::addColumn<QString>("failing");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("the file is refused")
            << updatePath << 500 << QByteArray() << 5 << QByteArray("HTTP status 500");
        QTest::newRow("loading is refused")
            << loadPath << 200 << QByteArray(R"({"code":7})") << 5 << QByteArray("code 7");
        QTest::newRow("the update fails")
            << progressPath << 200 << QByteArray(R"({"code":0,"data":{"progress":10,"state":"failed"}})") << 1
            << QByteArray("the device reports: failed");
        QTest::newRow("progress is refused")
            << progressPath << 404 << QByteArray() << 5 << QByteArray("HTTP status 404");
    }
    void aFailureIsTold()
    {
        QFETCH(QString, failing);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, code);
        QFETCH(QByteArray, told);
        write("card.bin", "IMAGE");
        m_simulator->addFault(answer(failing, status, body));
        const Run run = firmware({"update", path("card.bin")});
        QCOMPARE(run.code, code);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.contains("tesselctl: wall: ") && run.err.contains(told), run.err);
    }

    void aFileThatCannotBeSentEndsWithTwo_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("missing") << "nothing" << QStringList() << QByteArray("nothing: No such file");
        QTest::newRow("a directory") << "." << QStringList() << QByteArray("is a directory");
        QTest::newRow("empty") << "empty" << QStringList() << QByteArray("empty: file is empty");
        QTest::newRow("a wrong field") << "full" << QStringList{"--field", "x"} << QByteArray("NAME=VALUE");
        QTest::newRow("the first of two wrong fields")
            << "full" << QStringList{"--field", "x", "--field", "y"} << QByteArray("not \"x\"");
        QTest::newRow("missing, and a wrong field")
            << "nothing" << QStringList{"--field", "x"} << QByteArray("nothing: No such file");
        QTest::newRow("a form for a controller")
            << "full" << QStringList{"--controller", "--field", "a=b"} << QByteArray("without a form");
    }
    void aFileThatCannotBeSentEndsWithTwo()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, options);
        QFETCH(QByteArray, told);
        write("empty", "");
        write("full", "IMAGE");
        const Run run = firmware(QStringList{"update", path(name)} + options);
        QCOMPARE(run.code, 2);
        QVERIFY2(run.err.contains(told), run.err);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void progressIsPrinted()
    {
        m_simulator->addFault(answer(progressPath, 200, R"({"code":0,"data":{"progress":42}})"));
        QCOMPARE(firmware({"progress"}).out, QByteArray("wall:\nprogress  42\n"));
        const Run controller = firmware({"progress", "--controller", "--json"});
        QCOMPARE(controller.code, 0);
        QVERIFY(controller.json().object().value("wall").toObject().contains("progress"));
        QCOMPARE(m_simulator->requestCount(controllerProgressPath), quint64(1));

        const Run gone = run({"--device", "wall=" + closedAddress(), "firmware", "progress"});
        QCOMPARE(gone.code, 3);
        QVERIFY(gone.err.startsWith("tesselctl: wall: "));
    }

    void progressIsFollowedToTheEnd()
    {
        for (const QString& path : {progressPath, controllerProgressPath}) {
            m_simulator->addFault(
                answer(path, 200, R"({"code":0,"data":{"progress":42,"state":"writing"}})", 2));
            m_simulator->addFault(answer(path, 200, R"({"code":0,"data":{"progress":100,"state":"done"}})"));
        }
        const Run run = firmware({"progress", "--follow"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.out, QByteArray("wall: ok\n"));
        QCOMPARE(run.err, QByteArray("wall: 40 %, writing\nwall: 100 %, done\n"));
        QCOMPARE(m_simulator->requestCount(progressPath), quint64(3));

        const Run controller = firmware({"progress", "--follow", "--controller", "--json"});
        QCOMPARE(controller.code, 0);
        QCOMPARE(controller.json().object(), (QJsonObject{{"wall", true}}));
        QCOMPARE(m_simulator->requestCount(controllerProgressPath), quint64(3));
    }

    void theExitCodeTellsHowAFollowedUpdateEnded_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("failed") << 200 << QByteArray(R"({"code":0,"data":{"progress":60,"state":"failed"}})")
                                << 1 << QByteArray("the device reports: failed");
        QTest::newRow("tells nothing") << 200 << QByteArray(R"({"code":0,"data":{}})") << 1
                                       << QByteArray("the device reports no progress");
        QTest::newRow("refused") << 404 << QByteArray() << 5 << QByteArray("HTTP status 404");
    }
    void theExitCodeTellsHowAFollowedUpdateEnded()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, code);
        QFETCH(QByteArray, told);
        Fault later = answer(progressPath, status, body);
        later.after = 1;
        m_simulator->addFault(later);
        const Run run = firmware({"progress", "--follow"});
        QCOMPARE(run.code, code);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.contains("tesselctl: wall: ") && run.err.contains(told), run.err);
        QCOMPARE(m_simulator->requestCount(progressPath), quint64(2));
    }

    void aSignalEndsTheFollowing()
    {
        m_simulator->addFault(
            answer(progressPath, 200, R"({"code":0,"data":{"progress":42,"state":"writing"}})"));
        Program program(device() + QStringList{"firmware", "progress", "--follow"});
        QVERIFY(tells(program, "wall: 40 %, writing"));
        program.send(SIGINT);
        const Run run = program.finish();
        QCOMPARE(run.code, 130);
        QVERIFY2(run.err.contains("tesselctl: wall: interrupted\n"), run.err);
    }

    void aDownloadReplacesTheFile()
    {
        write("card.bin", "old");
        const Run run = download("card.bin");
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.out, path("card.bin").toUtf8() + ": 65.5 kB\n");
        const QByteArray image = read("card.bin");
        QVERIFY(image.startsWith("FIRMWARE 3 1\n"));
        QCOMPARE(image.size(), 65536);
    }

    void whatWasLoadedIsDownloadedToTheByte()
    {
        const QByteArray image = QByteArray("\0\r\n--\xff{}", 8).repeated(30000);
        write("sent.bin", image);
        QCOMPARE(firmware({"update", path("sent.bin")}).code, 0);
        QCOMPARE(download("read.bin").code, 0);
        QVERIFY(read("read.bin") == image);
    }

    void aFailedDownloadLeavesTheOldFile_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("truncated");
        QTest::addColumn<int>("code");
        QTest::newRow("HTTP error") << 500 << false << 5;
        QTest::newRow("cut") << 0 << true << 3;
    }
    void aFailedDownloadLeavesTheOldFile()
    {
        QFETCH(int, status);
        QFETCH(bool, truncated);
        QFETCH(int, code);
        Fault fault = answer(firmwarePath, status);
        fault.cut = truncated ? Fault::Cut::Truncate : Fault::Cut::None;
        m_simulator->addFault(fault);
        write("card.bin", "old");
        const Run run = download("card.bin");
        QCOMPARE(run.code, code);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.contains("tesselctl: wall: ") && run.err.contains("card.bin is unchanged"), run.err);
        QCOMPARE(read("card.bin"), QByteArray("old"));
        QCOMPARE(files(), QStringList{"card.bin"});
    }

    void theBytesOfADownloadAreTold_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QString>("told");
        QTest::newRow("known size") << QByteArray("Content-Length: 200000\r\n\r\n")
                                    << R"(download: 50 %, 100\.0 kB of 200\.0 kB, [\d.]+ .?B/s, \d+ s left)";
        QTest::newRow("unknown size") << QByteArray("Transfer-Encoding: chunked\r\n\r\n186a0\r\n")
                                      << R"(download: [\d.]+ kB, [\d.]+ .?B/s\n)";
    }
    void theBytesOfADownloadAreTold()
    {
        QFETCH(QByteArray, head);
        QFETCH(QString, told);
        MisbehavingServer server(MisbehavingServer::Mode::Scripted);
        server.addScript({"HTTP/1.1 200 OK\r\n" + head, QByteArray(100000, 'd')});
        Program program(
            {"--device", "wall=" + server.address(), "firmware", "download", path("card.bin"), "--id", "3"});
        QVERIFY(tells(program, told));
        if (head.startsWith("Content-Length")) {
            server.broadcast(QByteArray(100000, 'd'));
        } else {
            server.broadcast("\r\n0\r\n\r\n");
        }
        const Run run = program.finish();
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(read("card.bin").size(), head.startsWith("Content-Length") ? 200000 : 100000);
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
        MisbehavingServer server(MisbehavingServer::Mode::Scripted);
        server.addScript({"HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n", QByteArray(100000, 'd')});
        write("card.bin", "old");
        Program program(
            {"--device", "wall=" + server.address(), "firmware", "download", path("card.bin"), "--id", "3"});
        QVERIFY(tells(program, "download: 50 %"));
        program.send(signal);
        const Run run = program.finish();
        QCOMPARE(run.code, 128 + signal);
        QVERIFY2(run.err.contains("tesselctl: wall: interrupted\n"), run.err);
        QVERIFY2(run.err.contains("card.bin is unchanged"), run.err);
        QCOMPARE(read("card.bin"), QByteArray("old"));
        QCOMPARE(files(), QStringList{"card.bin"});
    }

    void aFullDiskLeavesTheOldFile_data()
    {
        QTest::addColumn<int>("kibibytes");
        QTest::newRow("no room") << 0;
        QTest::newRow("little room") << 8;
        QTest::newRow("not enough for the end") << 63;
    }
    void aFullDiskLeavesTheOldFile()
    {
        QFETCH(int, kibibytes);
        write("card.bin", "old");
        const QStringList arguments =
            device() + QStringList{"firmware", "download", path("card.bin"), "--id", "3", "--type", "1"};
        const Run run = runOnFullDisk(arguments, kibibytes);
        QCOMPARE(run.code, 1);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.contains("card.bin: cannot write the destination: File too large\n"), run.err);
        QVERIFY2(run.err.contains("card.bin is unchanged"), run.err);
        QCOMPARE(read("card.bin"), QByteArray("old"));
        QCOMPARE(files(), QStringList{"card.bin"});
        // The image needs as much, and no more.
        QCOMPARE(runOnFullDisk(arguments, 64).code, 0);
        QCOMPARE(read("card.bin").size(), 65536);
    }

    void aDestinationThatCannotBeWrittenIsTold_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("no such directory") << "no/such/directory/card.bin";
        QTest::newRow("a directory") << "directory";
        QTest::newRow("below a file") << "file/card.bin";
        QTest::newRow("a pipe") << "pipe";
    }
    void aDestinationThatCannotBeWrittenIsTold()
    {
        QFETCH(QString, name);
        write("directory/x", "");
        write("file", "old");
        QCOMPARE(::mkfifo(qPrintable(path("pipe")), 0600), 0);
        const QStringList before = files();
        const Run run = download(name);
        QCOMPARE(run.code, 1);
        QVERIFY2(run.err.contains(path(name).toUtf8() + ": cannot write the destination: "), run.err);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
        QCOMPARE(files(), before);
    }

    void twoDevicesGiveNoFile()
    {
        const Run run = firmware({"download", path("f"), "--id", "3", "--device", "other=h:1"});
        QCOMPARE(run.code, 2);
        QVERIFY(run.err.contains("one device"));
    }

    void theHelpHasExamples_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("firmware") << QStringList{"firmware"};
        for (const char* command : {"update", "progress", "download"}) {
            QTest::newRow(command) << QStringList{"firmware", command};
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
    Run firmware(const QStringList& arguments) const
    {
        return run(device() + QStringList{"firmware"} + arguments);
    }
    Run download(const QString& name) const
    {
        return firmware({"download", path(name), "--id", "3", "--type", "1"});
    }
    QByteArray bodyOf(const QString& requestPath) const
    {
        for (const RequestRecord& request : m_simulator->requests()) {
            if (request.path == requestPath && request.method != "GET") {
                return request.body;
            }
        }
        return {};
    }
};

QTEST_GUILESS_MAIN(TestFirmware)
#include "tst_firmware.moc"
