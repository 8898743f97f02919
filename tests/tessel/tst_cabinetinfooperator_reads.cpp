// SPDX-License-Identifier: MIT
#include "cabinetrows.h"

#include <deviceside.h>
#include <recordingengine.h>

#include <QSignalSpy>
#include <QtTest>

using namespace CabinetRows;

class TestCabinetReads : public QObject
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

    void getCabFamilyNameOnAnUnreachableDeviceEmptiesItsOutput()
    {
        m_engine->answer(RecordingEngine::failure());
        Map out{{"stale", 1}};
        QVERIFY(!cabinets()->getCabFamilyName(sampleDevice, cabinet, out));
        QVERIFY(out.isEmpty());
    }

    void threeReadsHaveALimitOfTheirOwn()
    {
        Map map;
        List list;
        cabinets()->getCabinetsBaseInfo(sampleDevice, list);
        QCOMPARE(m_engine->last().expectedTime, 6000);
        cabinets()->getConfigFile(sampleDevice, cabinet, map);
        QCOMPARE(m_engine->last().expectedTime, 20000);
        cabinets()->getCabinetGammaCustomValue(sampleDevice, cabinet, map);
        QCOMPARE(m_engine->last().expectedTime, 10000);
    }

    // The cabinets of a port

    void portCabinetsAreAppendedInTheOrderOfTheList()
    {
        const QString device = DeviceSide::fresh();
        m_engine->answer(RecordingEngine::data(
            R"([{"id":"a","outputID":2},{"id":"b","outputID":1},{"id":"c","outputID":"2"},{"id":"d"}])"));
        List out{"kept"};
        cabinets()->getPortCabinetsInfo(device, 2, out);
        QCOMPARE(idsOf(out), (QStringList{"", "a", "c"}));
        cabinets()->getPortCabinetsInfo(device, 2, out);
        QCOMPARE(idsOf(out), (QStringList{"", "a", "c", "a", "c"}));
        QCOMPARE(m_engine->count(), 1);
    }

    void cabinetsWithoutAnOutputBelongToPortZero()
    {
        const QString device = DeviceSide::fresh();
        m_engine->answer(
            RecordingEngine::data(R"([{"id":"a"},{"id":"b","outputID":1},{"id":"c","outputID":0},7])"));
        List out;
        cabinets()->getPortCabinetsInfo(device, 0, out);
        QCOMPARE(idsOf(out), (QStringList{"a", "c", ""}));
    }

    void portCabinetsOfAnUnreachableDeviceAreNone()
    {
        m_engine->answer(RecordingEngine::failure());
        List out{"kept"};
        cabinets()->getPortCabinetsInfo(DeviceSide::fresh(), 0, out);
        QCOMPARE(out, List{"kept"});
        QCOMPARE(m_engine->count(), 1);
    }

    void portCabinetsAreReadAsTheCabinetsAre()
    {
        const QString device = DeviceSide::fresh();
        List out;
        cabinets()->getPortCabinetsInfo(device, 1, out);
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/cabinet"));
        QCOMPARE(m_engine->last().parameters, (QMap<QString, QString>{{"subpixel", "1"}}));
        QCOMPARE(m_engine->last().expectedTime, 30000);
        QVERIFY(cabinets()->getAllCabinetsInfo(device, false));
        QCOMPARE(m_engine->count(), 1);
        cabinets()->shutDownWatch();
        cabinets()->getPortCabinetsInfo(device, 1, out);
        QCOMPARE(m_engine->count(), 2);
    }

    // The gamma table

    void theGammaTableIsTheListUnderItsKey_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<List>("table");
        QTest::newRow("a table") << QByteArray(R"({"gammaTable":[1,2,3],"more":{"a":1}})")
                                 << List{qlonglong(1), qlonglong(2), qlonglong(3)};
        QTest::newRow("empty") << QByteArray(R"({"gammaTable":[]})") << List();
        QTest::newRow("absent") << QByteArray(R"({"other":[1]})") << List();
        QTest::newRow("no list") << QByteArray(R"({"gammaTable":7})") << List();
        QTest::newRow("a text") << QByteArray(R"({"gammaTable":"123"})") << List();
        QTest::newRow("no object") << QByteArray("[1]") << List();
    }
    void theGammaTableIsTheListUnderItsKey()
    {
        QFETCH(QByteArray, data);
        QFETCH(List, table);
        m_engine->answer(RecordingEngine::data(data));
        List out{"stale"};
        QVERIFY(cabinets()->getCabinetGammaCurveInfo(sampleDevice, cabinet, {}, out));
        QCOMPARE(out, table);
    }

    void theGammaTableIsEmptyAfterAFailure()
    {
        m_engine->answer(RecordingEngine::failure());
        List out{"stale"};
        QVERIFY(!cabinets()->getCabinetGammaCurveInfo(sampleDevice, cabinet, {}, out));
        QVERIFY(out.isEmpty());
    }

    void theGammaTableIsAskedForWithExactlyTheCallersParameters()
    {
        List out;
        const QMap<QString, QString> parameters{{"color", "r g"}, {"mode", ""}};
        cabinets()->getCabinetGammaCurveInfo(sampleDevice, cabinet, parameters, out);
        QCOMPARE(m_engine->last().parameters, parameters);
        cabinets()->getCabinetGammaCurveInfo(sampleDevice, cabinet, {}, out);
        QVERIFY(m_engine->last().parameters.isEmpty());
    }

    void readsLeaveTheCacheAlone_data() { addRows(); }
    void readsLeaveTheCacheAlone()
    {
        QFETCH(OperationRow, row);
        m_engine->answer(RecordingEngine::data(R"([{"id":"old"}])"));
        QVERIFY(cabinets()->getAllCabinetsInfo(sampleDevice, true));
        m_engine->answer(RecordingEngine::data(R"([{"id":"new"}])"));
        Outputs outputs;
        QVERIFY(row.call(outputs));
        List out;
        QVERIFY(cabinets()->getAllCabinetsInfo(sampleDevice, out, false));
        QCOMPARE(idsOf(out), QStringList{"old"});
        QCOMPARE(m_engine->count(), 2);
    }

