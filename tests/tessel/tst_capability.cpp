// SPDX-License-Identifier: MIT
#include <oneinstance.h>
#include <operationrow.h>
#include <recordingengine.h>

#include <tessel/capability.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

class TestCapability : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            {"Capability::getAllChipType", "Capability_AllChipType", HttpMethod::Get, Decoder::FlatList,
             [](Outputs& out) { return Capability::getInstance()->getAllChipType(sampleDevice, out.list); }},
            {"Capability::getRowDecodeType", "Capability_RowDecodeType", HttpMethod::Get, Decoder::FlatList,
             [](Outputs& out) {
                 return Capability::getInstance()->getRowDecodeType(sampleDevice, out.list);
             }},
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void getAllChipTypeOnAnUnreachableDeviceEmptiesTheResult()
    {
        RecordingEngine::install()->answer(RecordingEngine::failure());
        QList<QVariant> result{1, 2};
        QVERIFY(!Capability::getInstance()->getAllChipType(sampleDevice, result));
        QVERIFY(result.isEmpty());
    }

    void getRowDecodeTypeReturnsTheElementsUnchangedAndInOrder()
    {
        RecordingEngine::install()->answer(
            RecordingEngine::data(R"([{"type":3,"name":"c"},{"type":1,"name":"a"},{"type":2}])"));
        QList<QVariant> result;
        QVERIFY(Capability::getInstance()->getRowDecodeType(sampleDevice, result));
        QCOMPARE(result.size(), 3);
        QCOMPARE(result.at(0).toMap(), (QVariantMap{{"type", qlonglong(3)}, {"name", "c"}}));
        QCOMPARE(result.at(1).toMap(), (QVariantMap{{"type", qlonglong(1)}, {"name", "a"}}));
        QCOMPARE(result.at(2).toMap(), (QVariantMap{{"type", qlonglong(2)}}));
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<Capability>(); }
};

QTEST_GUILESS_MAIN(TestCapability)
#include "tst_capability.moc"
