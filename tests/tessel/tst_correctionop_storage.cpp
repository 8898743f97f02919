// SPDX-License-Identifier: MIT
#include <operationforms.h>
#include <recordingengine.h>

#include <tessel/correctionop.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

Correctionop* correction()
{
    return Correctionop::getInstance();
}

} // namespace

class TestCorrectionopStorage : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

    static void addRows()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<Correctionop>;
        using Op = Correctionop;
        OperationRow flashTest{"Correctionop::flashTest", "Device_Correction_screenCorrectAction",
                               HttpMethod::Put, Decoder::Map, [](Outputs& out) {
                                   return correction()->flashTest(sampleDevice, sampleId, QVariant(7),
                                                                  out.map);
                               }};
        flashTest.body = "7";
        flashTest.placeHolders = {{"cid", sampleId}};
        OperationRow checkCode{
            "Correctionop::getFlashCheckCode", "Device_Correction_flashcheckcode", HttpMethod::Get,
            Decoder::FlatList, [](Outputs& out) {
                return correction()->getFlashCheckCode(sampleDevice, sampleId, Map{{"x", 1}}, out.list);
            }};
        checkCode.placeHolders = {{"cid", sampleId}};
        checkCode.expectedTime = 45000;
        OperationRow checkCodePromise{
            "Correctionop::getFlashCheckCode (promise)", "Device_Correction_flashcheckcode", HttpMethod::Get,
            Decoder::None, [](Outputs&) {
                return correction()->getFlashCheckCode(sampleDevice, sampleId).wait().isFulfilled();
            }};
        checkCodePromise.placeHolders = {{"cid", sampleId}};
        checkCodePromise.onFailure = OnFailure::Unnoticed;
        const OperationRow rows[] = {
            Forms::mapWrite("Correctionop::saveCabinetsCoeffcient", "Device_SaveCabinetsCofficient",
                            &Op::saveCabinetsCoeffcient, 360000),
            Forms::mapWrite("Correctionop::saveCabinetsMultilayerCoeffcient",
                            "Device_SaveCabinetsMultilayerCofficient", &Op::saveCabinetsMultilayerCoeffcient,
                            360000),
            Forms::mapWrite("Correctionop::saveCabinetsLowgrayCoeffcient",
                            "Device_SaveCabinetsLowgrayCofficient", &Op::saveCabinetsLowgrayCoeffcient,
                            360000),
            Forms::mapWrite("Correctionop::saveCabinetsAdapCoeffcient", "Device_SaveCabinetsAdapCofficient",
                            &Op::saveCabinetsAdapCoeffcient, 360000),
            Forms::mapWrite("Correctionop::saveCabinetsFactoryCoefficient",
                            "Device_SaveCabinetsFactoryCofficient", &Op::saveCabinetsFactoryCoefficient,
                            30000),
            Forms::mapWrite("Correctionop::saveCabinetsModuleCoefficient",
                            "Device_SaveCabinetsModuleCofficient", &Op::saveCabinetsModuleCoefficient),
            Forms::mapWrite("Correctionop::applyCabinetsLowgrayCoeffcient",
                            "Device_ApplyCabinetsLowgrayCofficient", &Op::applyCabinetsLowgrayCoeffcient,
                            60000),
            Forms::mapWrite("Correctionop::clearCabinetsLowgrayCoefficient",
                            "Device_ClearCabinetsLowgrayCofficient", &Op::clearCabinetsLowgrayCoefficient,
                            3000),
            Forms::mapWrite("Correctionop::clearCabinetsMultilayerCoefficient",
                            "Device_ClearCabinetsMultilayerCofficient",
                            &Op::clearCabinetsMultilayerCoefficient, 3000),
            Forms::mapWrite("Correctionop::clearCabinetsUserCoefficient",
                            "Device_ClearCabinetsModuleCofficient", &Op::clearCabinetsUserCoefficient, 3000),
            Forms::mapWrite("Correctionop::showCabinetsCoefficient", "Device_ShowCabinetsCofficient",
                            &Op::showCabinetsCoefficient),
            Forms::mapWrite("Correctionop::showCabinetsFactoryCoefficient",
                            "Device_ShowCabinetsFactoryCofficient", &Op::showCabinetsFactoryCoefficient),
            Forms::mapWrite("Correctionop::showCabinetsModuleCoefficient",
                            "Device_ShowCabinetsModuleCofficient", &Op::showCabinetsModuleCoefficient),
            Forms::mapWrite("Correctionop::setCabinetsMultilayerParameter",
                            "Device_SetCabinetsMultilayerParameter", &Op::setCabinetsMultilayerParameter,
                            6000),
            Forms::mapWrite("Correctionop::setCabinetsMultilayerParameterV2",
                            "Device_SetCabinetsMultilayerParameterV2", &Op::setCabinetsMultilayerParameterV2,
                            6000),
            Forms::mapWrite("Correctionop::setCabinetsAdaptiveParameterV2",
                            "Device_SetCabinetsAdaptiveParameterV2", &Op::setCabinetsAdaptiveParameterV2,
                            6000),
            Forms::mapWrite("Correctionop::setCabinetsDynamicParameter", "Device_SetCabinetsDynamicParameter",
                            &Op::setCabinetsDynamicParameter, 6000),
            Forms::mapWrite("Correctionop::setMutiCabinetSolid", "Device_M_CabinetSolid",
                            &Op::setMutiCabinetSolid, 30000),
            Forms::listWrite("Correctionop::adjustLineCoefficient", "Device_AdjustCoefficient",
                             &Op::adjustLineCoefficient),
            Forms::listWrite("Correctionop::adjustRegionRGBCoefficient", "Device_AdjustRGBCoefficient",
                             &Op::adjustRegionRGBCoefficient),
            Forms::listWrite("Correctionop::adjustRegionHSLCoefficient", "Device_AdjustHSLCoefficient",
                             &Op::adjustRegionHSLCoefficient),
            Forms::listWrite("Correctionop::saveEffect", "Device_AdjustRGBCoefficient", &Op::saveEffect),
            Forms::idCommand("Correctionop::setCorrectCoffcient", "Device_SaveCabCofficient",
                             &Op::setCorrectCoffcient),
            flashTest,
            checkCode,
            checkCodePromise,
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void operationsSendAndReturnAsTold_data() { addRows(); }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void setMutiCabinetSolidWaitsAsLongAsItsBodySaysAndThirtySecondsAtLeast_data()
    {
        QTest::addColumn<Map>("params");
        QTest::addColumn<int>("expectedTime");
        QTest::newRow("5000") << Map{{"timeout", 5000}} << 30000;
        QTest::newRow("60000") << Map{{"timeout", 60000}} << 60000;
        QTest::newRow("60000 as text") << Map{{"timeout", "60000"}} << 60000;
        QTest::newRow("30000") << Map{{"timeout", 30000}} << 30000;
        QTest::newRow("absent") << Map() << 30000;
        QTest::newRow("no number") << Map{{"timeout", "soon"}} << 30000;
        QTest::newRow("negative") << Map{{"timeout", -1}} << 30000;
        QTest::newRow("list") << Map{{"timeout", List{60000}}} << 30000;
    }
    void setMutiCabinetSolidWaitsAsLongAsItsBodySaysAndThirtySecondsAtLeast()
    {
        QFETCH(Map, params);
        QFETCH(int, expectedTime);
        Map result;
        QVERIFY(correction()->setMutiCabinetSolid(sampleDevice, params, result));
        QCOMPARE(m_engine->last().expectedTime, expectedTime);
        QCOMPARE(m_engine->last().body.contains("timeout"), params.contains("timeout"));
    }

    void saveEffectAndAdjustRegionRGBCoefficientSendEqualRequests()
    {
        const List list{Map{{"r", 1}}, Map{{"g", 2}}};
        Map result;
        QVERIFY(correction()->adjustRegionRGBCoefficient(sampleDevice, list, result));
        const RecordingEngine::Request adjusted = m_engine->last();
        QVERIFY(correction()->saveEffect(sampleDevice, list, result));
        const RecordingEngine::Request saved = m_engine->last();
        QCOMPARE(saved.path, adjusted.path);
        QCOMPARE(saved.body, adjusted.body);
        QCOMPARE(int(saved.method), int(adjusted.method));
        QCOMPARE(saved.placeHolders, adjusted.placeHolders);
        QCOMPARE(saved.parameters, adjusted.parameters);
        QCOMPARE(saved.headers, adjusted.headers);
        QCOMPARE(saved.expectedTime, adjusted.expectedTime);
    }

    void flashTestGoesOutWithoutAPath_data()
    {
        QTest::addColumn<QVariant>("body");
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("map") << QVariant(Map{{"x", 1}}) << QByteArray(R"({"x":1})");
        QTest::newRow("list") << QVariant(List{1, "a"}) << QByteArray(R"([1,"a"])");
        QTest::newRow("text") << QVariant("a") << QByteArray(R"("a")");
    }
    void flashTestGoesOutWithoutAPath()
    {
        QFETCH(QVariant, body);
        QFETCH(QByteArray, json);
        Map result;
        QVERIFY(correction()->flashTest("any", "1", body, result));
        QCOMPARE(m_engine->last().path, QString());
        QCOMPARE(m_engine->last().body, json);
    }

    void onlyTheBlockingFormOfGetFlashCheckCodeDelivers()
    {
        m_engine->answer(RecordingEngine::data(R"([{"code":{"r":1}}])"));
        List result;
        QVERIFY(correction()->getFlashCheckCode(sampleDevice, "1", {}, result));
        QCOMPARE(result, (List{Map{{"code.r", qlonglong(1)}}}));
        m_engine->answer(RecordingEngine::data(R"({"code":1})"));
        Map delivered{{"stale", 1}};
        QVERIFY(correction()
                    ->getFlashCheckCode(sampleDevice, "1")
                    .then([&](const Map& map) { delivered = map; })
                    .wait()
                    .isFulfilled());
        QVERIFY(delivered.isEmpty());
    }

    void getFlashCheckCodeSendsNeitherBodyNorQuery()
    {
        List result;
        QVERIFY(correction()->getFlashCheckCode(sampleDevice, "1", Map{{"x", 1}}, result));
        QCOMPARE(m_engine->last().body, QByteArray());
        QVERIFY(m_engine->last().parameters.isEmpty());
    }

    void theFactorySaveHasLessTimeThanTheOthers()
    {
        Map result;
        QVERIFY(correction()->saveCabinetsFactoryCoefficient(sampleDevice, {}, result));
        QCOMPARE(m_engine->last().expectedTime, 30000);
        QVERIFY(correction()->saveCabinetsCoeffcient(sampleDevice, {}, result));
        QCOMPARE(m_engine->last().expectedTime, 360000);
    }

    void oddRoutesLeadWhereTheyAlwaysDid()
    {
        Map result;
        QVERIFY(correction()->saveCabinetsModuleCoefficient(sampleDevice, {}, result));
        const QString saved = m_engine->last().path;
        QVERIFY(correction()->showCabinetsModuleCoefficient(sampleDevice, {}, result));
        QCOMPARE(saved, m_engine->last().path);
        QVERIFY(correction()->saveCabinetsAdapCoeffcient(sampleDevice, {}, result));
        QVERIFY(m_engine->last().path.endsWith("rvcardcoefficient"));
    }
};

QTEST_GUILESS_MAIN(TestCorrectionopStorage)
#include "tst_correctionop_storage.moc"
