// SPDX-License-Identifier: MIT
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

class TestFactoryOpSmartSetting : public QObject
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
            Forms::idWrite("FactoryOp::setSingleSmartBackStep", "Cabinet_SmartSetBackStep",
                           &Op::setSingleSmartBackStep),
            Forms::mapWrite("FactoryOp::setMutiSmartBackStep", "Cab_M_SmartSetBackStep",
                            &Op::setMutiSmartBackStep),
            Forms::idWrite("FactoryOp::setSingleSmartBaseInfo", "Cabinet_SmartSetBaseInfo",
                           &Op::setSingleSmartBaseInfo),
            Forms::mapWrite("FactoryOp::setMutiSmartBaseInfo", "Cab_M_SmartSetBaseInfo",
                            &Op::setMutiSmartBaseInfo),
            Forms::idWrite("FactoryOp::setSingleSmartOEType", "Cabinet_SmartSetOEType",
                           &Op::setSingleSmartOEType),
            Forms::mapWrite("FactoryOp::setMutiSmartOEType", "Cab_M_SmartSetOEType", &Op::setMutiSmartOEType),
            Forms::idWrite("FactoryOp::setSingleSmartRgbOrder", "Cabinet_SmartSetRGBOrder",
                           &Op::setSingleSmartRgbOrder),
            Forms::mapWrite("FactoryOp::setMutiSmartRgbOrder", "Cab_M_SmartSetRGBOrder",
                            &Op::setMutiSmartRgbOrder),
            Forms::idWrite("FactoryOp::setSingleSmartDataGroup", "Cabinet_SmartSetDataGroup",
                           &Op::setSingleSmartDataGroup),
            Forms::mapWrite("FactoryOp::setMutiSmartDataGroup", "Cab_M_SmartSetDataGroup",
                            &Op::setMutiSmartDataGroup),
            Forms::idWrite("FactoryOp::setSingleSmartScannInfo", "Cabinet_SmartSetScanInfo",
                           &Op::setSingleSmartScannInfo),
            Forms::mapWrite("FactoryOp::setMutiSmartScannInfo", "Cab_M_SmartSetScanInfo",
                            &Op::setMutiSmartScannInfo),
            Forms::idWrite("FactoryOp::setSingleSmartPointFlow", "Cabinet_SmartSetRunningData",
                           &Op::setSingleSmartPointFlow),
            Forms::mapWrite("FactoryOp::setMutiSmartPointFlow", "Cab_M_SmartSetRunningData",
                            &Op::setMutiSmartPointFlow),
            Forms::idWrite("FactoryOp::setSingleSmartRgbIndex", "Cabinet_SmartSetRealTimeRGBOrder",
                           &Op::setSingleSmartRgbIndex),
            Forms::listWrite("FactoryOp::setMutiSmartRgbIndex", "Cab_M_SmartSetRealTimeRGBOrder",
                             &Op::setMutiSmartRgbIndex),
            Forms::idWrite("FactoryOp::setSingleSmartCommand", "Cabinet_SmartSetCommand",
                           &Op::setSingleSmartCommand),
            Forms::mapWrite("FactoryOp::setMutiSmartCommand", "Cab_M_SmartSetCommand",
                            &Op::setMutiSmartCommand),
            Forms::idWrite("FactoryOp::setSingleSmartDrivelight", "Cabinet_SmartSetDrivelight",
                           &Op::setSingleSmartDrivelight),
            Forms::listWrite("FactoryOp::setMutiSmartDrivelight", "Cab_M_SmartSetDrivelight",
                             &Op::setMutiSmartDrivelight),
            Forms::idWrite("FactoryOp::setSingleSmartPointIndex", "Cabinet_SmartSetPointIndex",
                           &Op::setSingleSmartPointIndex),
            Forms::listWrite("FactoryOp::setMutiSmartPointIndex", "Cab_M_SmartSetPointIndex",
                             &Op::setMutiSmartPointIndex),
            Forms::idWrite("FactoryOp::setSingleSmartScanIndex", "Cabinet_SmartSetScanIndex",
                           &Op::setSingleSmartScanIndex),
            Forms::listWrite("FactoryOp::setMutiSmartScanIndex", "Cab_M_SmartSetScanIndex",
                             &Op::setMutiSmartScanIndex),
            Forms::idWrite("FactoryOp::setSingleSmartGroup", "Cabinet_SmartGroup", &Op::setSingleSmartGroup),
            Forms::listWrite("FactoryOp::setMutiSmartGroup", "Cab_M_SmartGroup", &Op::setMutiSmartGroup),
            Forms::idRead("FactoryOp::getCabinetMaxPixel", "Cabinet_MaxLoadedPixel", &Op::getCabinetMaxPixel),
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

    void setSingleSmartCommandGoesToTheParentPathOfTheOtherSteps()
    {
        const QString command = AllUrlResource::getUrl("Cabinet_SmartSetCommand");
        Map out;
        QVERIFY(factory()->setSingleSmartCommand(sampleDevice, "1", Map(), out));
        QCOMPARE(m_engine->last().path, command);
        for (const char* step :
             {"BackStep", "BaseInfo", "OEType", "RGBOrder", "DataGroup", "ScanInfo", "RunningData",
              "RealTimeRGBOrder", "Drivelight", "PointIndex", "ScanIndex"}) {
            const QString path = AllUrlResource::getUrl(QStringLiteral("Cabinet_SmartSet") + step);
            QVERIFY2(path.startsWith(command + '/'), step);
        }
    }

    void setMutiSmartPointIndexSendsAnArrayAndSetMutiSmartBaseInfoAnObject()
    {
        Map out;
        QVERIFY(factory()->setMutiSmartPointIndex(sampleDevice, List(), out));
        QCOMPARE(m_engine->last().body, QByteArray("[]"));
        QVERIFY(factory()->setMutiSmartBaseInfo(sampleDevice, Map(), out));
        QCOMPARE(m_engine->last().body, QByteArray("{}"));
        QVERIFY(factory()->setSingleSmartPointIndex(sampleDevice, "1", Map(), out));
        QCOMPARE(m_engine->last().body, QByteArray("{}"));
    }

    void setSingleSmartBackStepTwiceSendsTwoPuts()
    {
        Map out;
        QVERIFY(factory()->setSingleSmartBackStep(sampleDevice, "1", Map(), out));
        QVERIFY(factory()->setSingleSmartBackStep(sampleDevice, "1", Map(), out));
        QCOMPARE(m_engine->count(), 2);
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(int(sent.method), int(HttpMethod::Put));
        }
    }

    void getCabinetMaxPixelOfAnUnreachableDeviceFailsWithAnEmptyOutput()
    {
        m_engine->answer(RecordingEngine::failure());
        Map out{{"stale", 1}};
        QVERIFY(!factory()->getCabinetMaxPixel(sampleDevice, "1", out));
        QVERIFY(out.isEmpty());
    }

    void aStepThatTheDeviceRefusesIsAnAnswer()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":9,"message":"no","data":{"step":2}})"));
        Map out;
        QVERIFY(factory()->setSingleSmartCommand(sampleDevice, "1", Map(), out));
        QCOMPARE(out, (Map{{"step", qlonglong(2)}}));
    }
};

QTEST_GUILESS_MAIN(TestFactoryOpSmartSetting)
#include "tst_factoryop_smartsetting.moc"