private:
    static void addRows()
    {
        QTest::addColumn<OperationRow>("row");
        QList<OperationRow> rows{
            singleRead("CabinetInfoOperator::getCabFamilyName", "Device_S_CabFamilyName",
                       &Operator::getCabFamilyName),
            singleRead("CabinetInfoOperator::getCabMFRSName", "Device_S_CabmfrsName",
                       &Operator::getCabMFRSName),
            singleRead("CabinetInfoOperator::getCabPointSpace", "Device_S_CabPointSpace",
                       &Operator::getCabPointSpace),
            singleRead("CabinetInfoOperator::getCabShortName", "Device_S_CabShortName",
                       &Operator::getCabShortName),
            singleRead("CabinetInfoOperator::getCabinetBrightnessRange", "Device_CabinetBrightnessRange",
                       &Operator::getCabinetBrightnessRange),
            singleRead("CabinetInfoOperator::getCabinetFineGrayConfig", "Device_CabinetFineGrayConfig",
                       &Operator::getCabinetFineGrayConfig),
            within(10000,
                   singleRead("CabinetInfoOperator::getCabinetGammaCustomValue",
                              "Device_S_CabinetGammaCustomValue", &Operator::getCabinetGammaCustomValue)),
            singleRead("CabinetInfoOperator::getCabinetRGBBrightness", "Device_CabinetRGBBrightness",
                       &Operator::getCabinetRGBBrightness),
            singleRead("CabinetInfoOperator::getCabinetRecvName", "Device_S_CabRecvName",
                       &Operator::getCabinetRecvName),
            singleRead("CabinetInfoOperator::getCabinetRecvRate", "Device_S_CabRecvRate",
                       &Operator::getCabinetRecvRate),
            singleRead("CabinetInfoOperator::getCabinetRvColorTemp", "Device_CabinetRvSingleColorTemp",
                       &Operator::getCabinetRvColorTemp),
            singleRead("CabinetInfoOperator::getCabinetSN", "Device_S_CabSN", &Operator::getCabinetSN),
            singleRead("CabinetInfoOperator::getCabinetType", "Device_S_CabType", &Operator::getCabinetType),
            singleRead("CabinetInfoOperator::getCabinetXbitEnable", "Device_CabinetGetXBitEnable",
                       &Operator::getCabinetXbitEnable),
            within(20000, singleRead("CabinetInfoOperator::getConfigFile", "Device_S_CabinetConfigfile",
                                     &Operator::getConfigFile)),
            listRead("CabinetInfoOperator::getAllCabMFRSName", "Device_S_AllCabmfrsName", Decoder::ParsedList,
                     &Operator::getAllCabMFRSName),
            listRead("CabinetInfoOperator::getAllCabShortName", "Device_M_CabShortName", Decoder::ParsedList,
                     &Operator::getAllCabShortName),
            listRead("CabinetInfoOperator::getAllCabinetChip", "Device_S_AllCabChip", Decoder::ParsedList,
                     &Operator::getAllCabinetChip),
            listRead("CabinetInfoOperator::getAllCabinetType", "Device_S_AllCabType", Decoder::ParsedList,
                     &Operator::getAllCabinetType),
            listRead("CabinetInfoOperator::getAllCabinetsRxs", "Device_RxsInfo", Decoder::FlatList,
                     &Operator::getAllCabinetsRxs),
            listRead("CabinetInfoOperator::getCabAllFlags", "Device_CabinetsAllFlags", Decoder::ParsedList,
                     &Operator::getCabAllFlags),
            within(6000, listRead("CabinetInfoOperator::getCabinetsBaseInfo", "Device_M_CabinetBaseInfo",
                                  Decoder::ParsedList, &Operator::getCabinetsBaseInfo)),
        };
        rows << OperationRow{
            "CabinetInfoOperator::getCabinetRxs",
            "Device_CabinetRecvCards",
            HttpMethod::Get,
            Decoder::FlatList,
            [](Outputs& out) { return cabinets()->getCabinetRxs(sampleDevice, cabinet, out.list); },
            {},
            {{"id", cabinet}}};
        rows << OperationRow{
            "CabinetInfoOperator::getCabinetGammaCurveInfo",
            "Device_CabinetGammaCurveInfo",
            HttpMethod::Get,
            Decoder::None,
            [](Outputs&) {
                List table;
                return cabinets()->getCabinetGammaCurveInfo(sampleDevice, cabinet, {{"color", "red"}}, table);
            },
            {},
            {{"id", cabinet}},
            {{"color", "red"}}};
        for (const OperationRow& row : qAsConst(rows)) {
            QTest::newRow(row.name) << row;
        }
    }

    static QStringList idsOf(const List& list)
    {
        QStringList ids;
        for (const QVariant& element : list) {
            ids << element.toMap().value("id").toString();
        }
        return ids;
    }
};

QTEST_GUILESS_MAIN(TestCabinetReads)
#include "tst_cabinetinfooperator_reads.moc"
