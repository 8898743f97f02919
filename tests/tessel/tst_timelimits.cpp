// SPDX-License-Identifier: MIT
//
// Time limits that an operation computes from its arguments.
#include <recordingengine.h>

#include <tessel/cabinetinfooperator.h>
#include <tessel/frames/request.h>

#include <QtTest>

#include <limits>

using Map = QMap<QString, QVariant>;

namespace {

const QString device = QStringLiteral("wall");
constexpr int longest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

} // namespace

class TestTimeLimits : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void aWaitTimeThatIsTooLongIsTheLongestLimit_data()
    {
        QTest::addColumn<int>("waitTime");
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("limitOfSave");
        QTest::newRow("the largest") << longest << longest << longest;
        QTest::newRow("one too many") << longest - 29999 << longest << longest;
        QTest::newRow("just right") << longest - 30000 << longest << longest;
        QTest::newRow("one too many to save") << longest - 299999 << longest - 269999 << longest;
        QTest::newRow("just right to save") << longest - 300000 << longest - 270000 << longest;
        QTest::newRow("one less") << longest - 300001 << longest - 270001 << longest - 1;
        QTest::newRow("the least") << least << least + 30000 << least + 300000;
    }
    void aWaitTimeThatIsTooLongIsTheLongestLimit()
    {
        QFETCH(int, waitTime);
        QFETCH(int, limit);
        QFETCH(int, limitOfSave);
        auto* const cabinets = CabinetInfoOperator::getInstance();
        Map body;
        Map out;
        QVERIFY(cabinets->clearModuleCoefficient(device, body, out, waitTime));
        QCOMPARE(m_engine->last().expectedTime, limit);
        QVERIFY(cabinets->reloadModuleCoefficient(device, body, out, waitTime));
        QCOMPARE(m_engine->last().expectedTime, limit);
        QVERIFY(cabinets->saveModuleCoefficient(device, body, out, waitTime));
        QCOMPARE(m_engine->last().expectedTime, limitOfSave);
    }

    void aLimitPerCabinetEndsAtTheLongest_data()
    {
        QTest::addColumn<int>("cabinets");
        QTest::addColumn<int>("limit");
        QTest::newRow("none") << 0 << 0;
        QTest::newRow("some") << 3 << 9000;
        QTest::newRow("the last that fit") << 715827 << 2147481000;
        QTest::newRow("one more") << 715828 << longest;
    }
    void aLimitPerCabinetEndsAtTheLongest()
    {
        QFETCH(int, cabinets);
        QFETCH(int, limit);
        QVariantList ids;
        ids.reserve(cabinets);
        for (int i = 0; i < cabinets; ++i) {
            ids << 1;
        }
        Map out;
        QVERIFY(CabinetInfoOperator::getInstance()->setMultiPrestoreImage(
            device, {{QStringLiteral("id"), ids}}, out));
        QCOMPARE(m_engine->last().expectedTime, limit);
    }

    void anyLimitIsSaturated_data()
    {
        QTest::addColumn<qint64>("milliseconds");
        QTest::addColumn<int>("limit");
        QTest::newRow("none") << qint64(0) << 0;
        QTest::newRow("usual") << qint64(20000) << 20000;
        QTest::newRow("the longest") << qint64(longest) << longest;
        QTest::newRow("longer") << qint64(longest) + 1 << longest;
        QTest::newRow("2^32") << (qint64(1) << 32) << longest;
        QTest::newRow("far longer") << std::numeric_limits<qint64>::max() << longest;
        QTest::newRow("the least") << qint64(least) << least;
        QTest::newRow("less") << qint64(least) - 1 << least;
        QTest::newRow("far less") << std::numeric_limits<qint64>::min() << least;
    }
    void anyLimitIsSaturated()
    {
        QFETCH(qint64, milliseconds);
        QFETCH(int, limit);
        Map out;
        QVERIFY(Tessel::Request("Device_Hwinfo").expectedTime(milliseconds).get(device, out));
        QCOMPARE(m_engine->last().expectedTime, limit);
    }
};

QTEST_GUILESS_MAIN(TestTimeLimits)
#include "tst_timelimits.moc"
