// SPDX-License-Identifier: MIT
#include "cabinetrows.h"

#include <deviceside.h>
#include <logcollector.h>
#include <recordingengine.h>

#include <QSignalSpy>
#include <QtTest>

using namespace CabinetRows;

class TestCabinetFirmware : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        cabinets()->startWatch();
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        QList<OperationRow> rows{
            listRead("CabinetInfoOperator::getRvCardsList", "Device_RvCards", Decoder::ParsedList,
                     &Operator::getRvCardsList),
        };
        rows << OperationRow{"CabinetInfoOperator::getRvCardsUpdateProgress", "Device_RvCardUpdateProg",
                             HttpMethod::Get, Decoder::Map, [](Outputs& out) {
                                 return cabinets()->getRvCardsUpdateProgress(sampleDevice, out.map);
                             }};
        for (const OperationRow& upload :
             {within(300000, mapWrite("CabinetInfoOperator::putRvCardsUpdate", "Device_RvCardUpdate",
                                      &Operator::putRvCardsUpdate)),
              within(30000, mapWrite("CabinetInfoOperator::putRvCardsUpdateLoad", "Device_RvCardUpdateLoad",
                                     &Operator::putRvCardsUpdateLoad))}) {
            rows << upload;
            rows.last().parts = settings;
            rows.last().body.clear();
        }
        rows << OperationRow{"CabinetInfoOperator::getRvCardFirmware",
                             "Device_RvCardFirmware",
                             HttpMethod::Get,
                             Decoder::None,
                             [](Outputs&) {
                                 return cabinets()->getRvCardFirmware(sampleDevice, cabinet, 3,
                                                                      "/tmp/never written");
                             },
                             {},
                             {{"id", cabinet}, {"type", "3"}},
                             {},
                             30000};
        rows.last().downloadPath = "/tmp/never written";
        rows.last().onFailure = OnFailure::Unnoticed;
        rows << coefficient("CabinetInfoOperator::clearModuleCoefficient", "Device_ClearModuleCoefficient",
                            31000, &Operator::clearModuleCoefficient);
        rows << coefficient("CabinetInfoOperator::reloadModuleCoefficient", "Device_ShowModuleCoefficient",
                            31000, &Operator::reloadModuleCoefficient);
        rows << coefficient("CabinetInfoOperator::saveModuleCoefficient", "Device_SaveModuleCoefficient",
                            301000, &Operator::saveModuleCoefficient);
        for (const OperationRow& row : qAsConst(rows)) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void getRvCardFirmwareFillsBothPlaceholders_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::newRow("3") << 3 << QString("3");
        QTest::newRow("0") << 0 << QString("0");
        QTest::newRow("negative") << -1 << QString("-1");
    }
    void getRvCardFirmwareFillsBothPlaceholders()
    {
        QFETCH(int, type);
        QFETCH(QString, text);
        QVERIFY(cabinets()->getRvCardFirmware(sampleDevice, "a/b", type, "card.bin"));
        QCOMPARE(m_engine->last().placeHolders, (QMap<QString, QString>{{"id", "a/b"}, {"type", text}}));
        QCOMPARE(m_engine->last().downloadPath, QString("card.bin"));
    }

    void getRvCardFirmwareOnAnUnreachableDeviceIsTrue()
    {
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(cabinets()->getRvCardFirmware(sampleDevice, cabinet, 3, "card.bin"));
    }

    void theCallerExtendsTheLimitOfACoefficientOperation_data()
    {
        QTest::addColumn<int>("waitTime");
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("limitOfSave");
        QTest::newRow("a second") << 1000 << 31000 << 301000;
        QTest::newRow("none") << 0 << 30000 << 300000;
        QTest::newRow("negative") << -1000 << 29000 << 299000;
    }
    void theCallerExtendsTheLimitOfACoefficientOperation()
    {
        QFETCH(int, waitTime);
        QFETCH(int, limit);
        QFETCH(int, limitOfSave);
        Map body = settings;
        Map out;
        QVERIFY(cabinets()->clearModuleCoefficient(sampleDevice, body, out, waitTime));
        QCOMPARE(m_engine->last().expectedTime, limit);
        QVERIFY(cabinets()->reloadModuleCoefficient(sampleDevice, body, out, waitTime));
        QCOMPARE(m_engine->last().expectedTime, limit);
        QVERIFY(cabinets()->saveModuleCoefficient(sampleDevice, body, out, waitTime));
        QCOMPARE(m_engine->last().expectedTime, limitOfSave);
    }

    void savingAloneTracesTheWaitTime()
    {
        Map body = settings;
        Map out;
        const LogCollector log;
        cabinets()->clearModuleCoefficient(sampleDevice, body, out, 1000);
        cabinets()->reloadModuleCoefficient(sampleDevice, body, out, 1000);
        cabinets()->saveModuleCoefficient(sampleDevice, body, out, 1000);
        QCOMPARE(log.lines(), QStringList{"debug: waittime : \"1000\""});
    }

    void reloadingUsesTheRouteThatShows()
    {
        Map body = settings;
        Map out;
        QVERIFY(cabinets()->reloadModuleCoefficient(sampleDevice, body, out, 0));
        QCOMPARE(m_engine->last().path,
                 QString("/api/v1/device/correctionop/cabinets/showmodulecoefficient"));
    }

private:
    using Coefficient = Operation<Map&, Map&, int>;
    static OperationRow coefficient(const char* name, const char* routeKey, int limit, Coefficient op)
    {
        return {name,
                routeKey,
                HttpMethod::Put,
                Decoder::Map,
                [op](Outputs& out) {
                    Map body = settings;
                    const bool result = (cabinets()->*op)(sampleDevice, body, out.map, 1000);
                    return result && body == settings;
                },
                settingsJson,
                {},
                {},
                limit};
    }
};

QTEST_GUILESS_MAIN(TestCabinetFirmware)
#include "tst_cabinetinfooperator_firmware.moc"
