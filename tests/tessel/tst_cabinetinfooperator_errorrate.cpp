// SPDX-License-Identifier: MIT
#include "cabinetrows.h"

#include <deviceside.h>
#include <recordingengine.h>

#include <QSignalSpy>
#include <QtTest>

using namespace CabinetRows;

class TestCabinetErrorRate : public QObject
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
            withHeader(singleWrite("CabinetInfoOperator::communicationErrorDetectSwitcher",
                                   "Device_Single_CommunicationDetecter",
                                   &Operator::communicationErrorDetectSwitcher)),
            withHeader(mapWrite("CabinetInfoOperator::communicationErrorDetectSwitcher (overload)",
                                "Device_Multi_CommunicationDetecter",
                                &Operator::communicationErrorDetectSwitcher)),
            withHeader(singleWrite("CabinetInfoOperator::berTestPattern", "Device_Single_TestImage",
                                   &Operator::berTestPattern)),
            withHeader(mapWrite("CabinetInfoOperator::berTestPattern (overload)", "Device_Multi_TestImage",
                                &Operator::berTestPattern)),
            singleRead("CabinetInfoOperator::getDetecteErrorRateTimeData",
                       "Device_Single_DetecteErrorRateTime", &Operator::getDetecteErrorRateTimeData),
            singleWrite("CabinetInfoOperator::setDetecteErrorRateTimeData",
                        "Device_Single_DetecteErrorRateTime", &Operator::setDetecteErrorRateTimeData),
            listWrite("CabinetInfoOperator::setDetecteErrorRateTimeData (overload)",
                      "Device_Multi_DetecteErrorRateTime", &Operator::setDetecteErrorRateTimeData),
        };
        rows << OperationRow{"CabinetInfoOperator::getCommunicationErrorData",
                             "Device_CommunicationDetecterData",
                             HttpMethod::Get,
                             Decoder::Map,
                             [](Outputs& out) {
                                 return cabinets()->getCommunicationErrorData(
                                     sampleDevice, cabinet, "2026-01-01 00:00", "now", out.map);
                             },
                             {},
                             {{"id", cabinet}},
                             {{"beginTime", "2026-01-01 00:00"}, {"endTime", "now"}}};
        for (const OperationRow& row : qAsConst(rows)) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void onlyTheSwitchAndThePatternWriteTheHeaderInTheirOwnCase()
    {
        Map out;
        QVERIFY(cabinets()->communicationErrorDetectSwitcher(sampleDevice, cabinet, settings, out));
        QVERIFY(cabinets()->communicationErrorDetectSwitcher(sampleDevice, settings, out));
        QVERIFY(cabinets()->berTestPattern(sampleDevice, cabinet, settings, out));
        QVERIFY(cabinets()->berTestPattern(sampleDevice, settings, out));
        for (const RecordingEngine::Request& request : m_engine->requests()) {
            QCOMPARE(request.headers, (QMap<QString, QString>{{"content-Type", "application/json"}}));
        }

        m_engine->forget();
        QVERIFY(cabinets()->getDetecteErrorRateTimeData(sampleDevice, cabinet, out));
        QVERIFY(cabinets()->setDetecteErrorRateTimeData(sampleDevice, cabinet, settings, out));
        QVERIFY(cabinets()->setDetecteErrorRateTimeData(sampleDevice, settingsList, out));
        QVERIFY(cabinets()->getCommunicationErrorData(sampleDevice, cabinet, "1", "2", out));
        QCOMPARE(m_engine->count(), 4);
        for (const RecordingEngine::Request& request : m_engine->requests()) {
            QVERIFY(!request.headers.contains("content-Type"));
        }
    }

    void emptyTimesAreSentAllTheSame()
    {
        Map out;
        QVERIFY(cabinets()->getCommunicationErrorData(sampleDevice, cabinet, QString(), QString(), out));
        QCOMPARE(m_engine->last().parameters, (QMap<QString, QString>{{"beginTime", ""}, {"endTime", ""}}));
    }

    void theDetectionTimeOfOneCabinetGoesToItsPath()
    {
        Map out;
        QVERIFY(cabinets()->setDetecteErrorRateTimeData(sampleDevice, settingsList, out));
        QVERIFY(!m_engine->last().path.isEmpty());
        QVERIFY(!m_engine->last().path.contains("{id}"));
        QCOMPARE(m_engine->last().body, settingsListJson);
        QVERIFY(cabinets()->setDetecteErrorRateTimeData(sampleDevice, cabinet, settings, out));
        QVERIFY(m_engine->last().path.contains("{id}"));
        QCOMPARE(m_engine->last().body, settingsJson);
    }

private:
    static OperationRow withHeader(OperationRow row)
    {
        row.headers = {{"content-Type", "application/json"}};
        return row;
    }
};

QTEST_GUILESS_MAIN(TestCabinetErrorRate)
#include "tst_cabinetinfooperator_errorrate.moc"
