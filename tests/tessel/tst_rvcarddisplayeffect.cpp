// SPDX-License-Identifier: MIT
#include <oneinstance.h>
#include <operationforms.h>
#include <recordingengine.h>

#include <tessel/rvcarddisplayeffect.h>

#include <QtTest>

using Map = QMap<QString, QVariant>;

class TestRvCardDisplayEffect : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow row = OperationForms<RvCardDisplayEffect>::idRead(
            "RvCardDisplayEffect::getDisplayGainData", "Device_DisplayGainData",
            &RvCardDisplayEffect::getDisplayGainData);
        QTest::newRow(row.name) << row;
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void twoReadsOfOneCabinetMakeTwoRequests()
    {
        RecordingEngine* engine = RecordingEngine::install();
        Map gain;
        QVERIFY(RvCardDisplayEffect::getInstance()->getDisplayGainData("wall", "1", gain));
        QVERIFY(RvCardDisplayEffect::getInstance()->getDisplayGainData("wall", "1", gain));
        QCOMPARE(engine->count(), 2);
    }

    void aNonZeroCodeStillCountsAsSuccess()
    {
        RecordingEngine::install()->answer(RecordingEngine::reply(R"({"code":5,"data":{"gain":{"r":7}}})"));
        Map gain;
        QVERIFY(RvCardDisplayEffect::getInstance()->getDisplayGainData("wall", "1", gain));
        QCOMPARE(gain, (Map{{"gain.r", qlonglong(7)}}));
    }

    void theMetaObjectAddsNothing()
    {
        const QMetaObject& meta = RvCardDisplayEffect::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<RvCardDisplayEffect>(); }
};

QTEST_GUILESS_MAIN(TestRvCardDisplayEffect)
#include "tst_rvcarddisplayeffect.moc"
