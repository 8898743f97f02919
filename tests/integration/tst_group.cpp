// SPDX-License-Identifier: MIT
#include "simulateddevice.h"

#include <closedport.h>

#include <tessel/inputinfo.h>

#include <QSet>
#include <QtTest>

using Tessel::Simulator::Fault;
using Tessel::Simulator::Options;

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

constexpr int inputCount = 64;

Options manyInputs()
{
    Options options;
    options.inputs = inputCount;
    return options;
}

QStringList allIds()
{
    QStringList ids;
    for (int id = 1; id <= inputCount; ++id) {
        ids << QString::number(id);
    }
    return ids;
}

QStringList idsOf(const List& results)
{
    QStringList ids;
    for (const QVariant& result : results) {
        ids << result.toMap().value(QStringLiteral("id")).toString();
    }
    return ids;
}

QSet<QString> setOf(const QStringList& ids)
{
    return {ids.cbegin(), ids.cend()};
}

Fault faultOf(const char* path)
{
    Fault fault;
    fault.path = QString::fromLatin1(path);
    return fault;
}

} // namespace

class TestGroupIntegration : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aGroupIsReadAllAtOnce()
    {
        SimulatedDevice device(manyInputs());
        QVERIFY(device.start());
        // Each reply takes its time, so that all requests have arrived before the first is answered: the
        // group lasts as long as its slowest reply.
        Fault slow = faultOf("Device_OneEDID");
        slow.delay = 2000;
        slow.times = -1;
        device.simulator.addFault(slow);
        List results;
        QVERIFY(InputInfo::getInstance()->getEDIDs(device.key, allIds(), results));
        QCOMPARE(device.simulator.peakRequestsInFlight(), inputCount);
        QCOMPARE(device.requests(), inputCount);
        QCOMPARE(results.size(), inputCount);
        QCOMPARE(setOf(idsOf(results)), setOf(allIds()));
        for (const QVariant& result : results) {
            QCOMPARE(result.toMap().value("width").toInt(), 3840);
        }
    }

    void aGroupIsWrittenAllAtOnce()
    {
        SimulatedDevice device(manyInputs());
        QVERIFY(device.start());
        Fault slow = faultOf("Device_Hue");
        slow.method = "PUT";
        slow.delay = 2000;
        slow.times = -1;
        device.simulator.addFault(slow);
        List untouched{QVariant(1)};
        QVERIFY(InputInfo::getInstance()->setHue(device.key, allIds(), Map{{"hue", 12}}, untouched));
        QCOMPARE(device.simulator.peakRequestsInFlight(), inputCount);
        QCOMPARE(untouched, List{QVariant(1)});
        for (const QString& id : allIds()) {
            Map hue;
            QVERIFY(InputInfo::getInstance()->getHue(device.key, id, hue));
            QCOMPARE(hue.value("hue").toInt(), 12);
        }
    }

    void oneInputThatFailsFailsTheGroupAndCostsItsResultAlone_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("cut");
        QTest::newRow("refuses") << 500 << int(Fault::Cut::None);
        QTest::newRow("closes") << 0 << int(Fault::Cut::Close);
        QTest::newRow("breaks off") << 0 << int(Fault::Cut::Truncate);
    }
    void oneInputThatFailsFailsTheGroupAndCostsItsResultAlone()
    {
        QFETCH(int, status);
        QFETCH(int, cut);
        SimulatedDevice device(manyInputs());
        QVERIFY(device.start());
        Fault failing = faultOf("/api/v1/device/input/5/edid");
        failing.status = status;
        failing.cut = static_cast<Fault::Cut>(cut);
        failing.times = -1;
        device.simulator.addFault(failing);
        List results;
        QVERIFY(!InputInfo::getInstance()->getEDIDs(device.key, allIds(), results));
        QStringList others = allIds();
        others.removeOne(QStringLiteral("5"));
        QCOMPARE(results.size(), others.size());
        QCOMPARE(setOf(idsOf(results)), setOf(others));
    }

    void anUnknownInputFailsTheGroupAndCostsItsResultAlone()
    {
        SimulatedDevice device(manyInputs());
        QVERIFY(device.start());
        List results;
        QVERIFY(!InputInfo::getInstance()->getEDIDs(device.key, {"1", "65", "2"}, results));
        QCOMPARE(setOf(idsOf(results)), setOf({"1", "2"}));
    }

    void oneInputThatAnswersLateIsWaitedFor()
    {
        SimulatedDevice device(manyInputs());
        QVERIFY(device.start());
        Fault late = faultOf("/api/v1/device/input/5/edid");
        late.delay = 1500;
        device.simulator.addFault(late);
        List results{QVariant(QStringLiteral("earlier"))};
        QVERIFY(InputInfo::getInstance()->getEDIDs(device.key, allIds(), results));
        QCOMPARE(results.size(), inputCount + 1);
        // Results are in the order of the replies, after the list's earlier contents.
        QCOMPARE(results.first().toString(), QStringLiteral("earlier"));
        QCOMPARE(idsOf(results).last(), QStringLiteral("5"));
    }

    void inputsThatNeverAnswerEndWithTheTimeLimit()
    {
        SimulatedDevice device(manyInputs());
        QVERIFY(device.start());
        Fault never = faultOf("/api/v1/device/input/5/edid");
        never.cut = Fault::Cut::Stall;
        device.simulator.addFault(never);
        Fault tooLate = faultOf("/api/v1/device/input/6/edid");
        tooLate.delay = 60000;
        device.simulator.addFault(tooLate);
        List results;
        QVERIFY(!InputInfo::getInstance()->getEDIDs(device.key, allIds(), results));
        QStringList others = allIds();
        others.removeOne(QStringLiteral("5"));
        others.removeOne(QStringLiteral("6"));
        QCOMPARE(results.size(), others.size());
        QCOMPARE(setOf(idsOf(results)), setOf(others));
        // Nothing of the group remains that would affect the next one.
        results.clear();
        device.simulator.clearFaults();
        QVERIFY(InputInfo::getInstance()->getEDIDs(device.key, allIds(), results));
        QCOMPARE(results.size(), inputCount);
    }

    void aDeviceThatIsGoneFailsTheWholeGroup()
    {
        const ClosedPort closed;
        SimulatedDevice device;
        QVERIFY(device.add(closed.address()));
        List results;
        QVERIFY(!InputInfo::getInstance()->getEDIDs(device.key, allIds(), results));
        QVERIFY(results.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestGroupIntegration)
#include "tst_group.moc"
