// SPDX-License-Identifier: MIT
#include "cabinetrows.h"

#include <deviceside.h>
#include <recordingengine.h>

#include <QSignalSpy>
#include <QtTest>

using namespace CabinetRows;

class TestCabinetImages : public QObject
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
            singleWrite("CabinetInfoOperator::setSingleBootImageTime", "Device_Single_CabBootImageTime",
                        &Operator::setSingleBootImageTime),
            mapWrite("CabinetInfoOperator::setMultiBootImageTime", "Device_Multi_CabBootImageTime",
                     &Operator::setMultiBootImageTime),
            withoutBody(singleExchange("CabinetInfoOperator::setSingleBootImagePreview",
                                       "Device_Single_CabBootImagePreview",
                                       &Operator::setSingleBootImagePreview)),
            mapWrite("CabinetInfoOperator::setMultiBootImagePreview", "Device_Multi_CabBootImagePreview",
                     &Operator::setMultiBootImagePreview),
            singleWrite("CabinetInfoOperator::setSingleCabPrestoreImage", "Device_Single_CabPrestoreImage",
                        &Operator::setSingleCabPrestoreImage),
            mapWrite("CabinetInfoOperator::setMultiCabPrestoreImage", "Device_Multi_CabPrestoreImage",
                     &Operator::setMultiCabPrestoreImage),
            singleWrite("CabinetInfoOperator::setSinglePreviewImagePreview",
                        "Device_Single_CabPrestoreimagePreview", &Operator::setSinglePreviewImagePreview),
            mapWrite("CabinetInfoOperator::setMultiPreviewImagePreview",
                     "Device_Multi_CabPrestoreimagePreview", &Operator::setMultiPreviewImagePreview),
            singleWrite("CabinetInfoOperator::setSingleAbnormalDisconnected",
                        "Device_Single_CabAbnormalDisconnected", &Operator::setSingleAbnormalDisconnected),
            mapWrite("CabinetInfoOperator::setMultiAbnormalDisconnected",
                     "Device_Multi_CabAbnormalDisconnected", &Operator::setMultiAbnormalDisconnected),
            listWrite("CabinetInfoOperator::setBootImageRegion", "Device_CabBootImageRegion",
                      &Operator::setBootImageRegion),
            listWrite("CabinetInfoOperator::setBootCustomImage", "Device_CabBootCustomImage",
                      &Operator::setBootCustomImage),
            listWrite("CabinetInfoOperator::setBootImagePos", "Device_CabBootImagePos",
                      &Operator::setBootImagePos),
            listWrite("CabinetInfoOperator::setCabBootRestoreImage", "Device_CabBootRestoreImage",
                      &Operator::setCabBootRestoreImage),
            upload(
                within(3000, singleWrite("CabinetInfoOperator::setSinglePrestoreImage",
                                         "Device_Single_Prestoreimage", &Operator::setSinglePrestoreImage))),
            upload(within(0, mapWrite("CabinetInfoOperator::setMultiPrestoreImage",
                                      "Device_Multi_Prestoreimage", &Operator::setMultiPrestoreImage))),
            mapWrite("CabinetInfoOperator::setMutiTestPattern", "Device_Multi_TestImage",
                     &Operator::setMutiTestPattern),
        };
        rows << OperationRow{
            "CabinetInfoOperator::setTestPattern",
            "Device_CabinetPixelSize",
            HttpMethod::Put,
            Decoder::None,
            [](Outputs&) { return cabinets()->setTestPattern(sampleDevice, cabinet, "#ff0000", "black"); },
            R"({"bgColor":"black","fbColor":"#ff0000"})",
            {{"id", cabinet}}};
        for (const OperationRow& row : qAsConst(rows)) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void theLimitOfAnUploadToSeveralGrowsWithTheirNumber_data()
    {
        QTest::addColumn<QVariant>("id");
        QTest::addColumn<int>("limit");
        QTest::newRow("four") << QVariant(List{"1", "2", "3", "4"}) << 12000;
        QTest::newRow("four texts") << QVariant(QStringList{"1", "2", "3", "4"}) << 12000;
        QTest::newRow("none") << QVariant(List()) << 0;
        QTest::newRow("absent") << QVariant() << 0;
        QTest::newRow("plain text") << QVariant("1,2") << 0;
    }
    void theLimitOfAnUploadToSeveralGrowsWithTheirNumber()
    {
        QFETCH(QVariant, id);
        QFETCH(int, limit);
        Map parts{{"file", QByteArray("image")}};
        if (id.isValid()) {
            parts.insert("id", id);
        }
        Map out;
        QVERIFY(cabinets()->setMultiPrestoreImage(sampleDevice, parts, out));
        QCOMPARE(m_engine->last().expectedTime, limit);
        QCOMPARE(m_engine->last().parts, parts);
    }

    void aPreviewOfOneCabinetHasNoBodyAndOneOfSeveralHas()
    {
        Map out = settings;
        QVERIFY(cabinets()->setSingleBootImagePreview(sampleDevice, cabinet, out));
        QVERIFY(m_engine->last().body.isEmpty());
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
        QVERIFY(cabinets()->setMultiBootImagePreview(sampleDevice, settings, out));
        QCOMPARE(m_engine->last().body, settingsJson);
    }

    void setTestPatternSendsItsColoursWhateverTheyAre_data()
    {
        QTest::addColumn<QString>("fbColor");
        QTest::addColumn<QString>("bgColor");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("names") << "red"
                               << "black" << QByteArray(R"({"bgColor":"black","fbColor":"red"})");
        QTest::newRow("empty") << ""
                               << "" << QByteArray(R"({"bgColor":"","fbColor":""})");
        QTest::newRow("numbers") << "255"
                                 << "0" << QByteArray(R"({"bgColor":"0","fbColor":"255"})");
    }
    void setTestPatternSendsItsColoursWhateverTheyAre()
    {
        QFETCH(QString, fbColor);
        QFETCH(QString, bgColor);
        QFETCH(QByteArray, body);
        QVERIFY(cabinets()->setTestPattern(sampleDevice, cabinet, fbColor, bgColor));
        QCOMPARE(m_engine->last().body, body);
        QVERIFY(m_engine->last().path.isEmpty());
        QCOMPARE(m_engine->last().placeHolders, (QMap<QString, QString>{{"id", cabinet}}));
    }

    void operationsWithoutARouteReportWhatTheTransportDoes()
    {
        m_engine->answer(RecordingEngine::failure(RecordingEngine::State::InvalidRequest));
        Map out;
        QVERIFY(!cabinets()->setTestPattern(sampleDevice, cabinet, "red", "black"));
        QVERIFY(!cabinets()->setBootCustomImage(sampleDevice, settingsList, out));
        QVERIFY(!cabinets()->setBootImagePos(sampleDevice, settingsList, out));
        QVERIFY(!cabinets()->setCabBootRestoreImage(sampleDevice, settingsList, out));
        QCOMPARE(m_engine->count(), 4);
        for (const RecordingEngine::Request& request : m_engine->requests()) {
            QVERIFY(request.path.isEmpty());
        }
    }

    void bothPatternsOfSeveralShareARouteButNotTheHeader()
    {
        Map out;
        QVERIFY(cabinets()->setMutiTestPattern(sampleDevice, settings, out));
        const RecordingEngine::Request plain = m_engine->last();
        QVERIFY(cabinets()->berTestPattern(sampleDevice, settings, out));
        QVERIFY(!plain.path.isEmpty());
        QCOMPARE(m_engine->last().path, plain.path);
        QVERIFY(m_engine->last().headers.contains("content-Type"));
        QVERIFY(!plain.headers.contains("content-Type"));
    }

private:
    static OperationRow withoutBody(OperationRow row)
    {
        row.body.clear();
        return row;
    }
    static OperationRow upload(OperationRow row)
    {
        row.body.clear();
        row.parts = settings;
        return row;
    }
};

QTEST_GUILESS_MAIN(TestCabinetImages)
#include "tst_cabinetinfooperator_images.moc"
