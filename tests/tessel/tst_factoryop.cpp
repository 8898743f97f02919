// SPDX-License-Identifier: MIT
#include <oneinstance.h>
#include <operationforms.h>
#include <recordingengine.h>

#include <tessel/allurlresource.h>
#include <tessel/factoryop.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

FactoryOp* factory()
{
    return FactoryOp::getInstance();
}

} // namespace

class TestFactoryOp : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<FactoryOp>;
        using Op = FactoryOp;
        const OperationRow rows[] = {
            Forms::idRead("FactoryOp::getCreateCabinetInfo", "Cabinet_CreateCabinet",
                          &Op::getCreateCabinetInfo),
            Forms::idWrite("FactoryOp::setCreateSingleCabinetInfo", "Cabinet_CreateCabinet",
                           &Op::setCreateSingleCabinetInfo),
            Forms::mapWrite("FactoryOp::setCreateMutiCabinetInfo", "Cab_M_CreateCabinet",
                            &Op::setCreateMutiCabinetInfo),
            Forms::idRead("FactoryOp::getFlashTopoInfo", "Cabinet_FlashTopoInfo", &Op::getFlashTopoInfo),
            Forms::idWrite("FactoryOp::setSingleFlashTopoInfo", "Cabinet_FlashTopoInfo",
                           &Op::setSingleFlashTopoInfo),
            Forms::mapWrite("FactoryOp::setMutiFlashTopoInfo", "Cab_M_FlashTopoInfo",
                            &Op::setMutiFlashTopoInfo),
            Forms::idRead("FactoryOp::getModuleInfo", "Cabinet_ModuleInfo", &Op::getModuleInfo),
            Forms::idWrite("FactoryOp::setSingleModuleInfo", "Cabinet_ModuleInfo", &Op::setSingleModuleInfo),
            Forms::listWrite("FactoryOp::setMutiModuleInfo", "Cab_M_ModuleInfo", &Op::setMutiModuleInfo),
            Forms::idRead("FactoryOp::getCapability", "Cabinet_CapabilityParam", &Op::getCapability),
            Forms::idWrite("FactoryOp::setSingleCapability", "Cabinet_CapabilityParam",
                           &Op::setSingleCapability),
            Forms::mapWrite("FactoryOp::setMutiCapability", "Cab_M_CapabilityParam", &Op::setMutiCapability),
            Forms::idRead("FactoryOp::getDecodeChipParam", "Cabinet_DecodeParam", &Op::getDecodeChipParam),
            Forms::idWrite("FactoryOp::setSingleDecodeChipParam", "Cabinet_DecodeParam",
                           &Op::setSingleDecodeChipParam),
            Forms::listWrite("FactoryOp::setMutiDecodeChipParam", "Cab_M_DecodeParam",
                             &Op::setMutiDecodeChipParam),
            Forms::idRead("FactoryOp::getChipRegister", "Cabinet_ChipRegister", &Op::getChipRegister),
            Forms::idWrite("FactoryOp::setSingleChipRegister", "Cabinet_ChipRegister",
                           &Op::setSingleChipRegister),
            Forms::listWrite("FactoryOp::setMutiChipRegister", "Cab_M_ChipRegister",
                             &Op::setMutiChipRegister),
            Forms::idRead("FactoryOp::getRvExtendParams", "Cabinet_RvExtendParams", &Op::getRvExtendParams),
            Forms::idWrite("FactoryOp::setSingleRvExtendParams", "Cabinet_RvExtendParams",
                           &Op::setSingleRvExtendParams),
            Forms::listWrite("FactoryOp::setMutiRvExtendParams", "Cab_M_RvExtendParams",
                             &Op::setMutiRvExtendParams),
            Forms::idWrite("FactoryOp::setsingleRemoveBrokenLight", "Cabinet_RemoveBrokenLight",
                           &Op::setsingleRemoveBrokenLight),
            Forms::listWrite("FactoryOp::setMutiRemoveBrokenLight", "Cab_M_RemoveBrokenLight",
                             &Op::setMutiRemoveBrokenLight),
            Forms::idWrite("FactoryOp::setSingleSecClockExtend", "Cabinet_SecClockExtend",
                           &Op::setSingleSecClockExtend),
            Forms::mapWrite("FactoryOp::setMutiSecClockExtend", "Cab_M_SecClockExtend",
                            &Op::setMutiSecClockExtend),
            Forms::idWrite("FactoryOp::setSignalPolarity", "Cabinet_SignalPolarity", &Op::setSignalPolarity),
            Forms::mapWrite("FactoryOp::setMutiSignalPolarity", "Cab_M_SignalPolarity",
                            &Op::setMutiSignalPolarity),
            Forms::idWrite("FactoryOp::setSingleRvcardLight", "Cabinet_RvCardLight",
                           &Op::setSingleRvcardLight),
            Forms::mapWrite("FactoryOp::setMutiRvcardLight", "Cab_M_RvCardLight", &Op::setMutiRvcardLight),
            Forms::idWrite("FactoryOp::setSingleSlowlyBrightness", "Cabinet_SlowlyBrightness",
                           &Op::setSingleSlowlyBrightness),
            Forms::mapWrite("FactoryOp::setMutiSlowlyBrightness", "Cab_M_SlowlyBrightness",
                            &Op::setMutiSlowlyBrightness),
            Forms::idWrite("FactoryOp::setSingleSignalDelay", "Cabinet_SignalDelay",
                           &Op::setSingleSignalDelay),
            Forms::mapWrite("FactoryOp::setMutiSignalDelay", "Cab_M_SignalDelay", &Op::setMutiSignalDelay),
        };
        for (const OperationRow& row : rows) {
            QVERIFY2(!AllUrlResource::getUrl(row.routeKey).isEmpty(), row.routeKey);
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void getCapabilityReadsTheRouteThatSetSingleCapabilityWrites()
    {
        Map out;
        QVERIFY(factory()->getCapability(sampleDevice, "1", out));
        const RecordingEngine::Request read = m_engine->last();
        QVERIFY(factory()->setSingleCapability(sampleDevice, "1", Map{{"x", 1}}, out));
        const RecordingEngine::Request written = m_engine->last();
        QCOMPARE(int(read.method), int(HttpMethod::Get));
        QCOMPARE(int(written.method), int(HttpMethod::Put));
        QCOMPARE(read.path, written.path);
        QCOMPARE(read.placeHolders, (QMap<QString, QString>{{"id", "1"}}));
        QCOMPARE(written.placeHolders, read.placeHolders);
    }

    void setMutiModuleInfoSendsAnArrayAndSetMutiFlashTopoInfoAnObject()
    {
        Map out;
        QVERIFY(factory()->setMutiModuleInfo(sampleDevice, List(), out));
        QCOMPARE(m_engine->last().body, QByteArray("[]"));
        QVERIFY(factory()->setMutiFlashTopoInfo(sampleDevice, Map(), out));
        QCOMPARE(m_engine->last().body, QByteArray("{}"));
    }

    void aFailedCallEmptiesAnOutputThatHeldData()
    {
        m_engine->answer(RecordingEngine::failure());
        Map out{{"stale", 1}};
        QVERIFY(!factory()->getModuleInfo(sampleDevice, "1", out));
        QVERIFY(out.isEmpty());
    }

    void removalOfBrokenLightsHasARouteForOneAndForMany()
    {
        Map out;
        QVERIFY(factory()->setsingleRemoveBrokenLight(sampleDevice, "1", Map(), out));
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("Cabinet_RemoveBrokenLight"));
        QCOMPARE(m_engine->last().placeHolders.value("id"), QString("1"));
        QVERIFY(factory()->setMutiRemoveBrokenLight(sampleDevice, List(), out));
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("Cab_M_RemoveBrokenLight"));
        QVERIFY(m_engine->last().placeHolders.isEmpty());
    }

    void theMetaObjectAddsNothing()
    {
        const QMetaObject& meta = FactoryOp::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<FactoryOp>(); }
};

QTEST_GUILESS_MAIN(TestFactoryOp)
#include "tst_factoryop.moc"
