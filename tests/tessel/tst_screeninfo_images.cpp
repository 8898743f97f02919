// SPDX-License-Identifier: MIT
#include "objectsleft.h"

#include <deviceside.h>
#include <logcollector.h>
#include <operationforms.h>
#include <operationrow.h>
#include <protocolrow.h>
#include <recordingengine.h>
#include <singleshots.h>

#include <communicator/httpjsonpackage.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QTimer>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using Headers = QMap<QString, QString>;
using Forms = OperationForms<ScreenInfo>;

namespace {

const QMap<QString, QString> id{{"id", sampleId}};
const QByteArray sampleJson = R"({"x":1})";

ScreenInfo* screenInfo()
{
    return ScreenInfo::getInstance();
}

using BatchWrite = bool (ScreenInfo::*)(const std::vector<Map>&, Map&);

// The operations on several devices, and the routes between which they choose.
struct Batch
{
    const char* name;
    BatchWrite write;
    QString single;
    QString multi;
};

const Batch batches[] = {
    {"ScreenInfo::setMultPixelImage", &ScreenInfo::setMultPixelImage,
     "/api/v1/device/hwscreen/correction/drawregion", "/api/v1/screen/hwscreen/correction/drawregion"},
    {"ScreenInfo::setMultCheckerBoardImage", &ScreenInfo::setMultCheckerBoardImage,
     "/api/v1/device/hwscreen/correction/drawcheckerboard",
     "/api/v1/screen/hwscreen/correction/drawcheckerboard"},
};

// A batch of one item, to the sample device.
OperationRow batchWrite(const char* name, const char* routeKey, BatchWrite operation)
{
    OperationRow row{
        name, routeKey, HttpMethod::Put, Decoder::None, [operation](Outputs& out) {
            return (screenInfo()->*operation)({Map{{"devKey", sampleDevice}, {"x", 1}}}, out.map);
        }};
    row.body = R"({"devKey":"wall","x":1})";
    row.expectedTime = 20000;
    row.onFailure = OnFailure::KeepOutput;
    return row;
}

OperationRow withParameter(OperationRow row, const char* parameter, const char* value)
{
    row.parameters = {{parameter, value}};
    return row;
}

} // namespace

Q_DECLARE_METATYPE(const Batch*)

