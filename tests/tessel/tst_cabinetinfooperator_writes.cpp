// SPDX-License-Identifier: MIT
#include "cabinetrows.h"

#include <logcollector.h>
#include <recordingengine.h>
#include <refusingengine.h>

#include <communicator/httpproxy.h>

#include <QSignalSpy>
#include <QtTest>

using namespace CabinetRows;
using Krelm::Communicator::HttpDevice::HttpProxy;

using Exchange = Operation<const QString&, Map&>;
using ExchangeAll = Operation<Map&>;
Q_DECLARE_METATYPE(Exchange)
Q_DECLARE_METATYPE(ExchangeAll)

class TestCabinetWrites : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        cabinets()->startWatch();
    }

    void operationsSendAndReturnAsTold_data() { addRows(); }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void bothConfigFileWritesGoToTheSamePath()
    {
        Map out;
        QVERIFY(cabinets()->setSingleConfigFile(sampleDevice, "9", settings, out));
        const RecordingEngine::Request single = m_engine->last();
        QVERIFY(cabinets()->setMutiConfigFile(sampleDevice, settingsList, out));
        const RecordingEngine::Request multiple = m_engine->last();
        QVERIFY(!single.path.isEmpty());
        QCOMPARE(single.path, multiple.path);
        QVERIFY(single.placeHolders.isEmpty());
        QCOMPARE(single.expectedTime, 120000);
        QCOMPARE(multiple.expectedTime, 10000);
        QCOMPARE(single.body, settingsJson);
        QCOMPARE(multiple.body, settingsListJson);
    }

    void xBitSettingsAreBoundCrosswise_data()
    {
        QTest::addColumn<Exchange>("withId");
        QTest::addColumn<ExchangeAll>("withoutId");
        QTest::newRow("setCabinetXbitEnable")
            << Exchange(&Operator::setCabinetXbitEnable) << ExchangeAll(&Operator::setCabinetXbitEnable);
        QTest::newRow("setCabinetXBitRGBPhase")
            << Exchange(&Operator::setCabinetXBitRGBPhase) << ExchangeAll(&Operator::setCabinetXBitRGBPhase);
        QTest::newRow("setCabinetXBitGrayScale") << Exchange(&Operator::setCabinetXBitGrayScale)
                                                 << ExchangeAll(&Operator::setCabinetXBitGrayScale);
        QTest::newRow("setCabinetXBitJitterMode") << Exchange(&Operator::setCabinetXBitJitterMode)
                                                  << ExchangeAll(&Operator::setCabinetXBitJitterMode);
        QTest::newRow("setCabinetXBitHighLowMode") << Exchange(&Operator::setCabinetXBitHighLowMode)
                                                   << ExchangeAll(&Operator::setCabinetXBitHighLowMode);
    }
    void xBitSettingsAreBoundCrosswise()
    {
        QFETCH(Exchange, withId);
        QFETCH(ExchangeAll, withoutId);
        Map data = settings;
        QVERIFY((cabinets()->*withId)(sampleDevice, cabinet, data));
        QVERIFY(!m_engine->last().path.isEmpty());
        QVERIFY(!m_engine->last().path.contains("{id}"));
        data = settings;
        QVERIFY((cabinets()->*withoutId)(sampleDevice, data));
        QVERIFY(m_engine->last().path.contains("{id}"));
        QVERIFY(m_engine->last().placeHolders.isEmpty());
    }

    void setCabinetXBitModeFillsTheOtherPlaceholder()
    {
        Map data = settings;
        QVERIFY(cabinets()->setCabinetXBitMode(sampleDevice, cabinet, data));
        QCOMPARE(m_engine->last().placeHolders, (QMap<QString, QString>{{"cid", cabinet}}));
    }

    void brightnessForAnUnreachableDeviceIsTrueAndLeavesItsOutput()
    {
        m_engine->answer(RecordingEngine::failure());
        Map body = settings;
        Map out{{"kept", 1}};
        QVERIFY(cabinets()->setCabSingleBrightness(sampleDevice, cabinet, body, out));
        QVERIFY(cabinets()->setCabMultBrightness(sampleDevice, body, out));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void brightnessDoesNotWait()
    {
        m_engine->hold();
        Map body = settings;
        Map out;
        QVERIFY(cabinets()->setCabSingleBrightness(sampleDevice, cabinet, body, out));
        QVERIFY(cabinets()->setCabMultBrightness(sampleDevice, body, out));
        QCOMPARE(m_engine->held(), 2);
    }

    void brightnessThatIsNotStartedIsReportedAsSet()
    {
        HttpProxy::getInstance()->setEngine(std::make_unique<RefusingEngine>());
        Map body = settings;
        Map out{{"kept", 1}};
        QVERIFY(cabinets()->setCabSingleBrightness(sampleDevice, cabinet, body, out));
        QVERIFY(cabinets()->setCabMultBrightness(sampleDevice, body, out));
        QCoreApplication::processEvents();
        QCOMPARE(out, (Map{{"kept", 1}}));
    }

    void setCabinetRGBBrightnessReturnsTheReplyInItsBody()
    {
        Map data = settings;
        m_engine->answer(RecordingEngine::data(R"({"r":1})"));
        QVERIFY(cabinets()->setCabinetRGBBrightness(sampleDevice, cabinet, data));
        QCOMPARE(data, (Map{{"r", qlonglong(1)}}));
    }

    void setCabinetRGBBrightnessAfterAFailureLeavesAnEmptyMap()
    {
        m_engine->answer(RecordingEngine::failure());
        Map data = settings;
        QVERIFY(!cabinets()->setCabinetRGBBrightness(sampleDevice, cabinet, data));
        QVERIFY(data.isEmpty());
    }

    void writesWithoutARouteGoOutWithAnEmptyPath()
    {
        m_engine->answer(RecordingEngine::failure(RecordingEngine::State::InvalidRequest));
        Map out;
        QVERIFY(!cabinets()->setCabinetInfo(sampleDevice, cabinet, settings, out));
        QVERIFY(!cabinets()->setCabinetPixelSize(sampleDevice, cabinet, settings, out));
        QVERIFY(cabinets()->setCabinetBrightnessAsync(sampleDevice, settingsList));
        const std::vector<RecordingEngine::Request> sent = m_engine->requests();
        QCOMPARE(int(sent.size()), 3);
        for (const RecordingEngine::Request& request : sent) {
            QVERIFY(request.path.isEmpty());
        }
        handleAllReplies();
    }

    void theAsynchronousBrightnessLogsItsOutcomeOnce_data()
    {
        QTest::addColumn<int>("state");
        QTest::newRow("success") << int(RecordingEngine::State::Success);
        QTest::newRow("no path") << int(RecordingEngine::State::InvalidRequest);
        QTest::newRow("unreachable") << int(RecordingEngine::State::Unreachable);
    }
    void theAsynchronousBrightnessLogsItsOutcomeOnce()
    {
        QFETCH(int, state);
        m_engine->hold();
        RecordingEngine::Reply reply = RecordingEngine::data("{}");
        reply.state = static_cast<RecordingEngine::State>(state);
        m_engine->answer(reply);
        QVERIFY(cabinets()->setCabinetBrightnessAsync(sampleDevice, settingsList));
        QCOMPARE(m_engine->held(), 1);

        const LogCollector log;
        QVERIFY(m_engine->release());
        handleAllReplies();
        QCOMPARE(log.lines(), QStringList{"critical: " + QString::number(state)});
    }

    void theTwoFlagWritesShareARoute()
    {
        Map body = settings;
        Map out;
        QVERIFY(cabinets()->setCabinetFlag(sampleDevice, cabinet, body, out));
        const RecordingEngine::Request flag = m_engine->last();
        QVERIFY(cabinets()->setCabinetSnflags(sampleDevice, settingsList, out));
        const RecordingEngine::Request serial = m_engine->last();
        QVERIFY(!flag.path.isEmpty());
        QCOMPARE(flag.path, serial.path);
        QVERIFY(!flag.path.contains("{id}"));
        QCOMPARE(flag.placeHolders, (QMap<QString, QString>{{"id", cabinet}}));
        QCOMPARE(flag.body, settingsJson);
        QCOMPARE(serial.body, settingsListJson);
        QCOMPARE(serial.expectedTime, 10000);
    }

    void writesLeaveTheCacheAloneAndRaiseNoSignal_data() { addRows(); }
    void writesLeaveTheCacheAloneAndRaiseNoSignal()
    {
        QFETCH(OperationRow, row);
        m_engine->answer(RecordingEngine::data(R"([{"id":"old"}])"));
        QVERIFY(cabinets()->getAllCabinetsInfo(sampleDevice, true));
        QSignalSpy changed(cabinets(), &Operator::signal_sendDataChanged);
        QSignalSpy cards(cabinets(), &Operator::signal_rvCardsInfoChanged);
        QSignalSpy counted(cabinets(), &Operator::signal_sendCountChanged);
        m_engine->answer(RecordingEngine::data(R"([{"id":"new"}])"));
        Outputs outputs;
        QVERIFY(row.call(outputs));
        handleAllReplies();
        List list;
        QVERIFY(cabinets()->getAllCabinetsInfo(sampleDevice, list, false));
        QCOMPARE(list, (List{Map{{"id", "old"}}}));
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(changed.size() + cards.size() + counted.size(), 0);
    }

private:
    static void addRows()
    {
        QTest::addColumn<OperationRow>("row");
        QList<OperationRow> rows{
            unnoticed(singleWriteNonConst("CabinetInfoOperator::setCabSingleBrightness",
                                          "Device_CabinetSingleBrightness",
                                          &Operator::setCabSingleBrightness)),
            unnoticed(mapWrite("CabinetInfoOperator::setCabMultBrightness", "Device_CabinetMultBrightness",
                               &Operator::setCabMultBrightness)),
            singleWriteNonConst("CabinetInfoOperator::setCabSingleGamma", "Device_CabinetSingleGamma",
                                &Operator::setCabSingleGamma),
            mapWrite("CabinetInfoOperator::setCabMultGamma", "Device_CabinetMultGamma",
                     &Operator::setCabMultGamma),
            singleWriteNonConst("CabinetInfoOperator::setCabSingleBeacon", "Device_CabinetSingleBeacon",
                                &Operator::setCabSingleBeacon),
            mapWrite("CabinetInfoOperator::setCabMultBeacon", "Device_CabinetMultBeacon",
                     &Operator::setCabMultBeacon),
            singleWriteNonConst("CabinetInfoOperator::setCabSingleLightState", "Device_CabSingleLightState",
                                &Operator::setCabSingleLightState),
            mapWrite("CabinetInfoOperator::setCabMultLightState", "Device_CabMultLightState",
                     &Operator::setCabMultLightState),
            singleWriteNonConst("CabinetInfoOperator::setCabSingleColorTemp", "Device_CabinetSingleColorTemp",
                                &Operator::setCabSingleColorTemp),
            mapWrite("CabinetInfoOperator::setCabMultColorTemp", "Device_CabinetMultColorTemp",
                     &Operator::setCabMultColorTemp),
            singleWriteNonConst("CabinetInfoOperator::setCabRvSingleColorTemp",
                                "Device_CabinetRvSingleColorTemp", &Operator::setCabRvSingleColorTemp),
            mapWrite("CabinetInfoOperator::setCabRvMultColorTemp", "Device_CabinetRvMultColorTemp",
                     &Operator::setCabRvMultColorTemp),
            singleWriteNonConst("CabinetInfoOperator::setEnableSingleCustomGamma",
                                "Device_IsCustomGammaSingal", &Operator::setEnableSingleCustomGamma),
            listWrite("CabinetInfoOperator::setEnableMultCustomGamma", "Device_IsCustomGammaMult",
                      &Operator::setEnableMultCustomGamma),
            singleWrite("CabinetInfoOperator::setCabinetGammaCustomValue", "Device_S_CabinetGammaCustomValue",
                        &Operator::setCabinetGammaCustomValue),
            mapWrite("CabinetInfoOperator::setMutiCabinetGammaCustomValue",
                     "Device_M_CabinetGammaCustomValue", &Operator::setMutiCabinetGammaCustomValue),
            singleWrite("CabinetInfoOperator::setSingleCabinetRgbGain", "Device_S_CabinetRgbGain",
                        &Operator::setSingleCabinetRgbGain),
            listWrite("CabinetInfoOperator::setMutiCabinetRgbGain", "Device_M_CabinetRgbGain",
                      &Operator::setMutiCabinetRgbGain),
            singleWrite("CabinetInfoOperator::setSingleCabinet18bitMode", "Device_S_Cabinet18bitMode",
                        &Operator::setSingleCabinet18bitMode),
            mapWrite("CabinetInfoOperator::setMutiCabinet18bitMode", "Device_M_Cabinet18bitMode",
                     &Operator::setMutiCabinet18bitMode),
            singleWrite("CabinetInfoOperator::setSingleCabinetSolid", "Device_S_CabinetSolid",
                        &Operator::setSingleCabinetSolid),
            mapWrite("CabinetInfoOperator::setMutiCabinetSolid", "Device_M_CabinetSolid",
                     &Operator::setMutiCabinetSolid),
            singleWrite("CabinetInfoOperator::setSingleCabinetPhySize", "Device_S_CabinetPhySize",
                        &Operator::setSingleCabinetPhySize),
            mapWrite("CabinetInfoOperator::setMutiCabinetPhySize", "Device_M_CabinetPhySize",
                     &Operator::setMutiCabinetPhySize),
            singleWrite("CabinetInfoOperator::setSingleCabinetWeight", "Device_S_CabinetWeight",
                        &Operator::setSingleCabinetWeight),
            mapWrite("CabinetInfoOperator::setMutiCabinetWeight", "Device_M_CabinetWeight",
                     &Operator::setMutiCabinetWeight),
            singleWrite("CabinetInfoOperator::setSingleCabinetPower", "Device_S_CabinetPower",
                        &Operator::setSingleCabinetPower),
            mapWrite("CabinetInfoOperator::setMutiCabinetPower", "Device_M_CabinetPower",
                     &Operator::setMutiCabinetPower),
            singleWrite("CabinetInfoOperator::setSingleCabinetVoltage", "Device_S_CabinetVoltage",
                        &Operator::setSingleCabinetVoltage),
            mapWrite("CabinetInfoOperator::setMutiCabinetVoltage", "Device_M_CabinetVoltage",
                     &Operator::setMutiCabinetVoltage),
            singleWrite("CabinetInfoOperator::setSglCabFamilyName", "Device_S_CabFamilyName",
                        &Operator::setSglCabFamilyName),
            mapWrite("CabinetInfoOperator::setMutiCabFamilyName", "Device_M_CabFamilyName",
                     &Operator::setMutiCabFamilyName),
            singleWrite("CabinetInfoOperator::setSglCabMFRSName", "Device_S_CabmfrsName",
                        &Operator::setSglCabMFRSName),
            mapWrite("CabinetInfoOperator::setMutiCabMFRSName", "Device_M_CabmfrsName",
                     &Operator::setMutiCabMFRSName),
            singleWrite("CabinetInfoOperator::setSglShortName", "Device_S_CabShortName",
                        &Operator::setSglShortName),
            mapWrite("CabinetInfoOperator::setMutiShortName", "Device_M_CabShortName",
                     &Operator::setMutiShortName),
            singleWrite("CabinetInfoOperator::setSglCabinetType", "Device_S_CabType",
                        &Operator::setSglCabinetType),
            mapWrite("CabinetInfoOperator::setMutiCabinetType", "Device_M_CabType",
                     &Operator::setMutiCabinetType),
            singleWrite("CabinetInfoOperator::setSglPointSpace", "Device_S_CabPointSpace",
                        &Operator::setSglPointSpace),
            mapWrite("CabinetInfoOperator::setMutiPointSpace", "Device_M_CabPointSpace",
                     &Operator::setMutiPointSpace),
            singleWrite("CabinetInfoOperator::setSingleCabFineGray", "Device_Single_CabFineGray",
                        &Operator::setSingleCabFineGray),
            mapWrite("CabinetInfoOperator::setMultiCabFineGray", "Device_Multi_CabFineGray",
                     &Operator::setMultiCabFineGray),
            singleWrite("CabinetInfoOperator::setSingleCabCorrection", "Device_Single_CabCorrection",
                        &Operator::setSingleCabCorrection),
            mapWrite("CabinetInfoOperator::setMultiCabCorrection", "Device_Multi_CabCorrection",
                     &Operator::setMultiCabCorrection),
            singleExchange("CabinetInfoOperator::setCabinetRGBBrightness", "Device_CabinetRGBBrightness",
                           &Operator::setCabinetRGBBrightness),
            mapExchange("CabinetInfoOperator::setCabinetsRGBBrightness", "Device_CabinetsRGBBrightness",
                        &Operator::setCabinetsRGBBrightness),
            toCid(singleExchange("CabinetInfoOperator::setCabinetXBitMode", "Device_CabinetXBitMode",
                                 &Operator::setCabinetXBitMode)),
            mapExchange("CabinetInfoOperator::setCabinetsXBitMode", "Device_CabinetsXBitMode",
                        &Operator::setCabinetsXBitMode),
            singleExchange("CabinetInfoOperator::setCabinetXbitEnable", "Device_CabinetsSetXBitEnable",
                           &Operator::setCabinetXbitEnable),
            mapExchange("CabinetInfoOperator::setCabinetXbitEnable (overload)", "Device_CabinetSetXBitEnable",
                        &Operator::setCabinetXbitEnable),
            singleExchange("CabinetInfoOperator::setCabinetXBitRGBPhase", "Device_CabinetXBitRGBPhase",
                           &Operator::setCabinetXBitRGBPhase),
            mapExchange("CabinetInfoOperator::setCabinetXBitRGBPhase (overload)",
                        "Device_CabinetsXBitRGBPhase", &Operator::setCabinetXBitRGBPhase),
            singleExchange("CabinetInfoOperator::setCabinetXBitGrayScale", "Device_CabinetXBitGrayScale",
                           &Operator::setCabinetXBitGrayScale),
            mapExchange("CabinetInfoOperator::setCabinetXBitGrayScale (overload)",
                        "Device_CabinetsXBitGrayScale", &Operator::setCabinetXBitGrayScale),
            singleExchange("CabinetInfoOperator::setCabinetXBitJitterMode", "Device_CabinetXBitJitterMode",
                           &Operator::setCabinetXBitJitterMode),
            mapExchange("CabinetInfoOperator::setCabinetXBitJitterMode (overload)",
                        "Device_CabinetsXBitJitterMode", &Operator::setCabinetXBitJitterMode),
            singleExchange("CabinetInfoOperator::setCabinetXBitHighLowMode", "Device_CabinetXBitHighLowMode",
                           &Operator::setCabinetXBitHighLowMode),
            mapExchange("CabinetInfoOperator::setCabinetXBitHighLowMode (overload)",
                        "Device_CabinetsXBitHighLowMode", &Operator::setCabinetXBitHighLowMode),
            singleWriteNonConst("CabinetInfoOperator::setCabinetFlag", "Device_CabinetsFlags",
                                &Operator::setCabinetFlag),
            within(10000, listWrite("CabinetInfoOperator::setCabinetSnflags", "Device_CabinetsFlags",
                                    &Operator::setCabinetSnflags)),
            within(10000, listWrite("CabinetInfoOperator::setModuleflags", "Device_M_Moduleflags",
                                    &Operator::setModuleflags)),
            singleWrite("CabinetInfoOperator::setCabinetLightAllParam", "Device_CabinetLightAllParam",
                        &Operator::setCabinetLightAllParam),
            within(10000, listWrite("CabinetInfoOperator::setMutiConfigFile", "Device_M_CabinetConfigfile",
                                    &Operator::setMutiConfigFile)),
            toNoPlaceHolder(
                within(120000, singleWrite("CabinetInfoOperator::setSingleConfigFile",
                                           "Device_M_CabinetConfigfile", &Operator::setSingleConfigFile))),
            singleWrite("CabinetInfoOperator::setCabinetInfo", "Device_CabinetInfo",
                        &Operator::setCabinetInfo),
            singleWrite("CabinetInfoOperator::setCabinetPixelSize", "Device_CabinetPixelSize",
                        &Operator::setCabinetPixelSize),
        };
        rows << OperationRow{
            "CabinetInfoOperator::setCabinetBrightnessAsync",
            "Device_CabinetBrightness",
            HttpMethod::Put,
            Decoder::None,
            [](Outputs&) { return cabinets()->setCabinetBrightnessAsync(sampleDevice, settingsList); },
            settingsListJson};
        rows.last().onFailure = OnFailure::Unnoticed;
        for (const OperationRow& row : qAsConst(rows)) {
            QTest::newRow(row.name) << row;
        }
    }

    void handleAllReplies()
    {
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
    }

    // A fire-and-forget write: sees no failure, and no reply either.
    static OperationRow unnoticed(OperationRow row)
    {
        row.decoder = Decoder::None;
        row.onFailure = OnFailure::Unnoticed;
        return row;
    }
    static OperationRow toCid(OperationRow row)
    {
        row.placeHolders = {{"cid", cabinet}};
        return row;
    }
    static OperationRow toNoPlaceHolder(OperationRow row)
    {
        row.placeHolders.clear();
        return row;
    }
};

QTEST_GUILESS_MAIN(TestCabinetWrites)
#include "tst_cabinetinfooperator_writes.moc"
