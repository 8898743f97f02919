// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>
#include <tessel/warningtypes.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <memory>

using namespace Tessel::Simulator;

namespace {

const QString historyPath = QStringLiteral("/api/v1/device/monitor/cabinet/history/1");

Options withControl()
{
    Options options;
    options.control = true;
    return options;
}

} // namespace

/// What goes on in a controller beyond keeping what is written.
class TestSimulatorProcesses : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    HttpReply get(const QByteArray& path) const
    {
        return HttpClient(m_simulator->port()).get("/api/v1" + path);
    }
    HttpReply put(const QByteArray& path, const QByteArray& body) const
    {
        return HttpClient(m_simulator->port()).put("/api/v1" + path, body);
    }

private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>(withControl());
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    void anUpdateAdvancesWithEachReadingUntilItIsDone_data()
    {
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<QByteArray>("progress");
        QTest::newRow("controller") << QByteArray("/device/hw/update")
                                    << QByteArray("/device/hw/updateprogress");
        QTest::newRow("receiving cards")
            << QByteArray("/device/cabinet/rvupdate") << QByteArray("/device/cabinet/rvupdateprogress");
        QTest::newRow("load of receiving cards")
            << QByteArray("/device/cabinet/rvupdateload") << QByteArray("/device/cabinet/rvupdateprogress");
    }
    void anUpdateAdvancesWithEachReadingUntilItIsDone()
    {
        QFETCH(QByteArray, start);
        QFETCH(QByteArray, progress);
        const auto state = [&] {
            const QJsonObject told = get(progress).object();
            return told.value(QStringLiteral("state")).toString() + ' ' +
                   QString::number(told.value(QStringLiteral("progress")).toInt());
        };
        QCOMPARE(state(), QStringLiteral("idle 0"));
        for (int update = 0; update < 2; ++update) {
            QCOMPARE(put(start, "{\"update\":" + QByteArray::number(update) + "}").status, 200);
            QStringList states;
            for (int i = 0; i < 6; ++i) {
                states << state();
            }
            QCOMPARE(states, (QStringList{"running 0", "running 25", "running 50", "running 75", "done 100",
                                          "done 100"}));
        }
    }

    void lookingAtAnUpdateFromOutsideDoesNotAdvanceIt()
    {
        QCOMPARE(put("/device/hw/update", "{}").status, 200);
        const auto path = QStringLiteral("/api/v1/device/hw/updateprogress");
        const QByteArray before = m_simulator->value(path);
        QVERIFY(before.contains("running"));
        QCOMPARE(m_simulator->value(path), before);
    }

    void whatIsMeasuredMovesWithEachReading_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("data") << QByteArray("/device/monitor/data");
        QTest::newRow("history") << QByteArray("/device/monitor/cabinet/history/1");
        QTest::newRow("logs") << QByteArray("/device/monitor/logs");
    }
    void whatIsMeasuredMovesWithEachReading()
    {
        QFETCH(QByteArray, path);
        Simulator twin;
        QVERIFY(twin.start());
        QByteArray last;
        for (int i = 0; i < 100; ++i) {
            const QByteArray told = get(path).body;
            QVERIFY(told != last);
            QCOMPARE(HttpClient(twin.port()).get("/api/v1" + path).body, told);
            last = told;
        }
        QVERIFY(last.size() < 64 * 1024);
    }

    void aResetBeginsTheMeasuringAnew()
    {
        const QByteArray first = get("/device/monitor/data").body;
        QVERIFY(get("/device/monitor/data").body != first);
        m_simulator->reset();
        QCOMPARE(get("/device/monitor/data").body, first);
    }

    void lookingAtMeasuresFromOutsideDoesNotMoveThem()
    {
        QCOMPARE(m_simulator->value(historyPath), m_simulator->value(historyPath));
        QVERIFY(!m_simulator->value(historyPath).isEmpty());
    }

    void warningsArePushed_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("member");
        const QMap<QString, QString> members{{"fanSpeed", "fanSpeed"},
                                             {"voltage", "voltage"},
                                             {"temperature", "temperature"},
                                             {"outputChange", "linked"},
                                             {"cabinet", "temperature"}};
        for (const auto& row : Tessel::warningRows) {
            QTest::newRow(row.name()) << row.name() << members.value(row.name());
        }
    }
    void warningsArePushed()
    {
        QFETCH(QString, type);
        QFETCH(QString, member);
        EventReader stream(m_simulator->port());
        QVERIFY(m_simulator->waitForEventStreams(1));
        QVERIFY(m_simulator->pushWarning(type) > 0);
        const QByteArray body = "{\"eventType\":\"" + type.toLatin1() + "\",\"eventData\":{\"a\":1}}";
        QCOMPARE(HttpClient(m_simulator->port()).request("POST", "/sim/warnings", body).status, 200);
        QList<QJsonObject> events;
        for (int i = 0; i < 2; ++i) {
            events << stream.next().object();
        }
        for (const QJsonObject& event : events) {
            QCOMPARE(event.value(QStringLiteral("eventSender")).toString(), QStringLiteral("monitor"));
            QCOMPARE(event.value(QStringLiteral("eventType")).toString(), type);
        }
        QVERIFY(events[0].value(QStringLiteral("eventData")).toObject().contains(member));
        QCOMPARE(events[1].value(QStringLiteral("eventData")).toObject(), (QJsonObject{{"a", 1}}));
    }

    void whatNoControllerWarnsOfIsRefused()
    {
        QCOMPARE(m_simulator->pushWarning(QStringLiteral("weather")), quint64(0));
        QCOMPARE(m_simulator->pushWarning(QStringLiteral("voltage"), "{"), quint64(0));
        HttpClient client(m_simulator->port());
        for (const char* body : {"", "[]", "{}", R"({"eventType":1})", R"({"eventType":"weather"})"}) {
            QCOMPARE(client.request("POST", "/sim/warnings", body).status, 400);
        }
        Options options;
        options.cabinets = 0;
        Simulator bare(options);
        QCOMPARE(bare.pushWarning(QStringLiteral("cabinet")), quint64(0));
    }
};

QTEST_GUILESS_MAIN(TestSimulatorProcesses)
#include "tst_simulatorprocesses.moc"
