// SPDX-License-Identifier: MIT
//
// Commands on several devices: at once, in order, with one that stalls and one that refuses; and the forms in
// which results are printed.
#include "terminalprogram.h"
#include "walltest.h"

#include "tests/api/apidocument.h"

#include <simulator/iothreads.h>
#include <tesselctl/terminal/format.h>
#include <tesselctl/terminal/output.h>
#include <tesselctl/terminal/table.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QStandardPaths>

using namespace TesselCtl;
using Tessel::Simulator::Fault;
using Tessel::Simulator::Simulator;

namespace {

const char* const chips = "/api/v1/device/capability/chips";

Fault stall(const QString& path)
{
    Fault fault;
    fault.path = path;
    fault.cut = Fault::Cut::Stall;
    fault.times = -1;
    return fault;
}

/// What the schema in the documents says of @p output; empty if all is well.
QByteArray mistakeIn(const QByteArray& output)
{
    QFile file(TESSEL_SOURCE_DIR "/docs/commandline.schema.json");
    if (!file.open(QIODevice::ReadOnly)) {
        return "there is no schema";
    }
    const Validator validator(Json::parse(file.readAll().toStdString()));
    return validator.errorIn(Json::parse(output.toStdString(), nullptr, false));
}

} // namespace

/// Three walls: the first answers, the second stalls, the third refuses.
class TestManyDevices : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        startWall();
        m_stalling = std::make_unique<Simulator>();
        m_refusing = std::make_unique<Simulator>();
        QVERIFY(m_stalling->start() && m_refusing->start());
        m_stalling->addFault(stall(chips));
        m_refusing->addFault(answer(chips, 400, R"({"code":7,"message":"busy"})"));
    }

    void allAreAskedAtOnceAndToldInTheirOrder()
    {
        Program program(walls() + QStringList{"-o", "jsonl", "--timeout", "600", "call", "getAllChipType"});
        // The one in front of it still stalls.
        QTRY_COMPARE_WITH_TIMEOUT(m_stalling->requestsInFlight(), 1, 30000);
        QTRY_COMPARE_WITH_TIMEOUT(m_refusing->requestCount(chips), quint64(1), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(program.printed("\"left\""), 30000);
        QVERIFY(!program.out().contains("\"right\""));
        m_stalling->stop();
        const Run ran = program.finish();
        const QList<QByteArray> lines = program.out().trimmed().split('\n') + ran.out.trimmed().split('\n');
        QCOMPARE(ran.code, 3);
        QVERIFY2(ran.err.endsWith("2 of 3 devices failed: middle, right\n"), ran.err);
    }

    void noMoreThanAllowedAreAskedAtOnce()
    {
        Program program(walls() + QStringList{"--parallel", "1", "-o", "jsonl", "--timeout", "600", "call",
                                              "getAllChipType"});
        QTRY_COMPARE_WITH_TIMEOUT(m_stalling->requestsInFlight(), 1, 30000);
        QCOMPARE(m_refusing->requestCount(), quint64(0));
        m_stalling->stop();
        QCOMPARE(program.finish().code, 3);
        QCOMPARE(m_refusing->requestCount(chips), quint64(1));
    }

    void aDeviceThatStallsIsGivenUpAfterTheTimeout()
    {
        const Run ran = run(walls() + QStringList{"--timeout", "5", "-o", "json", "call", "getAllChipType"});
        QCOMPARE(ran.code, 4);
        const QJsonArray all = ran.json().array();
        QCOMPARE(all.size(), 3);
        QVERIFY2(all[0].toObject().value("result").isArray(), ran.out);
        const QJsonObject stalled = all[1].toObject().value("error").toObject();
        QCOMPARE(stalled, (QJsonObject{{"state", "timed-out"},
                                       {"status", QJsonValue()},
                                       {"code", QJsonValue()},
                                       {"message", "not done within 5 s"}}));
        const QJsonObject refused = all[2].toObject().value("error").toObject();
        QCOMPARE(refused,
                 (QJsonObject{{"state", "refused"},
                              {"status", 400},
                              {"code", 7},
                              {"message", "the device refused: HTTP status 400, code 7, \"busy\""}}));
        QCOMPARE(mistakeIn(ran.out), QByteArray());
    }

    void oneDeviceHasTheSameShapeAsMany()
    {
        const Run good = run(device() + QStringList{"-o", "json", "call", "getAllChipType"});
        QCOMPARE(good.code, 0);
        QCOMPARE(mistakeIn(good.out), QByteArray());
        QCOMPARE(good.json().array().at(0).toObject().value("device").toString(), QString("wall"));
        const Run gone = run({"-d", "gone=" + closedAddress(), "-o", "json", "call", "getAllChipType"});
        QCOMPARE(gone.code, 3);
        QCOMPARE(mistakeIn(gone.out), QByteArray());
        QCOMPARE(gone.json().array().at(0).toObject().value("error").toObject().value("state").toString(),
                 QString("unreachable"));
        // The schema can tell.
        QVERIFY(!mistakeIn(R"([{"device":"a"}])").isEmpty());
        QVERIFY(!mistakeIn(R"([{"device":"a","result":1,"error":{}}])").isEmpty());
    }

    void theFirstFailureEndsAllIfWanted()
    {
        const Run ran = run(
            walls() + QStringList{"--fail-fast", "-o", "json", "--timeout", "600", "call", "getAllChipType"});
        QCOMPARE(ran.code, 5);
        const QJsonArray all = ran.json().array();
        QCOMPARE(all[1].toObject().value("error").toObject().value("state").toString(), QString("skipped"));
        QCOMPARE(mistakeIn(ran.out), QByteArray());
    }

    void aReadIsRepeatedUntilItSucceedsAndAWriteIsNot_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("requests");
        QTest::addColumn<int>("code");
        QTest::newRow("read") << "getAllChipType" << chips << 3 << 0;
        QTest::newRow("write") << "setCabSingleBrightness 1 {\"brightness\":7}"
                               << "/api/v1/device/cabinet/1/brightness" << 1 << 5;
    }
    void aReadIsRepeatedUntilItSucceedsAndAWriteIsNot()
    {
        QFETCH(QString, call);
        QFETCH(QString, path);
        QFETCH(int, requests);
        QFETCH(int, code);
        m_simulator->addFault(answer(path, 503, {}, 2));
        const Run ran = run(device() + QStringList{"--retry", "5", "call"} + call.split(' '));
        QVERIFY2(ran.code == code, ran.err);
        QCOMPARE(m_simulator->requestCount(path), quint64(requests));
    }

    void aSignalEndsAllAndSaysWhatWasDone_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }
    void aSignalEndsAllAndSaysWhatWasDone()
    {
        QFETCH(int, signal);
        Program program(walls() + QStringList{"-o", "jsonl", "call", "getAllChipType"});
        QTRY_COMPARE_WITH_TIMEOUT(m_stalling->requestsInFlight(), 1, 30000);
        QTRY_VERIFY_WITH_TIMEOUT(program.printed("\"left\""), 30000);
        QTRY_COMPARE_WITH_TIMEOUT(m_refusing->requestCount(chips), quint64(1), 30000);
        program.send(signal);
        const Run ran = program.finish();
        QCOMPARE(ran.code, 128 + signal);
        QVERIFY2(ran.err.contains("middle: interrupted\n"), ran.err);
        QVERIFY2(ran.err.contains("interrupted: 1 of 3 devices done\n"), ran.err);
    }

    void formatsHoldTheSame()
    {
        const QStringList call{"call", "getAllChipType"};
        const QStringList fine = device() + QStringList{"-d", "other=" + m_refusing->address()};
        const Run json = run(fine + QStringList{"-o", "json"} + call);
        const Run lines = run(fine + QStringList{"-o", "jsonl"} + call);
        QCOMPARE(lines.out.count('\n'), 2);
        const QByteArray joined = '[' + lines.out.trimmed().replace('\n', ',') + ']';
        QCOMPARE(QJsonDocument::fromJson(joined), json.json());

        const Run yaml = run(fine + QStringList{"-o", "yaml"} + call);
        const QString python = QStandardPaths::findExecutable("python3", {"/usr/bin"});
        if (python.isEmpty()) {
            QSKIP("there is no Python");
        }
        QProcess reader;
        reader.start(python, {"-c", "import json,sys,yaml; json.dump(yaml.safe_load(sys.stdin),sys.stdout)"});
        reader.write(yaml.out);
        reader.closeWriteChannel();
        QVERIFY(reader.waitForFinished(60000));
        QCOMPARE(QJsonDocument::fromJson(reader.readAllStandardOutput()), json.json());
    }

    void valuesAreWrittenAsYaml_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("yaml");
        const auto row = [](const char* name, const QVariant& value, const char* yaml) {
            QTest::newRow(name) << value << QByteArray(yaml);
        };
        row("text", "no", "\"no\"\n");
        row("number", 7, "7\n");
        row("nothing", QVariant(), "null\n");
        row("empty", QVariantMap{{"a", QVariantList()}, {"b", QVariantMap()}}, "a: []\nb: {}\n");
        row("map in a list", QVariantList{QVariantMap{{"a", 1}, {"b", QVariantMap{{"c", true}}}}, 2},
            "- a: 1\n  b:\n    c: true\n- 2\n");
        row("list in a map", QVariantMap{{"a", QVariantList{1, "x"}}}, "a:\n  - 1\n  - \"x\"\n");
        row("list in a list", QVariantList{QVariantList{1, 2}, QVariantList()}, "- - 1\n  - 2\n- []\n");
        row("names that mean something else", QVariantMap{{"on", 1}, {"a b", 2}, {"7", 3}},
            "\"7\": 3\n\"a b\": 2\n\"on\": 1\n");
        row("control characters", "\x1b[0m\n", "\"\\u001b[0m\\n\"\n");
    }
    void valuesAreWrittenAsYaml()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, yaml);
        QCOMPARE(toYaml(value), yaml);
    }

    void columnsAreChosenAndSorted()
    {
        const QStringList cabinets = device() + QStringList{"call", "getCabAllFlags"};
        const Run ran = run(cabinets + QStringList{"--columns", "id,module", "--sort", "id:desc"});
        QVERIFY2(ran.code == 0, ran.err);
        const QStringList lines = QString::fromUtf8(ran.out).split('\n');
        QVERIFY2(lines[0].startsWith("id ") && lines[0].endsWith("module"), ran.out);
        // As numbers, not as texts.
        QVERIFY2(lines[1].startsWith("240 ") && lines[2].startsWith("239 "), ran.out);
        const Run json = run(cabinets + QStringList{"-o", "json", "--columns", "id", "--sort", "id:desc"});
        const QJsonObject first =
            json.json().array().at(0).toObject().value("result").toArray().at(0).toObject();
        QCOMPARE(first, (QJsonObject{{"id", "240"}}));
        const Run misspelt = run(cabinets + QStringList{"--columns", "idd"});
        QCOMPARE(misspelt.code, 2);
        QVERIFY2(misspelt.err.contains("no column \"idd\"; there are cabinet, id, module, recvCard"),
                 misspelt.err);
    }

    void tablesFitTheTerminal()
    {
        TerminalProgram narrow(device() + QStringList{"call", "getRvCardsList"}, {}, 60);
        QCOMPARE(narrow.finish(), 0);
        int cut = 0;
        for (const QByteArray& line : narrow.shown().split('\n')) {
            const QString text = QString::fromUtf8(line).remove('\r');
            QVERIFY2(text.size() <= 60, line);
            cut += text.contains(QChar(0x2026)) ? 1 : 0;
        }
        QVERIFY2(cut > 100, narrow.shown());
        // Whoever reads a pipe gets everything.
        const Run piped = run(device() + QStringList{"call", "getRvCardsList"});
        QVERIFY(!QString::fromUtf8(piped.out).contains(QChar(0x2026)));
    }

    void theWidestColumnsAreCutFirst()
    {
        const QList<QStringList> rows{{"id", "a long name that goes on", "x"},
                                      {"1", "b", "another long one"}};
        QCOMPARE(aligned(rows, 24), QString::fromUtf8("id  a long n…  x\n1   b          another …\n"));
        QCOMPARE(aligned(rows, 3), QString::fromUtf8("id  a l…  x\n1   b     ano…\n"));
        QCOMPARE(
            aligned(rows),
            QString("id  a long name that goes on  x\n1   b                         another long one\n"));
    }

    void quietPrintsErrorsOnly()
    {
        const Run ran =
            run({"-q", "-d", "left=" + m_simulator->address(), "-d", "right=" + m_refusing->address(), "-d",
                 "gone=" + closedAddress(), "call", "getAllChipType"});
        QCOMPARE(ran.code, 5);
        QCOMPARE(ran.out, QByteArray());
        QCOMPARE(ran.err.count('\n'), 2);
        QVERIFY2(ran.err.contains("right: ") && ran.err.contains("gone: "), ran.err);
    }

    void listsThatNeedNoDeviceHaveAllFormats_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("routes") << QStringList{"routes", "chips"};
        QTest::newRow("ops") << QStringList{"ops", "getAllChipType"};
    }
    void listsThatNeedNoDeviceHaveAllFormats()
    {
        QFETCH(QStringList, command);
        const Run json = run(command + QStringList{"-o", "json"});
        QCOMPARE(run(command + QStringList{"--json"}).out, json.out);
        const Run lines = run(command + QStringList{"-o", "jsonl"});
        QCOMPARE(lines.out.count('\n'), json.json().array().size());
        QVERIFY(run(command + QStringList{"-o", "yaml"}).out.startsWith("- "));
    }

    void oneOfFiftyThatStallsHoldsNobodyUp()
    {
        std::vector<std::unique_ptr<Simulator>> fleet;
        QStringList arguments{"-o", "jsonl", "--parallel", "50"};
        const auto threads = std::make_shared<Tessel::Simulator::IoThreads>(1);
        for (int i = 0; i < 50; ++i) {
            fleet.push_back(std::make_unique<Simulator>(Tessel::Simulator::Options(), threads));
            QVERIFY(fleet.back()->start());
            arguments << "-d" << QString("wall%1=%2").arg(i).arg(fleet.back()->address());
        }
        fleet.front()->addFault(stall(chips));
        Program program(arguments + QStringList{"call", "getAllChipType"});
        const auto answered = [&fleet] {
            return std::count_if(fleet.begin() + 1, fleet.end(), [](const auto& one) {
                return one->requestCount(chips) == 1 && one->requestsInFlight() == 0;
            });
        };
        QTRY_COMPARE_WITH_TIMEOUT(answered(), std::ptrdiff_t(49), 60000);
        QCOMPARE(fleet.front()->requestsInFlight(), 1);
        fleet.front()->stop();
        const Run ran = program.finish();
        QCOMPARE(ran.code, 3);
        QCOMPARE(ran.out.count("\"result\""), 49);
    }

private:
    QStringList walls() const
    {
        return {"-d", "left=" + m_simulator->address(), "-d", "middle=" + m_stalling->address(),
                "-d", "right=" + m_refusing->address()};
    }

    std::unique_ptr<Simulator> m_stalling;
    std::unique_ptr<Simulator> m_refusing;
};

QTEST_GUILESS_MAIN(TestManyDevices)
#include "tst_manydevices.moc"
