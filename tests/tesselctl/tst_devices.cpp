// SPDX-License-Identifier: MIT
//
// The states of event streams as the program shows them.
#include "program.h"

#include <simulator/simulator.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QtTest>

using Tessel::Simulator::Simulator;

namespace {

Run finished(const QStringList& arguments)
{
    return Program(arguments).finish();
}

/// The states of @p device that JSON lines of the program tell, in order.
QList<QJsonObject> connectionsIn(const QByteArray& out, const QString& device)
{
    QList<QJsonObject> found;
    for (const QByteArray& line : out.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        const bool isConnection = !object.contains("kind") || object.value("kind") == "connection";
        if (isConnection && object.value("device") == device) {
            found << (object.contains("kind") ? object.value("payload").toObject() : object);
        }
    }
    return found;
}

QStringList statesIn(const QByteArray& out, const QString& device)
{
    QStringList states;
    for (const QJsonObject& connection : connectionsIn(out, device)) {
        states << connection.value("state").toString();
    }
    return states;
}

} // namespace

class TestDevices : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>();
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    void aTableShowsTheStateOfEachStream()
    {
        const ClosedPort closed;
        const Run run = finished({"--device", "wall=" + m_simulator->address(), "--device",
                                  "away=" + closed.address(), "devices"});
        QCOMPARE(run.code, 3);
        const QStringList lines = QString::fromUtf8(run.out).trimmed().split('\n');
        QCOMPARE(lines.size(), 3);
        const auto matches = [&lines](int line, const char* pattern) {
            return QRegularExpression(QLatin1String(pattern)).match(lines[line]).hasMatch();
        };
        QVERIFY2(
            matches(
                0,
                "^device +state +model +version +protocol +screens +cabinets +since +next attempt +reason$"),
            run.out);
        QVERIFY2(matches(1, "^wall +live +Wall Controller 16P +\\d+\\.\\d+\\.\\d+ +multi-screen +2 +240 "
                            "+\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d +- +-$"),
                 run.out);
        QVERIFY2(matches(2, "^away +waiting +- +- +- +- +- +\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d "
                            "+\\d\\d:\\d\\d:\\d\\d +"
                            "the device does not answer$"),
                 run.out);
    }

    void theExitCodeSaysHowItIs_data()
    {
        QTest::addColumn<int>("status"); // 0: as it is
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("state");
        QTest::newRow("live") << 0 << 0 << "live";
        QTest::newRow("no stream") << 404 << 5 << "refused";
        QTest::newRow("login refused") << 401 << 5 << "refused";
        QTest::newRow("ended for good") << 204 << 5 << "stopped";
        QTest::newRow("busy") << 503 << 3 << "waiting";
    }
    void theExitCodeSaysHowItIs()
    {
        QFETCH(int, status);
        QFETCH(int, code);
        QFETCH(QString, state);
        if (status != 0) {
            Tessel::Simulator::Fault fault;
            fault.path = QStringLiteral("/api/v1/events");
            fault.status = status;
            fault.times = -1;
            m_simulator->addFault(fault);
        }
        const Run run = finished({"--json", "--device", "wall=" + m_simulator->address(), "devices"});
        QCOMPARE(run.code, code);
        const QJsonArray all = run.json().array();
        QCOMPARE(all.size(), 1);
        const QJsonObject one = all.first().toObject();
        QCOMPARE(one.keys(), QStringList({"cabinets", "device", "model", "nextAttempt", "protocol", "reason",
                                          "screens", "since", "state", "version"}));
        QCOMPARE(one.value("device").toString(), QString("wall"));
        QCOMPARE(one.value("state").toString(), state);
        QCOMPARE(one.value("reason").isNull(), status == 0);
        QCOMPARE(one.value("nextAttempt").isNull(), status == 0 || status == 204);
        QVERIFY(QDateTime::fromString(one.value("since").toString(), Qt::ISODateWithMs).isValid());
    }

    void aDeviceThatGoesAndComesBackIsFollowed_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("devices") << QStringList{"devices", "--follow"};
        QTest::newRow("watch") << QStringList{"watch"};
    }
    void aDeviceThatGoesAndComesBackIsFollowed()
    {
        QFETCH(QStringList, command);
        Program program(QStringList{"--json", "--device", "wall=" + m_simulator->address()} + command);
        const auto states = [&program] { return statesIn(program.out(), QStringLiteral("wall")); };
        QTRY_VERIFY_WITH_TIMEOUT(states().contains("live"), 30000);
        QVERIFY2(states() == QStringList({"connecting", "live"}), program.out());
        m_simulator->logoutDevice();
        QTRY_VERIFY_WITH_TIMEOUT(states().contains("waiting"), 30000);
        const QJsonObject waiting = connectionsIn(program.out(), QStringLiteral("wall")).at(2);
        QCOMPARE(waiting.value("state").toString(), QString("waiting"));
        QCOMPARE(waiting.value("reason").toString(), QString("the stream ended"));
        const auto time = [&waiting](const char* name) {
            return QDateTime::fromString(waiting.value(QLatin1String(name)).toString(), Qt::ISODateWithMs);
        };
        QVERIFY(time("since").isValid());
        QVERIFY(time("nextAttempt") > time("since"));
        m_simulator->loginDevice();
        QTRY_VERIFY_WITH_TIMEOUT(states().last() == "live", 60000);
        program.send(SIGINT);
        QCOMPARE(program.finish().code, 0);
    }

    void changesAreLinesForPeople()
    {
        Program program({"--device", "wall=" + m_simulator->address(), "devices", "--follow"});
        QTRY_VERIFY_WITH_TIMEOUT(program.printed("  wall  live"), 30000);
        m_simulator->logoutDevice();
        QTRY_VERIFY_WITH_TIMEOUT(program.printed("  wall  waiting: the stream ended; next attempt at "),
                                 30000);
        program.send(SIGTERM);
        QCOMPARE(program.finish().code, 0);
    }

    void itEndsAfterItsTime()
    {
        // A device that takes the connection and says nothing: no attempt ends before.
        Tessel::Simulator::Fault fault;
        fault.path = QStringLiteral("/api/v1/events");
        fault.delay = 600000;
        fault.times = -1;
        m_simulator->addFault(fault);
        const Run run = finished({"--device", "wall=" + m_simulator->address(), "devices", "--seconds", "1"});
        QCOMPARE(run.code, 3);
        QVERIFY2(run.out.contains("connecting"), run.out);
    }

private:
    std::unique_ptr<Simulator> m_simulator;
};

QTEST_GUILESS_MAIN(TestDevices)
#include "tst_devices.moc"
