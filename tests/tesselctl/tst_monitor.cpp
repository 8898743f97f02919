// SPDX-License-Identifier: MIT
#include "program.h"

#include <simulator/simulator.h>
#include <tessel/warningtypes.h>
#include <tesselctl/commands/monitortext.h>
#include <tesselctl/terminal/terminal.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include <csignal>

using Tessel::Simulator::Fault;
using Tessel::Simulator::Simulator;

namespace {

const QString dataPath = "/api/v1/device/monitor/data";

QList<QJsonObject> linesOfKind(const QByteArray& out, const QString& kind)
{
    QList<QJsonObject> found;
    for (const QByteArray& line : out.trimmed().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (object.value("kind") == kind) {
            found << object;
        }
    }
    return found;
}

Fault always(const QByteArray& body)
{
    Fault fault;
    fault.path = dataPath;
    fault.body = body;
    fault.times = -1;
    return fault;
}

} // namespace

class TestMonitor : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>();
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    void measurementsAreKnownByTheirNames_data()
    {
        QTest::addColumn<QVariantMap>("data");
        QTest::addColumn<QStringList>("cells");
        QTest::newRow("nothing") << QVariantMap() << QStringList{"-", "-", "-", "-"};
        QTest::newRow("numbers") << QVariantMap{{"temperature", 41}, {"mainVoltage", 3.3}}
                                 << QStringList{"-", "41", "3.3", "-"};
        QTest::newRow("several of a kind")
            << QVariantMap{{"fanSpeed", QVariantList{2400, 2430}},
                           {"voltage", QVariantMap{{"core", 1.0}, {"io", 3.3}}}}
            << QStringList{"2400, 2430", "-", "core 1.0, io 3.3", "-"};
        QTest::newRow("parts") << QVariantMap{{"cabinets",
                                               QVariantList{QVariantMap{{"id", "1"}, {"temperature", 40}},
                                                            QVariantMap{{"id", "2"}, {"temperature", 35}}}}}
                               << QStringList{"-", "-", "-", "cabinets 2, temperature 35..40"};
        QTest::newRow("a hostile device")
            << QVariantMap{{"temperature", "\x1b[2J"}} << QStringList{"-", "\\u001b[2J", "-", "-"};
    }
    void measurementsAreKnownByTheirNames()
    {
        QFETCH(QVariantMap, data);
        QFETCH(QStringList, cells);
        QCOMPARE(TesselCtl::monitorCells(data), cells);
        QCOMPARE(TesselCtl::monitorColumns().size(), cells.size());
    }

    void aTableTakesThePlaceOfTheOneBefore()
    {
        QCOMPARE(TesselCtl::repainted(0, {}, {"a", "b"}, 80), QString("a\nb\n"));
        QCOMPARE(TesselCtl::repainted(2, {}, {"c"}, 80), QString("\x1b[2A\r\x1b[Jc\n"));
        QCOMPARE(TesselCtl::repainted(1, {"stays"}, {"c"}, 80), QString("\x1b[1A\r\x1b[Jstays\nc\n"));
        QCOMPARE(TesselCtl::repainted(0, {}, {"abcdef"}, 3), QString("abc\n"));
    }

    void elsewhereThanOnATerminalItPrintsALinePerReading()
    {
        const Run run = ::run(
            {"--device", "wall=" + m_simulator->address(), "monitor", "--interval", "0.1", "--count", "3"});
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out.count('\n'), 3);
        const QRegularExpression line(
            R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d  wall  fans \d+, \d+  temperature \d+  voltage core )");
        for (const QByteArray& text : run.out.trimmed().split('\n')) {
            QVERIFY2(line.match(text).hasMatch(), text);
        }
        QVERIFY(!run.out.contains('\x1b') && !run.out.contains('\a'));
        QCOMPARE(m_simulator->requestCount(dataPath), quint64(3));
    }

    // What stands before an @ is masked wherever the transport names a device.
    void devicesWhoseNamesAreMaskedAlikeAreToldApart()
    {
        Simulator failing;
        QVERIFY2(failing.start(), qPrintable(failing.errorString()));
        Fault fault = always({});
        fault.status = 503;
        failing.addFault(fault);
        const Run run =
            ::run({"--json", "--device", "a@wall=" + m_simulator->address(), "--device",
                   "b@wall=" + failing.address(), "monitor", "--interval", "0.1", "--count", "1"});
        const QList<QJsonObject> readings = linesOfKind(run.out, "reading");
        QCOMPARE(readings.size(), 2);
        for (const QJsonObject& reading : readings) {
            QCOMPARE(reading.value("error").isNull(), reading.value("device") == "a@wall");
        }
    }

    void jsonIsOneObjectPerReading()
    {
        const Run run = ::run({"--json", "--device", "wall=" + m_simulator->address(), "monitor",
                               "--interval", "0.1", "--count", "2"});
        QCOMPARE(run.code, 0);
        const QList<QJsonObject> readings = linesOfKind(run.out, "reading");
        QCOMPARE(readings.size(), 2);
        QCOMPARE(run.out.count('\n'), 2);
        QCOMPARE(readings[0].value("device").toString(), QString("wall"));
        QCOMPARE(readings[0].value("data").toObject().value("fanSpeed").toArray().size(), 2);
        QVERIFY(readings[0].value("error").isNull());
    }

    void aWarningIsToldOnce_data()
    {
        QTest::addColumn<QString>("eventType");
        QTest::addColumn<bool>("json");
        for (const auto& row : Tessel::warningRows) {
            QTest::addRow("%s, text", row.name()) << row.name() << false;
            QTest::addRow("%s, JSON", row.name()) << row.name() << true;
        }
    }
    void aWarningIsToldOnce()
    {
        QFETCH(QString, eventType);
        QFETCH(bool, json);
        QStringList arguments{"--device", "wall=" + m_simulator->address(), "monitor", "--interval", "60"};
        if (json) {
            arguments << "--json";
        }
        Program program(arguments);
        QVERIFY(m_simulator->waitForEventStreams(1, 30000));
        m_simulator->pushEvent(QStringLiteral(R"({"eventSender":"monitor","eventType":"%1",)"
                                              R"("eventData":{"text":"\u001b\u0007"}})")
                                   .arg(eventType)
                                   .toUtf8());
        m_simulator->pushEvent(R"({"eventSender":"monitor","eventType":"voltage","eventData":{"last":1}})");
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((program.process.waitForReadyRead(100),
                                  out += program.process.readAllStandardOutput(), out.contains("last")),
                                 30000);
        program.process.terminate();
        QCOMPARE(program.finish().code, 0);
        QVERIFY2(!out.contains('\x1b') && !out.contains('\a'), out);
        if (json) {
            const QList<QJsonObject> warnings = linesOfKind(out, "warning");
            QCOMPARE(warnings.size(), 2);
            QCOMPARE(warnings[0].value("type").toString(), eventType);
            QVERIFY(warnings[0].value("payload").isObject());
        } else {
            QCOMPARE(out.count("  wall  warning "), 2);
            QVERIFY2(out.contains("warning " + eventType.toUtf8() + ": {\"text\":"), out);
        }
    }

    void itEndsOnASignal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }
    void itEndsOnASignal()
    {
        QFETCH(int, signal);
        // The device never answers, which must not keep it from ending.
        Fault stall;
        stall.path = dataPath;
        stall.cut = Fault::Cut::Stall;
        stall.times = -1;
        m_simulator->addFault(stall);
        Program program({"--device", m_simulator->address(), "monitor"});
        QTRY_VERIFY_WITH_TIMEOUT(m_simulator->requestsInFlight() == 1, 30000);
        ::kill(static_cast<pid_t>(program.process.processId()), signal);
        QCOMPARE(program.finish().code, 0);
    }

    void aDeadDeviceDoesNotHideTheOthers()
    {
        const Run run = ::run({"--json", "--device", "gone=" + closedAddress(), "--device",
                               "here=" + m_simulator->address(), "monitor", "--count", "1"});
        QCOMPARE(run.code, 3);
        const QList<QJsonObject> readings = linesOfKind(run.out, "reading");
        QCOMPARE(readings.size(), 2);
        for (const QJsonObject& reading : readings) {
            const bool gone = reading.value("device") == "gone";
            QCOMPARE(reading.value("data").isNull(), gone);
            QCOMPARE(reading.value("error").isString(), gone);
        }
    }

    void aRefusalAndNonsenseAreTold_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("refusal") << QByteArray(R"({"code":7,"message":"busy"})") << 5
                                 << QByteArray("code 7, \"busy\"");
        QTest::newRow("nonsense") << QByteArray("\x1b]0;x") << 5 << QByteArray("not with JSON");
    }
    void aRefusalAndNonsenseAreTold()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, code);
        QFETCH(QByteArray, told);
        m_simulator->addFault(always(body));
        const Run run = ::run({"--device", "wall=" + m_simulator->address(), "monitor", "--count", "1"});
        QCOMPARE(run.code, code);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.startsWith("tesselctl: wall: ") && run.err.contains(told), run.err);
        QVERIFY(!run.err.contains('\x1b'));
    }

    void aWrongCommandLineEndsWithTwo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("no device") << QStringList{"monitor"};
        QTest::newRow("no interval") << QStringList{"--device", "h:1", "monitor", "--interval", "0"};
        QTest::newRow("count of nothing") << QStringList{"--device", "h:1", "monitor", "--count", "0"};
    }
    void aWrongCommandLineEndsWithTwo()
    {
        QFETCH(QStringList, arguments);
        QCOMPARE(run(arguments).code, 2);
    }

    void theHelpHasExamples()
    {
        const Run run = ::run({"monitor", "--help"});
        QCOMPARE(run.code, 0);
        QVERIFY(run.out.contains("Examples:"));
    }

private:
    std::unique_ptr<Simulator> m_simulator;
};

QTEST_GUILESS_MAIN(TestMonitor)
#include "tst_monitor.moc"
