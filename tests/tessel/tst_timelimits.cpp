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
constexpr int Longest = std::numeric_limits<int>::max();
constexpr int Least = std::numeric_limits<int>::min();

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
        QTest::newRow("the largest") << Longest << Longest << Longest;
        QTest::newRow("one too many") << Longest - 29999 << Longest << Longest;
        QTest::newRow("just right") << Longest - 30000 << Longest << Longest;
        QTest::newRow("one too many to save") << Longest - 299999 << Longest - 269999 << Longest;
        QTest::newRow("just right to save") << Longest - 300000 << Longest - 270000 << Longest;
        QTest::newRow("one less") << Longest - 300001 << Longest - 270001 << Longest - 1;
        QTest::newRow("the least") << Least << Least + 30000 << Least + 300000;
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
        QTest::newRow("one more") << 715828 << Longest;
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
        QTest::newRow("the longest") << qint64(Longest) << Longest;
        QTest::newRow("longer") << qint64(Longest) + 1 << Longest;
        QTest::newRow("2^32") << (qint64(1) << 32) << Longest;
        QTest::newRow("far longer") << std::numeric_limits<qint64>::max() << Longest;
        QTest::newRow("the least") << qint64(Least) << Least;
        QTest::newRow("less") << qint64(Least) - 1 << Least;
        QTest::newRow("far less") << std::numeric_limits<qint64>::min() << Least;
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
