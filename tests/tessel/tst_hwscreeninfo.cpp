// SPDX-License-Identifier: MIT
#include <deviceside.h>
#include <oneinstance.h>
#include <operationforms.h>
#include <operationrow.h>
#include <protocolrow.h>
#include <recordingengine.h>

#include <tessel/hwinfo.h>
#include <tessel/hwscreeninfo.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using Forms = OperationForms<HwScreenInfo>;

namespace {

HwScreenInfo* hwScreenInfo()
{
    return HwScreenInfo::getInstance();
}

using Command = bool (HwScreenInfo::*)(const QString&, Map&);

// A PUT without a body.
OperationRow command(const char* name, const char* routeKey, Command operation)
{
    return {name, routeKey, HttpMethod::Put, Decoder::Map,
            [operation](Outputs& out) { return (hwScreenInfo()->*operation)(sampleDevice, out.map); }};
}

} // namespace

class TestHwScreenInfo : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            Forms::mapWrite("HwScreenInfo::setEdgeSwitch", "HwScreen_EdgetSwitch",
                            &HwScreenInfo::setEdgeSwitch),
            Forms::mapWrite("HwScreenInfo::setEdgeChangeBK", "HwScreen_EdgetChangeBK",
                            &HwScreenInfo::setEdgeChangeBK),
            Forms::listWrite("HwScreenInfo::setEdgeDrawLine", "HwScreen_DrawLine",
                             &HwScreenInfo::setEdgeDrawLine),
            Forms::listWrite("HwScreenInfo::setEdgeDrawSectionLine", "HwScreen_DrawSectionLine",
                             &HwScreenInfo::setEdgeDrawSectionLine),
            Forms::listWrite("HwScreenInfo::setEdgeDrawRect", "HwScreen_DrawRect",
                             &HwScreenInfo::setEdgeDrawRect),
            Forms::mapWrite("HwScreenInfo::setEdgeDrawMouse", "HwScreen_DrawMouse",
                            &HwScreenInfo::setEdgeDrawMouse),
            command("HwScreenInfo::setEdgeClearImage", "HwScreen_EdgeClear",
                    &HwScreenInfo::setEdgeClearImage),
            command("HwScreenInfo::setUpdateScreen", "HwScreen_EdgeUpdateScreen",
                    &HwScreenInfo::setUpdateScreen),
            Forms::mapWrite("HwScreenInfo::setCorrectSwitch", "HwScreen_CorrectSwitch",
                            &HwScreenInfo::setCorrectSwitch),
            Forms::listWrite("HwScreenInfo::setCorrectChangeBK", "HwScreen_CorrectChangeBK",
                             &HwScreenInfo::setCorrectChangeBK),
            Forms::mapWrite("HwScreenInfo::setCorrectDrawRegion", "HwScreen_DrawCorrectRegion",
                            &HwScreenInfo::setCorrectDrawRegion),
            Forms::mapWrite("HwScreenInfo::setCorrectDrawId", "HwScreen_DrawCorrectID",
                            &HwScreenInfo::setCorrectDrawId),
            command("HwScreenInfo::setCorrectClearImage", "HwScreen_CorrectClear",
                    &HwScreenInfo::setCorrectClearImage),
            Forms::mapWrite("HwScreenInfo::setDisplayVedioSource", "HwScreen_ShowVedioSource",
                            &HwScreenInfo::setDisplayVedioSource),
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

    void theProtocolChoosesTheRouteOfThreeOperationsOnly_data()
    {
        QTest::addColumn<ProtocolRow>("row");
        const auto command = [](Command operation) {
            return [operation](const QString& device) {
                Map reply;
                (hwScreenInfo()->*operation)(device, reply);
            };
        };
        const auto map = [](Forms::MapWrite operation) {
            return [operation](const QString& device) {
                Map reply;
                (hwScreenInfo()->*operation)(device, {}, reply);
            };
        };
        const auto list = [](Forms::ListWrite operation) {
            return [operation](const QString& device) {
                Map reply;
                (hwScreenInfo()->*operation)(device, {}, reply);
            };
        };
        const ProtocolRow rows[] = {
            {"HwScreenInfo::setEdgeSwitch", "HwScreen_EdgetSwitch", "HwScreen_EdgetSwitch",
             map(&HwScreenInfo::setEdgeSwitch)},
            {"HwScreenInfo::setEdgeChangeBK", "HwScreen_EdgetChangeBK", "HwScreen_EdgetChangeBK",
             map(&HwScreenInfo::setEdgeChangeBK)},
            {"HwScreenInfo::setEdgeDrawLine", "HwScreen_DrawLine", "HwScreen_DrawLine",
             list(&HwScreenInfo::setEdgeDrawLine)},
            {"HwScreenInfo::setEdgeDrawSectionLine", "HwScreen_DrawSectionLine", "HwScreen_DrawSectionLine",
             list(&HwScreenInfo::setEdgeDrawSectionLine)},
            {"HwScreenInfo::setEdgeDrawRect", "HwScreen_DrawRect", "HwScreen_DrawRect",
             list(&HwScreenInfo::setEdgeDrawRect)},
            {"HwScreenInfo::setEdgeDrawMouse", "HwScreen_DrawMouse", "HwScreen_DrawMouse",
             map(&HwScreenInfo::setEdgeDrawMouse)},
            {"HwScreenInfo::setEdgeClearImage", "HwScreen_EdgeClear", "HwScreen_EdgeClear",
             command(&HwScreenInfo::setEdgeClearImage)},
            {"HwScreenInfo::setUpdateScreen", "HwScreen_EdgeUpdateScreen", "HwScreen_EdgeUpdateScreen",
             command(&HwScreenInfo::setUpdateScreen)},
            {"HwScreenInfo::setCorrectSwitch", "HwScreen_CorrectSwitch", "HwScreen_MultCorrectSwitch",
             map(&HwScreenInfo::setCorrectSwitch)},
            {"HwScreenInfo::setCorrectChangeBK", "HwScreen_CorrectChangeBK", "HwScreen_CorrectChangeBK",
             list(&HwScreenInfo::setCorrectChangeBK)},
            {"HwScreenInfo::setCorrectDrawRegion", "HwScreen_DrawCorrectRegion",
             "HwScreen_MultDrawCorrectRegion", map(&HwScreenInfo::setCorrectDrawRegion)},
            {"HwScreenInfo::setCorrectDrawId", "HwScreen_DrawCorrectID", "HwScreen_DrawCorrectID",
             map(&HwScreenInfo::setCorrectDrawId)},
            {"HwScreenInfo::setCorrectClearImage", "HwScreen_CorrectClear", "HwScreen_MultCorrectClear",
             command(&HwScreenInfo::setCorrectClearImage)},
            {"HwScreenInfo::setDisplayVedioSource", "HwScreen_ShowVedioSource", "HwScreen_ShowVedioSource",
             map(&HwScreenInfo::setDisplayVedioSource)},
        };
        for (const ProtocolRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void theProtocolChoosesTheRouteOfThreeOperationsOnly()
    {
        QFETCH(ProtocolRow, row);
        checkRouteByProtocol(row);
    }

    void anEmptyListIsSentAsAnEmptyList()
    {
        Map reply;
        QVERIFY(hwScreenInfo()->setEdgeDrawLine(sampleDevice, {}, reply));
        QCOMPARE(m_engine->last().body, QByteArray("[]"));
    }

    void updatingAndClearingSendNoBody()
    {
        Map reply;
        QVERIFY(hwScreenInfo()->setUpdateScreen(sampleDevice, reply));
        QVERIFY(m_engine->last().body.isEmpty());
        QVERIFY(hwScreenInfo()->setEdgeClearImage(sampleDevice, reply));
        QVERIFY(m_engine->last().body.isEmpty());
        QCOMPARE(m_engine->count(), 2);
    }

    void aMultiScreenDeviceIsClearedByItsOwnRouteAndNumberedByTheSingleScreenOne()
    {
        const QString device = DeviceSide::fresh();
        QVERIFY(HWInfo::getInstance()->getHwProtoc(device, true));
        Map reply;
        QVERIFY(hwScreenInfo()->setCorrectClearImage(device, reply));
        QCOMPARE(m_engine->last().path, QString("/api/v1/screen/hwscreen/clear"));
        QVERIFY(hwScreenInfo()->setCorrectDrawId(device, {}, reply));
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/hwscreen/correction/drawid"));
    }

    void aFailedCallEmptiesTheReply()
    {
        m_engine->answer(RecordingEngine::failure());
        Map reply{{"stale", 1}};
        QVERIFY(!hwScreenInfo()->setEdgeSwitch(sampleDevice, {{"enable", true}}, reply));
        QVERIFY(reply.isEmpty());
    }

    void theMetaObjectAddsNothing()
    {
        const QMetaObject& meta = HwScreenInfo::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<HwScreenInfo>(); }
};

QTEST_GUILESS_MAIN(TestHwScreenInfo)
#include "tst_hwscreeninfo.moc"