class TestScreenInfoImages : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    static void everyBatch()
    {
        QTest::addColumn<const Batch*>("batch");
        for (const Batch& batch : batches) {
            QTest::newRow(batch.name) << &batch;
        }
    }
    static bool write(const Batch* batch, const std::vector<Map>& items)
    {
        Map reply{{"kept", 1}};
        const bool ok = (screenInfo()->*batch->write)(items, reply);
        return reply == Map{{"kept", 1}} && ok;
    }
    QString multiScreenDevice()
    {
        const QString device = DeviceSide::fresh();
        HWInfo::getInstance()->getHwProtoc(device, true);
        m_engine->forget();
        return device;
    }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        fireAllSingleShots(20000);
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            Forms::idWrite("ScreenInfo::putDeviceScreenBootImage", "ScreenImage",
                           &ScreenInfo::putDeviceScreenBootImage),
            Forms::idWrite("ScreenInfo::putDeviceScreenBootImagePosition", "ScreenImagePos",
                           &ScreenInfo::putDeviceScreenBootImagePosition),
            Forms::idWrite("ScreenInfo::putDeviceScreenBootImageRegion", "ScreenImageRegion",
                           &ScreenInfo::putDeviceScreenBootImageRegion),
            Forms::idWrite("ScreenInfo::putDeviceScreenBootTimeSpan", "ScreenBootTimeSpan",
                           &ScreenInfo::putDeviceScreenBootTimeSpan),
            Forms::idCommand("ScreenInfo::putBootImagePreview", "ScreenBootImagePreview",
                             &ScreenInfo::putBootImagePreview),
            Forms::idWrite("ScreenInfo::putScreenPreStoreImage", "ScreenPrestoreImage",
                           &ScreenInfo::putScreenPreStoreImage),
            {"ScreenInfo::putPrestoreImageApplyToAll",
             "ScreenPrestoreImageApplay",
             HttpMethod::Put,
             Decoder::Map,
             [](Outputs& out) {
                 return screenInfo()->putPrestoreImageApplyToAll(sampleDevice, sampleId,
                                                                 {{"image", QByteArray("png")}}, out.map);
             },
             {},
             id,
             {},
             {},
             {},
             false,
             {{"image", QByteArray("png")}}},
            Forms::idWrite("ScreenInfo::putScreenSolid", "ScreenSolid", &ScreenInfo::putScreenSolid, "id",
                           10000),
            withParameter(Forms::idCommand("ScreenInfo::setColorSpaceSolid", "ScreenSolid",
                                           &ScreenInfo::setColorSpaceSolid),
                          "type", "1"),
            Forms::idWrite("ScreenInfo::putDeviceTestMode", "SenderTestMode", &ScreenInfo::putDeviceTestMode),
            Forms::idCommand("ScreenInfo::putDeviceTestModeDisable", "ScreenTxTestPatternDisable",
                             &ScreenInfo::putDeviceTestModeDisable),
            Forms::mapWrite("ScreenInfo::putReceiveTestMode", "ReceiveTestMode",
                            &ScreenInfo::putReceiveTestMode),
            Forms::mapWrite("ScreenInfo::setPixelImage", "HwScreen_DrawCorrectRegion",
                            &ScreenInfo::setPixelImage, 20000),
            Forms::mapWrite("ScreenInfo::setPixelImageMode", "HwScreen_CorrectSwitch",
                            &ScreenInfo::setPixelImageMode, 10000),
            Forms::mapWrite("ScreenInfo::setCheckerBoardImage", "HwScreen_DrawCheckerBoardRegion",
                            &ScreenInfo::setCheckerBoardImage, 20000),
            {"ScreenInfo::setCheckerBoardImage (overload)",
             "HwScreen_DrawCheckerBoardRegion",
             HttpMethod::Put,
             Decoder::Map,
             [](Outputs& out) {
                 Headers headers;
                 return screenInfo()->setCheckerBoardImage(sampleDevice, {{"x", 1}}, out.map, headers);
             },
             sampleJson,
             {},
             {},
             20000},
            Forms::mapWrite("ScreenInfo::setRectangularImage", "HwScreen_DraRectangularRegion",
                            &ScreenInfo::setRectangularImage, 20000),
            Forms::mapWrite("ScreenInfo::setCorrectClearImage", "HwScreen_CorrectClear",
                            &ScreenInfo::setCorrectClearImage),
            batchWrite("ScreenInfo::setMultPixelImage", "HwScreen_DrawCorrectRegion",
                       &ScreenInfo::setMultPixelImage),
            batchWrite("ScreenInfo::setMultCheckerBoardImage", "HwScreen_DrawCheckerBoardRegion",
                       &ScreenInfo::setMultCheckerBoardImage),
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

    void theProtocolChoosesTheRoute_data()
    {
        QTest::addColumn<ProtocolRow>("row");
        const auto call = [](Forms::MapWrite operation) {
            return [operation](const QString& device) {
                Map reply;
                (screenInfo()->*operation)(device, {}, reply);
            };
        };
        const ProtocolRow rows[] = {
            {"ScreenInfo::setPixelImage", "HwScreen_DrawCorrectRegion", "HwScreen_MultDrawCorrectRegion",
             call(&ScreenInfo::setPixelImage)},
            {"ScreenInfo::setPixelImageMode", "HwScreen_CorrectSwitch", "HwScreen_MultCorrectSwitch",
             call(&ScreenInfo::setPixelImageMode)},
            {"ScreenInfo::setCheckerBoardImage", "HwScreen_DrawCheckerBoardRegion",
             "HwScreen_MultDrawCheckerBoardRegion", call(&ScreenInfo::setCheckerBoardImage)},
            {"ScreenInfo::setCheckerBoardImage (overload)", "HwScreen_DrawCheckerBoardRegion",
             "HwScreen_DrawCheckerBoardRegion",
             [](const QString& device) {
                 Map reply;
                 Headers headers;
                 screenInfo()->setCheckerBoardImage(device, {}, reply, headers);
             }},
            {"ScreenInfo::setRectangularImage", "HwScreen_DraRectangularRegion",
             "HwScreen_DraRectangularRegion", call(&ScreenInfo::setRectangularImage)},
            {"ScreenInfo::setCorrectClearImage", "HwScreen_CorrectClear", "HwScreen_CorrectClear",
             call(&ScreenInfo::setCorrectClearImage)},
        };
        for (const ProtocolRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void theProtocolChoosesTheRoute()
    {
        QFETCH(ProtocolRow, row);
        checkRouteByProtocol(row);
    }

    void aBootImageGoesOutWithoutAPath()
    {
        Map reply;
        QVERIFY(screenInfo()->putDeviceScreenBootImage(m_device, sampleId, {{"x", 1}}, reply));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().path, QString());
        QCOMPARE(m_engine->last().body, sampleJson);
    }

    void thePrestoredImageIsTraced()
    {
        const LogCollector log;
        Map reply;
        QVERIFY(screenInfo()->putPrestoreImageApplyToAll(m_device, sampleId, {{"type", 1}}, reply));
        QCOMPARE(log.lines(),
                 QStringList{R"(debug: putPrestoreImageApplyToAll QMap(("type", QVariant(int, 1))))"});
    }

    void theSolidColourIsAQueryOfTheColourSpaceAndABodyOtherwise()
    {
        Map reply;
        QVERIFY(screenInfo()->setColorSpaceSolid(m_device, sampleId, reply));
        QCOMPARE(m_engine->last().parameters, (QMap<QString, QString>{{"type", "1"}}));
        QVERIFY(m_engine->last().body.isEmpty());
        const QString path = m_engine->last().path;
        QVERIFY(screenInfo()->putScreenSolid(m_device, sampleId, {{"type", "2"}}, reply));
        QVERIFY(m_engine->last().parameters.isEmpty());
        QCOMPARE(m_engine->last().body, QByteArray(R"({"type":"2"})"));
        QCOMPARE(m_engine->last().path, path);
    }

    void theReceiversTestPatternLeavesThePlaceOfTheIdUnfilled()
    {
        Map reply;
        QVERIFY(screenInfo()->putReceiveTestMode(m_device, {}, reply));
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/screen/{id}/rxtestpattern"));
        QVERIFY(m_engine->last().placeHolders.isEmpty());
    }

    void theCheckerboardHandsOutTheHeadersAlsoOfAFailure()
    {
        const QString device = multiScreenDevice();
        RecordingEngine::Reply answer = RecordingEngine::data(R"({"a":1})");
        answer.headers = {{"x-task", "9"}};
        m_engine->answer(answer);
        Map reply;
        Headers headers{{"stale", "1"}};
        QVERIFY(screenInfo()->setCheckerBoardImage(device, {{"x", 1}}, reply, headers));
        QCOMPARE(headers, (Headers{{"x-task", "9"}}));
        QCOMPARE(reply, (Map{{"a", qlonglong(1)}}));
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/hwscreen/correction/drawcheckerboard"));

        answer = RecordingEngine::failure(RecordingEngine::State::HttpFailure);
        answer.headers = {{"x-fault", "1"}};
        m_engine->answer(answer);
        QVERIFY(!screenInfo()->setCheckerBoardImage(device, {{"x", 1}}, reply, headers));
        QCOMPARE(headers, (Headers{{"x-fault", "1"}}));
        QVERIFY(reply.isEmpty());
    }

    void aPackageOfTheApplicationIsFilledAndNotSent_data()
    {
        QTest::addColumn<bool>("isMultiScreen");
        QTest::addColumn<QString>("path");
        QTest::newRow("single-screen protocol") << false << "/api/v1/device/hwscreen/correction";
        QTest::newRow("multi-screen protocol") << true << "/api/v1/screen/hwscreen/correction";
    }
    void aPackageOfTheApplicationIsFilledAndNotSent()
    {
        QFETCH(bool, isMultiScreen);
        QFETCH(QString, path);
        HttpJsonPackage package(nullptr);
        package.setDevkey(isMultiScreen ? multiScreenDevice() : m_device);
        package.setExpectedTime(1);
        screenInfo()->getPixelImageMode(&package, {{"x", 1}});
        QCOMPARE(package.getUrl(), path);
        QCOMPARE(package.requestData(), sampleJson);
        QCOMPARE(package.expectedTime(), 10000);
        QCOMPARE(m_engine->count(), 0);
    }

    // Several devices

    void anEmptyBatchLogsAndReturnsAtOnce_data() { everyBatch(); }
    void anEmptyBatchLogsAndReturnsAtOnce()
    {
        QFETCH(const Batch*, batch);
        bool turned = false;
        QObject home;
        QTimer::singleShot(0, &home, [&] { turned = true; });
        const LogCollector log;
        QVERIFY(!write(batch, {}));
        QCOMPARE(log.lines(),
                 QStringList{QString("critical: %1 System error! trigger is nullptr").arg(batch->name)});
        QVERIFY2(!turned, "no event loop ran");
        QCOMPARE(m_engine->count(), 0);
    }

    void eachItemGoesToTheRouteOfItsOwnDevice_data() { everyBatch(); }
    void eachItemGoesToTheRouteOfItsOwnDevice()
    {
        QFETCH(const Batch*, batch);
        const QString multiScreen = multiScreenDevice();
        QVERIFY(
            write(batch, {Map{{"devKey", m_device}, {"x", 1}}, Map{{"devKey", multiScreen}}, Map{{"x", 3}}}));
        const auto sent = m_engine->requests();
        QCOMPARE(sent.size(), std::size_t(3));
        QCOMPARE(sent[0].deviceKey, m_device);
        QCOMPARE(sent[0].path, batch->single);
        QCOMPARE(sent[0].body, R"({"devKey":")" + m_device.toUtf8() + R"(","x":1})");
        QCOMPARE(sent[1].deviceKey, multiScreen);
        QCOMPARE(sent[1].path, batch->multi);
        QCOMPARE(sent[2].deviceKey, QString());
        QCOMPARE(sent[2].path, batch->single);
        QCOMPARE(sent[2].body, QByteArray(R"({"x":3})"));
        for (const RecordingEngine::Request& request : sent) {
            QCOMPARE(int(request.method), int(HttpMethod::Put));
            QCOMPARE(request.expectedTime, 20000);
        }
    }

    void anItemWithoutADeviceCountsLikeAnyOther_data() { everyBatch(); }
    void anItemWithoutADeviceCountsLikeAnyOther()
    {
        QFETCH(const Batch*, batch);
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.deviceKey.isEmpty() ? RecordingEngine::failure() : RecordingEngine::data("{}");
        });
        QVERIFY(!write(batch, {Map{{"devKey", m_device}}, Map{{"x", 1}}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void aSilentDeviceFailsTheBatchWhenTheTimeIsUp_data() { everyBatch(); }
    void aSilentDeviceFailsTheBatchWhenTheTimeIsUp()
    {
        QFETCH(const Batch*, batch);
        m_engine->hold();
        int fired = 0;
        bool ok = true;
        const int left = objectsLeftBy([&] {
            QTimer::singleShot(0, this, [&] {
                m_engine->release();
                QTRY_COMPARE(m_engine->held(), 1);
                fired = fireSingleShots(20000, 2);
            });
            ok = write(batch, {Map{{"devKey", m_device}}, Map{{"devKey", DeviceSide::fresh()}}});
        });
        QVERIFY(!ok);
        QCOMPARE(fired, 1);
        QVERIFY2(left == 0, "the packages went with the call");
        // The late reply comes to a package that is gone.
        QVERIFY(m_engine->release());
        QTRY_COMPARE(m_engine->held(), 0);
    }

    void theCallEndsAtTheLastReplyWithoutTheTimer_data() { everyBatch(); }
    void theCallEndsAtTheLastReplyWithoutTheTimer()
    {
        QFETCH(const Batch*, batch);
        m_engine->hold();
        int outTogether = 0;
        QTimer::singleShot(0, this, [&] {
            outTogether = m_engine->held();
            while (m_engine->release()) {
                QCoreApplication::processEvents();
            }
        });
        QVERIFY(write(batch, {Map{{"devKey", m_device}}, Map{{"devKey", DeviceSide::fresh()}}}));
        QCOMPARE(outTogether, 2);
    }
};

QTEST_GUILESS_MAIN(TestScreenInfoImages)
#include "tst_screeninfo_images.moc"
